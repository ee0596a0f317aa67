// The program's X connection, shared with Qt; null when Qt runs on another platform.
#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <xcb/xcb.h>

namespace X11 {
xcb_connection_t* connection();
xcb_window_t rootWindow();
// Interns an atom once per name and caches it.
xcb_atom_t atom(const char* name);

// The desktop's own window-scaling factor (GDK_SCALE when set, else the XSETTINGS integer
// "Gdk/WindowScalingFactor", else 1). Sizes of monitors, modes and other programs' windows are
// root pixels divided by this factor alone: the device pixel ratio Qt derives from the font DPI
// (1.25 at 120 dpi) is a matter of the program's own window, never of what it measures.
int desktopScale();
// Reads the factor again (the XSETTINGS manager may have changed it since).
void refreshDesktopScale();
// The factor as written in GDK_SCALE or XSETTINGS; 1 for anything that is not a whole number of
// at least 1.
int desktopScaleFrom(const QByteArray& gdkScale, const QByteArray& settingsBlob);

// Root pixels and the points the program works in. Each monitor keeps its top-left corner in
// root pixels and distances from it are divided by the desktop's scaling factor, the way Qt
// lays out its screens, so the monitor holding a rectangle's centre (or a point) is the one
// whose corner counts. With a factor of 1 both are the same.
// Other threads convert with the monitors and factor the UI thread saw last; this notes them
// (UI thread).
void noteMonitors();
QRectF rootToPoints(const QRectF& rootRect);
QPointF pointsToRoot(const QPointF& point);
// A length in points at a point, in root pixels.
QSizeF pointsToRoot(const QSizeF& size, const QPointF& at);
// Root pixels in Qt's logical coordinates, where the program's own top-level windows are placed
// (divided by Qt's device pixel ratio of the monitor).
QRectF rootToWindowSystem(const QRectF& rootRect);
} // namespace X11
