// Access to Qt's X connection and a small atom cache.
#include "X11Connection.h"

#include "X11Replies.h"
#include "XSettings.h"

#include <QGuiApplication>
#include <QHash>
#include <QList>
#include <QScreen>

namespace X11 {

xcb_connection_t* connection()
{
    auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!app)
        return nullptr;
    auto* x11 = app->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_window_t rootWindow()
{
    xcb_connection_t* c = connection();
    if (!c)
        return XCB_WINDOW_NONE;
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    return screen ? screen->root : xcb_window_t(XCB_WINDOW_NONE);
}

xcb_atom_t atom(const char* name)
{
    static QHash<QByteArray, xcb_atom_t> cache;
    const QByteArray key(name);
    if (const auto found = cache.constFind(key); found != cache.constEnd())
        return *found;
    xcb_connection_t* c = connection();
    if (!c)
        return XCB_ATOM_NONE;
    const Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, key.size(), key.constData()), nullptr));
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    cache.insert(key, result);
    return result;
}

int desktopScaleFrom(const QByteArray& gdkScale, const QByteArray& settingsBlob)
{
    bool ok = false;
    const int forced = gdkScale.trimmed().toInt(&ok);
    if (ok && forced >= 1)
        return forced;
    const std::optional<qint32> factor =
        XSettings::intSetting(settingsBlob, "Gdk/WindowScalingFactor");
    return factor && *factor >= 1 ? int(*factor) : 1;
}

namespace {

int& cachedScale()
{
    // 0 until read.
    static int scale = 0;
    return scale;
}

struct Monitor {
    QRectF root;    // in root pixels
    QRectF logical; // where Qt places it
    qreal qtRatio = 1;
};

QList<Monitor> monitors()
{
    QList<Monitor> result;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect g = screen->geometry();
        const qreal ratio = screen->devicePixelRatio();
        // Qt keeps the corner in root pixels and divides the size.
        const QSizeF native(qRound(g.width() * ratio), qRound(g.height() * ratio));
        result.append({QRectF(g.topLeft(), native), QRectF(g), ratio});
    }
    return result;
}

QRectF scaledAbout(const QRectF& r, const QPointF& origin, qreal factor)
{
    return QRectF(origin + (r.topLeft() - origin) * factor, r.size() * factor);
}

} // namespace

void refreshDesktopScale()
{
    cachedScale() = desktopScaleFrom(qgetenv("GDK_SCALE"), XSettings::currentBlob());
}

int desktopScale()
{
    if (cachedScale() == 0)
        refreshDesktopScale();
    return cachedScale();
}

QRectF rootToPoints(const QRectF& rootRect)
{
    const int scale = desktopScale();
    if (scale == 1)
        return rootRect;
    for (const Monitor& m : monitors()) {
        if (m.root.contains(rootRect.center()))
            return scaledAbout(rootRect, m.root.topLeft(), 1.0 / scale);
    }
    return rootRect;
}

QPointF pointsToRoot(const QPointF& point)
{
    const int scale = desktopScale();
    if (scale == 1)
        return point;
    for (const Monitor& m : monitors()) {
        const QPointF origin = m.root.topLeft();
        if (QRectF(origin, m.root.size() / scale).contains(point))
            return origin + (point - origin) * scale;
    }
    return point;
}

QSizeF pointsToRoot(const QSizeF& size, const QPointF&)
{
    // One factor for the whole desktop.
    return size * desktopScale();
}

QRectF rootToWindowSystem(const QRectF& rootRect)
{
    for (const Monitor& m : monitors()) {
        if (m.qtRatio != 1 && m.root.contains(rootRect.center()))
            return scaledAbout(rootRect, m.root.topLeft(), 1.0 / m.qtRatio);
    }
    return rootRect;
}

} // namespace X11
