// What the window list needs to know about X windows, read in batches: the viewable window tree,
// geometry in root coordinates, the owning process and the names.
#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QList>
#include <QPoint>
#include <QRect>
#include <QString>
#include <limits>
#include <optional>
#include <xcb/randr.h>
#include <xcb/xcb.h>

namespace X11 {

struct WindowFacts {
    xcb_window_t window = XCB_WINDOW_NONE;
    // False when the window vanished or did not answer in time.
    bool valid = false;
    bool viewable = false;
    // The window's own rectangle in root coordinates, without a window manager's frame.
    QRect rootRect;
    // _NET_FRAME_EXTENTS: left, right, top, bottom (empty when unset).
    QList<quint32> frameExtents;
    QList<quint32> windowTypes;
    qint64 pid = 0;
    // The class part of WM_CLASS ("Yad" of "yad", "Yad"); empty when unset.
    QString wmClass;
    // _NET_WM_NAME, else WM_NAME.
    std::optional<QString> name;
    // Where a GTK plug publishes its accessibility tree ("bus:path").
    QByteArray atSpiPath;
};

struct TreeNode {
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_window_t parent = XCB_WINDOW_NONE;
};

// Every viewable window below `root`, breadth first, each level in stacking order from bottom
// to top. Subtrees of unmapped windows are left out, and so are windows more than `depth`
// levels below the root.
QList<TreeNode> viewableTree(xcb_connection_t* c, xcb_window_t root, const QDeadlineTimer& deadline,
                             int depth = std::numeric_limits<int>::max());

// Facts of each window, in the order given; requests for all windows are sent before any reply
// is read.
QList<WindowFacts> windowFacts(xcb_connection_t* c, xcb_window_t root,
                               const QList<xcb_window_t>& windows, const QDeadlineTimer& deadline);

// The owner's name as the window list reports it: the process name from /proc, else the
// WM_CLASS class, else none.
std::optional<QString> ownerName(qint64 pid, const QString& wmClass);

// Top-left corner of the primary RandR monitor (else the first monitor) in root coordinates.
QPoint primaryMonitorOrigin(xcb_connection_t* c, xcb_window_t root, const QDeadlineTimer& deadline);
QPoint primaryMonitorOrigin(const xcb_randr_get_monitors_reply_t* monitors);

// The X client that created a window: its resource-id base.
quint32 clientBase(xcb_connection_t* c, xcb_window_t window);

} // namespace X11
