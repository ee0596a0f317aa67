// Mask bookkeeping: every assignment tears the windows down and builds them again.
#include "OverlayController.h"

#include "platform/Screens.h"

OverlayController::OverlayController(Screens& screens, QObject* parent) : QObject(parent)
{
    connect(&screens, &Screens::screensChanged, this, [this] {
        if (onScreenChange)
            onScreenChange();
    });
}

void OverlayController::setMenuBarHidden(bool hidden)
{
    m_menuBarHidden = hidden;
    rebuildMenuBar();
}

void OverlayController::setBarTiles(const QList<MaskTile>& tiles)
{
    m_barTiles = tiles;
    rebuildMenuBar();
}

void OverlayController::clearMenuBarWindows()
{
    if (m_presenter)
        m_presenter->clearMasks();
}

void OverlayController::rebuildMenuBar()
{
    clearMenuBarWindows();
    if (!m_menuBarHidden || !m_presenter)
        return;
    m_presenter->showMasks(m_barTiles, m_fallbackColor);
}
