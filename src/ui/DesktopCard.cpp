// The Desktop card: the desktop icons and the desktop picture.
#include "DesktopCard.h"

#include "CardParts.h"
#include "Popover.h"
#include "components/ColorPickerPopover.h"
#include "components/FocusGroup.h"
#include "components/MiniScreen.h"
#include "components/PickThumb.h"
#include "components/WallpaperWell.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace {

// A labelled group of choices in a row; returns the row the choices go into.
QHBoxLayout* addGroup(QWidget* content, QHBoxLayout* groups, const char* title)
{
    auto* group = CardParts::named(new QWidget(content), title);
    auto* stack = new QVBoxLayout(group);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(8);
    stack->addWidget(CardParts::groupLabel(group->accessibleName(), group));
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    stack->addLayout(row);
    groups->addWidget(group, 0, Qt::AlignTop);
    return row;
}

MiniScreen* previewOf(PickThumb* thumb)
{
    return static_cast<MiniScreen*>(thumb->preview());
}

} // namespace

DesktopCard::DesktopCard(AppModel& model, QWidget* parent)
    : SectionCard(tr("Desktop"), QStringLiteral("menubar.dock.rectangle"), false, false, nullptr,
                  nullptr, parent),
      m_model(model), m_iconsGroup(new FocusGroup(this)), m_backgroundGroup(new FocusGroup(this))
{
    auto* content = new QWidget;
    auto* groups = new QHBoxLayout(content);
    groups->setContentsMargins(0, 0, 0, 0);
    groups->setSpacing(28);
    QHBoxLayout* iconsRow = addGroup(content, groups, QT_TR_NOOP("Icons"));
    QHBoxLayout* backgroundRow = addGroup(content, groups, QT_TR_NOOP("Background"));

    const auto addThumb = [this](QHBoxLayout* row, const char* label,
                                 std::function<void()> action) {
        auto* thumb = new PickThumb(
            tr(label), false,
            new MiniScreen(MiniScreen::Background::wallpaper(), MiniScreen::Bar::items, false));
        thumb->setObjectName(QString::fromLatin1(label));
        CardParts::onChoose(thumb, this, std::move(action));
        row->addWidget(thumb);
        return thumb;
    };
    m_showIcons =
        addThumb(iconsRow, QT_TR_NOOP("Show"), [this] { m_model.setDesktopIconsHidden(false); });
    m_hideIcons =
        addThumb(iconsRow, QT_TR_NOOP("Hide"), [this] { m_model.setDesktopIconsHidden(true); });
    m_keep = addThumb(backgroundRow, QT_TR_NOOP("Keep"),
                      [this] { m_model.setBackground(DesktopBackground::keep); });
    m_color = addThumb(backgroundRow, QT_TR_NOOP("Color"), [this] {
        m_model.setBackground(DesktopBackground::color);
        colorPopover()->open(m_color);
    });
    m_image = addThumb(backgroundRow, QT_TR_NOOP("Image"), [this] {
        m_model.setBackground(DesktopBackground::image);
        imagePopover()->open(m_image);
    });
    m_iconsGroup->setMembers({m_showIcons, m_hideIcons});
    m_backgroundGroup->setMembers({m_keep, m_color, m_image});
    setContent(content);

    connect(&m_model, &AppModel::published, this, &DesktopCard::onPublished);
    refresh();
}

Popover* DesktopCard::colorPopover()
{
    if (m_colorPopover)
        return m_colorPopover;
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
    colorLayout->addWidget(picker);
    return m_colorPopover;
}

Popover* DesktopCard::imagePopover()
{
    if (m_imagePopover)
        return m_imagePopover;
    m_imagePopover = new Popover(tr("Background images"), this);
    auto* wells = new QHBoxLayout(m_imagePopover);
    wells->setContentsMargins(16, 16, 16, 16);
    wells->setSpacing(14);
    wells->setAlignment(Qt::AlignTop);
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
    wells->addWidget(m_lightWell);
    wells->addWidget(m_darkWell);
    return m_imagePopover;
}

bool DesktopCard::colorPopoverShown() const
{
    return m_colorPopover && m_colorPopover->isVisible();
}

bool DesktopCard::imagePopoverShown() const
{
    return m_imagePopover && m_imagePopover->isVisible();
}

QList<QWidget*> DesktopCard::focusOrder() const
{
    return {m_showIcons, m_hideIcons, m_keep, m_color, m_image};
}

void DesktopCard::onPublished(AppModel::Field field)
{
    using F = AppModel::Field;
    switch (field) {
    case F::desktopIconsHidden:
    case F::background:
    case F::backgroundColor:
    case F::lightWallpaperURL:
    case F::darkWallpaperURL:
        refresh();
        break;
    default:
        break;
    }
}

void DesktopCard::refresh()
{
    const auto show = [](PickThumb* thumb, FocusGroup* group, bool selected,
                         const MiniScreen::Background& background, bool icons) {
        {
            const QSignalBlocker block(thumb);
            thumb->setSelected(selected);
        }
        // Tab comes into a group of choices at the chosen one.
        if (selected)
            group->setEntry(thumb);
        previewOf(thumb)->setBackground(background);
        previewOf(thumb)->setIcons(icons);
    };
    const bool hidden = m_model.desktopIconsHidden();
    const DesktopBackground choice = m_model.background();
    const MiniScreen::Background wallpaper = MiniScreen::Background::wallpaper();
    show(m_showIcons, m_iconsGroup, !hidden, wallpaper, true);
    show(m_hideIcons, m_iconsGroup, hidden, wallpaper, false);
    show(m_keep, m_backgroundGroup, choice == DesktopBackground::keep, wallpaper, false);
    show(m_color, m_backgroundGroup, choice == DesktopBackground::color,
         MiniScreen::Background::solid(m_model.backgroundColor()), false);
    show(m_image, m_backgroundGroup, choice == DesktopBackground::image,
         MiniScreen::Background::image(m_model.lightWallpaperURL()), false);

    if (m_imagePopover) {
        m_lightWell->setPath(m_model.lightWallpaperURL());
        m_darkWell->setPath(m_model.darkWallpaperURL());
    }
}
