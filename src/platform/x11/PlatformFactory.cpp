// The run-time choice of backends and the X11 capability probes behind them.
#include "PlatformFactory.h"

#include "X11Appearance.h"
#include "X11Capture.h"
#include "X11Connection.h"
#include "X11DesktopSession.h"
#include "X11DisplayModes.h"
#include "X11ItemNames.h"
#include "X11ManagerWatch.h"
#include "X11Probes.h"
#include "X11Screens.h"
#include "X11WindowControl.h"
#include "X11WindowList.h"
#include "platform/Platform.h"
#include "platform/SupportFolder.h"

#include <QGuiApplication>

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
        parts.screens = std::make_unique<X11Screens>();
        parts.displayModes = std::make_unique<X11DisplayModes>();
        parts.capture = std::make_unique<X11Capture>();
        parts.managerWatch = std::make_unique<X11ManagerWatch>();
        parts.windowControl = std::make_unique<X11WindowControl>();
        parts.windowList = std::make_unique<X11WindowList>();
        parts.itemNames = std::make_unique<X11ItemNames>();
        parts.panelScan = std::make_unique<X11PanelScan>();
        parts.processes = std::make_unique<QtProcessRunner>();
        parts.appearance = std::make_unique<X11Appearance>();
        // The desktop program may start late, die or restart: the session follows it and
        // hands pictures and icons to the backend that fits at each moment.
        auto session = std::make_unique<X11DesktopSession>(SupportFolder::path());
        parts.name = session->platformName();
        parts.desktopPictures = session->makePictures();
        parts.desktopIcons = session->makeIcons();
        parts.desktopSupport = std::move(session);
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
