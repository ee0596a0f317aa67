// The permission banner.
#include "PermissionBanner.h"

#include "Look.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

PermissionBanner::PermissionBanner(const QString& text, QWidget* parent)
    : QWidget(parent), m_text(text)
{
    setAccessibleName(text);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(padding, padding, padding, padding);
    row->setSpacing(spacing);

    m_symbol = new QLabel(this);
    m_label = new QLabel(text, this);
    m_label->setFont(Look::caption());
    m_label->setWordWrap(true);
    QSizePolicy wrapping(QSizePolicy::Expanding, QSizePolicy::Preferred);
    wrapping.setHeightForWidth(true);
    m_label->setSizePolicy(wrapping);
    m_grant = new QPushButton(grantTitle(), this);
    m_grant->setAccessibleName(grantTitle());
    m_grant->setAccessibleDescription(text);
    // The small control size: the caption font and no extra width beyond the title.
    m_grant->setFont(Look::caption());
    m_grant->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(m_grant, &QPushButton::clicked, this, &PermissionBanner::grantRequested);

    row->addWidget(m_symbol, 0, Qt::AlignVCenter);
    row->addWidget(m_label, 1, Qt::AlignVCenter);
    row->addWidget(m_grant, 0, Qt::AlignVCenter);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    updateColours();
}

QString PermissionBanner::grantTitle()
{
    return tr("Grant\u2026");
}

void PermissionBanner::updateColours()
{
    const int size = QFontMetrics(Look::callout()).height();
    m_symbol->setPixmap(
        Look::symbol(QStringLiteral("lock.shield"), size, Look::orange(), devicePixelRatioF()));
    m_symbol->setFixedSize(size, size);
    QPalette labelPalette = m_label->palette();
    labelPalette.setColor(QPalette::WindowText, Look::secondary(palette()));
    m_label->setPalette(labelPalette);
}

void PermissionBanner::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        updateColours();
    QWidget::changeEvent(event);
}

void PermissionBanner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::withOpacity(Look::orange(), fillOpacity));
    painter.drawRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
}
