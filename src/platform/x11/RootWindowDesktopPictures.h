// Desktop pictures on any X11 desktop without a desktop program: one picture per monitor,
// composed into the root window's background pixmap, announced through _XROOTPMAP_ID and
// ESETROOT_PMAP_ID so that other programs (and the next setter) find it.
#pragma once

#include "platform/DesktopPictures.h"

class RootWindowDesktopPictures final : public DesktopPictures {
public:
    // The root pixmap keeps no file name.
    std::optional<QString> desktopPicture(const ScreenInfo&) const override { return {}; }
    // Draws the picture zoomed to fill the monitor's rectangle of the root pixmap; the other
    // monitors keep what they show.
    bool setDesktopPicture(const ScreenInfo& screen, const QString& path) override;
    // The monitor's rectangle of the current root pixmap; null when there is none.
    QImage snapshotDesktopPicture(const ScreenInfo& screen) override;
};
