// Rebuilds a captured panel image without the hidden items, and cuts a strip of the panel's
// bare background. Works on images and rectangles only; it neither captures nor shows anything.
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
    // Where the piece is shown: global bottom-left coordinates, points.
    QRectF rect;
    // 8-bit RGBA, premultiplied, at the monitor's pixel density; row 0 is the top of the panel.
    QImage image;
};

// The panel on one screen as the scan saw it.
struct Bar {
    // Height of the panel, points.
    double heightPt = 24.0;
    // Where the panel ends, screen-local points; absent when it runs to the screen's right edge.
    std::optional<double> rightPt;
    // Left edge of a column two points wide where the panel shows nothing but its own
    // background, screen-local points; absent when none is known.
    std::optional<double> backgroundX;
};

// The items that lie on the screen, left to right (equal x keep their order).
QList<MenuBarItem> onScreen(const QList<MenuBarItem>& items, const ScreenInfo& screen);

// A strip two points wide of bare panel background, taken left of the leftmost item.
std::optional<QImage> emptyColumn(const QImage& full, const ScreenInfo& screen,
                                  const QList<MenuBarItem>& items, double barHeightPt);
// The same, taken from the known background column when there is one.
std::optional<QImage> emptyColumn(const QImage& full, const ScreenInfo& screen,
                                  const QList<MenuBarItem>& items, const Bar& bar);

// The panel from 8 points left of its leftmost item to the screen's right edge, with the
// hidden items left out and the others packed against the right at the median gap.
std::optional<Piece> reflow(const QImage& full, const ScreenInfo& screen,
                            const QList<MenuBarItem>& items, const QSet<quint32>& hiddenIDs,
                            double barHeightPt);
// The same on a panel that may end before the screen's right edge (the piece then ends with
// it) and whose background may be known elsewhere than left of the items.
std::optional<Piece> reflow(const QImage& full, const ScreenInfo& screen,
                            const QList<MenuBarItem>& items, const QSet<quint32>& hiddenIDs,
                            const Bar& bar);

// The piece cut back to what the reflow changes, so what it leaves in place stays live (a
// panel clock keeps ticking): it ends in the middle of the gap after the rightmost item that
// is hidden or moves. Unchanged when the rightmost item is hidden (the others close up to the
// bar's end); none when nothing is hidden and nothing moves.
std::optional<Piece> changesOnly(const Piece& piece, const ScreenInfo& screen,
                                 const QList<MenuBarItem>& items, const QSet<quint32>& hiddenIDs);

} // namespace BarReflow
