// Records the mask windows the overlay controller asks for, instead of showing them.
#pragma once

#include "core/OverlayController.h"

class FakeMaskPresenter final : public MaskPresenter {
public:
    // The tiles of the windows shown now; empty after a teardown.
    QList<MaskTile> shown;
    RgbColor fill;
    int builds = 0;
    int teardowns = 0;

    void showMasks(const QList<MaskTile>& tiles, const RgbColor& fallbackColor) override
    {
        ++builds;
        // New masks replace the ones shown.
        shown = tiles;
        fill = fallbackColor;
    }
    void clearMasks() override
    {
        ++teardowns;
        shown.clear();
    }
};
