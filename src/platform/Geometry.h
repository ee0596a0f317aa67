// The program's two coordinate systems, in points. Screen frames and everything the core lays
// out (bar tiles, masks, window targets) are global bottom-left: the origin at the primary
// monitor's bottom-left corner, y up. Window frames from the window manager and X are global
// top-left: the origin at the primary monitor's top-left corner, y down. The primary monitor
// is the one whose bottom-left frame origin is (0, 0).
#pragma once

#include "Screens.h"

#include <QList>
#include <QPointF>
#include <QRectF>
#include <optional>

namespace Geometry {

// A rectangle taken from one system to the other (the same formula both ways).
inline QRectF flipped(const QRectF& rect, double primaryHeight)
{
    return QRectF(rect.x(), primaryHeight - (rect.y() + rect.height()), rect.width(),
                  rect.height());
}

// A rectangle in top-left coordinates whose origin is `primary`'s top-left corner, in the
// bottom-left system of which `primary` is the primary monitor.
inline QRectF toBottomLeft(const QRectF& rect, const QRectF& primary)
{
    return flipped(rect.translated(-primary.topLeft()), primary.height());
}

inline bool isPrimary(const ScreenInfo& screen)
{
    return screen.frame.topLeft() == QPointF(0, 0);
}

inline std::optional<ScreenInfo> primaryScreen(const QList<ScreenInfo>& screens)
{
    for (const ScreenInfo& screen : screens) {
        if (isPrimary(screen))
            return screen;
    }
    return std::nullopt;
}

} // namespace Geometry
