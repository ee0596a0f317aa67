// The pick thumbnail.
#include "PickThumb.h"

#include "Look.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>
#include <cmath>

namespace {

QFont labelFont()
{
    return Look::systemFont(10);
}

} // namespace

PickThumb::PickThumb(const QString& label, bool selected, QWidget* preview, QWidget* parent)
    : QAbstractButton(parent), m_preview(preview)
{
    setText(label);
    setAccessibleName(label);
    setCheckable(true);
    setChecked(selected);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    if (m_preview) {
        m_preview->setParent(this);
        // Clicks go to the thumbnail; the preview only shows.
        m_preview->setAttribute(Qt::WA_TransparentForMouseEvents);
        m_preview->setFocusPolicy(Qt::NoFocus);
        QPainterPath shape;
        shape.addRoundedRect(QRectF(0, 0, previewWidth, previewHeight), cornerRadius, cornerRadius);
        m_preview->setMask(QRegion(shape.toFillPolygon().toPolygon()));
        m_preview->installEventFilter(this);
        m_preview->show();
    }
    resize(sizeHint());
}

void PickThumb::setSelected(bool selected)
{
    setChecked(selected);
    update();
    if (m_preview)
        m_preview->update();
}

QRectF PickThumb::previewRect(int width)
{
    return {std::floor((width - previewWidth) / 2.0), 0.0, double(previewWidth),
            double(previewHeight)};
}

QSize PickThumb::sizeHint() const
{
    const QFontMetrics metrics(labelFont());
    return {std::max(previewWidth, metrics.horizontalAdvance(text()) + 2),
            previewHeight + spacing + metrics.height()};
}

void PickThumb::resizeEvent(QResizeEvent* event)
{
    QAbstractButton::resizeEvent(event);
    if (m_preview)
        m_preview->setGeometry(previewRect(width()).toRect());
}

bool PickThumb::eventFilter(QObject* watched, QEvent* event)
{
    // The frame is drawn over the preview once the preview has painted itself.
    if (watched == m_preview && event->type() == QEvent::Paint) {
        static_cast<QObject*>(m_preview)->event(event);
        QPainter painter(m_preview);
        paintFrame(painter, QPointF(0, 0));
        return true;
    }
    return QAbstractButton::eventFilter(watched, event);
}

void PickThumb::paintFrame(QPainter& painter, QPointF origin)
{
    const QRectF shape(origin, QSizeF(previewWidth, previewHeight));
    if (isSelected())
        Look::strokeInside(painter, shape, cornerRadius, strokeWidth(true),
                           Look::accent(palette()));
    else
        Look::strokeInside(painter, shape, cornerRadius, strokeWidth(false),
                           Look::withOpacity(Look::secondary(palette()), 0.40));
    if (hasFocus())
        Look::focusRing(painter, shape, cornerRadius, palette());
}

void PickThumb::focusInEvent(QFocusEvent* event)
{
    QAbstractButton::focusInEvent(event);
    if (m_preview)
        m_preview->update();
}

void PickThumb::focusOutEvent(QFocusEvent* event)
{
    QAbstractButton::focusOutEvent(event);
    if (m_preview)
        m_preview->update();
}

void PickThumb::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = previewRect(width());
    if (!m_preview)
        paintFrame(painter, frame.topLeft());
    painter.setFont(labelFont());
    painter.setPen(isSelected() ? Look::primary(palette()) : Look::secondary(palette()));
    painter.drawText(
        QRectF(0, frame.bottom() + spacing, width(), height() - frame.bottom() - spacing),
        Qt::AlignHCenter | Qt::AlignTop, text());
}
