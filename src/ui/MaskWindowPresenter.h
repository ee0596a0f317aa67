// The widget side of the overlay controller: one MaskWindow per tile, placed on the tile's
// rectangle.
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

    // The windows shown now, in tile order.
    QList<MaskWindow*> menuBarWindows() const;

    // A rectangle in global bottom-left points as the screen's logical pixels (root
    // coordinates), with edges rounded to whole pixels.
    static QRect toScreenGeometry(const QRectF& bottomLeft, const QRect& primaryGeometry);

    // Where the platform places a window of ours on a rectangle in bottom-left points, when its
    // points are not Qt's (the desktop's scaling factor differs from Qt's device pixel ratio).
    using Placement = std::function<std::optional<QRect>(const QRectF&)>;
    void setPlacement(Placement placement) { m_placement = std::move(placement); }

private:
    void orderFront();

    std::vector<std::unique_ptr<MaskWindow>> m_windows;
    QTimer m_orderFront;
    Placement m_placement;
};
