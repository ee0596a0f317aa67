// One rectangle of panel cover, with the picture it shows (none means a solid fill).
#pragma once

#include <QImage>
#include <QRectF>
#include <optional>

struct MaskTile {
    // Global bottom-left coordinates, points.
    QRectF rect;
    std::optional<QImage> image;
};
