// Display modes over RandR: the connected outputs with a CRTC are the displays, an output's mode
// list is what they offer, and a switch sets one CRTC for this session only.
#pragma once

#include "platform/DisplayModes.h"

class X11DisplayModes final : public DisplayModes {
public:
    QList<quint32> onlineDisplays() const override;
    quint32 mainDisplay() const override;
    std::optional<PlatformDisplayMode> currentMode(quint32 display) const override;
    QList<PlatformDisplayMode> allModes(quint32 display) const override;
    bool switchMode(quint32 display, qint32 modeId) override;
};
