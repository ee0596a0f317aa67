// The Menu Bar card: the panel cover and the choice of tray icons to hide.
#include "MenuBarCard.h"

#include "CardParts.h"
#include "Popover.h"
#include "UiStyle.h"
#include "components/FocusGroup.h"
#include "components/Look.h"
#include "components/MiniScreen.h"
#include "components/PickThumb.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
// The cover labels are the model's English titles, translated where they are shown; listed here
// so that translation tools find them.
[[maybe_unused]] const char* const kCoverLabels[] = {
    QT_TRANSLATE_NOOP("MenuBarCard", "Keep"),
    QT_TRANSLATE_NOOP("MenuBarCard", "Hide bar"),
    QT_TRANSLATE_NOOP("MenuBarCard", "Hide items"),
};
} // namespace

MenuBarCard::MenuBarCard(AppModel& model, QWidget* parent)
    : SectionCard(tr("Menu Bar"), QStringLiteral("menubar.rectangle"), false, false, nullptr,
                  nullptr, parent),
      m_model(model), m_coverGroup(new FocusGroup(this))
{
    auto* content = CardParts::named(new QWidget, QT_TR_NOOP("Cover"));
    auto* group = new QVBoxLayout(content);
    group->setContentsMargins(0, 0, 0, 0);
    group->setSpacing(8);
    group->addWidget(CardParts::groupLabel(content->accessibleName(), content));
    auto* coverRow = new QHBoxLayout;
    coverRow->setSpacing(12);
    group->addLayout(coverRow);
    for (MenuBarCover cover : allMenuBarCovers) {
        const MiniScreen::Bar bar = cover == MenuBarCover::keep     ? MiniScreen::Bar::items
                                    : cover == MenuBarCover::entire ? MiniScreen::Bar::empty
                                                                    : MiniScreen::Bar::gap;
        auto* thumb =
            new PickThumb(tr(qUtf8Printable(::title(cover))), false,
                          new MiniScreen(MiniScreen::Background::wallpaper(), bar, false));
        thumb->setObjectName(::title(cover));
        CardParts::onChoose(thumb, this, [this, cover, thumb] {
            m_model.setMenuBarCover(cover);
            if (cover == MenuBarCover::items)
                m_itemsPopover->open(thumb);
        });
        coverRow->addWidget(thumb);
        m_coverThumbs.append(thumb);
    }
    m_coverGroup->setMembers(QList<QWidget*>(m_coverThumbs.cbegin(), m_coverThumbs.cend()));
    setContent(content);

    buildItemsPopover();
    connect(&m_model, &AppModel::published, this, &MenuBarCard::onPublished);
    refreshCover();
    refreshItems();
}

void MenuBarCard::buildItemsPopover()
{
    m_itemsPopover = new Popover(tr("Detected items"), this);
    auto* itemsStack = new QVBoxLayout(m_itemsPopover);
    itemsStack->setContentsMargins(16, 16, 16, 16);
    itemsStack->setSpacing(8);
    m_itemsPopover->setFixedWidth(220);
    auto* header = new QHBoxLayout;
    header->addWidget(CardParts::groupLabel(tr("Detected items"), m_itemsPopover));
    header->addStretch(1);
    auto* rescan = CardParts::named(new QToolButton(m_itemsPopover), QT_TR_NOOP("Rescan"));
    rescan->setAutoRaise(true);
    rescan->setText(rescan->accessibleName());
    rescan->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    rescan->setIconSize(QSize(12, 12));
    rescan->setFont(Look::caption());
    connect(rescan, &QToolButton::clicked, this, [this] { m_model.refreshMenuBarItems(); });
    m_rescan = rescan;
    header->addWidget(rescan);
    itemsStack->addLayout(header);
    m_noItems = new QLabel(tr("No menu-bar items detected. Click Rescan."), m_itemsPopover);
    m_noItems->setWordWrap(true);
    UiStyle::makeSecondaryCaption(m_noItems);
    itemsStack->addWidget(m_noItems);
    m_itemsLayout = new QVBoxLayout;
    m_itemsLayout->setSpacing(4);
    itemsStack->addLayout(m_itemsLayout);
}

QList<QWidget*> MenuBarCard::focusOrder() const
{
    return QList<QWidget*>(m_coverThumbs.cbegin(), m_coverThumbs.cend());
}

void MenuBarCard::updateSymbols()
{
    const int side = m_rescan->iconSize().width();
    m_rescan->setIcon(QIcon(Look::symbol(QStringLiteral("arrow.clockwise"), side,
                                         Look::secondary(palette()), devicePixelRatioF())));
}

void MenuBarCard::onPublished(AppModel::Field field)
{
    using F = AppModel::Field;
    if (field == F::menuBarCover)
        refreshCover();
    else if (field == F::menuBarItems || field == F::selectedItemIDs)
        refreshItems();
}

void MenuBarCard::refreshCover()
{
    for (qsizetype i = 0; i < m_coverThumbs.size(); ++i) {
        PickThumb* thumb = m_coverThumbs[i];
        const bool chosen = m_model.menuBarCover() == allMenuBarCovers[size_t(i)];
        const QSignalBlocker block(thumb);
        thumb->setSelected(chosen);
        if (chosen)
            m_coverGroup->setEntry(thumb);
    }
}

void MenuBarCard::refreshItems()
{
    const QList<MenuBarItem>& items = m_model.menuBarItems();
    if (items != m_toggledItems) {
        for (QCheckBox* toggle : std::as_const(m_itemToggles)) {
            toggle->hide();
            toggle->deleteLater();
        }
        m_itemToggles.clear();
        m_toggledItems = items;
        m_noItems->setVisible(items.isEmpty());
        for (const MenuBarItem& item : items) {
            auto* toggle = new QCheckBox(item.label, m_itemsPopover);
            toggle->setAccessibleName(item.label);
            toggle->setObjectName(item.label);
            const quint32 id = item.id;
            // Clicks and assistive tools' toggles both come as `toggled`.
            connect(toggle, &QCheckBox::toggled, this, [this, id] { m_model.toggleItem(id); });
            m_itemsLayout->addWidget(toggle);
            m_itemToggles.append(toggle);
        }
        if (m_itemsPopover->isVisible())
            m_itemsPopover->adjustSize();
    }
    for (qsizetype i = 0; i < m_itemToggles.size(); ++i) {
        const QSignalBlocker block(m_itemToggles[i]);
        m_itemToggles[i]->setChecked(m_model.selectedItemIDs().contains(m_toggledItems[i].id));
    }
}
