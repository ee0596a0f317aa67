// The widget side of the overlay controller: one MaskWindow per tile, placed on the tile's
// rectangle. New masks replace the old ones in one step: the old windows go only once the new
// ones have painted, so the panel underneath never shows in between.
#pragma once

#include "core/OverlayController.h"

#include <QList>
#include <QRect>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class MaskWindow;

class MaskWindowPresenter final : public MaskPresenter {
public:
    MaskWindowPresenter();
    ~MaskWindowPresenter() override;

    void showMasks(const QList<MaskTile>& tiles, const RgbColor& fallbackColor) override;
    void clearMasks() override;

    // The windows of the last tiles, in tile order.
    QList<MaskWindow*> menuBarWindows() const;
    // Whether windows of earlier tiles are still up, waiting for the new ones to paint.
    bool isReplacing() const { return !m_leaving.empty(); }

    // A rectangle in global bottom-left points as the screen's logical pixels (root
    // coordinates), with edges rounded to whole pixels.
    static QRect toScreenGeometry(const QRectF& bottomLeft, const QRect& primaryGeometry);

    // Where the platform places a window of ours on a rectangle in bottom-left points, when its
    // points are not Qt's (the desktop's scaling factor differs from Qt's device pixel ratio).
    using Placement = std::function<std::optional<QRect>(const QRectF&)>;
    void setPlacement(Placement placement) { m_placement = std::move(placement); }

private:
    void orderFront();
    void retireWhenPainted();
    void retire();

    std::vector<std::unique_ptr<MaskWindow>> m_windows;
    // Shown windows of earlier tiles.
    std::vector<std::unique_ptr<MaskWindow>> m_leaving;
    QTimer m_orderFront;
    // The old windows go at the latest after this, should the new ones never paint.
    QTimer m_retireAnyway;
    QObject m_context;
    Placement m_placement;
};
