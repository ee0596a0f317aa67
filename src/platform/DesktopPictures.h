// The desktop picture of each monitor.
#pragma once

#include "Screens.h"

#include <QImage>
#include <QString>
#include <optional>

class DesktopPictures {
public:
    virtual ~DesktopPictures() = default;
    // The file the monitor shows now, when the desktop keeps a readable path for it.
    virtual std::optional<QString> desktopPicture(const ScreenInfo& screen) const = 0;
    // Shows the file on the monitor (on every workspace); false when the desktop refused.
    virtual bool setDesktopPicture(const ScreenInfo& screen, const QString& path) = 0;
    // The monitor's part of the picture shown now, for desktops that keep no path; null when
    // the desktop keeps a path or nothing can be read.
    virtual QImage snapshotDesktopPicture(const ScreenInfo& screen) = 0;
};
