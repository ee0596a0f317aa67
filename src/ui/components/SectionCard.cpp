// The section card.
#include "SectionCard.h"

#include "Look.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

SectionCard::SectionCard(const QString& title, const QString& systemImage, bool fill, bool stretch,
                         QWidget* accessory, QWidget* content, QWidget* parent)
    : QWidget(parent), m_title(title), m_systemImage(systemImage)
{
    setAccessibleName(title);
    m_column = new QVBoxLayout(this);
    m_column->setContentsMargins(padding, padding, padding, padding);
    m_column->setSpacing(spacing);

    m_header = new QHBoxLayout;
    m_header->setSpacing(headerSpacing);
    m_symbolLabel = new QLabel(this);
    m_titleLabel = new QLabel(title, this);
    m_titleLabel->setFont(Look::headline());
    m_header->addWidget(m_symbolLabel, 0, Qt::AlignVCenter);
    m_header->addWidget(m_titleLabel, 0, Qt::AlignVCenter);
    m_header->addStretch(1);
    m_column->addLayout(m_header);
    // A stretching card keeps its content at the top and grows below it.
    if (stretch)
        m_column->addStretch(1);
    setAccessory(accessory);
    setContent(content);

    setSizePolicy(fill ? QSizePolicy::Expanding : QSizePolicy::Fixed,
                  stretch ? QSizePolicy::Expanding : QSizePolicy::Fixed);
    updateSymbol();
    Look::whenThemeSymbolsArrive(this, [this] { updateSymbol(); });
}

void SectionCard::setAccessory(QWidget* accessory)
{
    if (!accessory || m_accessory)
        return;
    m_accessory = accessory;
    m_header->addWidget(accessory, 0, Qt::AlignVCenter);
}

void SectionCard::setContent(QWidget* content)
{
    if (!content || m_content)
        return;
    m_content = content;
    // Right below the header, above the stretch of a stretching card.
    m_column->insertWidget(1, content);
}

void SectionCard::updateSymbol()
{
    const int size = QFontMetrics(Look::headline()).height();
    m_symbolLabel->setPixmap(
        Look::symbol(m_systemImage, size, Look::accent(palette()), devicePixelRatioF()));
    m_symbolLabel->setFixedSize(size, size);
}

void SectionCard::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        updateSymbol();
    QWidget::changeEvent(event);
}

void SectionCard::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF shape = rect();
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::controlBackground(palette()));
    painter.drawRoundedRect(shape, cornerRadius, cornerRadius);
    Look::strokeInside(painter, shape, cornerRadius, 1.0,
                       Look::withOpacity(Look::primary(palette()), strokeOpacity));
}
