// Snapshot of the viewable windows. Bounds are converted from root coordinates to global
// top-left ones by subtracting the primary monitor's top-left corner. The panel scan runs the
// same snapshot, with the items the panel draws itself, on a thread of its own.
#include "X11WindowList.h"

#include "X11Connection.h"
#include "X11Replies.h"
#include "X11TrayIcons.h"
#include "X11WindowFacts.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace {

// No single X batch may hold up the snapshot for longer than this.
constexpr auto requestLimit = 250ms;

QList<xcb_window_t> managedWindowsBottomToTop(xcb_connection_t* c, xcb_window_t root)
{
    auto stacking = X11::reply<xcb_get_property_reply_t>(
        c, X11::requestProperty(c, root, X11::atom("_NET_CLIENT_LIST_STACKING")),
        QDeadlineTimer(requestLimit));
    QList<xcb_window_t> windows;
    for (quint32 w : X11::cardinals(stacking.get()))
        windows.append(w);
    if (!windows.isEmpty())
        return windows;
    // Without an EWMH window manager the root's children are the top-level windows.
    auto tree = X11::reply<xcb_query_tree_reply_t>(c, xcb_query_tree(c, root),
                                                   QDeadlineTimer(requestLimit));
    if (tree) {
        const xcb_window_t* kids = xcb_query_tree_children(tree.get());
        windows = QList<xcb_window_t>(kids, kids + xcb_query_tree_children_length(tree.get()));
    }
    return windows;
}

int layerOf(const X11::WindowFacts& f)
{
    if (f.windowTypes.contains(X11::atom("_NET_WM_WINDOW_TYPE_DOCK")))
        return WindowLayer::panel;
    if (f.windowTypes.contains(X11::atom("_NET_WM_WINDOW_TYPE_DESKTOP")))
        return WindowLayer::desktop;
    return WindowLayer::normal;
}

QRectF frameOf(const X11::WindowFacts& f)
{
    QRect r = f.rootRect;
    if (f.frameExtents.size() == 4) {
        const auto& e = f.frameExtents;
        r.adjust(-int(e[0]), -int(e[2]), int(e[1]), int(e[3]));
    }
    return QRectF(r);
}

} // namespace

QList<WindowListEntry> X11WindowList::onScreenWindows() const
{
    return snapshot(false, false).windows;
}

PanelSnapshot X11WindowList::snapshot(bool drawnByPanel, bool withTexts)
{
    PanelSnapshot result;
    if (!X11::connection())
        return result;
    xcb_connection_t* c = X11::scanConnection();
    if (!c || xcb_connection_has_error(c))
        return result;
    const xcb_window_t root = X11::rootWindow();
    const QPointF origin = X11::primaryMonitorOrigin(c, root, QDeadlineTimer(requestLimit));

    // Tray icons are drawn above their panel: they come first. Each keeps its own extents.
    const TrayScan tray = X11TrayIcons::scan(c, drawnByPanel, withTexts, requestLimit);
    for (const TrayIcon& icon : tray.icons) {
        WindowListEntry e;
        e.layer = WindowLayer::trayIcon;
        e.number = icon.number;
        e.bounds = X11::rootToPoints(QRectF(icon.rootRect)).translated(-origin);
        e.ownerName = icon.ownerName;
        e.windowName = icon.windowName;
        e.ownerPid = icon.pid;
        result.windows.append(e);
        if (withTexts) {
            NamedTrayElement element;
            element.x = e.bounds.x();
            element.description = icon.description;
            element.title = icon.title;
            element.appName = icon.ownerName.value_or(QString());
            result.names.append(element);
        }
    }
    for (const QRect& stretch : tray.emptyStretches)
        result.emptyStretches.append(X11::rootToPoints(QRectF(stretch)).translated(-origin));
    if (tray.hostedIconsUnplaced) {
        const QString panel =
            X11::ownerName(tray.hostPid, QString()).value_or(QStringLiteral("the panel"));
        result.itemsGap = QStringLiteral("%1 draws its tray icons itself and tells where they are "
                                         "only on the accessibility bus; switch accessibility on "
                                         "and restart %1")
                              .arg(panel);
    }

    QList<xcb_window_t> managed = managedWindowsBottomToTop(c, root);
    std::reverse(managed.begin(), managed.end());
    for (const X11::WindowFacts& f :
         X11::windowFacts(c, root, managed, QDeadlineTimer(requestLimit))) {
        if (!f.valid || !f.viewable)
            continue;
        WindowListEntry e;
        e.layer = layerOf(f);
        e.number = f.window;
        e.bounds = X11::rootToPoints(frameOf(f)).translated(-origin);
        e.ownerName = X11::ownerName(f.pid, f.wmClass);
        e.windowName = f.name;
        e.ownerPid = f.pid;
        result.windows.append(e);
    }
    return result;
}

X11PanelScan::X11PanelScan()
{
    // One scan at a time: the scan's caches (the accessibility bus, item ids) are its own.
    m_pool.setMaxThreadCount(1);
    connect(&m_watch, &X11TrayWatch::changed, this, &PanelScan::panelChanged);
}

X11PanelScan::~X11PanelScan()
{
    // A running scan ends within its deadlines; its result is not delivered.
    m_alive->store(false);
    m_pool.waitForDone();
}

void X11PanelScan::start(bool withNames)
{
    X11::noteMonitors();
    if (m_running) {
        // Folded into one more scan once the running one ends: its result may be older than
        // this request.
        m_again = true;
        m_againWithNames = m_againWithNames || withNames;
        return;
    }
    m_running = true;
    const std::shared_ptr<std::atomic<bool>> alive = m_alive;
    m_pool.start([this, alive, withNames] {
        PanelSnapshot snapshot = snapshotForScan(withNames);
        if (!alive->load())
            return;
        QMetaObject::invokeMethod(
            this,
            [this, snapshot = std::move(snapshot)] {
                m_running = false;
                // A request made meanwhile gets one more scan, but this result is delivered all
                // the same: a panel that changes all the time would otherwise never be shown.
                if (std::exchange(m_again, false))
                    start(std::exchange(m_againWithNames, false));
                // The icon windows and the panels found are watched for leaving or changing.
                QList<quint32> watched;
                for (const WindowListEntry& e : snapshot.windows) {
                    if ((e.layer == WindowLayer::trayIcon && !(e.number & 0x80000000u)) ||
                        e.layer == WindowLayer::panel)
                        watched.append(e.number);
                }
                m_watch.watchWindows(watched);
                emit scanned(snapshot);
            },
            Qt::QueuedConnection);
    });
}

PanelSnapshot X11PanelScan::snapshotForScan(bool withNames)
{
    return X11WindowList::snapshot(true, withNames);
}
