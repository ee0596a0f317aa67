// Where the monitors go when one of them changes size or place: the arrangement the user made
// (which monitor is left of, right of, above or below which, and how their edges line up) is kept.
#pragma once

#include <QList>
#include <QRect>

namespace MonitorLayout {
// `monitors` are the lit monitors' rectangles in root pixels; the one at `index` becomes
// `target`. Monitors right of its old right edge follow that edge, monitors below its old bottom
// edge follow that edge, and a side-by-side neighbour keeps the edge (top, bottom or centre) it
// shared with it. The result is in the same order, moved so that the smallest x and y are 0
// (the screen has no negative coordinates).
QList<QRect> rearranged(const QList<QRect>& monitors, qsizetype index, const QRect& target);
} // namespace MonitorLayout
