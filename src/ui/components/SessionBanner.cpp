// The session banner: what cannot work in this session and what to do about it.
#include "SessionBanner.h"

#include "Look.h"

#include <QCoreApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace {
constexpr int kPadding = 10;

// Every feature acts on the X11 desktop, so all of them are named.
const char* const kNeedsX11 =
    "Switching the resolution, moving other apps' windows, hiding the desktop icons, changing "
    "the desktop picture and covering the panel all need an X11 session.";
} // namespace

SessionBanner::SessionBanner(PermissionGap gap, QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("session banner"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    row->setSpacing(8);
    m_symbol = new QLabel(this);
    m_title = new QLabel(title(gap), this);
    QFont bold = Look::caption();
    bold.setBold(true);
    m_title->setFont(bold);
    m_title->setWordWrap(true);
    m_explanation = new QLabel(explanation(gap), this);
    m_explanation->setFont(Look::caption());
    m_explanation->setWordWrap(true);
    QSizePolicy wrapping(QSizePolicy::Expanding, QSizePolicy::Preferred);
    wrapping.setHeightForWidth(true);
    m_title->setSizePolicy(wrapping);
    m_explanation->setSizePolicy(wrapping);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(4);
    texts->addWidget(m_title);
    texts->addWidget(m_explanation);
    row->addWidget(m_symbol, 0, Qt::AlignTop);
    row->addLayout(texts, 1);
    setAccessibleName(m_title->text());
    setAccessibleDescription(m_explanation->text());
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    setVisible(!m_title->text().isEmpty());
    updateColours();
    Look::whenThemeSymbolsArrive(this, [this] { updateColours(); });
}

QString SessionBanner::title(PermissionGap gap)
{
    switch (gap) {
    case PermissionGap::waylandSession:
        return tr("This is a Wayland session");
    case PermissionGap::noDisplay:
        return tr("Quillet is not connected to an X11 display");
    default:
        return {};
    }
}

QString SessionBanner::explanation(PermissionGap gap)
{
    switch (gap) {
    case PermissionGap::waylandSession:
        return tr(kNeedsX11) + QLatin1Char(' ') +
               tr("Wayland keeps other programs' windows and the screen out of reach. Log out, "
                  "choose an X11 (Xorg) session at the login screen, then start Quillet again.");
    case PermissionGap::noDisplay:
        return tr(kNeedsX11) + QLatin1Char(' ') +
               tr("Start Quillet from within an X11 desktop session.");
    default:
        return {};
    }
}

QString SessionBanner::noModesText(PermissionGap gap)
{
    switch (gap) {
    case PermissionGap::waylandSession:
        return tr("No resolutions to offer: a Wayland session does not let Quillet switch them.");
    case PermissionGap::noDisplay:
        return tr("No resolutions to offer without an X11 display.");
    default:
        return tr("No resolutions to offer for this display.");
    }
}

void SessionBanner::updateColours()
{
    m_symbol->setPixmap(Look::bannerSymbol(this));
    m_symbol->setFixedSize(m_symbol->pixmap().deviceIndependentSize().toSize());
    QPalette labelPalette = m_explanation->palette();
    labelPalette.setColor(QPalette::WindowText, Look::secondary(palette()));
    m_explanation->setPalette(labelPalette);
}

void SessionBanner::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        updateColours();
    QWidget::changeEvent(event);
}

void SessionBanner::paintEvent(QPaintEvent*)
{
    Look::paintBannerFill(this);
}
