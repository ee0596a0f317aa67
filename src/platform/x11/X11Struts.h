// The space panels reserve at the edges of the root window (_NET_WM_STRUT_PARTIAL and the older
// _NET_WM_STRUT), and what it leaves of a monitor.
#pragma once

#include <QList>
#include <QRect>
#include <QSize>

namespace X11 {

// The edge of the root window a strut is attached to and the rectangle it reserves, root pixels.
struct Strut {
    enum class Edge { left, right, top, bottom };
    Edge edge;
    QRect rect;
};

// The struts of one window from its property: twelve values for the partial form, four for the
// older one, which reserves whole edges. Anything else reserves nothing.
QList<Strut> strutsFromProperty(const QList<quint32>& values, QSize rootSize);
// The monitor minus every strut that reaches into it, each cut from the edge it is attached to;
// empty when nothing is left.
QRect visibleArea(const QRect& monitor, const QList<Strut>& struts);

} // namespace X11
