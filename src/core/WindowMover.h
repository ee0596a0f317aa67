// Lists other applications' windows and moves, resizes and minimises one of them. Stateless:
// every call asks the platform afresh.
#pragma once

#include "ManagedWindow.h"
#include "WindowArrangement.h"

#include <QList>
#include <QRectF>
#include <QSizeF>
#include <optional>

class Platform;
struct ScreenInfo;

namespace WindowMover {
// The windows of other applications on the current workspace (and sticky ones) that can be
// arranged, grouped by application (applications in the order their first window appears in the
// window manager's list, windows front to back within each).
QList<ManagedWindow> windows(const Platform& platform);
void arrange(const Platform& platform, quint64 element, WindowArrangement arrangement);
// Clamps the size to the visible frame of the window's screen and centres the window in it.
void resize(const Platform& platform, quint64 element, QSizeF size);
void minimize(const Platform& platform, quint64 element);

// --- the geometry behind arrange and resize ---

// Outer frame of the window in global top-left coordinates; absent when it cannot be read.
std::optional<QRectF> frame(const Platform& platform, quint64 element);
// Height of the screen whose frame origin is (0, 0), else of the main screen, else 0.
double primaryHeight(const Platform& platform);
// The screen that holds the centre of a frame given in top-left coordinates, else the main
// screen, else the first; absent only when there are no screens.
std::optional<ScreenInfo> screenForWindowFrame(const Platform& platform, const QRectF& frame);
// The region of `visible` (bottom-left coordinates) for a window of size `current`.
QRectF targetFrame(WindowArrangement arrangement, const QRectF& visible, QSizeF current);
// `requested` clamped to `visible` per dimension and centred in it (bottom-left coordinates).
QRectF centredFrame(QSizeF requested, const QRectF& visible);
// Size, then position, then size again (top-left coordinates): the first size lets the window
// fit where it is going, the second corrects a size the window manager changed during the move.
void setFrame(const Platform& platform, const QRectF& frame, quint64 element);
} // namespace WindowMover
