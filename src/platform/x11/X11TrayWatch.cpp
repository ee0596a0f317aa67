// Tray changes from X events on a connection of our own and from the StatusNotifierWatcher's
// signals.
#include "X11TrayWatch.h"

#include "X11Replies.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QSocketNotifier>
#include <xcb/xfixes.h>

using namespace std::chrono_literals;

namespace {
using X11::Reply;

// Icons re-dock one after another after a panel restart; the report waits for the last.
constexpr auto settleTime = 600ms;
} // namespace

X11TrayWatch::X11TrayWatch()
{
    m_settle.setSingleShot(true);
    m_settle.setInterval(settleTime);
    connect(&m_settle, &QTimer::timeout, this, &X11TrayWatch::changed);

    const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    for (const char* signal : {"StatusNotifierItemRegistered", "StatusNotifierItemUnregistered"})
        QDBusConnection::sessionBus().connect(watcher, QStringLiteral("/StatusNotifierWatcher"),
                                              watcher, QLatin1String(signal), this,
                                              SLOT(statusItemsChanged()));

    m_connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(m_connection)) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
        return;
    }
    xcb_connection_t* c = m_connection;
    m_root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    // Windows reparented away from the root: an XEmbed icon that docks.
    const std::uint32_t rootMask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(c, m_root, XCB_CW_EVENT_MASK, &rootMask);

    const Reply<xcb_intern_atom_reply_t> atom(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, 19, "_NET_SYSTEM_TRAY_S0"), nullptr));
    if (atom)
        m_traySelection = atom->atom;
    const xcb_query_extension_reply_t* xfixes = xcb_get_extension_data(c, &xcb_xfixes_id);
    if (xfixes && xfixes->present && m_traySelection != XCB_ATOM_NONE) {
        const Reply<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
            c, xcb_xfixes_query_version(c, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
            nullptr));
        if (version) {
            m_xfixesEventBase = xfixes->first_event;
            xcb_xfixes_select_selection_input(
                c, m_root, m_traySelection,
                XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                    XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                    XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        }
    }
    followTrayOwner();
    xcb_flush(c);
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(c), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11TrayWatch::readEvents);
}

X11TrayWatch::~X11TrayWatch()
{
    delete m_notifier;
    if (m_connection)
        xcb_disconnect(m_connection);
}

void X11TrayWatch::followTrayOwner()
{
    // The X server answers at once; its own reply is the only one waited for here.
    m_hostBase = 0;
    if (m_traySelection == XCB_ATOM_NONE)
        return;
    const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, m_traySelection), nullptr));
    if (owner && owner->owner != XCB_WINDOW_NONE)
        m_hostBase = owner->owner & ~xcb_get_setup(m_connection)->resource_id_mask;
}

void X11TrayWatch::watchWindows(const QList<quint32>& windows)
{
    if (!m_connection)
        return;
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    QHash<quint32, QRect> watched;
    QList<std::pair<quint32, xcb_get_geometry_cookie_t>> asked;
    for (const quint32 window : windows) {
        if (const auto known = m_watched.constFind(window); known != m_watched.constEnd()) {
            watched.insert(window, *known);
            continue;
        }
        xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &mask);
        asked.append({window, xcb_get_geometry(m_connection, window)});
    }
    // Only the X server answers these, at once.
    for (const auto& [window, cookie] : asked) {
        const Reply<xcb_get_geometry_reply_t> g(
            xcb_get_geometry_reply(m_connection, cookie, nullptr));
        watched.insert(window, g ? QRect(g->x, g->y, g->width, g->height) : QRect());
    }
    m_watched = watched;
    xcb_flush(m_connection);
}

void X11TrayWatch::statusItemsChanged()
{
    noteChange();
}

void X11TrayWatch::noteChange()
{
    m_settle.start();
}

void X11TrayWatch::readEvents()
{
    const quint32 idMask = xcb_get_setup(m_connection)->resource_id_mask;
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
        const quint8 type = event->response_type & 0x7f;
        if (m_xfixesEventBase != 0 && type == m_xfixesEventBase + XCB_XFIXES_SELECTION_NOTIFY) {
            // A new tray: the panel restarted.
            followTrayOwner();
            noteChange();
        } else if (type == XCB_REPARENT_NOTIFY) {
            const auto* e = reinterpret_cast<const xcb_reparent_notify_event_t*>(event.get());
            if (m_hostBase != 0 && (e->parent & ~idMask) == m_hostBase)
                noteChange();
        } else if (type == XCB_UNMAP_NOTIFY || type == XCB_DESTROY_NOTIFY) {
            // Both start with the event window and the window itself.
            const auto* e = reinterpret_cast<const xcb_unmap_notify_event_t*>(event.get());
            if (e->event != m_root && m_watched.contains(e->window))
                noteChange();
        } else if (type == XCB_CONFIGURE_NOTIFY) {
            const auto* e = reinterpret_cast<const xcb_configure_notify_event_t*>(event.get());
            const auto watched = m_watched.find(e->window);
            const QRect now(e->x, e->y, e->width, e->height);
            // The window manager's synthetic notices repeat a geometry in root coordinates.
            const bool synthetic = event->response_type & 0x80;
            if (e->event != m_root && !synthetic && watched != m_watched.end() && *watched != now) {
                *watched = now;
                noteChange();
            }
        }
    }
    if (xcb_connection_has_error(m_connection))
        m_notifier->setEnabled(false);
}
