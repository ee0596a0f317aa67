// The window list of the X server: tray icons, then the managed windows front to back.
#pragma once

#include "platform/WindowList.h"

class X11WindowList final : public WindowList {
public:
    QList<WindowListEntry> onScreenWindows() const override;
};
