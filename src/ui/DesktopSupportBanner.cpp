// The desktop-support banner.
#include "DesktopSupportBanner.h"

#include "components/Look.h"
#include "components/PermissionBanner.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>

DesktopSupportBanner::DesktopSupportBanner(AppModel& model, QWidget* parent)
    : QWidget(parent), m_model(model)
{
    setObjectName(QStringLiteral("desktopSupportBanner"));
    auto* row = new QHBoxLayout(this);
    const int padding = PermissionBanner::padding;
    row->setContentsMargins(padding, padding, padding, padding);
    row->setSpacing(PermissionBanner::spacing);
    m_symbol = new QLabel(this);
    m_label = new QLabel(this);
    m_label->setFont(Look::caption());
    m_label->setWordWrap(true);
    QSizePolicy wrapping(QSizePolicy::Expanding, QSizePolicy::Preferred);
    wrapping.setHeightForWidth(true);
    m_label->setSizePolicy(wrapping);
    row->addWidget(m_symbol, 0, Qt::AlignTop);
    row->addWidget(m_label, 1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    updateColours();
    Look::whenThemeSymbolsArrive(this, [this] { updateColours(); });

    connect(&m_model, &AppModel::published, this, [this](AppModel::Field field) {
        using F = AppModel::Field;
        if (field == F::desktopSupport || field == F::desktopIconsHidden ||
            field == F::background || field == F::menuBarCover)
            refresh();
    });
    refresh();
}

QString DesktopSupportBanner::text(const DesktopSupport::State& state, bool iconsHidden,
                                   DesktopBackground background, MenuBarCover cover)
{
    const QString desktop = state.desktop.isEmpty() ? tr("this desktop") : state.desktop;
    QStringList lines;
    if (iconsHidden && !state.icons)
        lines << tr("Icons: “Hide” has no effect on %1: %2.").arg(desktop, state.iconsGap);
    if (background != DesktopBackground::keep) {
        const QString choice =
            background == DesktopBackground::color ? tr("“Color”") : tr("“Image”");
        if (!state.pictures)
            lines << tr("Background: %1 has no effect on %2: %3.")
                         .arg(choice, desktop, state.picturesGap);
        else if (!state.picturesLimit.isEmpty())
            lines << tr("Background: %1 reaches only part of %2: %3.")
                         .arg(choice, desktop, state.picturesLimit);
    }
    if (cover != MenuBarCover::keep && !state.coverGap.isEmpty()) {
        const QString choice =
            cover == MenuBarCover::entire ? tr("“Hide bar”") : tr("“Hide items”");
        lines << tr("Menu bar: %1 has no effect on %2: %3.").arg(choice, desktop, state.coverGap);
    } else if (cover == MenuBarCover::items && !state.itemsGap.isEmpty()) {
        lines << tr("Menu bar: “Hide items” has no effect on %1: %2.").arg(desktop, state.itemsGap);
    }
    return lines.join(u'\n');
}

QString DesktopSupportBanner::text() const
{
    return m_label->text();
}

void DesktopSupportBanner::refresh()
{
    const QString wanted = text(m_model.desktopSupport(), m_model.desktopIconsHidden(),
                                m_model.background(), m_model.menuBarCover());
    m_label->setText(wanted);
    setAccessibleName(wanted);
    setVisible(!wanted.isEmpty());
}

void DesktopSupportBanner::updateColours()
{
    const int size = QFontMetrics(Look::callout()).height();
    m_symbol->setPixmap(Look::symbol(QStringLiteral("menubar.dock.rectangle"), size, Look::orange(),
                                     devicePixelRatioF()));
    m_symbol->setFixedSize(size, size);
    QPalette labelPalette = m_label->palette();
    labelPalette.setColor(QPalette::WindowText, Look::secondary(palette()));
    m_label->setPalette(labelPalette);
}

void DesktopSupportBanner::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        updateColours();
    QWidget::changeEvent(event);
}

void DesktopSupportBanner::paintEvent(QPaintEvent*)
{
    Look::paintBannerFill(this);
}
