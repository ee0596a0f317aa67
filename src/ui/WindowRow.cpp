// A selectable row of the window list.
#include "WindowRow.h"

#include "components/Look.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

namespace {
constexpr int kPadX = 7;
constexpr int kPadY = 4;
} // namespace

WindowRow::WindowRow(const QString& label, QWidget* parent) : QAbstractButton(parent)
{
    setText(label);
    setCheckable(true);
    setAccessibleName(label);
    setToolTip(label);
    setFont(Look::caption());
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void WindowRow::setSelected(bool selected)
{
    m_selected = selected;
    setChecked(selected);
    update();
}

QString WindowRow::shownText() const
{
    return fontMetrics().elidedText(text(), Qt::ElideMiddle, std::max(0, width() - 2 * kPadX));
}

QSize WindowRow::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(text()) + 2 * kPadX,
            fontMetrics().height() + 2 * kPadY};
}

QSize WindowRow::minimumSizeHint() const
{
    return {2 * kPadX, fontMetrics().height() + 2 * kPadY};
}

void WindowRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor textColor = Look::primary(palette());
    if (m_selected) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Look::accent(palette()));
        painter.drawRoundedRect(QRectF(rect()), 5, 5);
        textColor = Qt::white;
    }
    if (!isEnabled())
        textColor.setAlphaF(0.4f);
    painter.setPen(textColor);
    painter.drawText(rect().adjusted(kPadX, 0, -kPadX, 0), Qt::AlignLeft | Qt::AlignVCenter,
                     shownText());
    if (hasFocus()) {
        QStyleOptionFocusRect option;
        option.initFrom(this);
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
    }
}
