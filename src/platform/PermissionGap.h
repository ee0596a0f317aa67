// Why a capability the program needs is not available, so the window can tell the user what is
// missing and what to do about it.
#pragma once

#include <QByteArray>
#include <QtGlobal>

enum class PermissionGap {
    none,
    // A Wayland session: other programs' windows and the screen are out of reach.
    waylandSession,
    // No X11 display at all.
    noDisplay,
    // An X display without a window manager that follows the EWMH conventions.
    noWindowManager,
    // The X server refuses to let this client read the screen.
    screenReadRefused,
};

// The gap of a session without X11: Wayland when the session says so.
inline PermissionGap sessionWithoutX11()
{
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
                   qgetenv("XDG_SESSION_TYPE") == QByteArrayLiteral("wayland")
               ? PermissionGap::waylandSession
               : PermissionGap::noDisplay;
}
