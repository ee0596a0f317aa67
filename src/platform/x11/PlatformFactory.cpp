// The run-time choice of backends and the X11 capability probes behind them.
#include "PlatformFactory.h"

#include "X11Capture.h"
#include "X11Connection.h"
#include "X11ManagerWatch.h"
#include "X11Probes.h"
#include "XfceDesktopIcons.h"
#include "platform/Platform.h"

#include <QGuiApplication>

namespace {

class X11WindowControl final : public WindowControl {
public:
    bool canControlWindows() const override { return X11::hasEwmhWindowManager(); }
    void requestWindowControl() override
    {
        if (!X11::hasEwmhWindowManager())
            qWarning("Quillet: no window manager that follows the EWMH conventions is running; "
                     "windows can be arranged once one runs");
    }
    QList<ClientWindow> windows() const override { return {}; }
    std::optional<QRectF> frame(quint64) const override { return {}; }
    void setPosition(quint64, QPointF) override {}
    void setSize(quint64, QSizeF) override {}
    void minimize(quint64) override {}
};

} // namespace

namespace {
// Under Wayland an X connection reaches only XWayland, whose root window is not the screen the
// user sees: acting on it would change the wrong things, so the X11 backends stay off.
bool isWaylandSession()
{
    return qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland") ||
           qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}
} // namespace

std::unique_ptr<Platform> createPlatform()
{
    Platform::Parts parts;
    const bool x11 = QGuiApplication::platformName() == QLatin1String("xcb") && X11::connection() &&
                     !isWaylandSession();
    if (x11) {
        parts.name = QStringLiteral("x11");
        parts.capture = std::make_unique<X11Capture>();
        parts.managerWatch = std::make_unique<X11ManagerWatch>();
        parts.windowControl = std::make_unique<X11WindowControl>();
        parts.processes = std::make_unique<QtProcessRunner>();
        if (XfceDesktopIcons::isRunning()) {
            parts.name = QStringLiteral("x11-xfce");
            parts.desktopIcons = std::make_unique<XfceDesktopIcons>(*parts.processes);
        }
    }
    auto platform = std::make_unique<Platform>(std::move(parts));
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        QObject::connect(app, &QGuiApplication::applicationStateChanged, platform.get(),
                         [p = platform.get()](Qt::ApplicationState state) {
                             if (state == Qt::ApplicationActive)
                                 emit p->applicationActivated();
                         });
    }
    return platform;
}
