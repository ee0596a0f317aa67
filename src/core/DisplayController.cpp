// Display list, mode filtering and ordering, the start-up modes and their crash record.
#include "DisplayController.h"

#include "DefaultsStore.h"
#include "platform/Screens.h"

#include <QHash>
#include <QJsonObject>
#include <algorithm>
#include <cmath>

namespace {

// Keys of one display's entry in the crash record.
const QString modeKey = QStringLiteral("mode");
const QString widthKey = QStringLiteral("width");
const QString heightKey = QStringLiteral("height");
const QString refreshKey = QStringLiteral("refresh");
const QString xKey = QStringLiteral("x");
const QString yKey = QStringLiteral("y");
const QString rotationKey = QStringLiteral("rotation");

// The recorded mode among the display's modes: the same id with the same size (ids last while
// the server runs), else the same size at the nearest refresh rate.
std::optional<PlatformDisplayMode> matchingMode(const QList<PlatformDisplayMode>& modes, qint32 id,
                                                qint64 width, qint64 height, double refresh)
{
    std::optional<PlatformDisplayMode> best;
    for (const PlatformDisplayMode& m : modes) {
        if (m.pixelWidth != width || m.pixelHeight != height)
            continue;
        if (m.id == id)
            return m;
        if (!best || std::abs(m.refresh - refresh) < std::abs(best->refresh - refresh))
            best = m;
    }
    return best;
}

} // namespace

DisplayController::DisplayController(DisplayModes& modes, const Screens& screens,
                                     DefaultsStore* defaults)
    : m_modes(modes), m_screens(screens), m_defaults(defaults)
{
    // Taken once and never updated: a mode the user sets elsewhere while we run is undone too.
    for (const DisplayInfo& display : onlineDisplays()) {
        if (const auto current = m_modes.currentMode(display.id))
            m_originalModes.insert(display.id,
                                   {current->id, *current, m_modes.placement(display.id)});
    }
    loadCrashRecord();
}

void DisplayController::loadCrashRecord()
{
    if (!m_defaults)
        return;
    const QJsonValue stored = m_defaults->rawValue(StoredKeys::originalDisplayModes);
    if (!stored.isObject())
        return;
    // The record outlives the run that wrote it: until it is cleared, the modes in it are the
    // user's, whatever the displays show now.
    m_recordWritten = true;
    const QJsonObject record = stored.toObject();
    for (auto it = m_originalModes.begin(); it != m_originalModes.end(); ++it) {
        if (!it->placement)
            continue;
        const QJsonValue entryValue = record.value(it->placement->connector);
        if (!entryValue.isObject())
            continue;
        const QJsonObject entry = entryValue.toObject();
        const auto recorded =
            matchingMode(m_modes.allModes(it.key()), entry.value(modeKey).toInt(),
                         entry.value(widthKey).toInteger(), entry.value(heightKey).toInteger(),
                         entry.value(refreshKey).toDouble());
        if (!recorded)
            continue;
        it->modeId = recorded->id;
        it->mode = *recorded;
        it->placement->position = QPoint(entry.value(xKey).toInt(it->placement->position.x()),
                                         entry.value(yKey).toInt(it->placement->position.y()));
        it->placement->rotation = entry.value(rotationKey).toInt(it->placement->rotation);
    }
    m_absentEntries = record;
    for (const Original& original : std::as_const(m_originalModes)) {
        if (original.placement)
            m_absentEntries.remove(original.placement->connector);
    }
}

void DisplayController::writeCrashRecord()
{
    if (!m_defaults || m_recordWritten)
        return;
    QJsonObject record = m_absentEntries;
    for (const Original& original : std::as_const(m_originalModes)) {
        if (!original.placement || original.placement->connector.isEmpty())
            continue;
        record.insert(original.placement->connector,
                      QJsonObject{{modeKey, original.modeId},
                                  {widthKey, original.mode.pixelWidth},
                                  {heightKey, original.mode.pixelHeight},
                                  {refreshKey, original.mode.refresh},
                                  {xKey, original.placement->position.x()},
                                  {yKey, original.placement->position.y()},
                                  {rotationKey, original.placement->rotation}});
    }
    if (record.isEmpty())
        return;
    m_defaults->setValue(StoredKeys::originalDisplayModes, record);
    m_recordWritten = true;
}

bool DisplayController::allRestored() const
{
    for (auto it = m_originalModes.constBegin(); it != m_originalModes.constEnd(); ++it) {
        const auto current = m_modes.currentMode(it.key());
        if (!current || current->id != it->modeId)
            return false;
        if (it->placement && m_modes.placement(it.key()) != it->placement)
            return false;
    }
    return true;
}

QList<DisplayInfo> DisplayController::onlineDisplays() const
{
    const QList<quint32> ids = m_modes.onlineDisplays();
    if (ids.isEmpty())
        return {};
    const quint32 main = m_modes.mainDisplay();
    QList<DisplayInfo> result;
    for (quint32 id : ids)
        result.append({id, localizedName(id), id == main});
    return result;
}

QString DisplayController::localizedName(quint32 id) const
{
    const QList<ScreenInfo> screens = m_screens.screens();
    for (const ScreenInfo& screen : screens) {
        if (screen.displayId != id)
            continue;
        // Two monitors of one model report the same product name: the connector, which the
        // desktop's display settings show too, tells them apart.
        const bool shared = std::any_of(screens.begin(), screens.end(), [&](const ScreenInfo& s) {
            return s.displayId != id && s.name == screen.name;
        });
        if (shared && !screen.outputName.isEmpty() && screen.outputName != screen.name)
            return screen.name + QStringLiteral(" (") + screen.outputName + QLatin1Char(')');
        return screen.name;
    }
    if (id == m_modes.mainDisplay())
        return QStringLiteral("Main Display");
    return QStringLiteral("Display ") + QString::number(id);
}

QList<DisplayMode> DisplayController::availableModes(quint32 id) const
{
    QList<DisplayMode> usable;
    for (const PlatformDisplayMode& m : m_modes.allModes(id)) {
        if (m.usableForDesktop)
            usable.append({m.id, m.width, m.height, m.pixelWidth, m.pixelHeight, m.refresh});
    }
    // Where scaled (denser than their point size) modes exist, only those are offered.
    QList<DisplayMode> scaled;
    std::copy_if(
        usable.begin(), usable.end(), std::back_inserter(scaled),
        [](const DisplayMode& m) { return m.pixelWidth > m.width || m.pixelHeight > m.height; });
    const QList<DisplayMode>& candidates = scaled.isEmpty() ? usable : scaled;

    // One mode per size: the first one with the highest refresh rate.
    QList<DisplayMode> kept;
    QHash<QString, qsizetype> indexBySize;
    for (const DisplayMode& mode : candidates) {
        const QString key =
            QString::number(mode.width) + QLatin1Char('x') + QString::number(mode.height);
        const auto found = indexBySize.constFind(key);
        if (found == indexBySize.constEnd()) {
            indexBySize.insert(key, kept.size());
            kept.append(mode);
        } else if (mode.refresh > kept[*found].refresh) {
            kept[*found] = mode;
        }
    }
    std::stable_sort(kept.begin(), kept.end(), [](const DisplayMode& a, const DisplayMode& b) {
        const qint64 areaA = a.width * a.height;
        const qint64 areaB = b.width * b.height;
        if (areaA != areaB)
            return areaA > areaB;
        return a.refresh > b.refresh;
    });
    return kept;
}

bool DisplayController::switchMode(quint32 id, qint32 modeId)
{
    writeCrashRecord();
    return m_modes.switchMode(id, modeId);
}

void DisplayController::restore(quint32 id)
{
    const auto found = m_originalModes.constFind(id);
    if (found == m_originalModes.constEnd())
        return;
    // The neighbours keep their arrangement; the display's own corner follows them.
    m_modes.switchMode(id, found->modeId);
}

void DisplayController::restoreAll()
{
    for (auto it = m_originalModes.constBegin(); it != m_originalModes.constEnd(); ++it) {
        if (it->placement)
            m_modes.placeMode(it.key(), it->modeId, *it->placement);
        else
            m_modes.switchMode(it.key(), it->modeId);
    }
    // The record goes only once everything it describes is back; otherwise the next launch
    // tries again. Monitors that are not connected keep their entries for a later launch.
    if (m_recordWritten && m_defaults && allRestored()) {
        if (m_absentEntries.isEmpty())
            m_defaults->remove(StoredKeys::originalDisplayModes);
        else
            m_defaults->setValue(StoredKeys::originalDisplayModes, m_absentEntries);
        m_recordWritten = false;
    }
}
