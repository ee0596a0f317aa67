// The main window's panel: layout, the model calls of every control, and redrawing on change.
#include "ContentView.h"

#include "CellButton.h"
#include "CustomSizeForm.h"
#include "Popover.h"
#include "ResolutionStrip.h"
#include "UiStyle.h"
#include "WindowListBox.h"
#include "WindowRow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

// ---------------------------------------------------------------------------------------------
// PLACEHOLDERS until the preview components are available: plain widgets standing in for the
// card, banner, tile, thumbnails, image wells and colour picker. Each returns a widget with the
// same role and accessible name as the component that replaces it.
// ---------------------------------------------------------------------------------------------

QWidget* makeCard(const QString& title, QWidget* accessory, QWidget* content)
{
    auto* card = new QGroupBox(title);
    card->setAccessibleName(title);
    auto* stack = new QVBoxLayout(card);
    stack->setContentsMargins(16, 16, 16, 16);
    stack->setSpacing(12);
    if (accessory) {
        auto* header = new QHBoxLayout;
        header->addStretch(1);
        header->addWidget(accessory);
        stack->addLayout(header);
    }
    stack->addWidget(content);
    return card;
}

QWidget* makeBanner(const QString& text, QObject* context, std::function<void()> action)
{
    auto* banner = new QWidget;
    banner->setAccessibleName(text);
    auto* row = new QHBoxLayout(banner);
    row->setContentsMargins(10, 10, 10, 10);
    auto* label = new QLabel(text, banner);
    label->setWordWrap(true);
    row->addWidget(label, 1);
    auto* grant = new QPushButton(QStringLiteral("Grant\u2026"), banner);
    grant->setAccessibleName(QStringLiteral("Grant\u2026"));
    QObject::connect(grant, &QPushButton::clicked, context, std::move(action));
    row->addWidget(grant);
    return banner;
}

QAbstractButton* makeTile(const DisplayMode& mode, bool isCurrent, double scale)
{
    Q_UNUSED(scale);
    auto* tile = new QPushButton(QStringLiteral("%1 \u00D7 %2").arg(mode.width).arg(mode.height));
    tile->setAccessibleName(tile->text());
    tile->setCheckable(true);
    tile->setChecked(isCurrent);
    return tile;
}

QWidget* makeScreenThumb(const QRectF& region, const QString& caption, bool dashed,
                         const QString& glyph)
{
    Q_UNUSED(region);
    Q_UNUSED(dashed);
    Q_UNUSED(glyph);
    auto* thumb = new QLabel(caption);
    thumb->setAlignment(Qt::AlignHCenter | Qt::AlignBottom);
    thumb->setFixedSize(50, 44);
    thumb->setFrameShape(QFrame::Box);
    return thumb;
}

QAbstractButton* makePickThumb(const QString& label)
{
    auto* thumb = new QToolButton;
    thumb->setText(label);
    thumb->setAccessibleName(label);
    thumb->setCheckable(true);
    thumb->setFixedSize(58, 56);
    return thumb;
}

void setPickThumbSelected(QAbstractButton* thumb, bool selected)
{
    thumb->setChecked(selected);
}

QWidget* makeWell(const QString& label, const std::optional<QString>& url, QObject* context,
                  std::function<void(const QString&)> onPick, std::function<void()> onClear)
{
    Q_UNUSED(onPick);
    auto* well = new QPushButton(label + (url ? QStringLiteral(" \u2713") : QString()));
    well->setAccessibleName(label);
    QObject::connect(well, &QPushButton::clicked, context, std::move(onClear));
    return well;
}

QWidget* makeColorPicker(AppModel& model, QObject* context)
{
    auto* picker = new QLabel(QStringLiteral("Colour picker"));
    Q_UNUSED(model);
    Q_UNUSED(context);
    return picker;
}

// ---------------------------------------------------------------------------------------------

QLabel* groupLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    UiStyle::makeGroupLabel(label);
    return label;
}

// Rows of three cells, 12 apart, the cells 16 apart; returns the widget holding the rows.
QWidget* cellRows(const QList<QAbstractButton*>& cells)
{
    auto* box = new QWidget;
    auto* rows = new QVBoxLayout(box);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(12);
    for (const QList<QAbstractButton*>& slice : ContentRules::rowsOfThree(cells)) {
        auto* row = new QHBoxLayout;
        row->setSpacing(16);
        for (QAbstractButton* cell : slice)
            row->addWidget(cell, 0, Qt::AlignTop);
        row->addStretch(1);
        rows->addLayout(row);
    }
    return box;
}

QString groupKey(const QString& group, const QString& label)
{
    return group + QLatin1Char('/') + label;
}

} // namespace

ContentView::ContentView(AppModel& model, QWidget* parent) : QWidget(parent), m_model(model)
{
    setObjectName(QStringLiteral("content"));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(20, 20, 20, 20);
    outer->setSizeConstraint(QLayout::SetFixedSize);

    m_panel = new QWidget(this);
    m_panelLayout = new QVBoxLayout(m_panel);
    m_panelLayout->setContentsMargins(0, 0, 0, 0);
    m_panelLayout->setSpacing(16);
    outer->addWidget(m_panel, 0, Qt::AlignLeft | Qt::AlignTop);

    m_panelLayout->addWidget(buildResolutionCard());
    m_panelLayout->addWidget(buildWindowCard());

    m_bannerBox = new QWidget(m_panel);
    m_bannerLayout = new QVBoxLayout(m_bannerBox);
    m_bannerLayout->setContentsMargins(0, 0, 0, 0);
    m_bannerLayout->setSpacing(16);
    m_panelLayout->addWidget(m_bannerBox);

    m_bottomRow = new QWidget(m_panel);
    auto* bottom = new QHBoxLayout(m_bottomRow);
    bottom->setContentsMargins(0, 0, 0, 0);
    bottom->setSpacing(16);
    bottom->addWidget(buildDesktopCard(), 0, Qt::AlignTop);
    bottom->addWidget(buildMenuBarCard(), 0, Qt::AlignTop);
    bottom->addStretch(1);
    m_panelLayout->addWidget(m_bottomRow);

    buildPopovers();

    connect(&m_model, &AppModel::published, this, &ContentView::onPublished);
    refreshDisplays();
    refreshTiles();
    refreshWindowList();
    refreshWindowControls();
    refreshCenterCells();
    refreshBanners();
    refreshDesktop();
    refreshCover();
    refreshItems();
    updatePanelWidth();
}

// --- Resolution ------------------------------------------------------------------------------

QWidget* ContentView::buildResolutionCard()
{
    auto* content = new QWidget;
    auto* stack = new QVBoxLayout(content);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(10);

    m_displayRow = new QWidget(content);
    auto* pickerRow = new QHBoxLayout(m_displayRow);
    pickerRow->setContentsMargins(0, 0, 0, 0);
    auto* pickerLabel = new QLabel(QStringLiteral("Display"), m_displayRow);
    m_displayPicker = new QComboBox(m_displayRow);
    m_displayPicker->setObjectName(QStringLiteral("Display"));
    m_displayPicker->setAccessibleName(QStringLiteral("Display"));
    pickerLabel->setBuddy(m_displayPicker);
    pickerRow->addWidget(pickerLabel);
    pickerRow->addWidget(m_displayPicker);
    pickerRow->addStretch(1);
    connect(m_displayPicker, &QComboBox::activated, this, [this](int index) {
        m_model.setSelectedDisplayID(m_displayPicker->itemData(index).toUInt());
        m_model.reloadModes();
    });
    stack->addWidget(m_displayRow);

    m_strip = new ResolutionStrip(content);
    stack->addWidget(m_strip);

    auto* restore = new QPushButton(QStringLiteral("Restore Original"));
    restore->setObjectName(QStringLiteral("Restore Original"));
    restore->setAccessibleName(QStringLiteral("Restore Original"));
    restore->setFont(UiStyle::captionFont(restore->font()));
    connect(restore, &QPushButton::clicked, this, [this] { m_model.restoreSelectedDisplay(); });
    m_restore = restore;

    return makeCard(QStringLiteral("Resolution"), restore, content);
}

void ContentView::refreshDisplays()
{
    const QList<DisplayInfo>& displays = m_model.displays();
    const QSignalBlocker block(m_displayPicker);
    m_displayPicker->clear();
    for (const DisplayInfo& display : displays) {
        m_displayPicker->addItem(display.name, display.id);
        if (display.id == m_model.selectedDisplayID())
            m_displayPicker->setCurrentIndex(m_displayPicker->count() - 1);
    }
    m_displayRow->setVisible(displays.size() > 1);
}

void ContentView::refreshTiles()
{
    const QList<DisplayMode>& modes = m_model.modes();
    const double scale = ContentRules::tileScale(modes);
    QList<QWidget*> tiles;
    for (const DisplayMode& mode : modes) {
        const bool current =
            mode.width == m_model.currentWidth() && mode.height == m_model.currentHeight();
        QAbstractButton* tile = makeTile(mode, current, scale);
        connect(tile, &QAbstractButton::clicked, this, [this, mode] { m_model.apply(mode); });
        tiles.append(tile);
    }
    m_strip->setTiles(tiles);
}

// --- Window ----------------------------------------------------------------------------------

QWidget* ContentView::buildWindowCard()
{
    auto* content = new QWidget;
    auto* stack = new QVBoxLayout(content);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(12);

    m_windowBanner =
        makeBanner(QStringLiteral("Grant Accessibility to pick and move other apps' windows."),
                   this, [this] { m_model.requestAccessibility(); });
    stack->addWidget(m_windowBanner);

    m_columns = new QWidget(content);
    auto* columns = new QHBoxLayout(m_columns);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(28);

    // Windows: header with the refresh button, then the list.
    auto* listColumn = new QVBoxLayout;
    listColumn->setSpacing(8);
    auto* header = new QHBoxLayout;
    header->setSpacing(4);
    header->addWidget(groupLabel(QStringLiteral("Windows"), m_columns));
    header->addStretch(1);
    auto* refresh = new QToolButton(m_columns);
    refresh->setAutoRaise(true);
    refresh->setIcon(QIcon::fromTheme(QStringLiteral("view-refresh")));
    if (refresh->icon().isNull())
        refresh->setText(QStringLiteral("\u21BB"));
    refresh->setIconSize(QSize(14, 14));
    refresh->setToolTip(QStringLiteral("Refresh window list"));
    refresh->setAccessibleName(QStringLiteral("Refresh window list"));
    refresh->setObjectName(QStringLiteral("Refresh window list"));
    connect(refresh, &QToolButton::clicked, this, [this] { m_model.refreshWindows(); });
    m_refresh = refresh;
    header->addWidget(refresh);
    listColumn->addLayout(header);
    m_windowList = new WindowListBox(m_columns);
    connect(m_windowList, &WindowListBox::picked, this,
            [this](const QUuid& id) { m_model.setSelectedWindowID(id); });
    listColumn->addWidget(m_windowList);
    listColumn->addStretch(1);
    columns->addLayout(listColumn);

    // Reposition: eight regions and hiding.
    auto* repositionColumn = new QVBoxLayout;
    repositionColumn->setSpacing(8);
    repositionColumn->addWidget(groupLabel(QStringLiteral("Reposition"), m_columns));
    for (const RepositionItem& item : ContentRules::repositionItems()) {
        CellButton* cell = nullptr;
        if (item.kind == RepositionItem::Kind::hide) {
            cell = new CellButton(
                makeScreenThumb({}, QStringLiteral("Hide"), false, QStringLiteral("eye.slash")),
                QStringLiteral("Minimize the window"), QStringLiteral("Minimize the window"));
            connect(cell, &CellButton::clicked, this, [this] { m_model.hideSelectedWindow(); });
        } else {
            const WindowArrangement arrangement = item.arrangement;
            cell = new CellButton(makeScreenThumb(ContentRules::arrangementRegion(arrangement),
                                                  ContentRules::arrangementCaption(arrangement),
                                                  false, {}),
                                  help(arrangement), help(arrangement));
            connect(cell, &CellButton::clicked, this,
                    [this, arrangement] { m_model.arrangeSelected(arrangement); });
        }
        m_repositionCells.append(cell);
    }
    repositionColumn->addWidget(cellRows(m_repositionCells));
    repositionColumn->addStretch(1);
    columns->addLayout(repositionColumn);

    // Center: filled in by refreshCenterCells, as it depends on the current mode.
    auto* centerColumn = new QVBoxLayout;
    centerColumn->setSpacing(8);
    centerColumn->addWidget(groupLabel(QStringLiteral("Center"), m_columns));
    auto* centerBox = new QWidget(m_columns);
    m_centerRows = new QVBoxLayout(centerBox);
    m_centerRows->setContentsMargins(0, 0, 0, 0);
    m_centerRows->setSpacing(12);
    centerColumn->addWidget(centerBox);
    centerColumn->addStretch(1);
    columns->addLayout(centerColumn);
    columns->addStretch(1);
    stack->addWidget(m_columns);

    auto* caption = new QLabel(QStringLiteral("Pick a window, then snap it to a region, fill its "
                                              "screen, or resize it to an exact size (centered)."),
                               content);
    caption->setWordWrap(true);
    UiStyle::makeSecondaryCaption(caption);
    stack->addWidget(caption);

    return makeCard(QStringLiteral("Window"), nullptr, content);
}

void ContentView::refreshWindowList()
{
    m_windowList->setWindows(m_model.windows(), m_model.selectedWindowID());
}

void ContentView::refreshWindowControls()
{
    const bool allowed = m_model.canControlWindows();
    m_windowBanner->setVisible(!allowed);
    m_columns->setEnabled(allowed);
    const bool selected = m_model.selectedWindowID().has_value();
    for (QAbstractButton* cell : std::as_const(m_repositionCells))
        cell->setEnabled(selected);
    for (QAbstractButton* cell : std::as_const(m_centerCells))
        cell->setEnabled(selected);
}

void ContentView::refreshCenterCells()
{
    const qint64 width = m_model.currentWidth();
    const qint64 height = m_model.currentHeight();
    if (width == m_centerForWidth && height == m_centerForHeight)
        return;
    m_centerForWidth = width;
    m_centerForHeight = height;
    for (QWidget* row : std::as_const(m_centerRowWidgets)) {
        row->hide();
        row->deleteLater();
    }
    m_centerRowWidgets.clear();
    m_centerCells.clear();
    m_centerItems = ContentRules::centerItems(width, height);
    for (const CenterItem& item : std::as_const(m_centerItems)) {
        CellButton* cell = nullptr;
        switch (item.kind) {
        case CenterItem::Kind::fill:
            cell = new CellButton(
                makeScreenThumb(ContentRules::arrangementRegion(WindowArrangement::fill),
                                ContentRules::arrangementCaption(WindowArrangement::fill), false,
                                {}),
                help(WindowArrangement::fill), help(WindowArrangement::fill));
            connect(cell, &CellButton::clicked, this,
                    [this] { m_model.arrangeSelected(WindowArrangement::fill); });
            break;
        case CenterItem::Kind::size: {
            const QSizeF size = item.size;
            cell = new CellButton(makeScreenThumb(ContentRules::sizeRegion(size, width, height),
                                                  ContentRules::sizeCaption(size), false, {}),
                                  ContentRules::sizeTooltip(size), ContentRules::sizeTooltip(size));
            connect(cell, &CellButton::clicked, this,
                    [this, size] { m_model.resizeSelected(size); });
            break;
        }
        case CenterItem::Kind::custom:
            cell = new CellButton(
                makeScreenThumb(QRectF(0.28, 0.28, 0.44, 0.44), QStringLiteral("Custom"), true, {}),
                QStringLiteral("Resize to a custom size and center"),
                QStringLiteral("Resize to a custom size and center"));
            connect(cell, &CellButton::clicked, this, [this, cell] { openCustomPopover(cell); });
            break;
        }
        m_centerCells.append(cell);
    }
    QWidget* rows = cellRows(m_centerCells);
    m_centerRows->addWidget(rows);
    m_centerRowWidgets.append(rows);
    refreshWindowControls();
}

void ContentView::openCustomPopover(QWidget* anchor)
{
    m_customPopover->open(anchor);
    m_customForm->focusWidthSoon();
}

void ContentView::confirmCustomSize()
{
    if (const std::optional<QSizeF> size =
            ContentRules::parseCustomSize(m_customForm->customW(), m_customForm->customH()))
        m_model.resizeSelected(*size);
    m_customPopover->hide();
}

// --- Banners ---------------------------------------------------------------------------------

void ContentView::refreshBanners()
{
    const QList<MenuBarBanner> wanted = ContentRules::menuBarBanners(
        m_model.menuBarCover(), m_model.canCloneBar(), m_model.canNameItems());
    if (m_banners.isEmpty()) {
        m_banners.insert(MenuBarBanner::screenRecording,
                         makeBanner(ContentRules::bannerText(MenuBarBanner::screenRecording), this,
                                    [this] { m_model.requestScreenCapture(); }));
        m_banners.insert(MenuBarBanner::itemNames,
                         makeBanner(ContentRules::bannerText(MenuBarBanner::itemNames), this,
                                    [this] { m_model.requestAccessibility(); }));
        // Laid out once in the order they are shown; hidden ones take no room.
        m_bannerLayout->addWidget(m_banners.value(MenuBarBanner::screenRecording));
        m_bannerLayout->addWidget(m_banners.value(MenuBarBanner::itemNames));
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

// --- Desktop ---------------------------------------------------------------------------------

QWidget* ContentView::buildDesktopCard()
{
    auto* content = new QWidget;
    auto* groups = new QHBoxLayout(content);
    groups->setContentsMargins(0, 0, 0, 0);
    groups->setSpacing(28);

    const auto addGroup = [&](const QString& title, QHBoxLayout*& row) {
        auto* group = new QWidget(content);
        group->setAccessibleName(title);
        group->setObjectName(title);
        auto* stack = new QVBoxLayout(group);
        stack->setContentsMargins(0, 0, 0, 0);
        stack->setSpacing(8);
        stack->addWidget(groupLabel(title, group));
        row = new QHBoxLayout;
        row->setSpacing(12);
        stack->addLayout(row);
        groups->addWidget(group, 0, Qt::AlignTop);
    };
    addGroup(QStringLiteral("Icons"), m_iconsRow);
    addGroup(QStringLiteral("Background"), m_backgroundRow);

    const auto addThumb = [this](QHBoxLayout* row, const QString& group, const QString& label,
                                 std::function<void()> action) {
        QAbstractButton* thumb = makePickThumb(label);
        connect(thumb, &QAbstractButton::clicked, this, std::move(action));
        row->addWidget(thumb);
        m_thumbs.insert(groupKey(group, label), thumb);
    };
    const QString icons = QStringLiteral("Icons");
    const QString background = QStringLiteral("Background");
    addThumb(m_iconsRow, icons, QStringLiteral("Show"),
             [this] { m_model.setDesktopIconsHidden(false); });
    addThumb(m_iconsRow, icons, QStringLiteral("Hide"),
             [this] { m_model.setDesktopIconsHidden(true); });
    addThumb(m_backgroundRow, background, QStringLiteral("Keep"),
             [this] { m_model.setBackground(DesktopBackground::keep); });
    addThumb(m_backgroundRow, background, QStringLiteral("Color"), [this] {
        m_model.setBackground(DesktopBackground::color);
        m_colorPopover->open(pickThumb(QStringLiteral("Background"), QStringLiteral("Color")));
    });
    addThumb(m_backgroundRow, background, QStringLiteral("Image"), [this] {
        m_model.setBackground(DesktopBackground::image);
        m_imagePopover->open(pickThumb(QStringLiteral("Background"), QStringLiteral("Image")));
    });
    return makeCard(QStringLiteral("Desktop"), nullptr, content);
}

void ContentView::refreshDesktop()
{
    const bool hidden = m_model.desktopIconsHidden();
    setPickThumbSelected(pickThumb(QStringLiteral("Icons"), QStringLiteral("Show")), !hidden);
    setPickThumbSelected(pickThumb(QStringLiteral("Icons"), QStringLiteral("Hide")), hidden);
    const DesktopBackground background = m_model.background();
    setPickThumbSelected(pickThumb(QStringLiteral("Background"), QStringLiteral("Keep")),
                         background == DesktopBackground::keep);
    setPickThumbSelected(pickThumb(QStringLiteral("Background"), QStringLiteral("Color")),
                         background == DesktopBackground::color);
    setPickThumbSelected(pickThumb(QStringLiteral("Background"), QStringLiteral("Image")),
                         background == DesktopBackground::image);

    // The two wells show the chosen pictures.
    while (QLayoutItem* item = m_wellsRow->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
    m_wellsRow->addWidget(makeWell(
        QStringLiteral("Light"), m_model.lightWallpaperURL(), this,
        [this](const QString& path) { m_model.setLightWallpaperURL(path); },
        [this] { m_model.setLightWallpaperURL(std::nullopt); }));
    m_wellsRow->addWidget(makeWell(
        QStringLiteral("Dark"), m_model.darkWallpaperURL(), this,
        [this](const QString& path) { m_model.setDarkWallpaperURL(path); },
        [this] { m_model.setDarkWallpaperURL(std::nullopt); }));
}

// --- Menu Bar --------------------------------------------------------------------------------

QWidget* ContentView::buildMenuBarCard()
{
    auto* content = new QWidget;
    auto* group = new QVBoxLayout(content);
    content->setAccessibleName(QStringLiteral("Cover"));
    content->setObjectName(QStringLiteral("Cover"));
    group->setContentsMargins(0, 0, 0, 0);
    group->setSpacing(8);
    group->addWidget(groupLabel(QStringLiteral("Cover"), content));
    m_coverRow = new QHBoxLayout;
    m_coverRow->setSpacing(12);
    group->addLayout(m_coverRow);
    for (MenuBarCover cover : allMenuBarCovers) {
        QAbstractButton* thumb = makePickThumb(title(cover));
        connect(thumb, &QAbstractButton::clicked, this, [this, cover, thumb] {
            m_model.setMenuBarCover(cover);
            if (cover == MenuBarCover::items)
                m_itemsPopover->open(thumb);
        });
        m_coverRow->addWidget(thumb);
        m_thumbs.insert(groupKey(QStringLiteral("Cover"), title(cover)), thumb);
    }
    return makeCard(QStringLiteral("Menu Bar"), nullptr, content);
}

void ContentView::refreshCover()
{
    for (MenuBarCover cover : allMenuBarCovers)
        setPickThumbSelected(pickThumb(QStringLiteral("Cover"), title(cover)),
                             m_model.menuBarCover() == cover);
}

void ContentView::refreshItems()
{
    for (QCheckBox* toggle : std::as_const(m_itemToggles)) {
        toggle->hide();
        toggle->deleteLater();
    }
    m_itemToggles.clear();
    const QList<MenuBarItem>& items = m_model.menuBarItems();
    m_noItems->setVisible(items.isEmpty());
    for (const MenuBarItem& item : items) {
        auto* toggle = new QCheckBox(item.label, m_itemsPopover);
        toggle->setAccessibleName(item.label);
        toggle->setObjectName(item.label);
        toggle->setChecked(m_model.selectedItemIDs().contains(item.id));
        const quint32 id = item.id;
        connect(toggle, &QCheckBox::clicked, this, [this, id] { m_model.toggleItem(id); });
        m_itemsLayout->addWidget(toggle);
        m_itemToggles.append(toggle);
    }
    if (m_itemsPopover->isVisible())
        m_itemsPopover->adjustSize();
}

QAbstractButton* ContentView::pickThumb(const QString& group, const QString& label) const
{
    return m_thumbs.value(groupKey(group, label));
}

// --- Popovers --------------------------------------------------------------------------------

void ContentView::buildPopovers()
{
    m_customPopover = new Popover(QStringLiteral("Custom size"), this);
    auto* customLayout = new QVBoxLayout(m_customPopover);
    customLayout->setContentsMargins(0, 0, 0, 0);
    m_customForm = new CustomSizeForm(m_customPopover);
    customLayout->addWidget(m_customForm);
    connect(m_customForm, &CustomSizeForm::confirmed, this, &ContentView::confirmCustomSize);

    m_colorPopover = new Popover(QStringLiteral("Background color"), this);
    auto* colorLayout = new QVBoxLayout(m_colorPopover);
    colorLayout->setContentsMargins(0, 0, 0, 0);
    m_colorPicker = makeColorPicker(m_model, this);
    colorLayout->addWidget(m_colorPicker);

    m_imagePopover = new Popover(QStringLiteral("Background images"), this);
    m_wellsRow = new QHBoxLayout(m_imagePopover);
    m_wellsRow->setContentsMargins(16, 16, 16, 16);
    m_wellsRow->setSpacing(14);
    m_wellsRow->setAlignment(Qt::AlignTop);

    m_itemsPopover = new Popover(QStringLiteral("Detected items"), this);
    auto* itemsStack = new QVBoxLayout(m_itemsPopover);
    itemsStack->setContentsMargins(16, 16, 16, 16);
    itemsStack->setSpacing(8);
    m_itemsPopover->setFixedWidth(220);
    auto* header = new QHBoxLayout;
    header->addWidget(groupLabel(QStringLiteral("Detected items"), m_itemsPopover));
    header->addStretch(1);
    auto* rescan = new QToolButton(m_itemsPopover);
    rescan->setAutoRaise(true);
    rescan->setText(QStringLiteral("Rescan"));
    rescan->setIcon(QIcon::fromTheme(QStringLiteral("view-refresh")));
    rescan->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    rescan->setIconSize(QSize(12, 12));
    rescan->setFont(UiStyle::captionFont(rescan->font()));
    rescan->setAccessibleName(QStringLiteral("Rescan"));
    rescan->setObjectName(QStringLiteral("Rescan"));
    connect(rescan, &QToolButton::clicked, this, [this] { m_model.refreshMenuBarItems(); });
    m_rescan = rescan;
    header->addWidget(rescan);
    itemsStack->addLayout(header);
    m_noItems =
        new QLabel(QStringLiteral("No menu-bar items detected. Click Rescan."), m_itemsPopover);
    m_noItems->setWordWrap(true);
    UiStyle::makeSecondaryCaption(m_noItems);
    itemsStack->addWidget(m_noItems);
    m_itemsLayout = new QVBoxLayout;
    m_itemsLayout->setSpacing(4);
    itemsStack->addLayout(m_itemsLayout);
}

bool ContentView::showCustomPopover() const
{
    return m_customPopover->isVisible();
}

bool ContentView::showColorPopover() const
{
    return m_colorPopover->isVisible();
}

bool ContentView::showImagePopover() const
{
    return m_imagePopover->isVisible();
}

bool ContentView::showItemsPopover() const
{
    return m_itemsPopover->isVisible();
}

// --- Redrawing -------------------------------------------------------------------------------

void ContentView::onPublished(AppModel::Field field)
{
    using F = AppModel::Field;
    switch (field) {
    case F::displays:
    case F::selectedDisplayID:
        refreshDisplays();
        break;
    case F::modes:
        refreshTiles();
        break;
    case F::currentSize:
        refreshTiles();
        refreshCenterCells();
        break;
    case F::windows:
    case F::selectedWindowID:
        refreshWindowList();
        refreshWindowControls();
        break;
    case F::canControlWindows:
        refreshWindowControls();
        break;
    case F::desktopIconsHidden:
    case F::background:
    case F::backgroundColor:
    case F::lightWallpaperURL:
    case F::darkWallpaperURL:
        refreshDesktop();
        break;
    case F::menuBarCover:
        refreshCover();
        refreshBanners();
        break;
    case F::canCloneBar:
    case F::canNameItems:
        refreshBanners();
        break;
    case F::menuBarItems:
    case F::selectedItemIDs:
        refreshItems();
        break;
    case F::enabled:
        // The panel has no master switch of its own: nothing depends on it.
        break;
    }
    updatePanelWidth();
}

void ContentView::updatePanelWidth()
{
    // The panel is as wide as the natural width of the Desktop and Menu Bar row; the cards above
    // stretch to it.
    const int natural = m_bottomRow->sizeHint().width();
    if (natural > 1)
        m_panelWidth = natural;
    m_panel->setFixedWidth(int(m_panelWidth));
}
