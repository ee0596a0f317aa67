// RandR queries on Qt's X connection.
#include "X11RandR.h"

#include "X11Connection.h"
#include "X11Replies.h"

#include <QHash>
#include <QMutex>
#include <atomic>
#include <cstdlib>
#include <memory>

namespace X11 {

namespace {
using X11::Reply;

// Atom names never change while the server runs. Monitors are looked up from the
// desktop-picture thread too, hence the lock.
QString atomName(xcb_connection_t* c, xcb_atom_t atom)
{
    static QMutex mutex;
    const QMutexLocker lock(&mutex);
    static QHash<xcb_atom_t, QString> cache;
    if (const auto found = cache.constFind(atom); found != cache.constEnd())
        return *found;
    Reply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(c, xcb_get_atom_name(c, atom), nullptr));
    if (!reply)
        return {};
    const QString name = QString::fromUtf8(xcb_get_atom_name_name(reply.get()),
                                           xcb_get_atom_name_name_length(reply.get()));
    cache.insert(atom, name);
    return name;
}
} // namespace

bool hasRandrMonitors()
{
    xcb_connection_t* c = connection();
    if (!c)
        return false;
    const xcb_query_extension_reply_t* ext = xcb_get_extension_data(c, &xcb_randr_id);
    if (!ext || !ext->present)
        return false;
    static std::atomic<int> known = -1;
    if (known < 0) {
        Reply<xcb_randr_query_version_reply_t> version(xcb_randr_query_version_reply(
            c, xcb_randr_query_version(c, XCB_RANDR_MAJOR_VERSION, XCB_RANDR_MINOR_VERSION),
            nullptr));
        known = version && (version->major_version > 1 ||
                            (version->major_version == 1 && version->minor_version >= 5))
                    ? 1
                    : 0;
    }
    return known == 1;
}

quint8 randrEventBase()
{
    xcb_connection_t* c = connection();
    if (!c)
        return 0;
    const xcb_query_extension_reply_t* ext = xcb_get_extension_data(c, &xcb_randr_id);
    return ext && ext->present ? ext->first_event : 0;
}

QList<RandrMonitor> randrMonitors()
{
    QList<RandrMonitor> result;
    xcb_connection_t* c = connection();
    if (!c || !hasRandrMonitors())
        return result;
    Reply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, rootWindow(), 1), nullptr));
    if (!reply)
        return result;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
         xcb_randr_monitor_info_next(&it)) {
        const xcb_randr_monitor_info_t* info = it.data;
        RandrMonitor monitor;
        monitor.name = atomName(c, info->name);
        monitor.rect = QRect(info->x, info->y, info->width, info->height);
        monitor.primary = info->primary;
        const xcb_randr_output_t* outputs = xcb_randr_monitor_info_outputs(info);
        const int count = xcb_randr_monitor_info_outputs_length(info);
        for (int i = 0; i < count; ++i)
            monitor.outputs.append(outputs[i]);
        result.append(monitor);
    }
    return result;
}

std::optional<QRect> monitorRect(const QString& name, std::optional<xcb_randr_output_t> output)
{
    std::optional<QRect> byOutput;
    for (const RandrMonitor& monitor : randrMonitors()) {
        if (!monitor.name.isEmpty() && monitor.name == name)
            return monitor.rect;
        if (output && !byOutput && monitor.outputs.contains(*output))
            byOutput = monitor.rect;
    }
    return byOutput;
}

QString outputName(xcb_randr_output_t output)
{
    xcb_connection_t* c = connection();
    if (!c)
        return {};
    Reply<xcb_randr_get_output_info_reply_t> info(xcb_randr_get_output_info_reply(
        c, xcb_randr_get_output_info(c, output, XCB_CURRENT_TIME), nullptr));
    if (!info)
        return {};
    return QString::fromUtf8(
        reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())),
        xcb_randr_get_output_info_name_length(info.get()));
}

QString edidProductName(xcb_randr_output_t output)
{
    xcb_connection_t* c = connection();
    const xcb_atom_t edidAtom = atom("EDID");
    if (!c || edidAtom == XCB_ATOM_NONE)
        return {};
    Reply<xcb_randr_get_output_property_reply_t> reply(xcb_randr_get_output_property_reply(
        c, xcb_randr_get_output_property(c, output, edidAtom, XCB_ATOM_ANY, 0, 128, 0, 0),
        nullptr));
    if (!reply || reply->format != 8)
        return {};
    const QByteArray edid(
        reinterpret_cast<const char*>(xcb_randr_get_output_property_data(reply.get())),
        xcb_randr_get_output_property_data_length(reply.get()));
    return parseEdidProductName(edid);
}

QString parseEdidProductName(const QByteArray& edid)
{
    static const QByteArray header("\x00\xff\xff\xff\xff\xff\xff\x00", 8);
    if (edid.size() < 128 || !edid.startsWith(header))
        return {};
    // Four 18-byte descriptors; a display descriptor has a zero pixel clock, and tag 0xFC
    // holds up to 13 characters of the product name, ended by a line feed.
    for (int offset = 54; offset <= 108; offset += 18) {
        const auto* d = reinterpret_cast<const unsigned char*>(edid.constData() + offset);
        if (d[0] != 0 || d[1] != 0 || d[2] != 0 || d[3] != 0xFC)
            continue;
        QByteArray text(reinterpret_cast<const char*>(d + 5), 13);
        const qsizetype end = text.indexOf('\n');
        if (end >= 0)
            text.truncate(end);
        return QString::fromLatin1(text).trimmed();
    }
    return {};
}

} // namespace X11
