// The window list of the Window card.
#include "WindowListBox.h"

#include "ContentRules.h"
#include "UiStyle.h"
#include "WindowRow.h"
#include "components/Look.h"

#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QVBoxLayout>

WindowListBox::WindowListBox(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("Windows"));
    setAccessibleName(tr("Windows"));
    setFixedSize(ContentRules::kWindowListWidth, ContentRules::kWindowListHeight);
    // The rounded background is painted here; the scrolled rows lie over it, inside the outline.
    m_scroll = new QScrollArea(this);
    m_scroll->setGeometry(rect().adjusted(1, 1, -1, -1));
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setWidgetResizable(true);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_scroll->setAutoFillBackground(false);
    // The rows take the focus, not the scroller around them (it still follows the focused row).
    m_scroll->setFocusPolicy(Qt::NoFocus);

    m_content = new QWidget;
    m_content->setAutoFillBackground(false);
    m_stack = new QVBoxLayout(m_content);
    m_stack->setContentsMargins(4, 4, 4, 4);
    m_stack->setSpacing(2);
    m_empty = new QLabel(tr("No windows"), m_content);
    UiStyle::makeSecondaryCaption(m_empty);
    m_empty->setContentsMargins(6, 6, 6, 6);
    m_stack->addWidget(m_empty);
    m_stack->addStretch(1);
    m_scroll->setWidget(m_content);
    // The scroll area fills its content by default; the rounded box behind should show through.
    m_content->setAutoFillBackground(false);
}

void WindowListBox::setWindows(const QList<ManagedWindow>& windows,
                               const std::optional<QUuid>& selected, bool listed)
{
    // Before the first listing the box stays blank rather than claim there are none.
    m_empty->setVisible(listed && windows.isEmpty());
    const auto sameRows = [&] {
        if (windows.size() != m_windows.size())
            return false;
        for (qsizetype i = 0; i < windows.size(); ++i) {
            if (windows[i].id != m_windows[i].id ||
                windows[i].menuLabel() != m_windows[i].menuLabel())
                return false;
        }
        return true;
    };
    if (!sameRows()) {
        for (WindowRow* row : std::as_const(m_rows)) {
            row->hide();
            row->deleteLater();
        }
        m_rows.clear();
        m_windows = windows;
        for (qsizetype i = 0; i < windows.size(); ++i) {
            auto* row = new WindowRow(windows[i].menuLabel(), m_content);
            const QUuid id = windows[i].id;
            connect(row, &WindowRow::clicked, this, [this, id] { emit picked(id); });
            // An assistive tool's "Toggle" flips the row's state without a click.
            connect(row, &WindowRow::toggled, this, [this, id] { emit picked(id); });
            m_stack->insertWidget(int(i), row);
            m_rows.append(row);
        }
    }
    for (qsizetype i = 0; i < m_rows.size(); ++i) {
        const QSignalBlocker block(m_rows[i]);
        m_rows[i]->setSelected(selected && m_windows[i].id == *selected);
    }
}

void WindowListBox::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::textBackground(palette()));
    painter.drawRoundedRect(QRectF(rect()), 8, 8);
    Look::strokeInside(painter, rect(), 8, 1.0, Look::withOpacity(Look::secondary(palette()), 0.3));
}
