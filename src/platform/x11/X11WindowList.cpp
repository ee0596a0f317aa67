// Snapshot of the viewable windows. Bounds are converted from root coordinates to global
// top-left ones by subtracting the primary monitor's top-left corner.
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
    QList<WindowListEntry> result;
    if (!X11::connection())
        return result;
    xcb_connection_t* c = X11::scanConnection();
    if (!c || xcb_connection_has_error(c))
        return result;
    const xcb_window_t root = X11::rootWindow();
    const QPointF origin = X11::primaryMonitorOrigin(c, root, QDeadlineTimer(requestLimit));

    // Tray icons are drawn above their panel: they come first.
    for (const TrayIcon& icon : X11TrayIcons::find(c, false, requestLimit)) {
        WindowListEntry e;
        e.layer = WindowLayer::trayIcon;
        e.number = icon.number;
        e.bounds = X11::rootToPoints(QRectF(icon.rootRect)).translated(-origin);
        e.ownerName = icon.ownerName;
        e.windowName = icon.windowName;
        e.ownerPid = icon.pid;
        result.append(e);
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
        result.append(e);
    }

    // A tray icon is centred in a cell as high as its panel, the way a status item's window spans
    // the menu bar: it is reported with the panel's top edge and height (x and width its own).
    for (WindowListEntry& icon : result) {
        if (icon.layer != WindowLayer::trayIcon)
            continue;
        for (const WindowListEntry& panel : std::as_const(result)) {
            if (panel.layer == WindowLayer::panel && panel.bounds.contains(icon.bounds.center())) {
                icon.bounds.setTop(panel.bounds.top());
                icon.bounds.setHeight(panel.bounds.height());
                break;
            }
        }
    }
    return result;
}
