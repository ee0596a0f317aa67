// Selection-owner notifications for the window manager and the compositor.
#include "X11ManagerWatch.h"

#include "X11Connection.h"
#include "X11Replies.h"

#include <QCoreApplication>
#include <xcb/xfixes.h>

X11ManagerWatch::X11ManagerWatch()
{
    // A new compositor takes its selection before it redirects the windows; masks made
    // again right away might still be missed, so the report waits for the change to settle.
    m_settle.setSingleShot(true);
    m_settle.setInterval(250);
    connect(&m_settle, &QTimer::timeout, this, &WindowManagerWatch::managerReplaced);

    xcb_connection_t* c = X11::connection();
    if (!c)
        return;
    const xcb_query_extension_reply_t* xfixes = xcb_get_extension_data(c, &xcb_xfixes_id);
    if (!xfixes || !xfixes->present)
        return;
    // XFixes answers nothing before the client has announced its version.
    const X11::Reply<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
        c, xcb_xfixes_query_version(c, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
        nullptr));
    if (!version)
        return;
    m_xfixesEventBase = xfixes->first_event;

    // The program's screen is the connection's first one (see X11::rootWindow).
    m_wmSelection = X11::atom("WM_S0");
    m_cmSelection = X11::atom("_NET_WM_CM_S0");
    const std::uint32_t mask = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                               XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                               XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    for (const xcb_atom_t selection : {m_wmSelection, m_cmSelection})
        xcb_xfixes_select_selection_input(c, X11::rootWindow(), selection, mask);
    xcb_flush(c);
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11ManagerWatch::~X11ManagerWatch()
{
    if (auto* app = QCoreApplication::instance())
        app->removeNativeEventFilter(this);
}

bool X11ManagerWatch::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (m_xfixesEventBase == 0 || eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != m_xfixesEventBase + XCB_XFIXES_SELECTION_NOTIFY)
        return false;
    const auto* notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event);
    if (notify->selection == m_wmSelection || notify->selection == m_cmSelection)
        m_settle.start();
    // Qt's clipboard watches other selections through the same events.
    return false;
}
