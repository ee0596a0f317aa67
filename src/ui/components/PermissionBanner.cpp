// The permission banner.
#include "PermissionBanner.h"

#include "Look.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

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
    m_advice = new QLabel(this);
    m_advice->setObjectName(QStringLiteral("advice"));
    m_advice->setFont(Look::caption());
    m_advice->setWordWrap(true);
    m_advice->setSizePolicy(wrapping);
    m_advice->hide();
    m_grant = new QPushButton(grantTitle(), this);
    m_grant->setAccessibleName(grantTitle());
    m_grant->setAccessibleDescription(text);
    // The small control size: the caption font and no extra width beyond the title.
    m_grant->setFont(Look::caption());
    m_grant->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(m_grant, &QPushButton::clicked, this, &PermissionBanner::grantRequested);

    row->addWidget(m_symbol, 0, Qt::AlignVCenter);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(4);
    texts->addWidget(m_label);
    texts->addWidget(m_advice);
    row->addLayout(texts, 1);
    row->addWidget(m_grant, 0, Qt::AlignVCenter);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    updateColours();
    Look::whenThemeSymbolsArrive(this, [this] { updateColours(); });
}

QString PermissionBanner::grantTitle()
{
    return tr("Grant\u2026");
}

void PermissionBanner::setAdvice(const QString& advice)
{
    m_advice->setText(advice);
    m_advice->setVisible(!advice.isEmpty());
    // Read out with the button, so a screen reader tells what pressing it found.
    m_grant->setAccessibleDescription(advice.isEmpty() ? m_text
                                                       : m_text + QLatin1Char(' ') + advice);
}

QString PermissionBanner::advice() const
{
    return m_advice->text();
}

void PermissionBanner::updateColours()
{
    m_symbol->setPixmap(Look::bannerSymbol(this));
    m_symbol->setFixedSize(m_symbol->pixmap().deviceIndependentSize().toSize());
    QPalette labelPalette = m_label->palette();
    labelPalette.setColor(QPalette::WindowText, Look::secondary(palette()));
    m_label->setPalette(labelPalette);
    m_advice->setPalette(labelPalette);
}

void PermissionBanner::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        updateColours();
    QWidget::changeEvent(event);
}

void PermissionBanner::paintEvent(QPaintEvent*)
{
    Look::paintBannerFill(this);
}
