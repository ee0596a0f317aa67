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

// Root pixels and the points the program works in. Qt keeps each monitor's top-left corner in
// root pixels and divides distances from it by the monitor's device pixel ratio (2 on a
// 192-dpi desktop), so the monitor holding a rectangle's centre (or a point) decides the ratio.
// With a ratio of 1 both are the same.
// Other threads convert with the monitors the UI thread saw last; this notes them (UI thread).
void noteMonitors();
QRectF rootToPoints(const QRectF& rootRect);
QPointF pointsToRoot(const QPointF& point);
// A length in points at a point, in root pixels.
QSizeF pointsToRoot(const QSizeF& size, const QPointF& at);
} // namespace X11
