// Unsmoothed drawing of a panel picture.
#include "SliceView.h"

#include <QPainter>

SliceView::SliceView(QImage image, QWidget* parent) : QWidget(parent), m_image(std::move(image))
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void SliceView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // Nearest pixel, never interpolated: at a device pixel ratio of 2 a picture of twice the
    // view's size in points is copied one to one.
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(QRectF(rect()), m_image);
}
