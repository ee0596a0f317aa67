// Rebuilds a captured panel image without the hidden items, and cuts the panel's background.
#pragma once

#include "MenuBarItem.h"
#include "platform/Screens.h"

#include <QImage>
#include <QList>
#include <QRectF>
#include <QSet>
#include <optional>

namespace BarReflow {

struct Piece {
    // Global bottom-left coordinates, points.
    QRectF rect;
    QImage image;
};

std::optional<QImage> emptyColumn(const QImage& full, const ScreenInfo& screen,
                                  const QList<MenuBarItem>& items, double barHeightPt);
std::optional<Piece> reflow(const QImage& full, const ScreenInfo& screen,
                            const QList<MenuBarItem>& items, const QSet<quint32>& hiddenIDs,
                            double barHeightPt);

} // namespace BarReflow
