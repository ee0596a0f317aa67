// Display modes over RandR: the connected outputs with a CRTC are the displays, an output's mode
// list is what they offer, and a switch sets the CRTCs for this session only.
#pragma once

#include "platform/DisplayModes.h"

class X11DisplayModes final : public DisplayModes {
public:
    QList<quint32> onlineDisplays() const override;
    quint32 mainDisplay() const override;
    std::optional<PlatformDisplayMode> currentMode(quint32 display) const override;
    QList<PlatformDisplayMode> allModes(quint32 display) const override;
    std::optional<DisplayPlacement> placement(quint32 display) const override;
    bool switchMode(quint32 display, qint32 modeId) override;
    bool placeMode(quint32 display, qint32 modeId, const DisplayPlacement& placement) override;

private:
    // One server-grabbed transaction: the display switched (and placed, when a placement is
    // given), its neighbours re-placed, the screen resized to hold them all.
    static bool configure(quint32 display, qint32 modeId,
                          const std::optional<DisplayPlacement>& placement);
};
