// The Window card: picking another program's window and snapping, centring or hiding it.
#include "WindowCard.h"

#include "CardParts.h"
#include "CustomSizeForm.h"
#include "Popover.h"
#include "UiStyle.h"
#include "WindowListBox.h"
#include "WindowRow.h"
#include "components/FocusGroup.h"
#include "components/Look.h"
#include "components/PermissionBanner.h"
#include "components/ScreenThumb.h"

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

} // namespace

WindowCard::WindowCard(AppModel& model, QWidget* parent)
    : SectionCard(tr("Window"), QStringLiteral("macwindow"), true, false, nullptr, nullptr, parent),
      m_model(model), m_rowGroup(new FocusGroup(this)), m_repositionGroup(new FocusGroup(this)),
      m_centerGroup(new FocusGroup(this))
{
    auto* content = new QWidget;
    auto* stack = new QVBoxLayout(content);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(12);

    m_banner =
        new PermissionBanner(tr("Grant Accessibility to pick and move other apps' windows."));
    connect(m_banner, &PermissionBanner::grantRequested, this, [this] {
        m_model.requestAccessibility();
        m_banner->setAdvice(ContentRules::permissionAdvice(m_model.windowControlGap()));
    });
    stack->addWidget(m_banner);

    m_columns = new QWidget(content);
    auto* columns = new QHBoxLayout(m_columns);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(28);

    // Windows: header with the refresh button, then the list.
    auto* listColumn = new QVBoxLayout;
    listColumn->setSpacing(8);
    auto* header = new QHBoxLayout;
    header->setSpacing(4);
    QLabel* windowsLabel = CardParts::groupLabel(tr("Windows"), m_columns);
    header->addWidget(windowsLabel);
    header->addStretch(1);
    auto* refresh = CardParts::named(new QToolButton(m_columns), "Refresh window list");
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
    repositionColumn->addWidget(columnHeader(CardParts::groupLabel(tr("Reposition"), m_columns)));
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
    centerColumn->addWidget(columnHeader(CardParts::groupLabel(tr("Center"), m_columns)));
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
    setContent(content);

    m_customPopover = new Popover(tr("Custom size"), this);
    auto* customLayout = new QVBoxLayout(m_customPopover);
    customLayout->setContentsMargins(0, 0, 0, 0);
    m_customForm = new CustomSizeForm(m_customPopover);
    customLayout->addWidget(m_customForm);
    connect(m_customForm, &CustomSizeForm::confirmed, this, &WindowCard::confirmCustomSize);

    connect(&m_model, &AppModel::published, this, &WindowCard::onPublished);
    refreshWindowList();
    refreshControls();
    refreshCenterCells();
}

QList<QWidget*> WindowCard::focusOrder() const
{
    QList<QWidget*> order{m_banner->grantButton(), m_refresh};
    for (const FocusGroup* group : {m_rowGroup, m_repositionGroup, m_centerGroup}) {
        for (const QPointer<QWidget>& member : group->members()) {
            if (member)
                order.append(member);
        }
    }
    return order;
}

void WindowCard::updateSymbols()
{
    const int side = m_refresh->iconSize().width();
    m_refresh->setIcon(QIcon(Look::symbol(QStringLiteral("arrow.clockwise"), side,
                                          Look::secondary(palette()), devicePixelRatioF())));
}

void WindowCard::onPublished(AppModel::Field field)
{
    using F = AppModel::Field;
    switch (field) {
    case F::currentSize:
        refreshCenterCells();
        break;
    case F::windows:
    case F::selectedWindowID:
        refreshWindowList();
        refreshControls();
        break;
    case F::canControlWindows:
        refreshControls();
        break;
    default:
        break;
    }
}

void WindowCard::refreshWindowList()
{
    const QList<WindowRow*> before = m_windowList->rows();
    m_windowList->setWindows(m_model.windows(), m_model.selectedWindowID(),
                             m_model.windowsListed());
    const QList<WindowRow*>& rows = m_windowList->rows();
    if (rows != before) {
        m_rowGroup->setMembers(QList<QWidget*>(rows.cbegin(), rows.cend()));
        emit focusOrderChanged();
    }
    for (WindowRow* row : rows) {
        if (row->isSelected())
            m_rowGroup->setEntry(row);
    }
}

void WindowCard::refreshControls()
{
    const bool allowed = m_model.canControlWindows();
    m_banner->setVisible(!allowed);
    m_columns->setEnabled(allowed);
    const bool selected = m_model.selectedWindowID().has_value();
    for (QAbstractButton* cell : std::as_const(m_repositionCells))
        cell->setEnabled(selected);
    for (QAbstractButton* cell : std::as_const(m_centerCells))
        cell->setEnabled(selected);
}

void WindowCard::refreshCenterCells()
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
    refreshControls();
    emit focusOrderChanged();
}

void WindowCard::openCustomPopover(QWidget* anchor)
{
    m_customPopover->open(anchor);
    m_customForm->focusWidthSoon();
}

void WindowCard::confirmCustomSize()
{
    if (const std::optional<QSizeF> size =
            ContentRules::parseCustomSize(m_customForm->customW(), m_customForm->customH()))
        m_model.resizeSelected(*size);
    m_customPopover->hide();
}
