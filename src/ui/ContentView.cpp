// The main window's panel: the cards laid out, the panel cover's banners, the Tab order and the
// panel's width.
#include "ContentView.h"

#include "DesktopCard.h"
#include "DesktopSupportBanner.h"
#include "MenuBarCard.h"
#include "Popover.h"
#include "ResolutionCard.h"
#include "WindowCard.h"
#include "components/Look.h"
#include "components/PermissionBanner.h"
#include "components/SessionBanner.h"

#include <QAbstractButton>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ContentView::ContentView(AppModel& model, QWidget* parent) : QWidget(parent), m_model(model)
{
    setObjectName(QStringLiteral("content"));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(20, 20, 20, 20);
    outer->setSizeConstraint(QLayout::SetFixedSize);

    m_panel = new QWidget(this);
    auto* panelLayout = new QVBoxLayout(m_panel);
    panelLayout->setContentsMargins(0, 0, 0, 0);
    panelLayout->setSpacing(16);
    outer->addWidget(m_panel, 0, Qt::AlignLeft | Qt::AlignTop);

    // A session where nothing can act on the desktop says so first (hidden otherwise).
    m_sessionBanner = new SessionBanner(m_model.windowControlGap(), m_panel);
    panelLayout->addWidget(m_sessionBanner);
    m_resolutionCard = new ResolutionCard(m_model, m_panel);
    panelLayout->addWidget(m_resolutionCard);
    m_windowCard = new WindowCard(m_model, m_panel);
    panelLayout->addWidget(m_windowCard);

    m_bannerBox = new QWidget(m_panel);
    m_bannerLayout = new QVBoxLayout(m_bannerBox);
    m_bannerLayout->setContentsMargins(0, 0, 0, 0);
    m_bannerLayout->setSpacing(16);
    panelLayout->addWidget(m_bannerBox);
    // What could not be put back on the desktop exactly (said once, when it happens).
    m_desktopNotice = new QLabel(m_panel);
    m_desktopNotice->setWordWrap(true);
    m_desktopNotice->setVisible(false);
    panelLayout->addWidget(m_desktopNotice);
    // Desktop choices the running desktop cannot carry out, said where the user makes them.
    panelLayout->addWidget(new DesktopSupportBanner(m_model, m_panel));

    m_bottomRow = new QWidget(m_panel);
    auto* bottom = new QHBoxLayout(m_bottomRow);
    bottom->setContentsMargins(0, 0, 0, 0);
    bottom->setSpacing(16);
    m_desktopCard = new DesktopCard(m_model, m_bottomRow);
    m_menuBarCard = new MenuBarCard(m_model, m_bottomRow);
    // The two cards share the panel's width, so the row ends where the cards above it end.
    for (QWidget* card :
         {static_cast<QWidget*>(m_desktopCard), static_cast<QWidget*>(m_menuBarCard)}) {
        card->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        bottom->addWidget(card, 1, Qt::AlignTop);
    }
    panelLayout->addWidget(m_bottomRow);

    connect(m_resolutionCard, &ResolutionCard::focusOrderChanged, this,
            &ContentView::updateTabOrder);
    connect(m_windowCard, &WindowCard::focusOrderChanged, this, &ContentView::updateTabOrder);
    connect(&m_model, &AppModel::published, this, &ContentView::onPublished);
    refreshBanners();
    updateSymbols();
    Look::whenThemeSymbolsArrive(this, [this] { updateSymbols(); });
    updatePanelWidth();
    updateTabOrder();
}

// --- the cards' parts ------------------------------------------------------------------------

QComboBox* ContentView::displayPicker() const
{
    return m_resolutionCard->displayPicker();
}
QWidget* ContentView::displayRow() const
{
    return m_resolutionCard->displayRow();
}
ResolutionStrip* ContentView::resolutionStrip() const
{
    return m_resolutionCard->strip();
}
QAbstractButton* ContentView::restoreButton() const
{
    return m_resolutionCard->restoreButton();
}
QLabel* ContentView::noModesLabel() const
{
    return m_resolutionCard->noModesLabel();
}
WindowListBox* ContentView::windowList() const
{
    return m_windowCard->windowList();
}
QWidget* ContentView::windowColumns() const
{
    return m_windowCard->columns();
}
QAbstractButton* ContentView::refreshButton() const
{
    return m_windowCard->refreshButton();
}
PermissionBanner* ContentView::windowBanner() const
{
    return m_windowCard->banner();
}
const QList<QAbstractButton*>& ContentView::repositionCells() const
{
    return m_windowCard->repositionCells();
}
const QList<QAbstractButton*>& ContentView::centerCells() const
{
    return m_windowCard->centerCells();
}
const QList<CenterItem>& ContentView::shownCenterItems() const
{
    return m_windowCard->shownCenterItems();
}
Popover* ContentView::customPopover() const
{
    return m_windowCard->customPopover();
}
CustomSizeForm* ContentView::customForm() const
{
    return m_windowCard->customForm();
}
Popover* ContentView::colorPopover() const
{
    return m_desktopCard->colorPopover();
}
Popover* ContentView::imagePopover() const
{
    return m_desktopCard->imagePopover();
}
Popover* ContentView::itemsPopover() const
{
    return m_menuBarCard->itemsPopover();
}
bool ContentView::showCustomPopover() const
{
    return customPopover()->isVisible();
}
bool ContentView::showColorPopover() const
{
    return m_desktopCard->colorPopoverShown();
}
bool ContentView::showImagePopover() const
{
    return m_desktopCard->imagePopoverShown();
}
bool ContentView::showItemsPopover() const
{
    return itemsPopover()->isVisible();
}
QList<QCheckBox*> ContentView::itemToggles() const
{
    return m_menuBarCard->itemToggles();
}
QAbstractButton* ContentView::rescanButton() const
{
    return m_menuBarCard->rescanButton();
}

void ContentView::confirmCustomSize()
{
    m_windowCard->confirmCustomSize();
}

QAbstractButton* ContentView::pickThumb(const QString& group, const QString& label) const
{
    const auto* box = findChild<QWidget*>(group);
    return box ? box->findChild<QAbstractButton*>(label) : nullptr;
}

void ContentView::updateSymbols()
{
    // Palette changes arrive already while the panel is being built.
    if (m_windowCard)
        m_windowCard->updateSymbols();
    if (m_menuBarCard)
        m_menuBarCard->updateSymbols();
}

void ContentView::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    // The drawn symbols take the theme's dimmed colour: redraw them when the theme changes.
    if (event->type() == QEvent::PaletteChange)
        updateSymbols();
}

// --- Banners ---------------------------------------------------------------------------------

void ContentView::refreshBanners()
{
    const QList<MenuBarBanner> wanted = ContentRules::menuBarBanners(
        m_model.menuBarCover(), m_model.canCloneBar(), m_model.canNameItems());
    if (m_banners.isEmpty()) {
        auto* capture =
            new PermissionBanner(ContentRules::bannerText(MenuBarBanner::screenRecording));
        connect(capture, &PermissionBanner::grantRequested, this, [this, capture] {
            m_model.requestScreenCapture();
            capture->setAdvice(ContentRules::permissionAdvice(m_model.screenCaptureGap()));
        });
        auto* names = new PermissionBanner(ContentRules::bannerText(MenuBarBanner::itemNames));
        connect(names, &PermissionBanner::grantRequested, this, [this, names] {
            m_model.requestAccessibility();
            names->setAdvice(ContentRules::permissionAdvice(m_model.windowControlGap()));
        });
        m_banners.insert(MenuBarBanner::screenRecording, capture);
        m_banners.insert(MenuBarBanner::itemNames, names);
        // Laid out once in the order they are shown; hidden ones take no room.
        m_bannerLayout->addWidget(capture);
        m_bannerLayout->addWidget(names);
    }
    m_bannerKinds = wanted;
    for (auto it = m_banners.cbegin(); it != m_banners.cend(); ++it)
        it.value()->setVisible(wanted.contains(it.key()));
    m_bannerBox->setVisible(!wanted.isEmpty());
}

QList<QWidget*> ContentView::bannerWidgets() const
{
    QList<QWidget*> shown;
    for (int i = 0; i < m_bannerLayout->count(); ++i) {
        QWidget* widget = m_bannerLayout->itemAt(i)->widget();
        if (widget && !widget->isHidden())
            shown.append(widget);
    }
    return shown;
}

// --- Keyboard order --------------------------------------------------------------------------

QList<QWidget*> ContentView::focusChain() const
{
    // Resolution, Window, the panel-cover banners in the order they are shown, then Desktop
    // (icons, then background) and Menu Bar.
    QList<QWidget*> chain = m_resolutionCard->focusOrder();
    chain << m_windowCard->focusOrder();
    for (MenuBarBanner kind : {MenuBarBanner::screenRecording, MenuBarBanner::itemNames}) {
        if (PermissionBanner* banner = m_banners.value(kind))
            chain.append(banner->grantButton());
    }
    chain << m_desktopCard->focusOrder() << m_menuBarCard->focusOrder();
    return chain;
}

void ContentView::updateTabOrder()
{
    // Runs while the panel is being built, before every part exists.
    if (!m_menuBarCard || m_banners.isEmpty())
        return;
    const QList<QWidget*> chain = focusChain();
    for (qsizetype i = 1; i < chain.size(); ++i)
        setTabOrder(chain[i - 1], chain[i]);
}

// --- Redrawing -------------------------------------------------------------------------------

void ContentView::onPublished(AppModel::Field field)
{
    using F = AppModel::Field;
    switch (field) {
    case F::menuBarCover:
    case F::canCloneBar:
    case F::canNameItems:
        refreshBanners();
        break;
    case F::desktopNotice:
        m_desktopNotice->setText(m_model.desktopNotice());
        m_desktopNotice->setVisible(!m_model.desktopNotice().isEmpty());
        break;
    default:
        // The cards redraw their own parts.
        break;
    }
    updatePanelWidth();
}

void ContentView::updatePanelWidth()
{
    // The panel is as wide as the natural width of the Desktop and Menu Bar row; the cards above
    // stretch to it. The window card also reports the least width its columns need: with the
    // wider fonts common on Linux desktops the size captions would otherwise be squeezed, so the
    // larger of the two wins.
    const int reported =
        std::max(m_bottomRow->sizeHint().width(), m_windowCard->minimumSizeHint().width());
    if (reported > 1)
        m_panelWidth = reported;
    m_panel->setFixedWidth(int(m_panelWidth));
}
