// Window enumeration and placement through the platform's window control.
#include "WindowMover.h"

#include "platform/Geometry.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QHash>
#include <algorithm>
#include <limits>

namespace WindowMover {

namespace {

// The main screen stands for the screen of the main display (the primary monitor).
std::optional<ScreenInfo> mainScreen(const Platform& platform, const QList<ScreenInfo>& screens)
{
    const quint32 mainDisplay = platform.displayModes().mainDisplay();
    for (const ScreenInfo& screen : screens) {
        if (screen.displayId && *screen.displayId == mainDisplay)
            return screen;
    }
    return std::nullopt;
}

// Windows of one process belong to one application; a window that names no process is grouped
// by its application name.
QString applicationKey(const ClientWindow& window)
{
    if (window.pid > 0)
        return QStringLiteral("pid:%1").arg(window.pid);
    return QStringLiteral("app:") + window.app;
}

bool isListed(const ClientWindow& window, qint64 ownPid)
{
    // Windows on other workspaces are out of sight: arranging one would move it unseen.
    return window.pid != ownPid && window.role == WindowRole::normal && !window.skipTaskbar &&
           !window.minimized && window.onCurrentWorkspace;
}

} // namespace

QList<ManagedWindow> windows(const Platform& platform)
{
    QList<ManagedWindow> result;
    WindowControl& control = platform.windowControl();
    if (!control.canControlWindows())
        return result;
    const qint64 ownPid = QCoreApplication::applicationPid();

    QStringList order;
    QHash<QString, QList<ClientWindow>> byApplication;
    for (const ClientWindow& window : control.windows()) {
        if (!isListed(window, ownPid))
            continue;
        const QString key = applicationKey(window);
        auto found = byApplication.find(key);
        if (found == byApplication.end()) {
            order.append(key);
            found = byApplication.insert(key, {});
        }
        found->append(window);
    }
    for (const QString& key : order) {
        QList<ClientWindow> appWindows = byApplication.value(key);
        // The application's front window first; windows without a known depth keep their order
        // after those with one.
        std::stable_sort(appWindows.begin(), appWindows.end(),
                         [](const ClientWindow& a, const ClientWindow& b) {
                             const auto rank = [](int depth) {
                                 return depth < 0 ? std::numeric_limits<int>::max() : depth;
                             };
                             return rank(a.depth) < rank(b.depth);
                         });
        for (const ClientWindow& window : std::as_const(appWindows)) {
            // A fresh identity per window per enumeration.
            result.append({QUuid::createUuid(),
                           window.app.isEmpty() ? QStringLiteral("App") : window.app, window.title,
                           window.handle});
        }
    }
    return result;
}

std::optional<QRectF> frame(const Platform& platform, quint64 element)
{
    return platform.windowControl().frame(element);
}

double primaryHeight(const Platform& platform)
{
    const QList<ScreenInfo> screens = platform.screens().screens();
    if (const auto primary = Geometry::primaryScreen(screens))
        return primary->frame.height();
    if (const auto main = mainScreen(platform, screens))
        return main->frame.height();
    return 0;
}

std::optional<ScreenInfo> screenForWindowFrame(const Platform& platform, const QRectF& frame)
{
    const QList<ScreenInfo> screens = platform.screens().screens();
    const QPointF centre = Geometry::flipped(frame, primaryHeight(platform)).center();
    for (const ScreenInfo& screen : screens) {
        // Minimum edges inside, maximum edges outside.
        const QRectF& f = screen.frame;
        if (centre.x() >= f.left() && centre.x() < f.left() + f.width() && centre.y() >= f.top() &&
            centre.y() < f.top() + f.height())
            return screen;
    }
    if (const auto main = mainScreen(platform, screens))
        return main;
    if (!screens.isEmpty())
        return screens.first();
    return std::nullopt;
}

QRectF targetFrame(WindowArrangement arrangement, const QRectF& visible, QSizeF current)
{
    const double minX = visible.x();
    const double minY = visible.y();
    const double W = visible.width();
    const double H = visible.height();
    const double midX = minX + W / 2;
    const double midY = minY + H / 2;
    const double halfW = W * 0.5;
    const double halfH = H * 0.5;
    // y grows upwards: the top regions start at midY, the bottom ones at minY. Halves are not
    // rounded, and centring keeps the window's size even when it overhangs the screen.
    switch (arrangement) {
    case WindowArrangement::center:
        return QRectF(midX - current.width() * 0.5, midY - current.height() * 0.5, current.width(),
                      current.height());
    case WindowArrangement::fill:
        return QRectF(minX, minY, W, H);
    case WindowArrangement::leftHalf:
        return QRectF(minX, minY, halfW, H);
    case WindowArrangement::rightHalf:
        return QRectF(midX, minY, halfW, H);
    case WindowArrangement::topHalf:
        return QRectF(minX, midY, W, halfH);
    case WindowArrangement::bottomHalf:
        return QRectF(minX, minY, W, halfH);
    case WindowArrangement::topLeft:
        return QRectF(minX, midY, halfW, halfH);
    case WindowArrangement::topRight:
        return QRectF(midX, midY, halfW, halfH);
    case WindowArrangement::bottomLeft:
        return QRectF(minX, minY, halfW, halfH);
    case WindowArrangement::bottomRight:
        return QRectF(midX, minY, halfW, halfH);
    }
    return QRectF(minX, minY, W, H);
}

QRectF centredFrame(QSizeF requested, const QRectF& visible)
{
    const double width = std::min(requested.width(), visible.width());
    const double height = std::min(requested.height(), visible.height());
    const double midX = visible.x() + visible.width() / 2;
    const double midY = visible.y() + visible.height() / 2;
    return QRectF(midX - width * 0.5, midY - height * 0.5, width, height);
}

void setFrame(const Platform& platform, const QRectF& frame, quint64 element)
{
    WindowControl& control = platform.windowControl();
    control.setSize(element, frame.size());
    control.setPosition(element, frame.topLeft());
    control.setSize(element, frame.size());
}

void arrange(const Platform& platform, quint64 element, WindowArrangement arrangement)
{
    const auto current = frame(platform, element);
    if (!current)
        return;
    const auto screen = screenForWindowFrame(platform, *current);
    if (!screen)
        return;
    const QRectF target = targetFrame(arrangement, screen->visibleFrame, current->size());
    setFrame(platform, Geometry::flipped(target, primaryHeight(platform)), element);
}

void resize(const Platform& platform, quint64 element, QSizeF size)
{
    const auto current = frame(platform, element);
    if (!current)
        return;
    const auto screen = screenForWindowFrame(platform, *current);
    if (!screen)
        return;
    const QRectF target = centredFrame(size, screen->visibleFrame);
    setFrame(platform, Geometry::flipped(target, primaryHeight(platform)), element);
}

void minimize(const Platform& platform, quint64 element)
{
    platform.windowControl().minimize(element);
}

} // namespace WindowMover
