// The saturation–brightness pad.
#include "SatBriPad.h"

#include "Look.h"

#include <QKeyEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

SatBriPad::SatBriPad(QWidget* parent) : QWidget(parent)
{
    setAccessibleName(tr("Saturation and brightness"));
    // Reachable from the keyboard too: arrows move the marker by 1 %, with Shift by 10 %.
    setFocusPolicy(Qt::StrongFocus);
    setFixedSize(sizeHint());
}

QSize SatBriPad::sizeHint() const
{
    return {int(padWidth) + 2 * overhang, int(padHeight) + 2 * overhang};
}

void SatBriPad::setValues(double hue, double sat, double bri)
{
    m_hue = hue;
    m_sat = sat;
    m_bri = bri;
    update();
}

QRectF SatBriPad::padRect()
{
    return {double(overhang), double(overhang), padWidth, padHeight};
}

std::pair<double, double> SatBriPad::valuesAt(QPointF point, QSizeF size)
{
    return {std::clamp(point.x() / size.width(), 0.0, 1.0),
            std::clamp(1.0 - point.y() / size.height(), 0.0, 1.0)};
}

QPointF SatBriPad::markerCentre(double sat, double bri, QSizeF size)
{
    return {sat * size.width(), (1.0 - bri) * size.height()};
}

void SatBriPad::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        track(event->position());
}

void SatBriPad::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() & Qt::LeftButton)
        track(event->position());
}

void SatBriPad::keyPressEvent(QKeyEvent* event)
{
    const double step = event->modifiers() & Qt::ShiftModifier ? 0.1 : 0.01;
    double sat = m_sat;
    double bri = m_bri;
    switch (event->key()) {
    case Qt::Key_Left:
        sat -= step;
        break;
    case Qt::Key_Right:
        sat += step;
        break;
    case Qt::Key_Up:
        bri += step;
        break;
    case Qt::Key_Down:
        bri -= step;
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    emit dragged(std::clamp(sat, 0.0, 1.0), std::clamp(bri, 0.0, 1.0));
}

void SatBriPad::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    update();
}

void SatBriPad::focusOutEvent(QFocusEvent* event)
{
    QWidget::focusOutEvent(event);
    update();
}

void SatBriPad::track(QPointF position)
{
    const QRectF pad = padRect();
    const auto [sat, bri] = valuesAt(position - pad.topLeft(), pad.size());
    emit dragged(sat, bri);
}

void SatBriPad::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF pad = padRect();
    QPainterPath shape;
    shape.addRoundedRect(pad, cornerRadius, cornerRadius);

    QLinearGradient across(pad.topLeft(), pad.topRight());
    across.setColorAt(0, Qt::white);
    across.setColorAt(1, QColor::fromHsvF(float(m_hue), 1, 1));
    painter.fillPath(shape, across);
    QLinearGradient down(pad.topLeft(), pad.bottomLeft());
    down.setColorAt(0, QColor(0, 0, 0, 0));
    down.setColorAt(1, QColor(0, 0, 0, 255));
    painter.fillPath(shape, down);
    Look::strokeInside(painter, pad, cornerRadius, 0.5,
                       Look::withOpacity(Look::primary(palette()), 0.15));

    // A white ring with a thin dark rim, readable on light and dark parts of the pad.
    const QPointF centre = pad.topLeft() + markerCentre(m_sat, m_bri, pad.size());
    const double radius = markerSize / 2.0;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor::fromRgbF(0, 0, 0, 0.6f), 0.5));
    painter.drawEllipse(centre, radius + 1.25, radius + 1.25);
    painter.setPen(QPen(Qt::white, 2));
    painter.drawEllipse(centre, radius, radius);
    if (hasFocus()) {
        painter.setPen(QPen(Look::accent(palette()), 2));
        painter.drawEllipse(centre, radius + 3, radius + 3);
    }
}
