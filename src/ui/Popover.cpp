// Anchored popup panels of the main window.
#include "Popover.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QScreen>

namespace {
std::function<void(QWindow*)>& keepOffTaskbar()
{
    static std::function<void(QWindow*)> hint;
    return hint;
}
} // namespace

void Popover::setKeepOffTaskbar(std::function<void(QWindow*)> hint)
{
    keepOffTaskbar() = std::move(hint);
}

Popover::Popover(const QString& name, QWidget* parent)
    : QFrame(parent, Qt::Tool | Qt::FramelessWindowHint)
{
    setWindowTitle(name);
    setAccessibleName(name);
    setObjectName(name);
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);
}

void Popover::open(QWidget* anchor)
{
    m_anchor = anchor;
    adjustSize();
    QPoint position;
    QRect available;
    if (anchor) {
        const QPoint bottomCentre =
            anchor->mapToGlobal(QPoint(anchor->width() / 2, anchor->height()));
        position = QPoint(bottomCentre.x() - width() / 2, bottomCentre.y() + 4);
        if (QScreen* screen = anchor->screen())
            available = screen->availableGeometry();
    }
    if (available.isValid()) {
        position.setX(std::clamp(position.x(), available.left(),
                                 std::max(available.left(), available.right() - width())));
        // Above the anchor when there is no room below it.
        if (anchor && position.y() + height() > available.bottom())
            position.setY(anchor->mapToGlobal(QPoint()).y() - height() - 4);
    }
    move(position);
    show();
    raise();
    activateWindow();
}

void Popover::showEvent(QShowEvent* event)
{
    QFrame::showEvent(event);
    // The native window exists but is not mapped yet: the window manager reads the hint when
    // it maps it, so the panel never flashes into a taskbar.
    if (keepOffTaskbar() && windowHandle())
        keepOffTaskbar()(windowHandle());
    m_wasActive = false;
    // A press in the main window closes the panel even when the window manager never gave it
    // the focus.
    qApp->installEventFilter(this);
    emit opened();
}

void Popover::hideEvent(QHideEvent* event)
{
    QFrame::hideEvent(event);
    qApp->removeEventFilter(this);
    emit closed();
}

void Popover::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        hide();
        return;
    }
    QFrame::keyPressEvent(event);
}

bool Popover::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress) {
        // Only presses in the window the panel belongs to: a file chooser opened from the
        // panel must not close it.
        auto* widget = qobject_cast<QWidget*>(watched);
        if (widget && parentWidget() && widget->window() == parentWidget()->window())
            hide();
    }
    return QFrame::eventFilter(watched, event);
}

void Popover::changeEvent(QEvent* event)
{
    QFrame::changeEvent(event);
    if (event->type() != QEvent::ActivationChange)
        return;
    // A click anywhere else takes the focus away: the panel goes, as popovers do.
    if (isActiveWindow())
        m_wasActive = true;
    else if (m_wasActive && isVisible())
        hide();
}
