// Re-placing the neighbours of a monitor that changes size.
#include "MonitorLayout.h"

#include <algorithm>
#include <limits>

namespace MonitorLayout {

namespace {

// Where a neighbour's edge goes along one axis when it lines up with the changed monitor: the
// shared start edge, else the shared end edge, else the shared centre, else the same offset from
// the start edge.
int aligned(int start, int length, int oldStart, int oldLength, int newStart, int newLength)
{
    if (start == oldStart)
        return newStart;
    if (start + length == oldStart + oldLength)
        return newStart + newLength - length;
    if (2 * start + length == 2 * oldStart + oldLength)
        return newStart + (newLength - length) / 2;
    return start + (newStart - oldStart);
}

} // namespace

QList<QRect> rearranged(const QList<QRect>& monitors, qsizetype index, const QRect& target)
{
    if (index < 0 || index >= monitors.size())
        return monitors;
    const QRect old = monitors[index];
    // Exclusive right and bottom edges: QRect's own are one pixel short.
    const int oldRight = old.x() + old.width();
    const int oldBottom = old.y() + old.height();
    const int dxRight = target.x() + target.width() - oldRight;
    const int dyBottom = target.y() + target.height() - oldBottom;

    QList<QRect> result = monitors;
    for (qsizetype i = 0; i < monitors.size(); ++i) {
        if (i == index)
            continue;
        const QRect m = monitors[i];
        const int right = m.x() + m.width();
        const int bottom = m.y() + m.height();
        const bool rightOf = m.x() >= oldRight;
        const bool leftOf = right <= old.x();
        const bool below = m.y() >= oldBottom;
        const bool above = bottom <= old.y();
        const bool sharesRows = m.y() < oldBottom && bottom > old.y();
        const bool sharesColumns = m.x() < oldRight && right > old.x();
        int x = m.x();
        int y = m.y();
        if (rightOf)
            x += dxRight;
        if (below)
            y += dyBottom;
        if ((rightOf || leftOf) && sharesRows)
            y = aligned(m.y(), m.height(), old.y(), old.height(), target.y(), target.height());
        if ((below || above) && sharesColumns)
            x = aligned(m.x(), m.width(), old.x(), old.width(), target.x(), target.width());
        result[i] = QRect(x, y, m.width(), m.height());
    }
    result[index] = target;

    int minX = std::numeric_limits<int>::max();
    int minY = std::numeric_limits<int>::max();
    for (const QRect& r : std::as_const(result)) {
        minX = std::min(minX, r.x());
        minY = std::min(minY, r.y());
    }
    for (QRect& r : result)
        r.translate(-minX, -minY);
    return result;
}

} // namespace MonitorLayout
