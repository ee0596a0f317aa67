// The model's panel side: which tray items exist, which are hidden, when the panel is
// captured, and which mask tiles each monitor shows.
//
// The panel is scanned in the background (its items' names come from other processes, which
// may be slow or busy): the tiles are built at once from the items of the last scan and again
// when a scan brings a change.
#include "AppModel.h"
#include "BarReflow.h"
#include "CoreLogging.h"
#include "DefaultsStore.h"
#include "MenuBarNamer.h"
#include "MenuBarScanner.h"
#include "Scheduler.h"
#include "TaskQueue.h"
#include "platform/Geometry.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cmath>

using namespace std::chrono_literals;

namespace {

// Empty stretches narrower than this are a separator's line or a spacing, not background.
constexpr double minEmptyStretch = 8.0;
// The column is taken this far inside an empty stretch, clear of what a separator draws in
// its middle.
constexpr double stretchInset = 2.0;

} // namespace

void AppModel::refreshMenuBarItems()
{
    // The scan's result replaces the items and the captures, then the tiles are rebuilt.
    m_scanClearsCache = true;
    startPanelScan();
}

void AppModel::startPanelScan()
{
    m_platform.panelScan().start(m_canNameItems);
}

void AppModel::panelScanned(const PanelSnapshot& snapshot)
{
    // Panels and empty stretches in bottom-left points of the given monitors.
    const auto panelsOn = [&snapshot](const QList<ScreenInfo>& on, QList<QRectF>& panels,
                                      QList<QRectF>& stretches) {
        const std::optional<ScreenInfo> primary = Geometry::primaryScreen(on);
        const double primaryHeight = primary ? primary->frame.height() : 0.0;
        panels.clear();
        stretches.clear();
        for (const WindowListEntry& w : snapshot.windows) {
            // Horizontal panels only: a vertical one that starts at the top is not a bar.
            if (w.layer == WindowLayer::panel && w.bounds.width() > w.bounds.height())
                panels.append(Geometry::flipped(w.bounds, primaryHeight));
        }
        for (const QRectF& r : snapshot.emptyStretches)
            stretches.append(Geometry::flipped(r, primaryHeight));
    };
    // The monitors of the last build stand while the panels stand as they were (a change of
    // the monitors rebuilds through its own event): asking again costs round trips to the X
    // server on every scan, one per toggle.
    QList<ScreenInfo> screens = m_barScreens;
    QList<QRectF> panels, stretches;
    if (!screens.isEmpty())
        panelsOn(screens, panels, stretches);
    if (screens.isEmpty() || panels != m_topPanels || stretches != m_emptyStretches) {
        screens = m_platform.screens().screens();
        panelsOn(screens, panels, stretches);
    }
    const QList<MenuBarItem> items = MenuBarScanner::itemsFrom(
        screens, snapshot.windows, MenuBarNamer::named(snapshot.names), m_trayProcessOrder);
    MenuBarScanner::rememberProcesses(m_trayProcessOrder, items);

    const bool panelChanged = panels != m_topPanels || stretches != m_emptyStretches;
    m_topPanels = panels;
    m_emptyStretches = stretches;
    if (snapshot.itemsGap != m_itemsGap) {
        m_itemsGap = snapshot.itemsGap;
        emit published(Field::desktopSupport);
    }

    const bool itemsChanged = items != m_menuBarItems;
    assign(m_menuBarItems, items, Field::menuBarItems);
    const QSet<quint32> before = m_selectedItemIDs;
    reselectHiddenItems();
    const bool rebuild = std::exchange(m_scanClearsCache, false);
    if (rebuild)
        m_frameCache.clear();
    if (rebuild || itemsChanged || panelChanged || before != m_selectedItemIDs)
        recomputeBarTiles(false);
}

void AppModel::panelChanged()
{
    // Icons that came, went or moved, or a restarted panel: a fresh capture and scan, which
    // also hides the re-docked icons by their labels again.
    if (showsChanges() && m_menuBarCover != MenuBarCover::keep)
        scheduleBarRecapture();
    else
        refreshMenuBarItems();
}

void AppModel::reselectHiddenItems()
{
    // Every scan matches the stored labels again: an icon that docks anew gets a new id but
    // keeps its label, and stays hidden.
    QSet<quint32> selected;
    for (const MenuBarItem& item : std::as_const(m_menuBarItems)) {
        if (m_hiddenLabels.contains(item.label))
            selected.insert(item.id);
    }
    assign(m_selectedItemIDs, selected, Field::selectedItemIDs);
}

std::optional<BarReflow::Bar> AppModel::barOn(const ScreenInfo& screen, QRectF* rect) const
{
    const double screenTop = screen.frame.y() + screen.frame.height();
    std::optional<BarReflow::Bar> bar;
    // The panel window at the top of the screen: its extent and its height, whether or not it
    // reserves space.
    for (const QRectF& panel : m_topPanels) {
        const double top = panel.y() + panel.height();
        if (std::abs(top - screenTop) > 1.0 || panel.right() <= screen.frame.left() ||
            panel.left() >= screen.frame.right())
            continue;
        const double left = std::max(panel.left(), screen.frame.left());
        const double right = std::min(panel.right(), screen.frame.right());
        *rect = QRectF(left, screenTop - panel.height(), right - left, panel.height());
        bar = BarReflow::Bar{panel.height(), std::nullopt, std::nullopt};
        if (right < screen.frame.right())
            bar->rightPt = right - screen.frame.x();
        break;
    }
    // No panel window seen there: space reserved at the top of the screen is the bar.
    const double reserved = screenTop - (screen.visibleFrame.y() + screen.visibleFrame.height());
    if (!bar && reserved > 1.0) {
        *rect = QRectF(screen.frame.x(), screenTop - reserved, screen.frame.width(), reserved);
        bar = BarReflow::Bar{reserved, std::nullopt, std::nullopt};
    }
    // A monitor without a top panel has no bar.
    if (!bar)
        return std::nullopt;

    // The empty stretch nearest to the items shows the panel's background closest to them;
    // one on their left wins over one as near on their right.
    const QList<MenuBarItem> items = BarReflow::onScreen(m_menuBarItems, screen);
    const double itemsLeft = items.isEmpty() ? rect->right() : items.first().frame.left();
    std::optional<double> best;
    double bestDistance = 0.0;
    for (const QRectF& s : m_emptyStretches) {
        if (s.width() < minEmptyStretch || !s.intersects(*rect))
            continue;
        const double distance =
            s.right() <= itemsLeft ? itemsLeft - s.right() : std::abs(s.left() - itemsLeft) + 0.5;
        if (!best || distance < bestDistance) {
            best = s.left() + stretchInset;
            bestDistance = distance;
        }
    }
    if (best)
        bar->backgroundX = *best - screen.frame.x();
    return bar;
}

void AppModel::recomputeBarTiles(bool rescan, bool sameScreens)
{
    const bool active = showsChanges() && m_menuBarCover != MenuBarCover::keep;
    // The controller puts tinted pictures up only while a choice is shown: taking the tint down
    // with the switch off applies nothing. A desktop program still starting gets the pictures
    // once it has drawn the desktop.
    if (m_desktopIcons.isDesktopReady())
        m_wallpaper->setBarTintActive(active);
    else
        m_wallpaperWaitsForDesktop = true;
    // Every build supersedes the captures still under way for an earlier one.
    ++m_barBuild;
    if (!active) {
        // Without a cover nothing tells of monitor changes here: the next build asks again.
        m_barScreens.clear();
        m_overlays->setMenuBarHidden(false);
        m_overlays->setBarTiles({});
        // No capture is kept while no cover is on; the capture thread lets go of its own
        // after any capture still under way.
        m_frameCache.clear();
        ScreenCapture* capture = &m_platform.capture();
        m_captureWork.post([capture] { capture->releaseBuffers(); }, this);
        return;
    }

    // The monitors and their struts are kept by the platform until they change; a toggle
    // reuses the last answer all the same (a change of either rebuilds the tiles through its
    // own event).
    if (!sameScreens || m_barScreens.isEmpty())
        m_barScreens = m_platform.screens().screens();
    QList<quint32> missing;
    for (const ScreenInfo& screen : std::as_const(m_barScreens)) {
        QRectF rect;
        if (screen.displayId && !m_frameCache.contains(*screen.displayId) && barOn(screen, &rect))
            missing.append(*screen.displayId);
    }
    if (missing.isEmpty())
        showBarTiles(rescan);
    else
        captureBars(missing, rescan);
}

void AppModel::captureBars(const QList<quint32>& displayIds, bool rescan)
{
    // A capture must not show our own masks: they come down first, and only when a capture is
    // needed. Without one the old masks stay up until the new ones replace them.
    ScreenCapture* capture = &m_platform.capture();
    if (!capture->capturesBelowOwnWindows())
        m_overlays->clearMenuBarWindows();
    // The X server answers the captures only once it has drawn what it was asked before (a
    // new desktop picture of a whole monitor may take it a quarter of a second): they are
    // taken on the capture thread, and so is the question whether capturing is allowed.
    const quint64 build = m_barBuild;
    auto images = std::make_shared<QHash<quint32, QImage>>();
    ++m_capturesUnderWay;
    m_captureWork.post(
        [capture, displayIds, images] {
            if (!capture->canCaptureScreen() && !capture->requestCaptureAccess())
                return;
            for (const quint32 id : displayIds)
                images->insert(id, capture->captureDisplay(id));
        },
        this,
        [this, build, images, rescan] {
            --m_capturesUnderWay;
            if (build != m_barBuild)
                return;
            for (auto it = images->cbegin(); it != images->cend(); ++it) {
                if (it->isNull())
                    qCDebug(lcCover, "display %u could not be captured", it.key());
                else
                    m_frameCache.insert(it.key(), *it);
            }
            showBarTiles(rescan);
        });
}

void AppModel::showBarTiles(bool rescan)
{
    QList<MaskTile> tiles;
    for (const ScreenInfo& screen : std::as_const(m_barScreens)) {
        QRectF barRect;
        const std::optional<BarReflow::Bar> bar = barOn(screen, &barRect);
        if (!bar)
            continue;

        // A monitor that could not be captured gets a plain tile over the whole bar.
        std::optional<QImage> capture;
        if (screen.displayId) {
            if (const auto cached = m_frameCache.constFind(*screen.displayId);
                cached != m_frameCache.constEnd())
                capture = *cached;
        }

        if (m_menuBarCover == MenuBarCover::entire) {
            MaskTile tile{barRect, std::nullopt};
            if (capture)
                tile.image = BarReflow::emptyColumn(*capture, screen, m_menuBarItems, *bar);
            tiles.append(tile);
        } else if (m_menuBarCover == MenuBarCover::items && capture) {
            // Only what changes is covered: the rest of the panel stays live.
            const auto piece =
                BarReflow::reflow(*capture, screen, m_menuBarItems, m_selectedItemIDs, *bar);
            const auto shown =
                piece ? BarReflow::changesOnly(*piece, screen, m_menuBarItems, m_selectedItemIDs)
                      : std::nullopt;
            if (shown)
                tiles.append({shown->rect, shown->image});
        }
    }
    // One step: the presenter replaces the old masks once the new ones are up.
    m_overlays->setMenuBarHiddenAndTiles(true, tiles);
    if (rescan)
        startPanelScan();
}

void AppModel::scheduleBarRecapture()
{
    if (!showsChanges() || m_menuBarCover == MenuBarCover::keep)
        return;
    if (m_barRecaptureWork)
        m_barRecaptureWork->cancel();
    // Masks off at once, so the capture 0.4 s later sees the bare panel; where the panel can be
    // captured under them they stay up and nothing flashes.
    if (!m_platform.capture().capturesBelowOwnWindows())
        m_overlays->setBarTiles({});
    m_barRecaptureWork = m_scheduler.after(400ms, this, [this] {
        m_frameCache.clear();
        recomputeBarTiles();
    });
}

bool AppModel::hasPendingBarRecapture() const
{
    return (m_barRecaptureWork && m_barRecaptureWork->isActive()) || m_capturesUnderWay > 0;
}

void AppModel::setMenuBarCover(MenuBarCover cover)
{
    // From one cover to the other the panel looks the same (the tint stays), so the captures
    // stay good and the new masks replace the old ones without a gap; a cover switched on
    // tints the panel first, so it is captured again once the tint shows (and a recapture
    // already waiting for the tint is waited for again).
    const bool wasCovered = m_menuBarCover != MenuBarCover::keep;
    assign(m_menuBarCover, cover, Field::menuBarCover);
    m_defaults.setString(StoredKeys::menuBarCover, rawValue(cover));
    recomputeBarTiles();
    if (!wasCovered || (m_barRecaptureWork && m_barRecaptureWork->isActive()))
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
    m_defaults.setStringList(StoredKeys::hiddenItemLabels,
                             QStringList(m_hiddenLabels.begin(), m_hiddenLabels.end()));
    recomputeBarTiles(true, true);
}

void AppModel::restoreHiddenSelection()
{
    // The scan's result selects the items by their stored labels (every scan does), then the
    // captures are dropped and the tiles rebuilt.
    m_scanClearsCache = true;
    startPanelScan();
}
