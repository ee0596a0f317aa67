// The mask window's fixed setup.
#include "MaskWindow.h"

#include "SliceView.h"

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>

MaskWindow::MaskWindow(const QRect& geometry, const std::optional<QImage>& image,
                       const QColor& fill)
    : QWidget(nullptr,
              // Bypassing the window manager is what lets the window cover the panel: a managed
              // window is kept out of the panel's strut, and on X11 an override-redirect window
              // is on every workspace, outside the taskbar, without frame or shadow.
              Qt::Window | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint |
                  Qt::WindowStaysOnTopHint | Qt::WindowTransparentForInput |
                  Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint),
      m_fill(fill)
{
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11DoNotAcceptFocus);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    setGeometry(geometry);

    if (image) {
        setAttribute(Qt::WA_TranslucentBackground);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        m_view = new SliceView(*image, this);
        layout->addWidget(m_view);
        // The picture may cover the whole window, which then paints only through it.
        m_view->installEventFilter(this);
    } else if (fill.alphaF() < 1.0) {
        // The 8-bit alpha() reads 255 for anything above 0.998; the window is opaque only
        // for a fully opaque colour.
        setAttribute(Qt::WA_TranslucentBackground);
    }
}

void MaskWindow::orderFrontRegardless()
{
    show();
    raise();
}

void MaskWindow::paintEvent(QPaintEvent*)
{
    if (!m_view) {
        QPainter painter(this);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(rect(), m_fill);
    }
    notePainted();
}

bool MaskWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_view && event->type() == QEvent::Paint)
        notePainted();
    return QWidget::eventFilter(watched, event);
}

void MaskWindow::notePainted()
{
    m_painted = true;
    emit painted();
}
