// The Desktop card: showing or hiding the desktop icons, and keeping the desktop picture or
// showing a colour (chosen in a popover) or a light and a dark picture (chosen in another).
#pragma once

#include "components/SectionCard.h"
#include "core/AppModel.h"

class FocusGroup;
class PickThumb;
class Popover;
class WallpaperWell;

class DesktopCard final : public SectionCard {
    Q_OBJECT
public:
    explicit DesktopCard(AppModel& model, QWidget* parent = nullptr);

    // Built when first needed: most runs never open them, and start-up need not pay for the
    // picker's swatches nor for reading the pictures' thumbnails.
    Popover* colorPopover();
    Popover* imagePopover();
    bool colorPopoverShown() const;
    bool imagePopoverShown() const;
    // The icon choices, then the background choices (one Tab stop each).
    QList<QWidget*> focusOrder() const;

private:
    void onPublished(AppModel::Field field);
    void refresh();

    AppModel& m_model;
    PickThumb* m_showIcons = nullptr;
    PickThumb* m_hideIcons = nullptr;
    PickThumb* m_keep = nullptr;
    PickThumb* m_color = nullptr;
    PickThumb* m_image = nullptr;
    FocusGroup* m_iconsGroup = nullptr;
    FocusGroup* m_backgroundGroup = nullptr;
    Popover* m_colorPopover = nullptr;
    Popover* m_imagePopover = nullptr;
    WallpaperWell* m_lightWell = nullptr;
    WallpaperWell* m_darkWell = nullptr;
};
