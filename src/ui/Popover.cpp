// Anchored popup panels of the main window.
#include "Popover.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QScreen>
#include <QTimer>

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
    m_eatNextPress = false;
    m_eatRelease = false;
    // A press in the main window closes the panel even when the window manager never gave it
    // the focus.
    qApp->installEventFilter(this);
    emit opened();
}

void Popover::hideEvent(QHideEvent* event)
{
    QFrame::hideEvent(event);
    // Still watching while the dismissing click has yet to arrive or to be released.
    if (!m_eatNextPress && !m_eatRelease)
        stopWatching();
    emit closed();
}

void Popover::stopWatching()
{
    m_eatNextPress = false;
    m_eatRelease = false;
    qApp->removeEventFilter(this);
}

void Popover::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        hide();
        return;
    }
    QFrame::keyPressEvent(event);
}

bool Popover::inOwnWindow(QObject* watched) const
{
    // Only the window the panel belongs to: a file chooser opened from the panel must not
    // close it.
    auto* widget = qobject_cast<QWidget*>(watched);
    return widget && parentWidget() && widget->window() == parentWidget()->window();
}

bool Popover::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        if (!inOwnWindow(watched))
            break;
        if (isVisible() || m_eatNextPress) {
            m_eatNextPress = false;
            m_eatRelease = true;
            hide();
            return true;
        }
        break;
    case QEvent::MouseButtonRelease:
        if (m_eatRelease && inOwnWindow(watched)) {
            m_eatRelease = false;
            if (!isVisible())
                stopWatching();
            return true;
        }
        break;
    default:
        break;
    }
    return QFrame::eventFilter(watched, event);
}

void Popover::changeEvent(QEvent* event)
{
    QFrame::changeEvent(event);
    if (event->type() != QEvent::ActivationChange)
        return;
    // A click anywhere else takes the focus away: the panel goes, as popovers do.
    if (isActiveWindow()) {
        m_wasActive = true;
    } else if (m_wasActive && isVisible()) {
        // When the click went to our own window, the window manager moves the focus before it
        // hands the press on: that press is still to come and is the dismissing one.
        QWidget* active = QApplication::activeWindow();
        m_eatNextPress = active && parentWidget() && active == parentWidget()->window();
        if (m_eatNextPress) {
            // Pointer-less activation (a keyboard switch) has no press to eat: forget it soon.
            QTimer::singleShot(500, this, [this] {
                if (m_eatNextPress && !isVisible())
                    stopWatching();
            });
        }
        hide();
    }
}
