// The colour swatch.
#include "ColorSwatch.h"

#include "Look.h"

#include <QPainter>

ColorSwatch::ColorSwatch(const QString& digits, QWidget* parent)
    : QAbstractButton(parent), m_digits(digits), m_color(colorOf(digits).toQColor())
{
    const QString name = QStringLiteral("#") + digits;
    setToolTip(name);
    setAccessibleName(name);
    setFocusPolicy(Qt::TabFocus);
    setFixedSize(side, side);
}

RgbColor ColorSwatch::colorOf(const QString& digits)
{
    bool ok = false;
    const uint value = digits.toUInt(&ok, 16);
    const uint rgb = ok ? value : 0;
    return {((rgb >> 16) & 0xFF) / 255.0, ((rgb >> 8) & 0xFF) / 255.0, (rgb & 0xFF) / 255.0, 1.0};
}

void ColorSwatch::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF shape(0, 0, side, side);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_color);
    painter.drawRoundedRect(shape, cornerRadius, cornerRadius);
    Look::strokeInside(painter, shape, cornerRadius, 0.5,
                       Look::withOpacity(Look::primary(palette()), 0.18));
    if (hasFocus())
        Look::focusRing(painter, shape, cornerRadius, palette());
}
