// Deadline-bounded waiting for X replies on Qt's connection.
#include "X11Replies.h"

#include "X11Connection.h"

#include <algorithm>
#include <poll.h>
#include <xcb/xcbext.h>

namespace X11 {

xcb_connection_t* scanConnection()
{
    static xcb_connection_t* own = nullptr;
    if (own && xcb_connection_has_error(own)) {
        xcb_disconnect(own);
        own = nullptr;
    }
    if (!own) {
        xcb_connection_t* c = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(c))
            xcb_disconnect(c);
        else
            own = c;
    }
    return own ? own : connection();
}

void* replyBefore(xcb_connection_t* c, unsigned int sequence, const QDeadlineTimer& deadline)
{
    xcb_flush(c);
    for (;;) {
        void* result = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(c, sequence, &result, &error)) {
            Reply<xcb_generic_error_t> ignored(error);
            return result;
        }
        if (xcb_connection_has_error(c) || deadline.hasExpired()) {
            xcb_discard_reply(c, sequence);
            return nullptr;
        }
        // On Qt's shared connection its event thread may read the answer first: wait briefly.
        const qint64 slice = c == connection() ? 1 : deadline.remainingTime();
        pollfd p{xcb_get_file_descriptor(c), POLLIN, 0};
        poll(&p, 1, int(std::clamp<qint64>(slice, 0, 1000)));
    }
}

void* ReplyBatch::await(unsigned int sequence, const QDeadlineTimer& deadline)
{
    if (m_timedOut) {
        xcb_discard_reply(m_c, sequence);
        return nullptr;
    }
    void* result = replyBefore(m_c, sequence, deadline);
    if (!result && deadline.hasExpired() && !xcb_connection_has_error(m_c))
        m_timedOut = true;
    return result;
}

QList<quint32> cardinals(const xcb_get_property_reply_t* reply)
{
    QList<quint32> result;
    if (!reply || reply->format != 32)
        return result;
    const auto* values = static_cast<const quint32*>(xcb_get_property_value(reply));
    const int count = xcb_get_property_value_length(reply) / 4;
    result.reserve(count);
    for (int i = 0; i < count; ++i)
        result.append(values[i]);
    return result;
}

QByteArray bytes(const xcb_get_property_reply_t* reply)
{
    if (!reply || reply->format != 8)
        return {};
    return QByteArray(static_cast<const char*>(xcb_get_property_value(reply)),
                      xcb_get_property_value_length(reply));
}

xcb_get_property_cookie_t requestProperty(xcb_connection_t* c, xcb_window_t window, xcb_atom_t atom)
{
    return xcb_get_property(c, 0, window, atom, XCB_GET_PROPERTY_TYPE_ANY, 0, 16384);
}

} // namespace X11
