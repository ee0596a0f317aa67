// The resolution tile.
#include "ResolutionTile.h"

#include "Look.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

ResolutionTile::ResolutionTile(const DisplayMode& mode, bool isCurrent, double scale,
                               QWidget* parent)
    : QAbstractButton(parent), m_mode(mode), m_isCurrent(isCurrent), m_scale(scale)
{
    setCheckable(true);
    setChecked(isCurrent);
    setText(sizeLabel(mode));
    setAccessibleName(sizeLabel(mode));
    setAccessibleDescription(pixelLabel(mode));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ResolutionTile::setCurrent(bool isCurrent)
{
    m_isCurrent = isCurrent;
    setChecked(isCurrent);
    update();
}

QSizeF ResolutionTile::canvasSize(const DisplayMode& mode, double scale)
{
    return {std::max(scale * double(mode.width), minimumCanvasWidth),
            std::max(scale * double(mode.height), minimumCanvasHeight)};
}

double ResolutionTile::tileWidth(double canvasWidth)
{
    return std::max(canvasWidth, minimumTileWidth);
}

std::array<QRectF, 2> ResolutionTile::windowRects(const DisplayMode& mode)
{
    const double W = double(mode.width);
    const double H = double(mode.height) - menuBarPoints;
    // The large window sits a little right of centre; the small one peeks out above-left of it.
    const double wm = std::min(W * 0.6, 1000.0);
    const double hm = std::min(H * 0.66, 680.0);
    const double xm = std::max(W * 0.03, W * 0.05 + (W * 0.5 - wm * 0.5));
    const double ym =
        std::max(H * 0.03 + menuBarPoints, H * 0.05 + ((H - hm) * 0.5 + menuBarPoints));
    const double wr = std::min(W * 0.42, 640.0);
    const double hr = std::min(H * 0.48, 440.0);
    const double xr = std::max(W * 0.02, xm - wm * 0.3);
    const double yr = std::max(H * 0.02 + menuBarPoints, ym - hm * 0.16);
    return {QRectF(xr, yr, wr, hr), QRectF(xm, ym, wm, hm)};
}

QString ResolutionTile::sizeLabel(const DisplayMode& mode)
{
    return QString::asprintf("%lld \u00d7 %lld", static_cast<long long>(mode.width),
                             static_cast<long long>(mode.height));
}

QString ResolutionTile::pixelLabel(const DisplayMode& mode)
{
    return QString::asprintf("%lld \u00d7 %lld px", static_cast<long long>(mode.pixelWidth),
                             static_cast<long long>(mode.pixelHeight));
}

namespace {

QFont sizeFont()
{
    QFont font = Look::caption2();
    font.setWeight(QFont::Medium);
    return font;
}

QFont pixelFont()
{
    return Look::systemFont(9);
}

} // namespace

QSize ResolutionTile::sizeHint() const
{
    const QSizeF canvas = canvasSize(m_mode, m_scale);
    const QFontMetrics sizeMetrics(sizeFont());
    const QFontMetrics pixelMetrics(pixelFont());
    const double width = std::max({tileWidth(canvas.width()),
                                   double(sizeMetrics.horizontalAdvance(sizeLabel(m_mode))),
                                   double(pixelMetrics.horizontalAdvance(pixelLabel(m_mode)))});
    const double height =
        canvas.height() + labelGap + sizeMetrics.height() + labelSpacing + pixelMetrics.height();
    return {int(std::ceil(width)), int(std::ceil(height))};
}

QRectF ResolutionTile::canvasRect() const
{
    const QSizeF canvas = canvasSize(m_mode, m_scale);
    return {std::round((width() - canvas.width()) / 2.0), 0.0, canvas.width(), canvas.height()};
}

void ResolutionTile::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF canvas = canvasRect();
    drawCanvas(painter, canvas);

    const QFontMetrics sizeMetrics(sizeFont());
    QRectF line(0, canvas.bottom() + labelGap, width(), sizeMetrics.height());
    painter.setFont(sizeFont());
    painter.setPen(Look::primary(palette()));
    painter.drawText(line, Qt::AlignHCenter | Qt::AlignTop, sizeLabel(m_mode));
    line.translate(0, sizeMetrics.height() + labelSpacing);
    line.setHeight(QFontMetrics(pixelFont()).height());
    painter.setFont(pixelFont());
    painter.setPen(Look::secondary(palette()));
    painter.drawText(line, Qt::AlignHCenter | Qt::AlignTop, pixelLabel(m_mode));

    if (hasFocus())
        Look::focusRing(painter, canvas, cornerRadius, palette());
}

void ResolutionTile::drawCanvas(QPainter& painter, const QRectF& canvas) const
{
    const QPalette& pal = palette();
    const QColor accent = Look::accent(pal);
    const QColor secondary = Look::secondary(pal);
    QPainterPath shape;
    shape.addRoundedRect(canvas, cornerRadius, cornerRadius);

    painter.save();
    painter.setClipPath(shape);
    painter.fillPath(shape, m_isCurrent ? Look::withOpacity(accent, 0.18)
                                        : Look::withOpacity(secondary, 0.13));

    const double W = canvas.width();
    const double H = canvas.height();
    const double k = m_mode.height > 0 ? H / double(m_mode.height) : 0.0;
    const double barHeight = std::max(menuBarPoints * k, 3.0);
    painter.fillRect(QRectF(canvas.left(), canvas.top(), W, barHeight),
                     m_isCurrent ? Look::withOpacity(accent, 0.55)
                                 : Look::withOpacity(secondary, 0.40));
    painter.setPen(QPen(Look::withOpacity(secondary, 0.35), 0.5));
    const double lineY = canvas.top() + barHeight - 0.25;
    painter.drawLine(QPointF(canvas.left(), lineY), QPointF(canvas.right(), lineY));

    if (m_mode.width > 0 && m_mode.height > 0) {
        const double kx = W / double(m_mode.width);
        for (const QRectF& window : windowRects(m_mode)) {
            drawWindow(painter,
                       QRectF(canvas.left() + window.x() * kx, canvas.top() + window.y() * k,
                              window.width() * kx, window.height() * k));
        }
    }
    painter.restore();

    if (m_isCurrent)
        Look::strokeInside(painter, canvas, cornerRadius, 2.0, accent);
    else
        Look::strokeInside(painter, canvas, cornerRadius, 1.0, Look::withOpacity(secondary, 0.35));
}

void ResolutionTile::drawWindow(QPainter& painter, const QRectF& window) const
{
    const QPalette& pal = palette();
    const QColor secondary = Look::secondary(pal);
    const double radius = std::min(window.height() * 0.14, 3.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::textBackground(pal));
    painter.drawRoundedRect(window, radius, radius);

    const double depth = std::clamp(window.height() * 0.16, 2.0, 6.0);
    painter.setPen(QPen(Look::withOpacity(secondary, 0.40), 0.5));
    painter.drawLine(QPointF(window.left(), window.top() + depth),
                     QPointF(window.right(), window.top() + depth));

    painter.setPen(QPen(Look::withOpacity(secondary, 0.55), 0.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(window, radius, radius);
}
