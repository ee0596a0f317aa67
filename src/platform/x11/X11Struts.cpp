// Strut geometry: the property values as rectangles, and the monitor area they leave free.
#include "X11Struts.h"

#include <algorithm>

namespace X11 {

QList<Strut> strutsFromProperty(const QList<quint32>& values, QSize rootSize)
{
    const int rootW = rootSize.width();
    const int rootH = rootSize.height();
    QList<quint32> v = values;
    if (v.size() == 4) {
        v += {0, quint32(rootH - 1), 0, quint32(rootH - 1),
              0, quint32(rootW - 1), 0, quint32(rootW - 1)};
    }
    QList<Strut> struts;
    if (v.size() < 12)
        return struts;
    const auto at = [&](int i) { return int(std::min<quint32>(v[i], 1u << 30)); };
    using Edge = Strut::Edge;
    if (at(0) > 0)
        struts.append({Edge::left, QRect(QPoint(0, at(4)), QPoint(at(0) - 1, at(5)))});
    if (at(1) > 0)
        struts.append({Edge::right, QRect(QPoint(rootW - at(1), at(6)), QPoint(rootW - 1, at(7)))});
    if (at(2) > 0)
        struts.append({Edge::top, QRect(QPoint(at(8), 0), QPoint(at(9), at(2) - 1))});
    if (at(3) > 0)
        struts.append(
            {Edge::bottom, QRect(QPoint(at(10), rootH - at(3)), QPoint(at(11), rootH - 1))});
    return struts;
}

QRect visibleArea(const QRect& monitor, const QList<Strut>& struts)
{
    int left = monitor.left(), right = monitor.right() + 1;
    int top = monitor.top(), bottom = monitor.bottom() + 1;
    for (const Strut& s : struts) {
        const QRect overlap = s.rect.intersected(monitor);
        if (overlap.isEmpty())
            continue;
        switch (s.edge) {
        case Strut::Edge::left:
            left = std::max(left, overlap.right() + 1);
            break;
        case Strut::Edge::right:
            right = std::min(right, overlap.left());
            break;
        case Strut::Edge::top:
            top = std::max(top, overlap.bottom() + 1);
            break;
        case Strut::Edge::bottom:
            bottom = std::min(bottom, overlap.top());
            break;
        }
    }
    if (right <= left || bottom <= top)
        return {};
    return QRect(left, top, right - left, bottom - top);
}

} // namespace X11
