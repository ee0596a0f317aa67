// Tray icons of every X screen's notification area.
//
// The tray host (the owner of _NET_SYSTEM_TRAY_S<n>) reparents each XEmbed icon into a socket
// window it created itself, so an icon is a viewable window created by another client whose
// parent was created by the host's client. The host's own plug windows (created by the host
// and placed into another client's window, as xfce4-panel's external plugins are) are where
// the status item icons live; see PanelStatusItems.
// The panel's own plugins right of the notification area (the clock) come last, as items too.
//
// lxqt-panel 1.2 shows no XEmbed icon where its window is: its tray takes each icon into a
// window of its own at the root's origin (override-redirect, opacity 0, stacked below
// everything), reads the icon's pixels from there and registers a StatusNotifierItem for it with
// its own watcher, which its status-item plugin draws as a button. So an icon whose socket is a
// child of the root is listed where the panel's button for it is, found through the panel's
// accessibility tree, with the icon's own window and process.
#include "X11TrayIcons.h"

#include "PanelStatusItems.h"
#include "X11Connection.h"
#include "X11Replies.h"
#include "X11WindowFacts.h"

#include <QMap>
#include <QSet>

namespace X11TrayIcons {

namespace {

// An item the panel draws itself: a status item's icon or one of the panel's own plugins.
TrayIcon drawnByThePanel(const StatusIcon& s)
{
    TrayIcon icon;
    icon.number = s.id;
    icon.rootRect = s.rootRect;
    icon.pid = s.pid;
    if (s.pid > 0)
        icon.ownerName = X11::ownerName(s.pid, QString());
    if (!s.title.isEmpty())
        icon.windowName = s.title;
    icon.title = s.title;
    return icon;
}

} // namespace

QList<TrayIcon> find(xcb_connection_t* c, bool withTexts, std::chrono::milliseconds perRequest)
{
    return scan(c, true, withTexts, perRequest).icons;
}

TrayScan scan(xcb_connection_t* c, bool drawnByPanel, bool withTexts,
              std::chrono::milliseconds perRequest)
{
    TrayScan result;
    QList<TrayIcon>& icons = result.icons;
    QList<QByteArray> accessibleRoots;
    // The notification area: its plug, else the span of its icons.
    QRect trayArea;
    QRect iconSpan;
    // The icons the host keeps out of sight and draws itself, in the host's creation order.
    QList<X11::WindowFacts> hostedIcons;
    int screen = 0;
    for (auto it = xcb_setup_roots_iterator(xcb_get_setup(c)); it.rem;
         xcb_screen_next(&it), ++screen) {
        const xcb_window_t root = it.data->root;
        const QByteArray selection = "_NET_SYSTEM_TRAY_S" + QByteArray::number(screen);
        auto owner = X11::reply<xcb_get_selection_owner_reply_t>(
            c, xcb_get_selection_owner(c, X11::atom(selection.constData())),
            QDeadlineTimer(perRequest));
        if (!owner || owner->owner == XCB_WINDOW_NONE)
            continue;
        const quint32 host = X11::clientBase(c, owner->owner);

        QList<xcb_window_t> iconWindows;
        QList<xcb_window_t> plugs;
        // Icons in sockets that are children of the root, by socket (the host's creation order).
        QMap<xcb_window_t, xcb_window_t> standIns;
        // The tree is breadth first: a window's parent comes before it.
        QSet<xcb_window_t> topLevel;
        for (const X11::TreeNode& node : X11::viewableTree(c, root, QDeadlineTimer(perRequest))) {
            if (node.parent == root)
                topLevel.insert(node.window);
            const bool byHost = X11::clientBase(c, node.window) == host;
            const bool inHost = X11::clientBase(c, node.parent) == host;
            if (inHost && !byHost && topLevel.contains(node.parent))
                standIns.insert(node.parent, node.window);
            else if (inHost && !byHost)
                iconWindows.append(node.window);
            else if (byHost && !inHost)
                plugs.append(node.window);
        }
        for (const X11::WindowFacts& plug :
             X11::windowFacts(c, root, plugs, QDeadlineTimer(perRequest))) {
            if (plug.pid > 0 && !result.hostPid)
                result.hostPid = plug.pid;
            if (!plug.atSpiPath.isEmpty()) {
                accessibleRoots.append(plug.atSpiPath);
                if (trayArea.isEmpty() && plug.valid && plug.viewable)
                    trayArea = plug.rootRect;
            }
        }
        for (const X11::WindowFacts& f :
             X11::windowFacts(c, root, iconWindows, QDeadlineTimer(perRequest))) {
            if (!f.valid || !f.viewable)
                continue;
            TrayIcon icon;
            icon.number = f.window;
            icon.rootRect = f.rootRect;
            icon.pid = f.pid;
            icon.ownerName = X11::ownerName(f.pid, f.wmClass);
            icon.windowName = f.name;
            icon.title = f.name.value_or(QString());
            icons.append(icon);
            iconSpan |= f.rootRect;
        }
        for (const X11::WindowFacts& f :
             X11::windowFacts(c, root, standIns.values(), QDeadlineTimer(perRequest))) {
            if (f.valid)
                hostedIcons.append(f);
        }
    }

    if (!drawnByPanel)
        return result;
    const QDeadlineTimer statusDeadline(4 * perRequest);
    QList<StatusIcon> shown =
        PanelStatusItems::find(accessibleRoots, withTexts, perRequest, statusDeadline);
    // The panel that draws its stand-ins for the icons is asked for its own buttons.
    const qint64 panelPid = hostedIcons.isEmpty() ? 0 : result.hostPid;
    if (!hostedIcons.isEmpty()) {
        const QList<StatusIcon> buttons =
            panelPid > 0
                ? PanelStatusItems::findInPanel(panelPid, withTexts, perRequest, statusDeadline)
                : QList<StatusIcon>();
        result.hostedIconsUnplaced = buttons.isEmpty();
        shown << buttons;
    }
    for (const StatusIcon& s : std::as_const(shown)) {
        TrayIcon icon = drawnByThePanel(s);
        icon.description = s.toolTipTitle;
        // A stand-in shows the icon window of the same place in the panel's order.
        if (s.pid == panelPid && s.hostedPlace >= 0 && s.hostedPlace < hostedIcons.size()) {
            const X11::WindowFacts& f = hostedIcons.at(s.hostedPlace);
            icon.number = f.window;
            icon.pid = f.pid;
            icon.ownerName = X11::ownerName(f.pid, f.wmClass);
            icon.windowName = f.name;
            if (icon.title.isEmpty())
                icon.title = f.name.value_or(QString());
        }
        icons.append(icon);
        iconSpan |= s.rootRect;
    }

    if (trayArea.isEmpty())
        trayArea = iconSpan;
    const PanelStatusItems::PanelLayout layout = PanelStatusItems::panelLayout(
        trayArea, panelPid, perRequest, QDeadlineTimer(4 * perRequest));
    for (const StatusIcon& s : layout.extras)
        icons.append(drawnByThePanel(s));
    result.emptyStretches = layout.emptyStretches;
    return result;
}

} // namespace X11TrayIcons
