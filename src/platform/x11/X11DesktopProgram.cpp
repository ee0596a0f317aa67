// Finding the desktop program's window, and the owner of a root pixmap.
#include "X11DesktopProgram.h"

#include "X11Connection.h"
#include "X11RandR.h"
#include "X11Replies.h"
#include "X11WindowFacts.h"

#include <QDeadlineTimer>

namespace X11 {

namespace {

// Desktop programs size their window to the root (or to the monitor they draw); a window that
// covers four fifths of the area counts, so that a panel strut or a rounding step does not hide it.
bool coversMostOf(const QRect& window, const QRect& area)
{
    const QRect overlap = window.intersected(area);
    return !area.isEmpty() && qint64(overlap.width()) * overlap.height() * 5 >=
                                  qint64(area.width()) * area.height() * 4;
}

} // namespace

std::optional<DesktopProgram> desktopProgramCovering(xcb_connection_t* c, xcb_window_t root,
                                                     const QRect& area)
{
    if (!c)
        return std::nullopt;
    // A window manager that hangs must not hang the caller for long.
    const QDeadlineTimer deadline(1500);
    // A desktop window is a top-level client: at most a window manager's frame (and, with some
    // managers, one more level) lies between it and the root. The programs' own inner windows
    // below that would only cost round trips.
    const QList<TreeNode> tree = viewableTree(c, root, deadline, 3);
    QList<xcb_window_t> windows;
    windows.reserve(tree.size());
    for (const TreeNode& node : tree)
        windows.append(node.window);
    const xcb_atom_t desktopType = atom("_NET_WM_WINDOW_TYPE_DESKTOP");
    for (const WindowFacts& facts : windowFacts(c, root, windows, deadline)) {
        if (!facts.valid || !facts.viewable || !facts.windowTypes.contains(desktopType))
            continue;
        if (!coversMostOf(facts.rootRect, area))
            continue;
        DesktopProgram program;
        program.window = facts.window;
        program.pid = facts.pid;
        program.name = ownerName(facts.pid, facts.wmClass).value_or(QString());
        program.rect = facts.rootRect;
        return program;
    }
    return std::nullopt;
}

std::optional<DesktopProgram> desktopProgram(xcb_connection_t* c, xcb_window_t root)
{
    if (!c)
        return std::nullopt;
    // What the monitors show: the root may be larger than all of them together (an X server
    // with a virtual screen size), and a desktop program sizes its window to the monitors.
    QRect shown;
    for (const RandrMonitor& monitor : randrMonitors())
        shown = shown.united(monitor.rect);
    if (shown.isEmpty()) {
        Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(c, xcb_get_geometry(c, root), nullptr));
        if (!geometry)
            return std::nullopt;
        shown = QRect(0, 0, geometry->width, geometry->height);
    }
    return desktopProgramCovering(c, root, shown);
}

bool ownerIsRunning(xcb_connection_t* c, xcb_window_t root, quint32 resource)
{
    const quint32 owner = clientBase(c, resource);
    // Top-level windows and their children: a running client has at least one window among
    // them (a window manager's frame holds the client's own window one level down).
    QList<xcb_window_t> level{root};
    for (int depth = 0; depth < 2 && !level.isEmpty(); ++depth) {
        QList<xcb_query_tree_cookie_t> cookies;
        cookies.reserve(level.size());
        for (xcb_window_t window : std::as_const(level))
            cookies.append(xcb_query_tree(c, window));
        QList<xcb_window_t> next;
        for (const xcb_query_tree_cookie_t& cookie : std::as_const(cookies)) {
            Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, cookie, nullptr));
            if (!tree)
                continue;
            const xcb_window_t* children = xcb_query_tree_children(tree.get());
            for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
                if (clientBase(c, children[i]) == owner)
                    return true;
                next.append(children[i]);
            }
        }
        level = next;
    }
    return false;
}

} // namespace X11
