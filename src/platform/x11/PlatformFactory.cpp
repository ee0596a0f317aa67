// The run-time choice of backends and the X11 capability probes behind them.
#include "PlatformFactory.h"

#include "RootWindowDesktopPictures.h"
#include "WallpaperController.h"
#include "X11Appearance.h"
#include "X11Capture.h"
#include "X11Connection.h"
#include "X11DisplayModes.h"
#include "X11ItemNames.h"
#include "X11ManagerWatch.h"
#include "X11Probes.h"
#include "X11Screens.h"
#include "X11WindowControl.h"
#include "X11WindowList.h"
#include "XfceDesktopIcons.h"
#include "XfceDesktopPictures.h"
#include "platform/Platform.h"

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
        // xfdesktop draws its own desktop window over the root: its settings are the pictures.
        if (XfceDesktopIcons::isRunning()) {
            parts.name = QStringLiteral("x11-xfce");
            parts.desktopIcons = std::make_unique<XfceDesktopIcons>();
            parts.desktopPictures =
                std::make_unique<XfceDesktopPictures>(WallpaperController::supportDir());
        } else {
            parts.desktopPictures =
                std::make_unique<RootWindowDesktopPictures>(WallpaperController::supportDir());
            // The icon style lives in xfconf: it can be given back while xfdesktop is away (in
            // the middle of a restart, say), and the next xfdesktop reads it.
            if (XfceDesktopIcons::settingsReachable())
                parts.desktopIcons = std::make_unique<XfceDesktopIcons>();
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
