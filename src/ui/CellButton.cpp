// Thumbnail cells of the Window card.
#include "CellButton.h"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

CellButton::CellButton(QWidget* picture, const QString& name, const QString& tip, QWidget* parent)
    : QAbstractButton(parent), m_picture(picture)
{
    setAccessibleName(name);
    setToolTip(tip);
    setObjectName(name);
    setFocusPolicy(Qt::StrongFocus);
    m_picture->setParent(this);
    m_picture->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_picture->setFocusPolicy(Qt::NoFocus);
    m_picture->show();
    // Greyed while disabled: the picture keeps its colours but is drawn faint.
    auto* faint = new QGraphicsOpacityEffect(m_picture);
    faint->setOpacity(1.0);
    m_picture->setGraphicsEffect(faint);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    resize(sizeHint());
}

QSize CellButton::sizeHint() const
{
    return m_picture->sizeHint().expandedTo(m_picture->minimumSizeHint());
}

void CellButton::paintEvent(QPaintEvent*)
{
    if (!hasFocus())
        return;
    QPainter painter(this);
    QStyleOptionFocusRect option;
    option.initFrom(this);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

void CellButton::resizeEvent(QResizeEvent* event)
{
    QAbstractButton::resizeEvent(event);
    m_picture->setGeometry(rect());
}

void CellButton::changeEvent(QEvent* event)
{
    QAbstractButton::changeEvent(event);
    if (event->type() == QEvent::EnabledChange) {
        if (auto* faint = qobject_cast<QGraphicsOpacityEffect*>(m_picture->graphicsEffect()))
            faint->setOpacity(isEnabled() ? 1.0 : 0.4);
    }
}
