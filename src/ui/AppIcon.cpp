// Icons drawn with QPainter so the program never depends on artwork from elsewhere.
#include "AppIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace {

// A four-pointed sparkle centred at `c` with outer radius `r`.
QPainterPath sparkle(QPointF c, double r)
{
    const double w = r * 0.28;
    QPainterPath path;
    path.moveTo(c.x(), c.y() - r);
    path.quadTo(c.x() + w * 0.4, c.y() - w * 0.4, c.x() + r, c.y());
    path.quadTo(c.x() + w * 0.4, c.y() + w * 0.4, c.x(), c.y() + r);
    path.quadTo(c.x() - w * 0.4, c.y() + w * 0.4, c.x() - r, c.y());
    path.quadTo(c.x() - w * 0.4, c.y() - w * 0.4, c.x(), c.y() - r);
    path.closeSubpath();
    return path;
}

QIcon drawnSparkles(const QColor& color)
{
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(Qt::NoPen);
        p.setBrush(color);
        p.drawPath(sparkle(QPointF(size * 0.42, size * 0.56), size * 0.38));
        p.drawPath(sparkle(QPointF(size * 0.80, size * 0.22), size * 0.17));
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

QIcon drawnAppIcon()
{
    return drawnSparkles(QColor(0x5b, 0x6e, 0xe1));
}

QIcon appIcon()
{
    return QIcon::fromTheme(QStringLiteral("quillet"), drawnAppIcon());
}

QIcon trayIcon()
{
    // Freedesktop themes have no "sparkles" name: an installed "quillet-symbolic" wins, else
    // our drawn sparkles in an accent blue that reads on light and dark panels.
    return QIcon::fromTheme(QStringLiteral("quillet-symbolic"), drawnAppIcon());
}
