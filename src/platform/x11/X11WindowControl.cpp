// EWMH window control. It talks to the X server over a connection of its own: Qt's connection is
// read by Qt's event thread, so waiting on it for a reply with a deadline costs a polling delay,
// while on a private connection the wait wakes the moment the reply arrives. Every reply is
// awaited against a deadline: window properties are answered by the X server itself, but a client
// that grabbed the server and then hung would otherwise stall the program; after one timeout the
// rest of the operation is given up.
#include "X11WindowControl.h"

#include "X11Connection.h"
#include "X11Probes.h"
#include "X11Replies.h"
#include "X11WindowFacts.h"

#include <QPoint>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>
#include <xcb/randr.h>
#include <xcb/xcb_ewmh.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

// How long one batch of requests may take.
constexpr auto replyTimeout = 250ms;
// How long un-maximising and minimising wait for the window manager to act.
constexpr auto windowManagerTimeout = 500ms;
// ICCCM IconicState, the state asked for by WM_CHANGE_STATE.
constexpr uint32_t iconicState = 3;

using X11::Reply;

xcb_get_property_cookie_t requestProperty(xcb_connection_t* c, xcb_window_t window, xcb_atom_t name,
                                          xcb_atom_t type, uint32_t longLength)
{
    return xcb_get_property(c, 0, window, name, type, 0, longLength);
}

} // namespace

struct X11WindowControl::State {
    xcb_connection_t* c = nullptr;
    xcb_window_t root = XCB_WINDOW_NONE;
    // The library's request helpers take the connection as non-const.
    mutable xcb_ewmh_connection_t ewmh{};
    int screen = 0;
    bool atomsLoaded = false;
    bool ready = false;
    xcb_atom_t gtkApplicationId = XCB_ATOM_NONE;
    xcb_atom_t wmChangeState = XCB_ATOM_NONE;

    QList<quint32> atomProperty(xcb_window_t window, xcb_atom_t name) const
    {
        X11::ReplyBatch waiter(c);
        const auto cookie = requestProperty(c, window, name, XCB_ATOM_ATOM, 64);
        return X11::cardinals(
            waiter.take<xcb_get_property_reply_t>(cookie, QDeadlineTimer(replyTimeout)).get());
    }

    // Left, right, top, bottom decoration widths; zero when the window manager gives none.
    std::array<int, 4> frameExtents(xcb_window_t window) const
    {
        X11::ReplyBatch waiter(c);
        const auto cookie =
            requestProperty(c, window, ewmh._NET_FRAME_EXTENTS, XCB_ATOM_CARDINAL, 4);
        const QList<quint32> v = X11::cardinals(
            waiter.take<xcb_get_property_reply_t>(cookie, QDeadlineTimer(replyTimeout)).get());
        if (v.size() < 4)
            return {0, 0, 0, 0};
        return {int(v[0]), int(v[1]), int(v[2]), int(v[3])};
    }

    // Root position of the primary monitor's top-left corner: the origin of global top-left
    // coordinates.
    QPoint primaryOrigin(X11::ReplyBatch& waiter, xcb_randr_get_monitors_cookie_t cookie) const
    {
        const auto reply =
            waiter.take<xcb_randr_get_monitors_reply_t>(cookie, QDeadlineTimer(replyTimeout));
        return reply ? X11::primaryMonitorOrigin(reply.get()) : QPoint();
    }
    QPoint primaryOrigin() const
    {
        X11::ReplyBatch waiter(c);
        return primaryOrigin(waiter, xcb_randr_get_monitors(c, root, 1));
    }

    bool hasState(xcb_window_t window, std::initializer_list<xcb_atom_t> states) const
    {
        const QList<quint32> current = atomProperty(window, ewmh._NET_WM_STATE);
        for (xcb_atom_t state : states) {
            if (current.contains(state))
                return true;
        }
        return false;
    }

    // Polls `done` until it holds or the window manager had its time.
    template <typename Predicate> static bool waitUntil(Predicate done)
    {
        const auto deadline = Clock::now() + windowManagerTimeout;
        while (!done()) {
            if (Clock::now() >= deadline)
                return false;
            std::this_thread::sleep_for(5ms);
        }
        return true;
    }

    // The window manager ignores moves of maximised windows, and a maximised window's
    // decorations differ from its normal ones: leave the maximised and full-screen states first.
    void leaveMaximized(xcb_window_t window) const
    {
        const std::initializer_list<xcb_atom_t> maximized{ewmh._NET_WM_STATE_MAXIMIZED_VERT,
                                                          ewmh._NET_WM_STATE_MAXIMIZED_HORZ,
                                                          ewmh._NET_WM_STATE_FULLSCREEN};
        if (!hasState(window, maximized))
            return;
        xcb_ewmh_request_change_wm_state(
            &ewmh, screen, window, XCB_EWMH_WM_STATE_REMOVE, ewmh._NET_WM_STATE_MAXIMIZED_VERT,
            ewmh._NET_WM_STATE_MAXIMIZED_HORZ, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
        xcb_ewmh_request_change_wm_state(&ewmh, screen, window, XCB_EWMH_WM_STATE_REMOVE,
                                         ewmh._NET_WM_STATE_FULLSCREEN, XCB_ATOM_NONE,
                                         XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
        xcb_flush(c);
        waitUntil([&] { return !hasState(window, maximized); });
    }

    void moveResize(xcb_window_t window, uint32_t flags, int x, int y, int width, int height) const
    {
        // North-west gravity: x and y place the outer frame's top-left corner; the size is the
        // client's.
        xcb_ewmh_request_moveresize_window(
            &ewmh, screen, window, XCB_GRAVITY_NORTH_WEST, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER,
            xcb_ewmh_moveresize_window_opt_flags_t(flags), uint32_t(x), uint32_t(y),
            uint32_t(width), uint32_t(height));
        xcb_flush(c);
    }

    WindowRole role(const QList<quint32>& types, bool transient) const
    {
        // The first type the list names that we know decides, as the EWMH asks.
        for (quint32 type : types) {
            if (type == ewmh._NET_WM_WINDOW_TYPE_NORMAL)
                return WindowRole::normal;
            if (type == ewmh._NET_WM_WINDOW_TYPE_DIALOG)
                return WindowRole::dialog;
            if (type == ewmh._NET_WM_WINDOW_TYPE_UTILITY ||
                type == ewmh._NET_WM_WINDOW_TYPE_TOOLBAR || type == ewmh._NET_WM_WINDOW_TYPE_MENU)
                return WindowRole::utility;
            if (type == ewmh._NET_WM_WINDOW_TYPE_DOCK)
                return WindowRole::dock;
            if (type == ewmh._NET_WM_WINDOW_TYPE_DESKTOP)
                return WindowRole::desktop;
            if (type == ewmh._NET_WM_WINDOW_TYPE_SPLASH ||
                type == ewmh._NET_WM_WINDOW_TYPE_DROPDOWN_MENU ||
                type == ewmh._NET_WM_WINDOW_TYPE_POPUP_MENU ||
                type == ewmh._NET_WM_WINDOW_TYPE_TOOLTIP ||
                type == ewmh._NET_WM_WINDOW_TYPE_NOTIFICATION ||
                type == ewmh._NET_WM_WINDOW_TYPE_COMBO || type == ewmh._NET_WM_WINDOW_TYPE_DND)
                return WindowRole::other;
        }
        // Without a known type a transient window is a dialog, any other a normal window.
        return transient ? WindowRole::dialog : WindowRole::normal;
    }
};

X11WindowControl::X11WindowControl() : m_state(std::make_unique<State>())
{
    State& s = *m_state;
    // Only beside Qt's own X connection, to the same display ($DISPLAY).
    if (!X11::connection())
        return;
    s.c = xcb_connect(nullptr, &s.screen);
    if (xcb_connection_has_error(s.c)) {
        xcb_disconnect(s.c);
        s.c = nullptr;
        return;
    }
    xcb_intern_atom_cookie_t* cookies = xcb_ewmh_init_atoms(s.c, &s.ewmh);
    s.atomsLoaded = xcb_ewmh_init_atoms_replies(&s.ewmh, cookies, nullptr) != 0;
    s.ready = s.atomsLoaded && s.screen < s.ewmh.nb_screens;
    if (!s.ready)
        return;
    s.root = s.ewmh.screens[s.screen]->root;
    // Atoms are the server's, the same on every connection.
    s.gtkApplicationId = X11::atom("_GTK_APPLICATION_ID");
    s.wmChangeState = X11::atom("WM_CHANGE_STATE");
}

X11WindowControl::~X11WindowControl()
{
    if (!m_state->c)
        return;
    // A failed initialisation has cleaned up after itself.
    if (m_state->atomsLoaded)
        xcb_ewmh_connection_wipe(&m_state->ewmh);
    xcb_disconnect(m_state->c);
}

bool X11WindowControl::canControlWindows() const
{
    return m_state->ready && X11::hasEwmhWindowManager();
}

void X11WindowControl::requestWindowControl()
{
    if (!canControlWindows())
        qWarning("Quillet: no window manager that follows the EWMH conventions is running; "
                 "windows can be arranged once one runs");
}

QList<ClientWindow> X11WindowControl::windows() const
{
    QList<ClientWindow> result;
    const State& s = *m_state;
    if (!s.ready)
        return result;
    xcb_connection_t* c = s.c;
    X11::ReplyBatch waiter(c);
    const auto listCookie =
        requestProperty(c, s.root, s.ewmh._NET_CLIENT_LIST, XCB_ATOM_WINDOW, 16384);
    const auto stackingCookie =
        requestProperty(c, s.root, s.ewmh._NET_CLIENT_LIST_STACKING, XCB_ATOM_WINDOW, 16384);
    const auto desktopCookie =
        requestProperty(c, s.root, s.ewmh._NET_CURRENT_DESKTOP, XCB_ATOM_CARDINAL, 1);
    const auto listDeadline = QDeadlineTimer(replyTimeout);
    const QList<quint32> clients =
        X11::cardinals(waiter.take<xcb_get_property_reply_t>(listCookie, listDeadline).get());
    // Bottom to top.
    const QList<quint32> stacking =
        X11::cardinals(waiter.take<xcb_get_property_reply_t>(stackingCookie, listDeadline).get());
    const QList<quint32> currentDesktop =
        X11::cardinals(waiter.take<xcb_get_property_reply_t>(desktopCookie, listDeadline).get());

    enum Request {
        typeReq,
        stateReq,
        pidReq,
        netNameReq,
        nameReq,
        classReq,
        appIdReq,
        transientReq,
        desktopReq,
        requestCount
    };
    struct Pending {
        xcb_window_t window;
        std::array<xcb_get_property_cookie_t, requestCount> cookies;
    };
    // All requests go out at once; the replies are then collected in order.
    QList<Pending> pending;
    pending.reserve(clients.size());
    for (quint32 window : clients) {
        Pending p{window, {}};
        p.cookies[typeReq] =
            requestProperty(c, window, s.ewmh._NET_WM_WINDOW_TYPE, XCB_ATOM_ATOM, 32);
        p.cookies[stateReq] = requestProperty(c, window, s.ewmh._NET_WM_STATE, XCB_ATOM_ATOM, 64);
        p.cookies[pidReq] = requestProperty(c, window, s.ewmh._NET_WM_PID, XCB_ATOM_CARDINAL, 1);
        p.cookies[netNameReq] =
            requestProperty(c, window, s.ewmh._NET_WM_NAME, s.ewmh.UTF8_STRING, 1024);
        p.cookies[nameReq] =
            requestProperty(c, window, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, 1024);
        p.cookies[classReq] = requestProperty(c, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 256);
        p.cookies[appIdReq] =
            requestProperty(c, window, s.gtkApplicationId, s.ewmh.UTF8_STRING, 256);
        p.cookies[transientReq] =
            requestProperty(c, window, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, 1);
        p.cookies[desktopReq] =
            requestProperty(c, window, s.ewmh._NET_WM_DESKTOP, XCB_ATOM_CARDINAL, 1);
        pending.append(p);
    }

    for (const Pending& p : pending) {
        const auto deadline = QDeadlineTimer(replyTimeout);
        std::array<Reply<xcb_get_property_reply_t>, requestCount> r;
        for (int i = 0; i < requestCount; ++i)
            r[i] = waiter.take<xcb_get_property_reply_t>(p.cookies[i], deadline);
        if (waiter.timedOut())
            continue; // the remaining replies are discarded as they are taken
        // A window that went away between the list and the properties answers with errors.
        if (!r[typeReq] && !r[stateReq] && !r[classReq] && !r[nameReq])
            continue;

        ClientWindow window;
        window.handle = p.window;
        window.role = s.role(X11::cardinals(r[typeReq].get()),
                             !X11::cardinals(r[transientReq].get()).isEmpty());
        const QList<quint32> states = X11::cardinals(r[stateReq].get());
        window.skipTaskbar = states.contains(s.ewmh._NET_WM_STATE_SKIP_TASKBAR);
        window.minimized = states.contains(s.ewmh._NET_WM_STATE_HIDDEN);
        // 0xFFFFFFFF is every workspace; a window or a window manager that names no workspace
        // counts as shown.
        const QList<quint32> desktop = X11::cardinals(r[desktopReq].get());
        window.onCurrentWorkspace = currentDesktop.isEmpty() || desktop.isEmpty() ||
                                    desktop.first() == 0xFFFFFFFFu ||
                                    desktop.first() == currentDesktop.first() ||
                                    states.contains(s.ewmh._NET_WM_STATE_STICKY);
        if (const qsizetype at = stacking.lastIndexOf(p.window); at >= 0)
            window.depth = int(stacking.size() - 1 - at);
        const QList<quint32> pids = X11::cardinals(r[pidReq].get());
        window.pid = pids.isEmpty() ? 0 : qint64(pids.first());

        const QByteArray netName = X11::bytes(r[netNameReq].get());
        if (!netName.isEmpty()) {
            window.title = QString::fromUtf8(netName);
        } else if (r[nameReq]) {
            // WM_NAME is Latin-1 unless the client says it is UTF-8.
            const QByteArray legacy = X11::bytes(r[nameReq].get());
            window.title = r[nameReq]->type == s.ewmh.UTF8_STRING ? QString::fromUtf8(legacy)
                                                                  : QString::fromLatin1(legacy);
        }

        const QList<QByteArray> classParts = X11::bytes(r[classReq].get()).split('\0');
        const QString instance =
            classParts.size() > 0 ? QString::fromLatin1(classParts[0]) : QString();
        const QString className =
            classParts.size() > 1 ? QString::fromLatin1(classParts[1]) : QString();
        const QString applicationId = QString::fromUtf8(X11::bytes(r[appIdReq].get()));
        window.app = m_names.name(applicationId, instance, className)
                         .value_or(className.isEmpty() ? instance : className);
        result.append(window);
    }
    return result;
}

std::optional<QRectF> X11WindowControl::frame(quint64 handle) const
{
    const State& s = *m_state;
    if (!s.ready)
        return std::nullopt;
    xcb_connection_t* c = s.c;
    const auto window = xcb_window_t(handle);
    X11::ReplyBatch waiter(c);
    const auto geometryCookie = xcb_get_geometry(c, window);
    const auto positionCookie = xcb_translate_coordinates(c, window, s.root, 0, 0);
    const auto extentsCookie =
        requestProperty(c, window, s.ewmh._NET_FRAME_EXTENTS, XCB_ATOM_CARDINAL, 4);
    const auto monitorsCookie = xcb_randr_get_monitors(c, s.root, 1);
    const auto deadline = QDeadlineTimer(replyTimeout);
    const auto geometry = waiter.take<xcb_get_geometry_reply_t>(geometryCookie, deadline);
    const auto position = waiter.take<xcb_translate_coordinates_reply_t>(positionCookie, deadline);
    const QList<quint32> extents =
        X11::cardinals(waiter.take<xcb_get_property_reply_t>(extentsCookie, deadline).get());
    const QPoint origin = s.primaryOrigin(waiter, monitorsCookie);
    if (!geometry || !position)
        return std::nullopt;
    const int left = extents.size() == 4 ? int(extents[0]) : 0;
    const int right = extents.size() == 4 ? int(extents[1]) : 0;
    const int top = extents.size() == 4 ? int(extents[2]) : 0;
    const int bottom = extents.size() == 4 ? int(extents[3]) : 0;
    const QRectF outer(position->dst_x - left, position->dst_y - top,
                       geometry->width + left + right, geometry->height + top + bottom);
    return X11::rootToPoints(outer).translated(-QPointF(origin));
}

// X positions and sizes are whole pixels. Positions round to the nearest pixel and sizes round
// down, so that a half whose edge falls on half a pixel never reaches past the visible area: the
// left and top halves start on their edges and the right and bottom halves end on theirs.
void X11WindowControl::setPosition(quint64 handle, QPointF topLeft)
{
    const State& s = *m_state;
    if (!s.ready)
        return;
    const auto window = xcb_window_t(handle);
    s.leaveMaximized(window);
    const QPointF root = X11::pointsToRoot(topLeft + QPointF(s.primaryOrigin()));
    const int x = int(std::floor(root.x() + 0.5));
    const int y = int(std::floor(root.y() + 0.5));
    s.moveResize(window, XCB_EWMH_MOVERESIZE_WINDOW_X | XCB_EWMH_MOVERESIZE_WINDOW_Y, x, y, 0, 0);
}

void X11WindowControl::setSize(quint64 handle, QSizeF size)
{
    const State& s = *m_state;
    if (!s.ready)
        return;
    const auto window = xcb_window_t(handle);
    s.leaveMaximized(window);
    // The monitor the window stands on now decides how many pixels a point is.
    if (const auto current = frame(handle))
        size = X11::pointsToRoot(size, current->center() + QPointF(s.primaryOrigin()));
    // The window manager sizes the client: take its decorations off the outer size.
    const auto [left, right, top, bottom] = s.frameExtents(window);
    const int width = std::max(1, int(std::floor(size.width())) - left - right);
    const int height = std::max(1, int(std::floor(size.height())) - top - bottom);
    s.moveResize(window, XCB_EWMH_MOVERESIZE_WINDOW_WIDTH | XCB_EWMH_MOVERESIZE_WINDOW_HEIGHT, 0, 0,
                 width, height);
}

void X11WindowControl::minimize(quint64 handle)
{
    const State& s = *m_state;
    if (!s.ready)
        return;
    const auto window = xcb_window_t(handle);
    // The ICCCM iconify request; the window manager then marks the window hidden.
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = s.wmChangeState;
    event.data.data32[0] = iconicState;
    xcb_send_event(s.c, 0, s.root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(s.c);
    // The list is read again right after a minimise: give the window manager a moment to act.
    State::waitUntil([&] { return s.hasState(window, {s.ewmh._NET_WM_STATE_HIDDEN}); });
}
