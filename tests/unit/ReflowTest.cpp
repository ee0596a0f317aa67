// The panel reflow on synthetic captures: spacing, packing, background, pixel conversions and
// the orientation of the rebuilt piece.
#include "core/BarReflow.h"

#include <QPainter>
#include <gtest/gtest.h>

namespace {

const QColor panelColor(40, 40, 48);
const QColor desktopColor(0, 90, 160);

// A 200 × 100 point screen with the primary's origin; the panel is 24 points high.
ScreenInfo testScreen(QRectF frame = {0, 0, 200, 100})
{
    ScreenInfo screen;
    screen.displayId = 7;
    screen.frame = frame;
    screen.visibleFrame = frame.adjusted(0, 0, 0, -24);
    return screen;
}

QColor itemColor(quint32 id)
{
    return QColor::fromHsv(int(id * 47 % 360), 255, 255);
}

// An item `width` points wide whose left edge is `left` points from the screen's left edge.
MenuBarItem item(quint32 id, double left, double width, const ScreenInfo& screen = testScreen())
{
    const QRectF f = screen.frame;
    return {id, QStringLiteral("app"), QRectF(f.x() + left, f.y() + f.height() - 24, width, 24),
            QStringLiteral("Item %1").arg(id)};
}

// The capture of the screen at `scale`: the panel in its top 24 points with every item painted
// in its own colour, the desktop below.
QImage capture(const QList<MenuBarItem>& items, double scale,
               const ScreenInfo& screen = testScreen())
{
    QImage image(int(screen.frame.width() * scale), int(screen.frame.height() * scale),
                 QImage::Format_RGB32);
    image.fill(desktopColor);
    QPainter p(&image);
    p.fillRect(QRectF(0, 0, image.width(), 24 * scale), panelColor);
    for (const MenuBarItem& i : items) {
        const double x = (i.frame.x() - screen.frame.x()) * scale;
        p.fillRect(QRectF(x, 0, i.frame.width() * scale, 24 * scale), itemColor(i.id));
    }
    return image;
}

// The columns of row `y` that hold the colour, as [first, last]; (-1, -1) when absent.
std::pair<int, int> columnsOf(const QImage& image, QColor color, int y = 0)
{
    int first = -1;
    int last = -1;
    for (int x = 0; x < image.width(); ++x) {
        if (image.pixelColor(x, y).rgb() == color.rgb()) {
            if (first < 0)
                first = x;
            last = x;
        }
    }
    return {first, last};
}

} // namespace

TEST(BarReflow, onScreenKeepsIntersectingItemsInStableXOrder)
{
    const ScreenInfo right = testScreen({200, 0, 200, 100});
    const QList<MenuBarItem> items{item(1, 50, 10), item(2, 10, 10), item(3, 10, 10),
                                   item(4, 10, 10, right), item(5, 195, 10)};
    QList<quint32> ids;
    for (const MenuBarItem& i : BarReflow::onScreen(items, testScreen()))
        ids.append(i.id);
    // Item 5 reaches onto the right screen but still lies on this one.
    EXPECT_EQ(ids, QList<quint32>({2, 3, 1, 5}));
}

TEST(BarReflow, spacingIsTheUpperMedianOfTheKeptGaps)
{
    struct Case {
        QList<double> gaps;
        double spacing;
    };
    // 4, 6, 6, 8 → index 2; 4, 8 → the upper middle; zero gaps count; overlaps do not.
    const QList<Case> cases{
        {{4, 6, 6, 8}, 6}, {{4, 8}, 8}, {{0, 0, 10}, 0}, {{4, -3, 8}, 8}, {{-2}, 6}};
    for (const Case& c : cases) {
        QList<MenuBarItem> items;
        double left = 60;
        for (qsizetype i = 0; i <= c.gaps.size(); ++i) {
            items.append(item(quint32(i + 1), left, 10));
            if (i < c.gaps.size())
                left += 10 + c.gaps[i];
        }
        const auto piece = BarReflow::reflow(capture(items, 1), testScreen(), items, {}, 24);
        ASSERT_TRUE(piece);
        // Nothing hidden: the items are re-spaced from the right edge of the last one. Each
        // new place starts with the item's own first column and has background left of it.
        const double tileLeft = 52;
        double expectedLeft = left - tileLeft;
        for (qsizetype i = items.size() - 1; i >= 0; --i) {
            // Wider spacing than the panel had can push the first items off the piece.
            if (expectedLeft < 0)
                break;
            const QRgb color = itemColor(items[i].id).rgb();
            EXPECT_EQ(piece->image.pixel(int(expectedLeft), 5), color) << i << " " << c.spacing;
            if (c.spacing > 0 && expectedLeft >= 1) {
                EXPECT_EQ(piece->image.pixel(int(expectedLeft) - 1, 5), panelColor.rgb());
            }
            expectedLeft -= 10 + c.spacing;
        }
    }
}

TEST(BarReflow, hiddenItemsLeaveBackgroundAndTheRestPackRight)
{
    const QList<MenuBarItem> items{item(1, 100, 10), item(2, 116, 12), item(3, 134, 10),
                                   item(4, 150, 20)};
    const QImage full = capture(items, 1);
    const ScreenInfo screen = testScreen();

    // The rightmost item hidden: item 3 ends where item 4 ended; spacing 6 (gaps 6, 6, 6).
    auto piece = BarReflow::reflow(full, screen, items, {4}, 24);
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->rect, QRectF(92, 76, 108, 24));
    EXPECT_EQ(piece->image.size(), QSize(108, 24));
    EXPECT_EQ(columnsOf(piece->image, itemColor(4)).first, -1);
    EXPECT_EQ(columnsOf(piece->image, itemColor(3)), std::make_pair(68, 77));
    EXPECT_EQ(columnsOf(piece->image, itemColor(2)), std::make_pair(50, 61));
    EXPECT_EQ(columnsOf(piece->image, itemColor(1)), std::make_pair(34, 43));
    EXPECT_EQ(piece->image.pixelColor(20, 10).rgb(), panelColor.rgb());
    EXPECT_EQ(piece->image.pixelColor(107, 23).rgb(), panelColor.rgb());

    // Everything hidden: plain background from 8 points left of the first item to the edge.
    piece = BarReflow::reflow(full, screen, items, {1, 2, 3, 4}, 24);
    ASSERT_TRUE(piece);
    for (int x = 0; x < piece->image.width(); ++x)
        ASSERT_EQ(piece->image.pixelColor(x, 12).rgb(), panelColor.rgb()) << x;
}

TEST(BarReflow, backgroundComesFromTheLeftEdgeWhenItemsStartThere)
{
    // The screen's first 2 points are a different colour: they become the whole background.
    const QList<MenuBarItem> items{item(1, 5, 10), item(2, 21, 10)};
    QImage full = capture(items, 1);
    QPainter(&full).fillRect(0, 0, 2, 24, Qt::magenta);
    const auto piece = BarReflow::reflow(full, testScreen(), items, {1}, 24);
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->rect.x(), 0);
    EXPECT_EQ(piece->image.width(), 200);
    EXPECT_EQ(piece->image.pixelColor(5, 5).rgb(), QColor(Qt::magenta).rgb());
    EXPECT_EQ(columnsOf(piece->image, itemColor(2)), std::make_pair(21, 30));
}

TEST(BarReflow, orientationAndBarHeight)
{
    // Row 0 of the capture is the top of the monitor, and stays row 0 of the piece.
    const ScreenInfo screen = testScreen({0, 300, 200, 100});
    const QList<MenuBarItem> items{item(1, 100, 10, screen)};
    QImage full = capture(items, 1, screen);
    QPainter(&full).fillRect(0, 0, 200, 1, Qt::white);
    const auto piece = BarReflow::reflow(full, screen, items, {}, 20);
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->image.height(), 20);
    EXPECT_EQ(piece->image.pixelColor(0, 0).rgb(), QColor(Qt::white).rgb());
    EXPECT_EQ(piece->image.pixelColor(0, 19).rgb(), panelColor.rgb());
    // The piece's rectangle sits at the top of the screen in bottom-left coordinates.
    EXPECT_EQ(piece->rect, QRectF(92, 380, 108, 20));
}

TEST(BarReflow, itemsAreCutAtTheImageEdge)
{
    // Item 2 reaches 5 points past the screen; only the part on the image is drawn.
    const QList<MenuBarItem> items{item(1, 160, 10), item(2, 185, 20)};
    const auto piece = BarReflow::reflow(capture(items, 1), testScreen(), items, {1}, 24);
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->rect, QRectF(152, 76, 48, 24));
    // maxRight is 205, so item 2's new place is 33..53 of the piece; 15 pixels are copied.
    EXPECT_EQ(columnsOf(piece->image, itemColor(2)), std::make_pair(33, 47));
}

TEST(BarReflow, scaleTwoTruncatesEveryConversionButTheDestination)
{
    // A 200-point screen captured 400 pixels wide.
    const ScreenInfo screen = testScreen();
    const QList<MenuBarItem> items{item(1, 5.3, 10.3)};
    QImage full = capture({}, 2);
    QPainter(&full).fillRect(10, 0, 21, 48, itemColor(1));
    const auto piece = BarReflow::reflow(full, screen, items, {}, 24.3);
    ASSERT_TRUE(piece);
    // W = trunc(2 × 200), H = trunc(2 × 24.3).
    EXPECT_EQ(piece->image.size(), QSize(400, 48));
    EXPECT_DOUBLE_EQ(piece->rect.height(), 24.3);
    // The source starts at trunc(10.6) = 10 and is trunc(20.6) = 20 pixels wide; the
    // destination x of 10.6 is kept and lands on pixel 11.
    const auto [first, last] = columnsOf(piece->image, itemColor(1));
    EXPECT_EQ(first, 11);
    EXPECT_EQ(last, 30);
}

TEST(BarReflow, emptyColumnPlacementAndWidth)
{
    const ScreenInfo wide = testScreen({0, 0, 800, 100});

    // 40 points left of the leftmost item: 2 points are 4 pixels at scale 2.
    const QList<MenuBarItem> far{item(1, 600, 10, wide)};
    QImage full = capture(far, 2, wide);
    QPainter(&full).fillRect(1120, 0, 4, 48, Qt::yellow);
    auto column = BarReflow::emptyColumn(full, wide, far, 24);
    ASSERT_TRUE(column);
    EXPECT_EQ(column->size(), QSize(4, 48));
    EXPECT_EQ(column->pixelColor(0, 0).rgb(), QColor(Qt::yellow).rgb());
    EXPECT_EQ(column->pixelColor(3, 47).rgb(), QColor(Qt::yellow).rgb());

    // Never within 300 points of the left edge; at scale 1 and below still 2 pixels wide.
    const QList<MenuBarItem> near{item(1, 320, 10, wide)};
    for (const double scale : {0.5, 1.0}) {
        full = capture(near, scale, wide);
        QPainter(&full).fillRect(QRectF(300 * scale, 0, 2, 1), Qt::green);
        column = BarReflow::emptyColumn(full, wide, near, 24);
        ASSERT_TRUE(column);
        EXPECT_EQ(column->size(), QSize(2, int(24 * scale))) << scale;
        EXPECT_EQ(column->pixelColor(1, 0).rgb(), QColor(Qt::green).rgb()) << scale;
    }

    // No items: sampled at width − 240, here 560 points.
    full = capture({}, 1, wide);
    QPainter(&full).fillRect(560, 0, 2, 24, Qt::cyan);
    column = BarReflow::emptyColumn(full, wide, {}, 24);
    ASSERT_TRUE(column);
    EXPECT_EQ(column->pixelColor(0, 0).rgb(), QColor(Qt::cyan).rgb());

    // A strip that would reach past the image, or a bar under one pixel, gives nothing.
    EXPECT_FALSE(BarReflow::emptyColumn(capture({}, 1), testScreen(), {}, 24));
    EXPECT_FALSE(BarReflow::emptyColumn(full, wide, {}, 0.5));
}

TEST(BarReflow, nothingWithoutItemsOrPixels)
{
    const QList<MenuBarItem> items{item(1, 100, 10)};
    const QImage full = capture(items, 1);
    EXPECT_FALSE(BarReflow::reflow(full, testScreen(), {}, {}, 24));
    EXPECT_FALSE(BarReflow::reflow(full, testScreen({500, 0, 200, 100}), items, {}, 24));
    EXPECT_FALSE(BarReflow::reflow(full, testScreen(), items, {}, 0.9));
}

TEST(BarReflow, aShortPanelAndAKnownBackgroundColumn)
{
    // The panel ends 40 points before the screen's right edge; a stretch at x = 20 shows its
    // background while the 40 points left of the items hold something else (a pager).
    const QList<MenuBarItem> items{item(1, 100, 10), item(2, 120, 10)};
    QImage full = capture(items, 2);
    QPainter(&full).fillRect(2 * 55, 0, 2 * 40, 48, Qt::magenta);
    BarReflow::Bar bar;
    bar.heightPt = 24;
    bar.rightPt = 160;
    bar.backgroundX = 20;

    const auto piece = BarReflow::reflow(full, testScreen(), items, {1}, bar);
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->rect, QRectF(92, 76, 68, 24));
    EXPECT_EQ(piece->image.size(), QSize(136, 48));
    EXPECT_EQ(columnsOf(piece->image, Qt::magenta), std::make_pair(-1, -1));
    EXPECT_EQ(piece->image.pixelColor(0, 5).rgb(), panelColor.rgb());
    // The visible item still ends where the rightmost item ended.
    EXPECT_EQ(columnsOf(piece->image, itemColor(2)), std::make_pair(2 * 28, 2 * 38 - 1));

    const auto column = BarReflow::emptyColumn(full, testScreen(), items, bar);
    ASSERT_TRUE(column);
    EXPECT_EQ(column->size(), QSize(4, 48));
    EXPECT_EQ(column->pixelColor(0, 0).rgb(), panelColor.rgb());
    // Without the known column both take the pager's colour.
    bar.backgroundX.reset();
    EXPECT_EQ(BarReflow::reflow(full, testScreen(), items, {1}, bar)->image.pixelColor(0, 5).rgb(),
              QColor(Qt::magenta).rgb());
}

TEST(BarReflow, onlyWhatChangesIsCoveredSoTheRestStaysLive)
{
    // Gaps 6, 6, 6; item 4 stands for the panel clock.
    const QList<MenuBarItem> items{item(1, 100, 10), item(2, 116, 12), item(3, 134, 10),
                                   item(4, 150, 20)};
    const ScreenInfo screen = testScreen();
    const QImage full = capture(items, 2);
    const auto cut = [&](const QList<MenuBarItem>& list, const QImage& image,
                         const QSet<quint32>& hidden) -> std::optional<BarReflow::Piece> {
        const auto piece = BarReflow::reflow(image, screen, list, hidden, 24);
        if (!piece)
            return std::nullopt;
        return BarReflow::changesOnly(*piece, screen, list, hidden);
    };

    // Item 2 hidden: item 1 moves 18 points right, onto 118..128. The piece ends halfway
    // between 128 and item 3, which stays where it is, as does item 4.
    auto piece = cut(items, full, {2});
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->rect, QRectF(92, 76, 39, 24));
    EXPECT_EQ(piece->image.size(), QSize(78, 48));
    EXPECT_EQ(columnsOf(piece->image, itemColor(1)), std::make_pair(2 * 26, 2 * 36 - 1));
    EXPECT_EQ(columnsOf(piece->image, itemColor(3)).first, -1);

    // The rightmost item hidden: everything closes up to the bar's end, which the piece keeps.
    piece = cut(items, full, {4});
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->rect, QRectF(92, 76, 108, 24));

    // Nothing hidden and nothing moves: nothing to cover.
    EXPECT_FALSE(cut(items, full, {}));

    // Nothing hidden, but item 1 stands 10 points off: it moves to the median gap, and only it
    // is covered (up to halfway to item 2).
    QList<MenuBarItem> uneven = items;
    uneven[0] = item(1, 96, 10);
    piece = cut(uneven, capture(uneven, 2), {});
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->rect, QRectF(88, 76, 25, 24));
}
