// The screen thumbnail.
#include "ScreenThumb.h"

#include "Look.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace {

QFont captionFont()
{
    return Look::systemFont(9);
}

} // namespace

ScreenThumb::ScreenThumb(const QRectF& region, const std::optional<QString>& caption, bool dashed,
                         const std::optional<QString>& glyph, double w, double h, double menuBar,
                         QWidget* parent)
    : QAbstractButton(parent), m_region(region), m_caption(caption), m_dashed(dashed),
      m_glyph(glyph), m_w(w), m_h(h), m_menuBar(menuBar)
{
    Look::whenThemeSymbolsArrive(this, [this] { update(); });
    if (caption) {
        setText(*caption);
        setAccessibleName(*caption);
    }
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    resize(sizeHint());
}

QRectF ScreenThumb::regionRect(const QRectF& region, double w, double h, double menuBar)
{
    const double below = h - menuBar;
    return {w * region.x() + regionInset, menuBar + below * region.y() + regionInset,
            std::max(w * region.width() - 2 * regionInset, minimumRegionSide),
            std::max(below * region.height() - 2 * regionInset, minimumRegionSide)};
}

QSize ScreenThumb::sizeHint() const
{
    double width = m_w;
    double height = m_h;
    if (m_caption) {
        // The caption is never cut: the thumbnail widens to fit it.
        const QFontMetrics metrics(captionFont());
        width = std::max(width, double(metrics.horizontalAdvance(*m_caption)));
        height += captionGap + metrics.height();
    }
    return {int(std::ceil(width)), int(std::ceil(height))};
}

QRectF ScreenThumb::screenRect() const
{
    return {std::floor((width() - m_w) / 2.0), 0.0, m_w, m_h};
}

bool ScreenThumb::event(QEvent* event)
{
    // Without a caption the tooltip the caller gives is the thumbnail's name.
    if (event->type() == QEvent::ToolTipChange && !m_caption)
        setAccessibleName(toolTip());
    return QAbstractButton::event(event);
}

void ScreenThumb::paintEvent(QPaintEvent*)
{
    const QPalette& pal = palette();
    const QColor secondary = Look::secondary(pal);
    const QColor accent = Look::accent(pal);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF screen = screenRect();
    QPainterPath shape;
    shape.addRoundedRect(screen, cornerRadius, cornerRadius);

    painter.save();
    painter.setClipPath(shape);
    painter.fillPath(shape, Look::windowBackground(pal));
    painter.fillRect(QRectF(screen.left(), screen.top(), m_w, m_menuBar),
                     Look::withOpacity(secondary, 0.35));
    painter.translate(screen.topLeft());
    if (m_glyph) {
        const int size = int(std::round(Look::systemFont(12).pointSizeF() * 4.0 / 3.0));
        const QPixmap symbol = Look::symbol(*m_glyph, size, secondary, devicePixelRatioF());
        painter.drawPixmap(QPointF((m_w - size) / 2.0, (m_h - size) / 2.0), symbol);
    } else {
        const QRectF area = regionRect(m_region, m_w, m_h, m_menuBar);
        if (m_dashed) {
            Look::strokeInside(painter, area, regionRadius, 1.0, accent, Qt::CustomDashLine);
        } else {
            painter.setPen(Qt::NoPen);
            painter.setBrush(accent);
            painter.drawRoundedRect(area, regionRadius, regionRadius);
        }
    }
    painter.restore();
    Look::strokeInside(painter, screen, cornerRadius, 1.0, Look::withOpacity(secondary, 0.55));

    if (m_caption) {
        painter.setFont(captionFont());
        painter.setPen(secondary);
        painter.drawText(QRectF(0, screen.bottom() + captionGap, width(),
                                height() - screen.bottom() - captionGap),
                         Qt::AlignHCenter | Qt::AlignTop, *m_caption);
    }
    if (hasFocus())
        Look::focusRing(painter, screen, cornerRadius, palette());
}
