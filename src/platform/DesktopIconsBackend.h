// The desktop program's icon setting, and restarting that program so it takes effect.
#pragma once

class DesktopIconsBackend {
public:
    virtual ~DesktopIconsBackend() = default;
    virtual void writeIconsHidden(bool hidden) = 0;
    virtual void restartDesktop() = 0;
};
