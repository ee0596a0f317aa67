// Access to Qt's X connection and a small atom cache.
#include "X11Connection.h"

#include <QGuiApplication>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QScreen>
#include <QThread>
#include <cstdlib>

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
    // Asked for from the panel scan's thread too.
    static QMutex mutex;
    const QMutexLocker lock(&mutex);
    static QHash<QByteArray, xcb_atom_t> cache;
    const QByteArray key(name);
    if (const auto found = cache.constFind(key); found != cache.constEnd())
        return *found;
    xcb_connection_t* c = connection();
    if (!c)
        return XCB_ATOM_NONE;
    xcb_intern_atom_reply_t* reply =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, key.size(), key.constData()), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    cache.insert(key, result);
    return result;
}

namespace {
struct Monitor {
    QRectF root;   // in root pixels
    QRectF points; // where Qt places it, in points
    qreal ratio = 1;
};

QMutex monitorsMutex;
QList<Monitor> lastMonitors;

// Qt's screens may be read on the UI thread only; other threads get what it saw last.
QList<Monitor> monitors()
{
    if (QThread::currentThread() != QCoreApplication::instance()->thread()) {
        const QMutexLocker lock(&monitorsMutex);
        return lastMonitors;
    }
    QList<Monitor> result;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect g = screen->geometry();
        const qreal ratio = screen->devicePixelRatio();
        result.append({QRectF(g.topLeft(), QSizeF(g.size()) * ratio), QRectF(g), ratio});
    }
    const QMutexLocker lock(&monitorsMutex);
    lastMonitors = result;
    return result;
}
} // namespace

void noteMonitors()
{
    monitors();
}

QRectF rootToPoints(const QRectF& rootRect)
{
    for (const Monitor& m : monitors()) {
        if (m.ratio == 1 || !m.root.contains(rootRect.center()))
            continue;
        const QPointF origin = m.root.topLeft();
        return QRectF(origin + (rootRect.topLeft() - origin) / m.ratio, rootRect.size() / m.ratio);
    }
    return rootRect;
}

QPointF pointsToRoot(const QPointF& point)
{
    for (const Monitor& m : monitors()) {
        if (m.ratio == 1 || !m.points.contains(point))
            continue;
        const QPointF origin = m.root.topLeft();
        return origin + (point - origin) * m.ratio;
    }
    return point;
}

QSizeF pointsToRoot(const QSizeF& size, const QPointF& at)
{
    for (const Monitor& m : monitors()) {
        if (m.points.contains(at))
            return size * m.ratio;
    }
    return size;
}

} // namespace X11
