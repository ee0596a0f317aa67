// Replies to X requests, each waited for only until a deadline so that a grabbed or stalled
// server cannot hold up a scan.
#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QList>
#include <QString>
#include <cstdlib>
#include <memory>
#include <optional>
#include <xcb/xcb.h>

namespace X11 {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// A connection of the scans' own to the display Qt uses (Qt's when none can be opened): with
// no other thread reading it, waiting on its socket ends exactly when a reply arrives.
xcb_connection_t* scanConnection();

// The reply to the request with this sequence number, or null on an error or when the deadline
// passes first (the reply is then discarded when it comes).
void* replyBefore(xcb_connection_t* c, unsigned int sequence, const QDeadlineTimer& deadline);

template <typename T, typename Cookie>
Reply<T> reply(xcb_connection_t* c, Cookie cookie, const QDeadlineTimer& deadline)
{
    return Reply<T>(static_cast<T*>(replyBefore(c, cookie.sequence, deadline)));
}

// Collects the replies of one operation until the first one misses its deadline; from then on
// every reply is discarded at once, so a stalled server costs the operation one deadline only.
class ReplyBatch final {
public:
    explicit ReplyBatch(xcb_connection_t* c) : m_c(c) {}

    template <typename T, typename Cookie>
    Reply<T> take(Cookie cookie, const QDeadlineTimer& deadline)
    {
        return Reply<T>(static_cast<T*>(await(cookie.sequence, deadline)));
    }
    bool timedOut() const { return m_timedOut; }

private:
    void* await(unsigned int sequence, const QDeadlineTimer& deadline);

    xcb_connection_t* m_c;
    bool m_timedOut = false;
};

// Property values of a GetProperty reply.
QList<quint32> cardinals(const xcb_get_property_reply_t* reply);
QByteArray bytes(const xcb_get_property_reply_t* reply);

// Starts reading a property of any type, at most 64 KiB of it.
xcb_get_property_cookie_t requestProperty(xcb_connection_t* c, xcb_window_t window,
                                          xcb_atom_t atom);

} // namespace X11
