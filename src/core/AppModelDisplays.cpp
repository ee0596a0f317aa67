// The model's display operations: the display list, the selected display's modes, switching.
#include "AppModel.h"
#include "CoreLogging.h"
#include "platform/Platform.h"

#include <algorithm>

void AppModel::reloadDisplays()
{
    assign(m_displays, m_display->onlineDisplays(), Field::displays);
    const bool selectedPresent =
        std::any_of(m_displays.begin(), m_displays.end(),
                    [this](const DisplayInfo& d) { return d.id == m_selectedDisplayID; });
    if (!selectedPresent) {
        quint32 id = m_platform.displayModes().mainDisplay();
        const auto main = std::find_if(m_displays.begin(), m_displays.end(),
                                       [](const DisplayInfo& d) { return d.isMain; });
        if (main != m_displays.end())
            id = main->id;
        else if (!m_displays.isEmpty())
            id = m_displays.first().id;
        assign(m_selectedDisplayID, id, Field::selectedDisplayID);
    }
    reloadModes();
}

void AppModel::reloadModes()
{
    assign(m_modes, m_display->availableModes(m_selectedDisplayID), Field::modes);
    if (const auto current = m_platform.displayModes().currentMode(m_selectedDisplayID))
        setCurrentSize(current->width, current->height);
}

void AppModel::setCurrentSize(qint64 width, qint64 height)
{
    m_currentWidth = width;
    m_currentHeight = height;
    emit published(Field::currentSize);
}

void AppModel::apply(const DisplayMode& mode)
{
    m_lastAppliedMode = mode;
    // Shown as current before, and whatever, the platform does.
    setCurrentSize(mode.width, mode.height);
    if (!showsChanges())
        return;
    if (m_display->switchMode(m_selectedDisplayID, mode.id)) {
        m_frameCache.clear();
        recomputeBarTiles();
    } else {
        qCDebug(lcDisplays, "display %u refused mode %d (%lld x %lld)", m_selectedDisplayID,
                mode.id, qint64(mode.width), qint64(mode.height));
    }
}

void AppModel::setSelectedDisplayID(quint32 id)
{
    assign(m_selectedDisplayID, id, Field::selectedDisplayID);
}

void AppModel::restoreSelectedDisplay()
{
    m_display->restore(m_selectedDisplayID);
    reloadModes();
    m_frameCache.clear();
    recomputeBarTiles();
}
