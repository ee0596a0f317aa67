// Screens on X11: RandR monitors in root coordinates, converted to the core's systems here.
#include "X11Screens.h"

#include "X11Connection.h"
#include "X11RandR.h"
#include "X11Replies.h"
#include "X11Struts.h"
#include "platform/Geometry.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <xcb/randr.h>

namespace {

using X11::Reply;

// One monitor before conversion: root pixels.
struct RawScreen {
    ScreenInfo info;
    QRect rootRect;
    QRect visibleRootRect;
    bool primary = false;
};

QList<X11::Strut> dockStruts(xcb_connection_t* c)
{
    QList<X11::Strut> struts;
    const xcb_window_t root = X11::rootWindow();
    // Panels are top-level windows; a reparenting window manager may also list them, framed,
    // in _NET_CLIENT_LIST, so both places are looked at. The root's size is asked for as well:
    // the one in the connection setup is stale after the first RandR change.
    const xcb_get_geometry_cookie_t rootCookie = xcb_get_geometry(c, root);
    const xcb_query_tree_cookie_t treeCookie = xcb_query_tree(c, root);
    const xcb_get_property_cookie_t clientsCookie =
        xcb_get_property(c, 0, root, X11::atom("_NET_CLIENT_LIST"), XCB_ATOM_WINDOW, 0, 4096);
    Reply<xcb_get_geometry_reply_t> rootGeometry(xcb_get_geometry_reply(c, rootCookie, nullptr));
    const int rootW = rootGeometry ? rootGeometry->width : 0;
    const int rootH = rootGeometry ? rootGeometry->height : 0;
    QList<xcb_window_t> candidates;
    Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, treeCookie, nullptr));
    if (tree) {
        const xcb_window_t* children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
            candidates.append(children[i]);
    }
    Reply<xcb_get_property_reply_t> clients(xcb_get_property_reply(c, clientsCookie, nullptr));
    if (clients && clients->format == 32) {
        const auto* ids = static_cast<const xcb_window_t*>(xcb_get_property_value(clients.get()));
        const int count = xcb_get_property_value_length(clients.get()) / 4;
        for (int i = 0; i < count; ++i) {
            if (!candidates.contains(ids[i]))
                candidates.append(ids[i]);
        }
    }

    const xcb_atom_t partialAtom = X11::atom("_NET_WM_STRUT_PARTIAL");
    const xcb_atom_t strutAtom = X11::atom("_NET_WM_STRUT");
    const xcb_atom_t typeAtom = X11::atom("_NET_WM_WINDOW_TYPE");
    const xcb_atom_t dockAtom = X11::atom("_NET_WM_WINDOW_TYPE_DOCK");

    // All requests first, then the replies: one round trip for the whole list.
    struct Pending {
        xcb_get_property_cookie_t partial, strut, type;
        xcb_get_window_attributes_cookie_t attributes;
    };
    QList<Pending> pending;
    pending.reserve(candidates.size());
    for (xcb_window_t w : candidates) {
        pending.append({xcb_get_property(c, 0, w, partialAtom, XCB_ATOM_CARDINAL, 0, 12),
                        xcb_get_property(c, 0, w, strutAtom, XCB_ATOM_CARDINAL, 0, 4),
                        xcb_get_property(c, 0, w, typeAtom, XCB_ATOM_ATOM, 0, 32),
                        xcb_get_window_attributes(c, w)});
    }
    for (const Pending& p : pending) {
        Reply<xcb_get_property_reply_t> partial(xcb_get_property_reply(c, p.partial, nullptr));
        Reply<xcb_get_property_reply_t> strut(xcb_get_property_reply(c, p.strut, nullptr));
        Reply<xcb_get_property_reply_t> type(xcb_get_property_reply(c, p.type, nullptr));
        Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, p.attributes, nullptr));
        if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE || !type ||
            type->format != 32)
            continue;
        const auto* types = static_cast<const xcb_atom_t*>(xcb_get_property_value(type.get()));
        const int typeCount = xcb_get_property_value_length(type.get()) / 4;
        if (std::find(types, types + typeCount, dockAtom) == types + typeCount)
            continue;

        QList<quint32> values;
        for (const xcb_get_property_reply_t* r : {partial.get(), strut.get()}) {
            if (!r || r->format != 32 || xcb_get_property_value_length(r) < 16)
                continue;
            const auto* data = static_cast<const quint32*>(xcb_get_property_value(r));
            values = QList<quint32>(data, data + xcb_get_property_value_length(r) / 4);
            break;
        }
        struts += X11::strutsFromProperty(values, QSize(rootW, rootH));
    }
    return struts;
}

} // namespace

X11Screens::X11Screens()
{
    m_changed.setSingleShot(true);
    m_changed.setInterval(0);
    connect(&m_changed, &QTimer::timeout, this, &Screens::screensChanged);
    m_randrBase = X11::randrEventBase();
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        app->installNativeEventFilter(this);
        connect(app, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
            connect(screen, &QScreen::geometryChanged, this, &X11Screens::scheduleChanged);
            scheduleChanged();
        });
        connect(app, &QGuiApplication::screenRemoved, this, &X11Screens::scheduleChanged);
        connect(app, &QGuiApplication::primaryScreenChanged, this, &X11Screens::scheduleChanged);
        for (QScreen* screen : QGuiApplication::screens())
            connect(screen, &QScreen::geometryChanged, this, &X11Screens::scheduleChanged);
    }
}

X11Screens::~X11Screens()
{
    if (auto* app = QCoreApplication::instance())
        app->removeNativeEventFilter(this);
}

void X11Screens::scheduleChanged()
{
    m_screens.reset();
    m_changed.start();
}

bool X11Screens::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const quint8 type = event->response_type & 0x7f;
    // Qt selects RandR notifications on the root window; they arrive here before Qt updates its
    // screens, so the report waits until the event has been handled.
    if (m_randrBase != 0 && (type == m_randrBase + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                             type == m_randrBase + XCB_RANDR_NOTIFY)) {
        // A monitor plugged into the same output brings its own EDID.
        m_names.clear();
        scheduleChanged();
    } else if (type == XCB_PROPERTY_NOTIFY) {
        // A panel that changes its struts changes the visible frames; the window manager
        // announces it by rewriting the work area.
        const auto* property = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (property->window == X11::rootWindow() && property->atom == X11::atom("_NET_WORKAREA"))
            scheduleChanged();
        // The settings manager's blob holds the desktop's scaling factor (its owner's changes
        // are selected by the appearance watch).
        else if (property->atom == X11::atom("_XSETTINGS_SETTINGS"))
            m_screens.reset();
    }
    return false;
}

QPair<QString, QString> X11Screens::names(quint32 output) const
{
    if (const auto found = m_names.constFind(output); found != m_names.constEnd())
        return *found;
    const QPair<QString, QString> result{X11::outputName(output), X11::edidProductName(output)};
    m_names.insert(output, result);
    return result;
}

QList<ScreenInfo> X11Screens::screens() const
{
    // An empty answer (no connection yet) is asked again.
    if (!m_screens || m_screens->isEmpty())
        m_screens = readScreens();
    return *m_screens;
}

QList<ScreenInfo> X11Screens::readScreens() const
{
    QList<ScreenInfo> result;
    xcb_connection_t* c = X11::connection();
    if (!c)
        return result;
    const QList<X11::Strut> struts = dockStruts(c);
    // The desktop's scaling factor, not the ratio Qt derives from the font DPI: a 1920-pixel
    // monitor is 1920 wide at 120 dpi, as xrandr says.
    X11::refreshDesktopScale();
    const int scale = X11::desktopScale();

    QList<RawScreen> raw;
    const QList<X11::RandrMonitor> monitors = X11::randrMonitors();
    for (const X11::RandrMonitor& monitor : monitors) {
        RawScreen s;
        s.rootRect = monitor.rect;
        s.primary = monitor.primary;
        s.info.outputName = monitor.name;
        if (!monitor.outputs.isEmpty()) {
            const xcb_randr_output_t output = monitor.outputs.first();
            s.info.displayId = output;
            const auto [outputName, productName] = names(output);
            if (!outputName.isEmpty())
                s.info.outputName = outputName;
            s.info.name = productName;
        }
        if (s.info.name.isEmpty())
            s.info.name = s.info.outputName;
        s.info.backingScale = scale;
        raw.append(s);
    }
    if (raw.isEmpty()) {
        // Without RandR monitors, Qt's screens (in native pixels) stand in for them.
        for (const QScreen* screen : QGuiApplication::screens()) {
            RawScreen s;
            const qreal dpr = screen->devicePixelRatio();
            const QRect g = screen->geometry();
            s.rootRect = QRect(g.topLeft(), g.size() * dpr);
            s.primary = screen == QGuiApplication::primaryScreen();
            s.info.name = s.info.outputName = screen->name();
            s.info.backingScale = scale;
            raw.append(s);
        }
    }
    if (raw.isEmpty())
        return result;
    for (RawScreen& s : raw)
        s.visibleRootRect = X11::visibleArea(s.rootRect, struts);

    auto primary =
        std::find_if(raw.begin(), raw.end(), [](const RawScreen& s) { return s.primary; });
    if (primary == raw.end())
        primary = raw.begin();
    // A monitor's top-left stays in root pixels and its size is divided by the scaling factor,
    // as Qt lays out its screens.
    auto toPoints = [](const QRect& r, const QRect& monitor, double factor) {
        const QPointF origin = monitor.topLeft();
        return QRectF(origin + (QPointF(r.topLeft()) - origin) / factor, QSizeF(r.size()) / factor);
    };
    const QRectF primaryPoints =
        toPoints(primary->rootRect, primary->rootRect, primary->info.backingScale);
    for (RawScreen& s : raw) {
        s.info.frame =
            Geometry::toBottomLeft(toPoints(s.rootRect, s.rootRect, scale), primaryPoints);
        s.info.visibleFrame =
            Geometry::toBottomLeft(toPoints(s.visibleRootRect, s.rootRect, scale), primaryPoints);
        result.append(s.info);
    }
    return result;
}

std::optional<QRect> X11Screens::windowGeometry(const QRectF& bottomLeft) const
{
    const QScreen* primary = QGuiApplication::primaryScreen();
    if (!primary || !X11::connection())
        return std::nullopt;
    // Global bottom-left points to root pixels (the desktop's factor), then to where Qt places
    // a window of ours (Qt's own ratio, which may differ at a fractional font DPI).
    const QRect g = primary->geometry();
    const double primaryHeight = qRound(g.height() * primary->devicePixelRatio());
    const int scale = X11::desktopScale();
    const QPointF topLeftPoints = Geometry::flipped(bottomLeft, primaryHeight / scale).topLeft();
    const QRectF root(X11::pointsToRoot(topLeftPoints + QPointF(g.topLeft())),
                      bottomLeft.size() * scale);
    const QRectF logical = X11::rootToWindowSystem(root);
    const int left = int(std::lround(logical.left()));
    const int top = int(std::lround(logical.top()));
    return QRect(left, top, int(std::lround(logical.right())) - left,
                 int(std::lround(logical.bottom())) - top);
}
