// Batched reads of window geometry and properties.
#include "X11WindowFacts.h"

#include "X11Connection.h"
#include "X11Replies.h"

#include <QFile>
#include <xcb/randr.h>

namespace X11 {

QList<TreeNode> viewableTree(xcb_connection_t* c, xcb_window_t root, const QDeadlineTimer& deadline,
                             int depth)
{
    QList<TreeNode> result;
    QList<xcb_window_t> level{root};
    for (int below = 0; below < depth && !level.isEmpty(); ++below) {
        QList<xcb_query_tree_cookie_t> trees;
        trees.reserve(level.size());
        for (xcb_window_t w : std::as_const(level))
            trees.append(xcb_query_tree(c, w));
        QList<TreeNode> children;
        for (qsizetype i = 0; i < level.size(); ++i) {
            auto tree = reply<xcb_query_tree_reply_t>(c, trees[i], deadline);
            if (!tree)
                continue;
            const xcb_window_t* kids = xcb_query_tree_children(tree.get());
            for (int k = 0; k < xcb_query_tree_children_length(tree.get()); ++k)
                children.append({kids[k], level[i]});
        }
        QList<xcb_get_window_attributes_cookie_t> attributes;
        attributes.reserve(children.size());
        for (const TreeNode& node : std::as_const(children))
            attributes.append(xcb_get_window_attributes(c, node.window));
        level.clear();
        for (qsizetype i = 0; i < children.size(); ++i) {
            auto a = reply<xcb_get_window_attributes_reply_t>(c, attributes[i], deadline);
            if (!a || a->map_state != XCB_MAP_STATE_VIEWABLE)
                continue;
            result.append(children[i]);
            level.append(children[i].window);
        }
    }
    return result;
}

namespace {

QString text(const xcb_get_property_reply_t* reply)
{
    QByteArray raw = bytes(reply);
    // Some clients include the terminating zero.
    while (raw.endsWith('\0'))
        raw.chop(1);
    // WM_NAME may be Latin-1 (STRING); everything else here is UTF-8.
    if (reply && reply->type == XCB_ATOM_STRING)
        return QString::fromLatin1(raw);
    return QString::fromUtf8(raw);
}

struct Cookies {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t position;
    xcb_get_property_cookie_t extents, types, pid, wmClass, netName, name, atSpi;
};

} // namespace

QList<WindowFacts> windowFacts(xcb_connection_t* c, xcb_window_t root,
                               const QList<xcb_window_t>& windows, const QDeadlineTimer& deadline)
{
    const xcb_atom_t frameExtents = atom("_NET_FRAME_EXTENTS");
    const xcb_atom_t windowType = atom("_NET_WM_WINDOW_TYPE");
    const xcb_atom_t pid = atom("_NET_WM_PID");
    const xcb_atom_t netName = atom("_NET_WM_NAME");
    const xcb_atom_t atSpi = atom("_XEMBED_AT_SPI_PATH");

    QList<Cookies> cookies;
    cookies.reserve(windows.size());
    for (xcb_window_t w : windows) {
        cookies.append({xcb_get_window_attributes(c, w), xcb_get_geometry(c, w),
                        xcb_translate_coordinates(c, w, root, 0, 0),
                        requestProperty(c, w, frameExtents), requestProperty(c, w, windowType),
                        requestProperty(c, w, pid), requestProperty(c, w, XCB_ATOM_WM_CLASS),
                        requestProperty(c, w, netName), requestProperty(c, w, XCB_ATOM_WM_NAME),
                        requestProperty(c, w, atSpi)});
    }

    QList<WindowFacts> result;
    result.reserve(windows.size());
    for (qsizetype i = 0; i < windows.size(); ++i) {
        const Cookies& k = cookies[i];
        WindowFacts facts;
        facts.window = windows[i];
        auto attributes = reply<xcb_get_window_attributes_reply_t>(c, k.attributes, deadline);
        auto geometry = reply<xcb_get_geometry_reply_t>(c, k.geometry, deadline);
        auto position = reply<xcb_translate_coordinates_reply_t>(c, k.position, deadline);
        auto extents = reply<xcb_get_property_reply_t>(c, k.extents, deadline);
        auto types = reply<xcb_get_property_reply_t>(c, k.types, deadline);
        auto pidReply = reply<xcb_get_property_reply_t>(c, k.pid, deadline);
        auto wmClass = reply<xcb_get_property_reply_t>(c, k.wmClass, deadline);
        auto netNameReply = reply<xcb_get_property_reply_t>(c, k.netName, deadline);
        auto nameReply = reply<xcb_get_property_reply_t>(c, k.name, deadline);
        auto atSpiReply = reply<xcb_get_property_reply_t>(c, k.atSpi, deadline);
        if (attributes && geometry && position) {
            facts.valid = true;
            facts.viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
            facts.rootRect =
                QRect(position->dst_x, position->dst_y, geometry->width, geometry->height);
        }
        facts.frameExtents = cardinals(extents.get());
        if (facts.frameExtents.size() != 4)
            facts.frameExtents.clear();
        facts.windowTypes = cardinals(types.get());
        if (const QList<quint32> pids = cardinals(pidReply.get()); !pids.isEmpty())
            facts.pid = pids.first();
        // WM_CLASS is "instance\0class\0".
        const QList<QByteArray> classParts = bytes(wmClass.get()).split('\0');
        if (classParts.size() >= 2)
            facts.wmClass = QString::fromLocal8Bit(classParts[1]);
        if (netNameReply && netNameReply->format == 8)
            facts.name = text(netNameReply.get());
        else if (nameReply && nameReply->format == 8)
            facts.name = text(nameReply.get());
        facts.atSpiPath = bytes(atSpiReply.get());
        result.append(facts);
    }
    return result;
}

std::optional<QString> ownerName(qint64 pid, const QString& wmClass)
{
    if (pid > 0) {
        QFile comm(QStringLiteral("/proc/%1/comm").arg(pid));
        if (comm.open(QIODevice::ReadOnly)) {
            const QString name = QString::fromLocal8Bit(comm.readAll()).trimmed();
            if (!name.isEmpty())
                return name;
        }
    }
    if (!wmClass.isEmpty())
        return wmClass;
    return std::nullopt;
}

QPoint primaryMonitorOrigin(xcb_connection_t* c, xcb_window_t root, const QDeadlineTimer& deadline)
{
    // A request of a missing extension would close the connection.
    const xcb_query_extension_reply_t* randr = xcb_get_extension_data(c, &xcb_randr_id);
    if (!randr || !randr->present)
        return {};
    auto monitors =
        reply<xcb_randr_get_monitors_reply_t>(c, xcb_randr_get_monitors(c, root, 1), deadline);
    return monitors ? primaryMonitorOrigin(monitors.get()) : QPoint();
}

QPoint primaryMonitorOrigin(const xcb_randr_get_monitors_reply_t* monitors)
{
    std::optional<QPoint> first;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(monitors); it.rem;
         xcb_randr_monitor_info_next(&it)) {
        const QPoint origin(it.data->x, it.data->y);
        if (it.data->primary)
            return origin;
        if (!first)
            first = origin;
    }
    return first.value_or(QPoint());
}

quint32 clientBase(xcb_connection_t* c, xcb_window_t window)
{
    return window & ~xcb_get_setup(c)->resource_id_mask;
}

} // namespace X11
