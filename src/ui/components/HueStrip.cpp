// The hue strip.
#include "HueStrip.h"

#include "Look.h"

#include <QKeyEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

HueStrip::HueStrip(QWidget* parent) : QWidget(parent)
{
    setAccessibleName(tr("Hue"));
    // Reachable from the keyboard too: Left and Right move by 1 %, with Shift by 10 %.
    setFocusPolicy(Qt::StrongFocus);
    setFixedSize(sizeHint());
}

QSize HueStrip::sizeHint() const
{
    return {int(stripWidth) + 2 * overhangX, int(stripHeight) + 2 * overhangY};
}

void HueStrip::setHue(double hue)
{
    m_hue = hue;
    update();
}

QRectF HueStrip::stripRect()
{
    return {double(overhangX), double(overhangY), stripWidth, stripHeight};
}

double HueStrip::hueAt(double x, double width)
{
    return std::clamp(x / width, 0.0, maximumHue);
}

QPointF HueStrip::markerCentre(double hue, double width)
{
    return {hue * width, stripHeight / 2.0};
}

void HueStrip::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        emit dragged(hueAt(event->position().x() - stripRect().left(), stripWidth));
}

void HueStrip::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() & Qt::LeftButton)
        emit dragged(hueAt(event->position().x() - stripRect().left(), stripWidth));
}

void HueStrip::keyPressEvent(QKeyEvent* event)
{
    const double step = event->modifiers() & Qt::ShiftModifier ? 0.1 : 0.01;
    if (event->key() == Qt::Key_Left)
        emit dragged(std::clamp(m_hue - step, 0.0, maximumHue));
    else if (event->key() == Qt::Key_Right)
        emit dragged(std::clamp(m_hue + step, 0.0, maximumHue));
    else
        QWidget::keyPressEvent(event);
}

void HueStrip::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    update();
}

void HueStrip::focusOutEvent(QFocusEvent* event)
{
    QWidget::focusOutEvent(event);
    update();
}

void HueStrip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF strip = stripRect();
    QPainterPath shape;
    shape.addRoundedRect(strip, cornerRadius, cornerRadius);
    QLinearGradient wheel(strip.topLeft(), strip.topRight());
    for (int step = 0; step <= 6; ++step)
        wheel.setColorAt(step / 6.0, QColor::fromHsvF(step == 6 ? 0.0f : float(step / 6.0), 1, 1));
    painter.fillPath(shape, wheel);
    Look::strokeInside(painter, strip, cornerRadius, 0.5,
                       Look::withOpacity(Look::primary(palette()), 0.15));

    const QPointF centre = strip.topLeft() + markerCentre(m_hue, strip.width());
    const QRectF capsule(centre.x() - markerWidth / 2, centre.y() - markerHeight / 2, markerWidth,
                         markerHeight);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor::fromRgbF(0, 0, 0, 0.6f), 0.5));
    const QRectF rim = capsule.adjusted(-1.25, -1.25, 1.25, 1.25);
    painter.drawRoundedRect(rim, rim.width() / 2, rim.width() / 2);
    painter.setPen(QPen(hasFocus() ? Look::accent(palette()) : QColor(Qt::white), 2));
    painter.drawRoundedRect(capsule, markerWidth / 2, markerWidth / 2);
}
