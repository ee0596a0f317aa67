// The main window's panel: layout, the model calls of every control, and redrawing on change.
#include "ContentView.h"

#include "CustomSizeForm.h"
#include "Popover.h"
#include "ResolutionStrip.h"
#include "UiStyle.h"
#include "WindowListBox.h"
#include "WindowRow.h"
#include "components/ColorPickerPopover.h"
#include "components/FocusGroup.h"
#include "components/Look.h"
#include "components/MiniScreen.h"
#include "components/PermissionBanner.h"
#include "components/PickThumb.h"
#include "components/ResolutionTile.h"
#include "components/ScreenThumb.h"
#include "components/SectionCard.h"
#include "components/SessionBanner.h"
#include "components/WallpaperWell.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

ScreenThumb* makeCell(const QRectF& region, const QString& caption, bool dashed,
                      const std::optional<QString>& glyph, const QString& tip)
{
    auto* cell = new ScreenThumb(region, caption, dashed, glyph, 46, 30, 3);
    cell->setToolTip(tip);
    // The tooltip names the action more fully than the caption, and is unique in the window.
    cell->setAccessibleName(tip);
    cell->setAccessibleDescription(caption);
    cell->setObjectName(tip);
    return cell;
}

// Runs `action` when the button is clicked, and also when an assistive tool toggles it: the
// "Toggle" action of a checkable button flips its state without a click. The panel sets the
// checked state of its choices with their signals blocked, so only such toggles arrive here.
template <typename Action> void onChoose(QAbstractButton* button, QObject* context, Action action)
{
    QObject::connect(button, &QAbstractButton::clicked, context, action);
    QObject::connect(button, &QAbstractButton::toggled, context, action);
}

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

// The width of three of the widest centre cells (every preset, as offered on an unknown mode)
// with their 16-point gaps.
int widestCenterRow()
{
    int widest = 46;
    for (const CenterItem& item : ContentRules::centerItems(0, 0)) {
        const QString caption = item.kind == CenterItem::Kind::size
                                    ? ContentRules::sizeCaption(item.size)
                                    : QStringLiteral("Custom");
        const ScreenThumb cell(QRectF(), caption, false, std::nullopt, 46, 30, 3);
        widest = std::max(widest, cell.sizeHint().width());
    }
    return 3 * widest + 2 * 16;
}

QString groupKey(const QString& group, const QString& label)
{
    return group + QLatin1Char('/') + label;
}

// The desktop and cover choices are looked up by their English labels and translated where
// they are shown; listed here so that translation tools find them.
[[maybe_unused]] const char* const kChoiceLabels[] = {
    QT_TRANSLATE_NOOP("ContentView", "Icons"),      QT_TRANSLATE_NOOP("ContentView", "Background"),
    QT_TRANSLATE_NOOP("ContentView", "Show"),       QT_TRANSLATE_NOOP("ContentView", "Hide"),
    QT_TRANSLATE_NOOP("ContentView", "Keep"),       QT_TRANSLATE_NOOP("ContentView", "Color"),
    QT_TRANSLATE_NOOP("ContentView", "Image"),      QT_TRANSLATE_NOOP("ContentView", "Hide bar"),
    QT_TRANSLATE_NOOP("ContentView", "Hide items"),
};

} // namespace

ContentView::ContentView(AppModel& model, QWidget* parent) : QWidget(parent), m_model(model)
{
    setObjectName(QStringLiteral("content"));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);

    m_tileGroup = new FocusGroup(this);
    m_rowGroup = new FocusGroup(this);
    m_repositionGroup = new FocusGroup(this);
    m_centerGroup = new FocusGroup(this);
    m_iconsGroup = new FocusGroup(this);
    m_backgroundGroup = new FocusGroup(this);
    m_coverGroup = new FocusGroup(this);

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(20, 20, 20, 20);
    outer->setSizeConstraint(QLayout::SetFixedSize);

    m_panel = new QWidget(this);
    m_panelLayout = new QVBoxLayout(m_panel);
    m_panelLayout->setContentsMargins(0, 0, 0, 0);
    m_panelLayout->setSpacing(16);
    outer->addWidget(m_panel, 0, Qt::AlignLeft | Qt::AlignTop);

    // A session where nothing can act on the desktop says so first (hidden otherwise).
    m_sessionBanner = new SessionBanner(m_model.windowControlGap(), m_panel);
    m_panelLayout->addWidget(m_sessionBanner);
    m_panelLayout->addWidget(buildResolutionCard());
    m_windowCard = buildWindowCard();
    m_panelLayout->addWidget(m_windowCard);

    m_bannerBox = new QWidget(m_panel);
    m_bannerLayout = new QVBoxLayout(m_bannerBox);
    m_bannerLayout->setContentsMargins(0, 0, 0, 0);
    m_bannerLayout->setSpacing(16);
    m_panelLayout->addWidget(m_bannerBox);
    // What could not be put back on the desktop exactly (said once, when it happens).
    m_desktopNotice = new QLabel(m_panel);
    m_desktopNotice->setWordWrap(true);
    m_desktopNotice->setVisible(false);
    m_panelLayout->addWidget(m_desktopNotice);

    m_bottomRow = new QWidget(m_panel);
    auto* bottom = new QHBoxLayout(m_bottomRow);
    bottom->setContentsMargins(0, 0, 0, 0);
    bottom->setSpacing(16);
    // The two cards share the panel's width, so the row ends where the cards above it end.
    for (QWidget* card : {buildDesktopCard(), buildMenuBarCard()}) {
        card->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        bottom->addWidget(card, 1, Qt::AlignTop);
    }
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
    updateSymbols();
    updatePanelWidth();
    updateTabOrder();
}

void ContentView::updateSymbols()
{
    const auto tinted = [this](QAbstractButton* button) {
        // Palette changes arrive already while the panel is being built.
        if (!button)
            return;
        const int side = button->iconSize().width();
        button->setIcon(QIcon(Look::symbol(QStringLiteral("arrow.clockwise"), side,
                                           Look::secondary(palette()), devicePixelRatioF())));
    };
    tinted(m_refresh);
    tinted(m_rescan);
}

void ContentView::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    // The drawn symbols take the theme's dimmed colour: redraw them when the theme changes.
    if (event->type() == QEvent::PaletteChange)
        updateSymbols();
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
    auto* pickerLabel = new QLabel(tr("Display"), m_displayRow);
    m_displayPicker = new QComboBox(m_displayRow);
    m_displayPicker->setObjectName(QStringLiteral("Display"));
    m_displayPicker->setAccessibleName(tr("Display"));
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
    // The tiles are the Tab stop (one for the row), not the scrolling area around them.
    m_strip->setFocusPolicy(Qt::NoFocus);
    stack->addWidget(m_strip);
    m_noModes = new QLabel(content);
    m_noModes->setObjectName(QStringLiteral("no modes"));
    m_noModes->setFont(Look::caption());
    m_noModes->setWordWrap(true);
    m_noModes->setVisible(false);
    stack->addWidget(m_noModes);

    auto* restore = new QPushButton(tr("Restore Original"));
    restore->setObjectName(QStringLiteral("Restore Original"));
    restore->setAccessibleName(tr("Restore Original"));
    restore->setFont(Look::caption());
    connect(restore, &QPushButton::clicked, this, [this] { m_model.restoreSelectedDisplay(); });
    m_restore = restore;

    return new SectionCard(tr("Resolution"), QStringLiteral("rectangle.on.rectangle"), true, false,
                           restore, content);
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
    // An empty strip says why instead of staying blank.
    m_noModes->setText(SessionBanner::noModesText(m_model.windowControlGap()));
    m_noModes->setVisible(m_model.modes().isEmpty());
    const QList<DisplayMode>& modes = m_model.modes();
    const auto sameMode = [](const DisplayMode& a, const DisplayMode& b) {
        return a.id == b.id && a.width == b.width && a.height == b.height &&
               a.pixelWidth == b.pixelWidth && a.pixelHeight == b.pixelHeight;
    };
    const bool same = modes.size() == m_tileModes.size() &&
                      std::equal(modes.begin(), modes.end(), m_tileModes.begin(), sameMode);
    if (!same) {
        m_tileModes = modes;
        const double scale = ContentRules::tileScale(modes);
        QList<QWidget*> tiles;
        for (const DisplayMode& mode : modes) {
            auto* tile = new ResolutionTile(mode, false, scale);
            onChoose(tile, this, [this, mode] { m_model.apply(mode); });
            tiles.append(tile);
        }
        m_strip->setTiles(tiles);
        m_tileGroup->setMembers(tiles);
        updateTabOrder();
    }
    // The current mode is marked in place, so a tile keeps the keyboard focus it was chosen with.
    for (QWidget* widget : m_strip->tiles()) {
        auto* tile = static_cast<ResolutionTile*>(widget);
        const QSignalBlocker block(tile);
        tile->setCurrent(tile->mode().width == m_model.currentWidth() &&
                         tile->mode().height == m_model.currentHeight());
        if (tile->isCurrent())
            m_tileGroup->setEntry(tile);
    }
}

// --- Window ----------------------------------------------------------------------------------

QWidget* ContentView::buildWindowCard()
{
    auto* content = new QWidget;
    auto* stack = new QVBoxLayout(content);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(12);

    auto* windowBanner =
        new PermissionBanner(tr("Grant Accessibility to pick and move other apps' windows."));
    connect(windowBanner, &PermissionBanner::grantRequested, this, [this, windowBanner] {
        m_model.requestAccessibility();
        windowBanner->setAdvice(ContentRules::permissionAdvice(m_model.windowControlGap()));
    });
    m_windowBanner = windowBanner;
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
    QLabel* windowsLabel = groupLabel(tr("Windows"), m_columns);
    header->addWidget(windowsLabel);
    header->addStretch(1);
    auto* refresh = new QToolButton(m_columns);
    refresh->setAutoRaise(true);
    refresh->setIconSize(QSize(14, 14));
    // The three column headers are as tall as the one with the refresh button, so the labels
    // line up and the list and both groups of cells start on one line.
    const int headerHeight =
        std::max(refresh->sizeHint().height(), windowsLabel->sizeHint().height());
    const auto columnHeader = [headerHeight](QLabel* label) {
        label->setFixedHeight(headerHeight);
        label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        return label;
    };
    columnHeader(windowsLabel);
    refresh->setFixedHeight(headerHeight);
    refresh->setToolTip(tr("Refresh window list"));
    refresh->setAccessibleName(tr("Refresh window list"));
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
    repositionColumn->addWidget(columnHeader(groupLabel(tr("Reposition"), m_columns)));
    for (const RepositionItem& item : ContentRules::repositionItems()) {
        ScreenThumb* cell = nullptr;
        if (item.kind == RepositionItem::Kind::hide) {
            cell = makeCell(QRectF(), tr("Hide"), false, QStringLiteral("eye.slash"),
                            tr("Minimize the window"));
            connect(cell, &ScreenThumb::clicked, this, [this] { m_model.hideSelectedWindow(); });
        } else {
            const WindowArrangement arrangement = item.arrangement;
            cell = makeCell(ContentRules::arrangementRegion(arrangement),
                            ContentRules::arrangementCaption(arrangement), false, std::nullopt,
                            help(arrangement));
            connect(cell, &ScreenThumb::clicked, this,
                    [this, arrangement] { m_model.arrangeSelected(arrangement); });
        }
        m_repositionCells.append(cell);
    }
    repositionColumn->addWidget(cellRows(m_repositionCells));
    m_repositionGroup->setMembers(
        QList<QWidget*>(m_repositionCells.cbegin(), m_repositionCells.cend()), 3);
    repositionColumn->addStretch(1);
    columns->addLayout(repositionColumn);

    // Center: filled in by refreshCenterCells, as it depends on the current mode.
    auto* centerColumn = new QVBoxLayout;
    centerColumn->setSpacing(8);
    centerColumn->addWidget(columnHeader(groupLabel(tr("Center"), m_columns)));
    auto* centerBox = new QWidget(m_columns);
    // As wide as a full row of the widest cells any mode offers, so the panel keeps its width
    // when a mode switch changes the presets.
    centerBox->setMinimumWidth(widestCenterRow());
    m_centerRows = new QVBoxLayout(centerBox);
    m_centerRows->setContentsMargins(0, 0, 0, 0);
    m_centerRows->setSpacing(12);
    centerColumn->addWidget(centerBox);
    centerColumn->addStretch(1);
    columns->addLayout(centerColumn);
    columns->addStretch(1);
    stack->addWidget(m_columns);

    auto* caption = new QLabel(tr("Pick a window, then snap it to a region, fill its "
                                  "screen, or resize it to an exact size (centered)."),
                               content);
    caption->setWordWrap(true);
    UiStyle::makeSecondaryCaption(caption);
    stack->addWidget(caption);

    return new SectionCard(tr("Window"), QStringLiteral("macwindow"), true, false, nullptr,
                           content);
}

void ContentView::refreshWindowList()
{
    const QList<WindowRow*> before = m_windowList->rows();
    m_windowList->setWindows(m_model.windows(), m_model.selectedWindowID());
    const QList<WindowRow*>& rows = m_windowList->rows();
    if (rows != before) {
        m_rowGroup->setMembers(QList<QWidget*>(rows.cbegin(), rows.cend()));
        updateTabOrder();
    }
    for (WindowRow* row : rows) {
        if (row->isSelected())
            m_rowGroup->setEntry(row);
    }
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
        ScreenThumb* cell = nullptr;
        switch (item.kind) {
        case CenterItem::Kind::fill:
            cell = makeCell(ContentRules::arrangementRegion(WindowArrangement::fill),
                            ContentRules::arrangementCaption(WindowArrangement::fill), false,
                            std::nullopt, help(WindowArrangement::fill));
            connect(cell, &ScreenThumb::clicked, this,
                    [this] { m_model.arrangeSelected(WindowArrangement::fill); });
            break;
        case CenterItem::Kind::size: {
            const QSizeF size = item.size;
            cell = makeCell(ContentRules::sizeRegion(size, width, height),
                            ContentRules::sizeCaption(size), false, std::nullopt,
                            ContentRules::sizeTooltip(size));
            connect(cell, &ScreenThumb::clicked, this,
                    [this, size] { m_model.resizeSelected(size); });
            break;
        }
        case CenterItem::Kind::custom:
            cell = makeCell(QRectF(0.28, 0.28, 0.44, 0.44), tr("Custom"), true, std::nullopt,
                            tr("Resize to a custom size and center"));
            connect(cell, &ScreenThumb::clicked, this, [this, cell] { openCustomPopover(cell); });
            break;
        }
        m_centerCells.append(cell);
    }
    QWidget* rows = cellRows(m_centerCells);
    m_centerRows->addWidget(rows);
    m_centerRowWidgets.append(rows);
    m_centerGroup->setMembers(QList<QWidget*>(m_centerCells.cbegin(), m_centerCells.cend()), 3);
    refreshWindowControls();
    updateTabOrder();
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
        m_bannerLayout->addWidget(m_banners.value(MenuBarBanner::screenRecording));
        m_bannerLayout->addWidget(m_banners.value(MenuBarBanner::itemNames));
        updateTabOrder();
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
        group->setAccessibleName(tr(qUtf8Printable(title)));
        group->setObjectName(title);
        auto* stack = new QVBoxLayout(group);
        stack->setContentsMargins(0, 0, 0, 0);
        stack->setSpacing(8);
        stack->addWidget(groupLabel(tr(qUtf8Printable(title)), group));
        row = new QHBoxLayout;
        row->setSpacing(12);
        stack->addLayout(row);
        groups->addWidget(group, 0, Qt::AlignTop);
    };
    addGroup(QStringLiteral("Icons"), m_iconsRow);
    addGroup(QStringLiteral("Background"), m_backgroundRow);

    const auto addThumb = [this](QHBoxLayout* row, const QString& group, const QString& label,
                                 std::function<void()> action) {
        auto* thumb = new PickThumb(
            tr(qUtf8Printable(label)), false,
            new MiniScreen(MiniScreen::Background::wallpaper(), MiniScreen::Bar::items, false));
        onChoose(thumb, this, std::move(action));
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
    const auto members = [this](const QString& group, const QStringList& labels) {
        QList<QWidget*> thumbs;
        for (const QString& label : labels)
            thumbs.append(pickThumb(group, label));
        return thumbs;
    };
    m_iconsGroup->setMembers(members(icons, {QStringLiteral("Show"), QStringLiteral("Hide")}));
    m_backgroundGroup->setMembers(members(
        background, {QStringLiteral("Keep"), QStringLiteral("Color"), QStringLiteral("Image")}));
    return new SectionCard(tr("Desktop"), QStringLiteral("menubar.dock.rectangle"), false, false,
                           nullptr, content);
}

void ContentView::refreshDesktop()
{
    const auto show = [this](const QString& group, const QString& label, bool selected,
                             const MiniScreen::Background& background, bool icons) {
        PickThumb* thumb = m_thumbs.value(groupKey(group, label));
        {
            const QSignalBlocker block(thumb);
            thumb->setSelected(selected);
        }
        // Tab comes into a group of choices at the chosen one.
        if (selected)
            (group == QStringLiteral("Icons") ? m_iconsGroup : m_backgroundGroup)->setEntry(thumb);
        auto* preview = static_cast<MiniScreen*>(thumb->preview());
        preview->setBackground(background);
        preview->setIcons(icons);
    };
    const QString icons = QStringLiteral("Icons");
    const QString background = QStringLiteral("Background");
    const bool hidden = m_model.desktopIconsHidden();
    const DesktopBackground choice = m_model.background();
    const MiniScreen::Background wallpaper = MiniScreen::Background::wallpaper();
    show(icons, QStringLiteral("Show"), !hidden, wallpaper, true);
    show(icons, QStringLiteral("Hide"), hidden, wallpaper, false);
    show(background, QStringLiteral("Keep"), choice == DesktopBackground::keep, wallpaper, false);
    show(background, QStringLiteral("Color"), choice == DesktopBackground::color,
         MiniScreen::Background::solid(m_model.backgroundColor()), false);
    show(background, QStringLiteral("Image"), choice == DesktopBackground::image,
         MiniScreen::Background::image(m_model.lightWallpaperURL()), false);

    m_lightWell->setPath(m_model.lightWallpaperURL());
    m_darkWell->setPath(m_model.darkWallpaperURL());
}

// --- Menu Bar --------------------------------------------------------------------------------

QWidget* ContentView::buildMenuBarCard()
{
    auto* content = new QWidget;
    auto* group = new QVBoxLayout(content);
    content->setAccessibleName(tr("Cover"));
    content->setObjectName(QStringLiteral("Cover"));
    group->setContentsMargins(0, 0, 0, 0);
    group->setSpacing(8);
    group->addWidget(groupLabel(tr("Cover"), content));
    m_coverRow = new QHBoxLayout;
    m_coverRow->setSpacing(12);
    group->addLayout(m_coverRow);
    for (MenuBarCover cover : allMenuBarCovers) {
        const MiniScreen::Bar bar = cover == MenuBarCover::keep     ? MiniScreen::Bar::items
                                    : cover == MenuBarCover::entire ? MiniScreen::Bar::empty
                                                                    : MiniScreen::Bar::gap;
        auto* thumb =
            new PickThumb(tr(qUtf8Printable(title(cover))), false,
                          new MiniScreen(MiniScreen::Background::wallpaper(), bar, false));
        onChoose(thumb, this, [this, cover, thumb] {
            m_model.setMenuBarCover(cover);
            if (cover == MenuBarCover::items)
                m_itemsPopover->open(thumb);
        });
        m_coverRow->addWidget(thumb);
        m_thumbs.insert(groupKey(QStringLiteral("Cover"), title(cover)), thumb);
    }
    QList<QWidget*> coverThumbs;
    for (MenuBarCover cover : allMenuBarCovers)
        coverThumbs.append(pickThumb(QStringLiteral("Cover"), title(cover)));
    m_coverGroup->setMembers(coverThumbs);
    return new SectionCard(tr("Menu Bar"), QStringLiteral("menubar.rectangle"), false, false,
                           nullptr, content);
}

void ContentView::refreshCover()
{
    for (MenuBarCover cover : allMenuBarCovers) {
        PickThumb* thumb = m_thumbs.value(groupKey(QStringLiteral("Cover"), title(cover)));
        const QSignalBlocker block(thumb);
        thumb->setSelected(m_model.menuBarCover() == cover);
        if (m_model.menuBarCover() == cover)
            m_coverGroup->setEntry(thumb);
    }
}

void ContentView::refreshItems()
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

QAbstractButton* ContentView::pickThumb(const QString& group, const QString& label) const
{
    return m_thumbs.value(groupKey(group, label));
}

// --- Popovers --------------------------------------------------------------------------------

void ContentView::buildPopovers()
{
    m_customPopover = new Popover(tr("Custom size"), this);
    auto* customLayout = new QVBoxLayout(m_customPopover);
    customLayout->setContentsMargins(0, 0, 0, 0);
    m_customForm = new CustomSizeForm(m_customPopover);
    customLayout->addWidget(m_customForm);
    connect(m_customForm, &CustomSizeForm::confirmed, this, &ContentView::confirmCustomSize);

    m_colorPopover = new Popover(tr("Background color"), this);
    auto* colorLayout = new QVBoxLayout(m_colorPopover);
    colorLayout->setContentsMargins(0, 0, 0, 0);
    // Bound to the model's colour: each change of the picker sets it, and changes made elsewhere
    // are read back in.
    auto* picker = new ColorPickerPopover(
        {[this] { return m_model.backgroundColor(); },
         [this](const RgbColor& color) { m_model.setBackgroundColor(color); }});
    connect(&m_model, &AppModel::published, picker, [this, picker](AppModel::Field field) {
        if (field == AppModel::Field::backgroundColor)
            picker->boundColorChanged(m_model.backgroundColor());
    });
    m_colorPicker = picker;
    colorLayout->addWidget(m_colorPicker);

    m_imagePopover = new Popover(tr("Background images"), this);
    m_wellsRow = new QHBoxLayout(m_imagePopover);
    m_wellsRow->setContentsMargins(16, 16, 16, 16);
    m_wellsRow->setSpacing(14);
    m_wellsRow->setAlignment(Qt::AlignTop);
    m_lightWell = new WallpaperWell(tr("Light"), m_model.lightWallpaperURL());
    connect(m_lightWell, &WallpaperWell::picked, this,
            [this](const QString& path) { m_model.setLightWallpaperURL(path); });
    connect(m_lightWell, &WallpaperWell::cleared, this,
            [this] { m_model.setLightWallpaperURL(std::nullopt); });
    m_darkWell = new WallpaperWell(tr("Dark"), m_model.darkWallpaperURL());
    connect(m_darkWell, &WallpaperWell::picked, this,
            [this](const QString& path) { m_model.setDarkWallpaperURL(path); });
    connect(m_darkWell, &WallpaperWell::cleared, this,
            [this] { m_model.setDarkWallpaperURL(std::nullopt); });
    m_wellsRow->addWidget(m_lightWell);
    m_wellsRow->addWidget(m_darkWell);

    m_itemsPopover = new Popover(tr("Detected items"), this);
    auto* itemsStack = new QVBoxLayout(m_itemsPopover);
    itemsStack->setContentsMargins(16, 16, 16, 16);
    itemsStack->setSpacing(8);
    m_itemsPopover->setFixedWidth(220);
    auto* header = new QHBoxLayout;
    header->addWidget(groupLabel(tr("Detected items"), m_itemsPopover));
    header->addStretch(1);
    auto* rescan = new QToolButton(m_itemsPopover);
    rescan->setAutoRaise(true);
    rescan->setText(tr("Rescan"));
    rescan->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    rescan->setIconSize(QSize(12, 12));
    rescan->setFont(Look::caption());
    rescan->setAccessibleName(tr("Rescan"));
    rescan->setObjectName(QStringLiteral("Rescan"));
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

// --- Keyboard order
// -------------------------------------------------------------------------------

QList<QWidget*> ContentView::focusChain() const
{
    QList<QWidget*> chain;
    const auto add = [&chain](const FocusGroup* group) {
        for (const QPointer<QWidget>& member : group->members()) {
            if (member)
                chain.append(member);
        }
    };
    // Resolution: the header's button, the display picker, the tiles.
    chain << m_restore << m_displayPicker;
    add(m_tileGroup);
    // Window: the banner's button, the list's header and rows, then the two groups of cells.
    chain << m_windowBanner->grantButton() << m_refresh;
    add(m_rowGroup);
    add(m_repositionGroup);
    add(m_centerGroup);
    // The panel-cover banners, in the order they are shown.
    for (MenuBarBanner kind : {MenuBarBanner::screenRecording, MenuBarBanner::itemNames}) {
        if (auto* banner = static_cast<PermissionBanner*>(m_banners.value(kind)))
            chain << banner->grantButton();
    }
    // Desktop (icons, then background), then Menu Bar.
    add(m_iconsGroup);
    add(m_backgroundGroup);
    add(m_coverGroup);
    return chain;
}

void ContentView::updateTabOrder()
{
    // Runs while the panel is being built, before every part exists.
    if (!m_coverGroup || m_coverGroup->members().isEmpty() || m_banners.isEmpty())
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
    case F::desktopNotice:
        m_desktopNotice->setText(m_model.desktopNotice());
        m_desktopNotice->setVisible(!m_model.desktopNotice().isEmpty());
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
