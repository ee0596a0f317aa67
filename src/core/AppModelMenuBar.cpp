// The model's panel side: which tray items exist, which are hidden, when the panel is
// captured, and which mask tiles each monitor shows.
#include "AppModel.h"

#include "BarReflow.h"
#include "CoreLogging.h"
#include "DefaultsStore.h"
#include "MenuBarScanner.h"
#include "Scheduler.h"
#include "platform/Platform.h"

using namespace std::chrono_literals;

void AppModel::refreshMenuBarItems()
{
    assign(m_menuBarItems, MenuBarScanner::currentItems(m_platform), Field::menuBarItems);
    intersectSelectionWithItems();
    m_frameCache.clear();
    recomputeBarTiles();
}

void AppModel::intersectSelectionWithItems()
{
    // Hidden items whose windows vanished are dropped; nothing is added.
    QSet<quint32> present;
    for (const MenuBarItem& item : std::as_const(m_menuBarItems))
        present.insert(item.id);
    assign(m_selectedItemIDs, m_selectedItemIDs & present, Field::selectedItemIDs);
}

void AppModel::recomputeBarTiles()
{
    const bool active = m_enabled && m_menuBarCover != MenuBarCover::keep;
    // The controller puts tinted pictures up only while a choice is shown: taking the tint down
    // with the switch off applies nothing. A desktop program still starting gets the pictures
    // once it has drawn the desktop.
    if (m_desktopIcons.isDesktopReady())
        m_wallpaper->setBarTintActive(active);
    else
        m_wallpaperWaitsForDesktop = true;
    m_overlays->setMenuBarHidden(active);
    if (!active) {
        m_overlays->setBarTiles({});
        return;
    }
    // The masks come down before the panel is looked at.
    m_overlays->clearMenuBarWindows();
    assign(m_menuBarItems, MenuBarScanner::currentItems(m_platform), Field::menuBarItems);
    intersectSelectionWithItems();

    QList<MaskTile> tiles;
    for (const ScreenInfo& screen : m_platform.screens().screens()) {
        double barHeight = (screen.frame.y() + screen.frame.height()) -
                           (screen.visibleFrame.y() + screen.visibleFrame.height());
        if (barHeight <= 1.0)
            barHeight = 24.0;

        std::optional<QImage> capture;
        if (screen.displayId) {
            const quint32 id = *screen.displayId;
            if (const auto cached = m_frameCache.constFind(id); cached != m_frameCache.constEnd()) {
                capture = *cached;
            } else if (m_platform.capture().canCaptureScreen() ||
                       m_platform.capture().requestCaptureAccess()) {
                const QImage image = m_platform.capture().captureDisplay(id);
                if (!image.isNull()) {
                    m_frameCache.insert(id, image);
                    capture = image;
                } else {
                    qCDebug(lcCover, "display %u could not be captured", id);
                }
            }
        }

        const QRectF barRect(screen.frame.x(), screen.frame.y() + screen.frame.height() - barHeight,
                             screen.frame.width(), barHeight);
        if (m_menuBarCover == MenuBarCover::entire) {
            MaskTile tile{barRect, std::nullopt};
            if (capture)
                tile.image = BarReflow::emptyColumn(*capture, screen, m_menuBarItems, barHeight);
            tiles.append(tile);
        } else if (m_menuBarCover == MenuBarCover::items && capture) {
            if (const auto piece = BarReflow::reflow(*capture, screen, m_menuBarItems,
                                                     m_selectedItemIDs, barHeight))
                tiles.append({piece->rect, piece->image});
        }
    }
    m_overlays->setBarTiles(tiles);
}

void AppModel::scheduleBarRecapture()
{
    if (!m_enabled || m_menuBarCover == MenuBarCover::keep)
        return;
    if (m_barRecaptureWork)
        m_barRecaptureWork->cancel();
    // Masks off at once, so the capture 0.4 s later sees the bare panel.
    m_overlays->setBarTiles({});
    m_barRecaptureWork = m_scheduler.after(400ms, this, [this] {
        m_frameCache.clear();
        recomputeBarTiles();
    });
}

bool AppModel::hasPendingBarRecapture() const
{
    return m_barRecaptureWork && m_barRecaptureWork->isActive();
}

void AppModel::setMenuBarCover(MenuBarCover cover)
{
    assign(m_menuBarCover, cover, Field::menuBarCover);
    m_defaults.setString(StoredKeys::menuBarCover, rawValue(cover));
    recomputeBarTiles();
    scheduleBarRecapture();
}

void AppModel::toggleItem(quint32 id)
{
    const auto item = std::find_if(m_menuBarItems.cbegin(), m_menuBarItems.cend(),
                                   [id](const MenuBarItem& i) { return i.id == id; });
    if (item == m_menuBarItems.cend())
        return;
    // The label decides, not the id: a stored label may outlive its window.
    QSet<quint32> selected = m_selectedItemIDs;
    if (m_hiddenLabels.contains(item->label)) {
        m_hiddenLabels.remove(item->label);
        selected.remove(id);
    } else {
        m_hiddenLabels.insert(item->label);
        selected.insert(id);
    }
    assign(m_selectedItemIDs, selected, Field::selectedItemIDs);
    m_defaults.setStringList(StoredKeys::hiddenItemLabels, QStringList(m_hiddenLabels.begin(), m_hiddenLabels.end()));
    recomputeBarTiles();
}

void AppModel::restoreHiddenSelection()
{
    assign(m_menuBarItems, MenuBarScanner::currentItems(m_platform), Field::menuBarItems);
    QSet<quint32> selected;
    for (const MenuBarItem& item : std::as_const(m_menuBarItems)) {
        if (m_hiddenLabels.contains(item.label))
            selected.insert(item.id);
    }
    assign(m_selectedItemIDs, selected, Field::selectedItemIDs);
    m_frameCache.clear();
    recomputeBarTiles();
}
