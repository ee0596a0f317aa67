// Display list, mode filtering and ordering, and the start-up modes.
#include "DisplayController.h"

#include "platform/DisplayModes.h"
#include "platform/Screens.h"

#include <QHash>
#include <algorithm>

DisplayController::DisplayController(DisplayModes& modes, const Screens& screens)
    : m_modes(modes), m_screens(screens)
{
    // Taken once and never updated: a mode the user sets elsewhere while we run is undone too.
    for (const DisplayInfo& display : onlineDisplays()) {
        if (const auto current = m_modes.currentMode(display.id))
            m_originalModes.insert(display.id, current->id);
    }
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
    for (const ScreenInfo& screen : m_screens.screens()) {
        if (screen.displayId == id)
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

void DisplayController::restore(quint32 id)
{
    const auto found = m_originalModes.constFind(id);
    if (found == m_originalModes.constEnd())
        return;
    m_modes.switchMode(id, *found);
}

void DisplayController::restoreAll()
{
    for (auto it = m_originalModes.constBegin(); it != m_originalModes.constEnd(); ++it)
        m_modes.switchMode(it.key(), it.value());
}
