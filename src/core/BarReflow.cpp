// Panel reflow on QImage. The capture has row 0 at the top of the monitor and is in device
// pixels; items and screens are in points.
#include "BarReflow.h"

#include <QHash>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace BarReflow {

namespace {

// Points to pixels: scaled, then truncated towards zero.
int toPixels(double scale, double points)
{
    return static_cast<int>(scale * points);
}

double scaleOf(const QImage& full, const ScreenInfo& screen)
{
    return full.width() / screen.frame.width();
}

double leftOffset(const MenuBarItem& item, const ScreenInfo& screen)
{
    return item.frame.x() - screen.frame.x();
}

double rightOffset(const MenuBarItem& item, const ScreenInfo& screen)
{
    return item.frame.x() + item.frame.width() - screen.frame.x();
}

// A crop reaching past the image is cut at its edges; nothing when nothing is left.
std::optional<QRect> clippedCrop(const QImage& image, const QRect& rect)
{
    const QRect clipped = rect & image.rect();
    if (clipped.isEmpty())
        return std::nullopt;
    return clipped;
}

// The spacing of the rebuilt panel: the median of the gaps between neighbours, the upper
// middle one for an even count. Overlapping neighbours give no gap; touching ones a gap of 0.
double medianGap(const QList<MenuBarItem>& sorted, const ScreenInfo& screen)
{
    QList<double> gaps;
    for (qsizetype i = 1; i < sorted.size(); ++i) {
        const double gap = leftOffset(sorted[i], screen) - rightOffset(sorted[i - 1], screen);
        if (gap >= 0.0)
            gaps.append(gap);
    }
    if (gaps.isEmpty())
        return 6.0;
    std::sort(gaps.begin(), gaps.end());
    return gaps[gaps.size() / 2];
}

// Where each shown item starts once packed against the right at the median gap, screen-local
// points: the rightmost shown item ends where the rightmost item of all ended, even a hidden
// one, and every item keeps its width.
QHash<quint32, double> packedLefts(const QList<MenuBarItem>& sorted, const ScreenInfo& screen,
                                   const QSet<quint32>& hiddenIDs)
{
    QHash<quint32, double> lefts;
    if (sorted.isEmpty())
        return lefts;
    double maxRight = rightOffset(sorted.first(), screen);
    for (const MenuBarItem& item : sorted)
        maxRight = std::max(maxRight, rightOffset(item, screen));
    const double spacing = medianGap(sorted, screen);
    double cursor = maxRight;
    for (auto it = sorted.crbegin(); it != sorted.crend(); ++it) {
        if (hiddenIDs.contains(it->id))
            continue;
        cursor -= it->frame.width();
        lefts.insert(it->id, cursor);
        cursor -= spacing;
    }
    return lefts;
}

} // namespace

QList<MenuBarItem> onScreen(const QList<MenuBarItem>& items, const ScreenInfo& screen)
{
    QList<MenuBarItem> result;
    for (const MenuBarItem& item : items) {
        if (item.frame.intersects(screen.frame))
            result.append(item);
    }
    std::stable_sort(result.begin(), result.end(), [](const MenuBarItem& a, const MenuBarItem& b) {
        return a.frame.x() < b.frame.x();
    });
    return result;
}

std::optional<QImage> emptyColumn(const QImage& full, const ScreenInfo& screen,
                                  const QList<MenuBarItem>& items, double barHeightPt)
{
    return emptyColumn(full, screen, items, Bar{barHeightPt, std::nullopt, std::nullopt});
}

std::optional<QImage> emptyColumn(const QImage& full, const ScreenInfo& screen,
                                  const QList<MenuBarItem>& items, const Bar& bar)
{
    const double scale = scaleOf(full, screen);
    const double barHeightPt = bar.heightPt;
    double columnX = 0.0;
    if (bar.backgroundX) {
        columnX = *bar.backgroundX;
    } else {
        const QList<MenuBarItem> sorted = onScreen(items, screen);
        const double reference =
            sorted.isEmpty() ? screen.frame.width() - 200.0 : leftOffset(sorted.first(), screen);
        // 40 points left of the leftmost item, but never within 300 points of the left edge,
        // where the panel's launcher and task buttons sit.
        columnX = std::max(reference - 40.0, 300.0);
    }

    const int x = toPixels(scale, columnX);
    const int w = std::max(toPixels(scale, 2.0), 2);
    const int h = toPixels(scale, barHeightPt);
    if (x < 0 || x + w > full.width() || h < 1)
        return std::nullopt;
    const auto crop = clippedCrop(full, QRect(x, 0, w, h));
    if (!crop)
        return std::nullopt;
    return full.copy(*crop);
}

std::optional<Piece> reflow(const QImage& full, const ScreenInfo& screen,
                            const QList<MenuBarItem>& items, const QSet<quint32>& hiddenIDs,
                            double barHeightPt)
{
    return reflow(full, screen, items, hiddenIDs, Bar{barHeightPt, std::nullopt, std::nullopt});
}

std::optional<Piece> reflow(const QImage& full, const ScreenInfo& screen,
                            const QList<MenuBarItem>& items, const QSet<quint32>& hiddenIDs,
                            const Bar& bar)
{
    const double barHeightPt = bar.heightPt;
    const QList<MenuBarItem> sorted = onScreen(items, screen);
    if (sorted.isEmpty())
        return std::nullopt;
    const double scale = scaleOf(full, screen);

    // The extent counts hidden items too, so the piece covers every item's old place.
    double minLeft = leftOffset(sorted.first(), screen);
    for (const MenuBarItem& item : sorted)
        minLeft = std::min(minLeft, leftOffset(item, screen));
    const double tileLeft = std::max(minLeft - 8.0, 0.0);
    const double tileW = bar.rightPt.value_or(screen.frame.width()) - tileLeft;

    QList<MenuBarItem> visible;
    for (const MenuBarItem& item : sorted) {
        if (!hiddenIDs.contains(item.id))
            visible.append(item);
    }
    // Piece-local places.
    QHash<quint32, double> newX = packedLefts(sorted, screen, hiddenIDs);
    for (double& x : newX)
        x -= tileLeft;

    const int W = toPixels(scale, tileW);
    const int H = toPixels(scale, barHeightPt);
    if (W < 1 || H < 1)
        return std::nullopt;
    // 8-bit premultiplied RGBA in Qt's native word order: the painter composes it twenty times
    // faster than the byte-ordered RGBA format, and the mask windows draw it without conversion.
    QImage piece(W, H, QImage::Format_ARGB32_Premultiplied);
    if (piece.isNull())
        return std::nullopt;
    piece.fill(Qt::transparent);

    {
        QPainter painter(&piece);
        // Pixels are copied, never resampled.
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        painter.setRenderHint(QPainter::Antialiasing, false);

        // Bare background, where the panel shows it or else from 40 points left of the
        // leftmost item, stretched over the piece.
        const int bx = toPixels(scale, bar.backgroundX.value_or(std::max(minLeft - 40.0, 0.0)));
        if (bx + 2 <= full.width()) {
            const int cw = std::max(toPixels(scale, 2.0), 2);
            if (const auto column = clippedCrop(full, QRect(bx, 0, cw, H)))
                painter.drawImage(QRectF(0, 0, W, H), full, QRectF(*column));
        }

        for (const MenuBarItem& item : std::as_const(visible)) {
            const auto x = newX.constFind(item.id);
            if (x == newX.constEnd())
                continue;
            const int sx = toPixels(scale, leftOffset(item, screen));
            if (sx < 0 || sx >= full.width())
                continue;
            const int w = std::min(toPixels(scale, item.frame.width()), full.width() - sx);
            if (w <= 0)
                continue;
            // The destination x stays fractional; the crop always spans the piece's height.
            if (const auto source = clippedCrop(full, QRect(sx, 0, w, H)))
                painter.drawImage(QRectF(scale * *x, 0, w, H), full, QRectF(*source));
        }
    }

    const QRectF rect(screen.frame.x() + tileLeft,
                      screen.frame.y() + screen.frame.height() - barHeightPt, tileW, barHeightPt);
    return Piece{rect, piece};
}

std::optional<Piece> changesOnly(const Piece& piece, const ScreenInfo& screen,
                                 const QList<MenuBarItem>& items, const QSet<quint32>& hiddenIDs)
{
    const QList<MenuBarItem> sorted = onScreen(items, screen);
    if (sorted.isEmpty() || piece.rect.width() <= 0.0)
        return piece;
    const auto rightmost = std::max_element(
        sorted.cbegin(), sorted.cend(), [&screen](const MenuBarItem& a, const MenuBarItem& b) {
            return rightOffset(a, screen) < rightOffset(b, screen);
        });
    // The rightmost item hidden: the others close up to the bar's end, the piece runs there.
    if (hiddenIDs.contains(rightmost->id))
        return piece;

    // A hundredth of a point is no move: the packing only adds and subtracts widths.
    constexpr double still = 0.01;
    const QHash<quint32, double> newLefts = packedLefts(sorted, screen, hiddenIDs);
    std::optional<double> changedRight;
    for (const MenuBarItem& item : sorted) {
        const double oldLeft = leftOffset(item, screen);
        const auto newLeft = newLefts.constFind(item.id);
        double right = rightOffset(item, screen);
        if (newLeft != newLefts.constEnd()) {
            if (std::abs(*newLeft - oldLeft) < still)
                continue;
            right = std::max(right, *newLeft + item.frame.width());
        }
        changedRight = std::max(changedRight.value_or(right), right);
    }
    if (!changedRight)
        return std::nullopt;

    // The piece ends in the middle of the gap before the next item that stays, so an edge of
    // that item drawn a little outside its frame stays live too.
    const double pieceLeft = piece.rect.x() - screen.frame.x();
    double end = pieceLeft + piece.rect.width();
    for (const MenuBarItem& item : sorted) {
        const double left = leftOffset(item, screen);
        if (left >= *changedRight)
            end = std::min(end, *changedRight + (left - *changedRight) / 2.0);
    }
    const double width = end - pieceLeft;
    if (width >= piece.rect.width())
        return piece;
    const double scale = piece.image.width() / piece.rect.width();
    const int pixels = toPixels(scale, width);
    if (pixels < 1)
        return std::nullopt;
    return Piece{QRectF(piece.rect.x(), piece.rect.y(), width, piece.rect.height()),
                 piece.image.copy(0, 0, pixels, piece.image.height())};
}

} // namespace BarReflow
