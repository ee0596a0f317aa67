// Mask bookkeeping: every assignment tears the windows down and builds them again; windows are
// never moved or reused.
#include "OverlayController.h"

#include "platform/Screens.h"
#include "platform/WindowManagerWatch.h"

OverlayController::OverlayController(Screens& screens, WindowManagerWatch& managerWatch,
                                     QObject* parent)
    : QObject(parent)
{
    connect(&screens, &Screens::screensChanged, this, [this] {
        if (onScreenChange)
            onScreenChange();
    });
    // A new window manager or compositor may stop drawing the old override-redirect windows;
    // fresh ones are drawn, so the masks never vanish.
    connect(&managerWatch, &WindowManagerWatch::managerReplaced, this,
            &OverlayController::rebuildMenuBar);
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

void OverlayController::setMenuBarHiddenAndTiles(bool hidden, const QList<MaskTile>& tiles)
{
    m_menuBarHidden = hidden;
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
    if (!m_menuBarHidden || m_barTiles.isEmpty() || !m_presenter) {
        clearMenuBarWindows();
        return;
    }
    // The presenter takes the old windows down only once the new ones show.
    m_presenter->showMasks(m_barTiles, m_fallbackColor);
}
