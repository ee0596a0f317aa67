// The Resolution card: picking a display, switching its mode, and putting the original back.
#include "ResolutionCard.h"

#include "CardParts.h"
#include "ContentRules.h"
#include "ResolutionStrip.h"
#include "components/FocusGroup.h"
#include "components/Look.h"
#include "components/ResolutionTile.h"
#include "components/SessionBanner.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ResolutionCard::ResolutionCard(AppModel& model, QWidget* parent)
    : SectionCard(tr("Resolution"), QStringLiteral("rectangle.on.rectangle"), true, false, nullptr,
                  nullptr, parent),
      m_model(model), m_tileGroup(new FocusGroup(this))
{
    auto* content = new QWidget;
    auto* stack = new QVBoxLayout(content);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(10);

    m_displayRow = new QWidget(content);
    auto* pickerRow = new QHBoxLayout(m_displayRow);
    pickerRow->setContentsMargins(0, 0, 0, 0);
    auto* pickerLabel = new QLabel(tr("Display"), m_displayRow);
    m_displayPicker = CardParts::named(new QComboBox(m_displayRow), "Display");
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

    auto* restore = CardParts::named(new QPushButton(tr("Restore Original")), "Restore Original");
    restore->setFont(Look::caption());
    connect(restore, &QPushButton::clicked, this, [this] { m_model.restoreSelectedDisplay(); });
    m_restore = restore;

    setAccessory(restore);
    setContent(content);

    connect(&m_model, &AppModel::published, this, &ResolutionCard::onPublished);
    refreshDisplays();
    refreshTiles();
}

QList<QWidget*> ResolutionCard::focusOrder() const
{
    QList<QWidget*> order{m_restore, m_displayPicker};
    for (const QPointer<QWidget>& tile : m_tileGroup->members()) {
        if (tile)
            order.append(tile);
    }
    return order;
}

void ResolutionCard::onPublished(AppModel::Field field)
{
    using F = AppModel::Field;
    if (field == F::displays || field == F::selectedDisplayID)
        refreshDisplays();
    else if (field == F::modes || field == F::currentSize)
        refreshTiles();
}

void ResolutionCard::refreshDisplays()
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

void ResolutionCard::refreshTiles()
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
            CardParts::onChoose(tile, this, [this, mode] { m_model.apply(mode); });
            tiles.append(tile);
        }
        m_strip->setTiles(tiles);
        m_tileGroup->setMembers(tiles);
        emit focusOrderChanged();
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
