// The preview components: their geometry rules, what they draw, and how they take clicks, drops
// and the pointer.
#include "TestDirs.h"
#include "ui/components/Look.h"
#include "ui/components/MiniScreen.h"
#include "ui/components/PickThumb.h"
#include "ui/components/ResolutionTile.h"
#include "ui/components/ScreenThumb.h"
#include "ui/components/WallpaperWell.h"

#include <QApplication>
#include <QDir>
#include <QDropEvent>
#include <QEnterEvent>
#include <QFileDialog>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <gtest/gtest.h>

namespace {

DisplayMode mode(qint64 width, qint64 height, qint64 scale = 1)
{
    return {qint32(width), width, height, width * scale, height * scale, 60.0};
}

void expectRect(const QRectF& actual, double x, double y, double w, double h)
{
    EXPECT_NEAR(actual.x(), x, 1e-9);
    EXPECT_NEAR(actual.y(), y, 1e-9);
    EXPECT_NEAR(actual.width(), w, 1e-9);
    EXPECT_NEAR(actual.height(), h, 1e-9);
}

// Pixels of an image that clearly differ from `background`.
int countDiffering(const QImage& image, const QRect& area, const QColor& background)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (std::abs(c.red() - background.red()) + std::abs(c.green() - background.green()) +
                    std::abs(c.blue() - background.blue()) >
                60)
                ++count;
        }
    }
    return count;
}

} // namespace

TEST(ResolutionTile, windowLayoutCapsAndMinimums)
{
    // On 1920 × 1080 both windows reach their caps.
    const auto windows = ResolutionTile::windowRects(mode(1920, 1080));
    expectRect(windows[0], 256, 156, 640, 440);
    expectRect(windows[1], 556, 264.8, 1000, 680);

    // On a small mode the proportional sizes apply and the large window stays on screen.
    const auto small = ResolutionTile::windowRects(mode(800, 600));
    EXPECT_EQ(small[1].width(), 480);
    EXPECT_LE(small[1].right(), 800.0);
    EXPECT_LE(small[1].bottom(), 600.0);

    EXPECT_EQ(ResolutionTile::canvasSize(mode(800, 600), 0.05), QSizeF(64, 42));
    EXPECT_EQ(ResolutionTile::canvasSize(mode(1920, 1080), 0.0875), QSizeF(168, 94.5));
    EXPECT_EQ(ResolutionTile::tileWidth(64), 70.0);
    EXPECT_EQ(ResolutionTile::tileWidth(168), 168.0);
}

TEST(ResolutionTile, labelsAndCurrentFrame)
{
    ResolutionTile tile(mode(1440, 900, 2), true, 0.1);
    EXPECT_EQ(ResolutionTile::pixelLabel(tile.mode()), QString::fromUtf8("2880 \u00d7 1800 px"));
    EXPECT_EQ(tile.accessibleName(), QString::fromUtf8("1440 \u00d7 900"));
    tile.resize(tile.sizeHint());

    // The current tile is outlined in the accent colour, another one is not.
    QPalette palette = tile.palette();
    palette.setColor(QPalette::Highlight, QColor(255, 0, 0));
    tile.setPalette(palette);
    const QRectF canvas = tile.canvasRect();
    const QPoint edge(int(canvas.center().x()), int(canvas.bottom()) - 1);
    QImage image = tile.grab().toImage();
    EXPECT_EQ(image.pixelColor(edge), QColor(255, 0, 0));
    tile.setCurrent(false);
    image = tile.grab().toImage();
    EXPECT_NE(image.pixelColor(edge), QColor(255, 0, 0));
}

TEST(ScreenThumb, regionsInsetFilledOrOutlined)
{
    expectRect(ScreenThumb::regionRect(QRectF(0, 0, 1, 1), 46, 30, 3), 1.5, 4.5, 43, 24);
    // The left half of the area below the strip.
    expectRect(ScreenThumb::regionRect(QRectF(0, 0, 0.5, 1), 46, 30, 3), 1.5, 4.5, 20, 24);
    // A sliver never draws smaller than 2 × 2.
    expectRect(ScreenThumb::regionRect(QRectF(0.5, 0.5, 0.01, 0.01), 46, 30, 3), 24.5, 18, 2, 2);

    // A solid region is filled, a dashed one outlined.
    const QColor accent(255, 0, 0);
    auto render = [&](bool dashed) {
        ScreenThumb thumb(QRectF(0.28, 0.28, 0.44, 0.44), QStringLiteral("Custom"), dashed,
                          std::nullopt, 46, 30, 3);
        QPalette palette = thumb.palette();
        palette.setColor(QPalette::Highlight, accent);
        palette.setColor(QPalette::Window, Qt::white);
        thumb.setPalette(palette);
        thumb.resize(thumb.sizeHint());
        return std::make_pair(thumb.grab().toImage(),
                              ScreenThumb::regionRect(thumb.region(), 46, 30, 3)
                                  .translated(thumb.screenRect().topLeft()));
    };
    const auto [solid, area] = render(false);
    const auto [dashed, sameArea] = render(true);
    const QRect inside = area.adjusted(2, 2, -2, -2).toAlignedRect();
    EXPECT_EQ(countDiffering(solid, inside, accent), 0) << "a solid region is filled";
    EXPECT_EQ(countDiffering(dashed, inside, Qt::white), 0) << "a dashed region is hollow";

    // The caption is never cut off.
    ScreenThumb wide(QRectF(0, 0, 1, 1), QStringLiteral("A much longer caption"), false,
                     std::nullopt, 46, 30, 3);
    EXPECT_GE(wide.sizeHint().width(),
              QFontMetrics(Look::systemFont(9)).horizontalAdvance(*wide.caption()));
}

TEST(MiniScreen, barsIconsAndBackgrounds)
{
    EXPECT_EQ(MiniScreen::statusCircles(MiniScreen::Bar::items, 58).size(), 5);
    EXPECT_TRUE(MiniScreen::statusCircles(MiniScreen::Bar::empty, 58).isEmpty());
    const QList<QRectF> gap = MiniScreen::statusCircles(MiniScreen::Bar::gap, 58);
    ASSERT_EQ(gap.size(), 3);
    EXPECT_EQ(gap[0].x(), 58 - 6.5);
    EXPECT_EQ(gap[1].x(), 58 - 21.5);
    EXPECT_EQ(gap[2].x(), 58 - 26.5);

    // A wide picture in a 58 × 38 frame loses its sides, not its top and bottom.
    const QRectF source = MiniScreen::fillSource(QSizeF(400, 100), QSizeF(58, 38));
    EXPECT_NEAR(source.height(), 100, 1e-9);
    EXPECT_NEAR(source.center().x(), 200, 1e-9);

    MiniScreen screen(MiniScreen::Background::solid({1, 0, 0, 1}), MiniScreen::Bar::items, true);
    screen.resize(58, 38);
    const QImage image = screen.grab().toImage();
    EXPECT_EQ(image.pixelColor(5, 30), QColor(255, 0, 0));
    // The white bar across the top, a grey status circle in it, an icon at the right edge.
    EXPECT_GT(image.pixelColor(2, 2).green(), 200);
    EXPECT_LT(image.pixelColor(53, 2).green(), 200);
    EXPECT_GT(image.pixelColor(51, 12).green(), 200);

    // A missing picture shows the placeholder instead.
    MiniScreen missing(MiniScreen::Background::image(QStringLiteral("/nonexistent/picture.png")),
                       MiniScreen::Bar::none, false);
    missing.resize(58, 38);
    const QImage placeholder = missing.grab().toImage();
    EXPECT_NE(placeholder.pixelColor(2, 2), placeholder.pixelColor(29, 19));
}

TEST(PickThumb, frameFollowsSelectionAndClicksCallBack)
{
    auto* preview =
        new MiniScreen(MiniScreen::Background::solid({1, 1, 1, 1}), MiniScreen::Bar::none, false);
    PickThumb thumb(QStringLiteral("Color"), false, preview);
    QPalette palette = thumb.palette();
    palette.setColor(QPalette::Highlight, QColor(0, 0, 255));
    thumb.setPalette(palette);
    thumb.resize(thumb.sizeHint());

    const QPoint leftEdge =
        PickThumb::previewRect(thumb.width()).topLeft().toPoint() + QPoint(0, 19);
    EXPECT_NE(thumb.grab().toImage().pixelColor(leftEdge), QColor(0, 0, 255));
    thumb.setSelected(true);
    const QImage selected = thumb.grab().toImage();
    EXPECT_EQ(selected.pixelColor(leftEdge), QColor(0, 0, 255));
    EXPECT_EQ(selected.pixelColor(leftEdge + QPoint(1, 0)), QColor(0, 0, 255)) << "2 wide";
    EXPECT_EQ(selected.pixelColor(leftEdge + QPoint(3, 0)), QColor(255, 255, 255));
}

TEST(WallpaperWell, dropsTakeTheFirstFileOnly)
{
    WallpaperWell well(QStringLiteral("Light"), std::nullopt);
    well.show();
    QSignalSpy picks(&well, &WallpaperWell::picked);
    const QPointF centre = WallpaperWell::wellRect(well.width()).center();

    QMimeData two;
    two.setUrls({QUrl::fromLocalFile(QStringLiteral("/pictures/first.png")),
                 QUrl::fromLocalFile(QStringLiteral("/pictures/second.png"))});
    QDragEnterEvent enter(centre.toPoint(), Qt::CopyAction, &two, Qt::LeftButton, {});
    QApplication::sendEvent(&well, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(centre, Qt::CopyAction, &two, Qt::LeftButton, {});
    QApplication::sendEvent(&well, &drop);
    ASSERT_EQ(picks.count(), 1);
    EXPECT_EQ(picks.at(0).at(0).toString(), QStringLiteral("/pictures/first.png"));

    // An empty drop, or one of web addresses, is refused and changes nothing.
    QMimeData empty;
    QMimeData web;
    web.setUrls({QUrl(QStringLiteral("https://example.org/a.png"))});
    for (QMimeData* data : {&empty, &web}) {
        QDragEnterEvent refused(centre.toPoint(), Qt::CopyAction, data, Qt::LeftButton, {});
        QApplication::sendEvent(&well, &refused);
        EXPECT_FALSE(refused.isAccepted());
        QDropEvent ignored(centre, Qt::CopyAction, data, Qt::LeftButton, {});
        QApplication::sendEvent(&well, &ignored);
    }
    EXPECT_EQ(picks.count(), 1);
}

TEST(WallpaperWell, clearButtonOnlyWithAPictureUnderThePointer)
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("red.png"));
    QImage red(120, 40, QImage::Format_RGB32);
    red.fill(Qt::red);
    ASSERT_TRUE(red.save(file));

    WallpaperWell well(QStringLiteral("Dark"), std::nullopt);
    well.show();
    const QRectF wellArea = WallpaperWell::wellRect(well.width());
    auto hover = [&](QPointF at) {
        QEnterEvent enter(at, well.mapToGlobal(at), well.mapToGlobal(at));
        QApplication::sendEvent(&well, &enter);
    };
    auto leave = [&] {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(&well, &event);
    };
    hover(wellArea.center());
    EXPECT_TRUE(well.isHovering());
    EXPECT_FALSE(well.clearButton()->isVisible()) << "no picture, no clear button";
    leave();

    well.setPath(file);
    EXPECT_FALSE(well.clearButton()->isVisible());
    hover(wellArea.center());
    EXPECT_TRUE(well.clearButton()->isVisible());
    EXPECT_TRUE(wellArea.contains(well.clearButton()->geometry().center()));
    // The picture fills the well.
    EXPECT_EQ(well.grab().toImage().pixelColor(wellArea.center().toPoint() + QPoint(-10, 5)),
              QColor(Qt::red));

    QSignalSpy clears(&well, &WallpaperWell::cleared);
    QSignalSpy picks(&well, &WallpaperWell::picked);
    QTest::mouseClick(well.clearButton(), Qt::LeftButton);
    EXPECT_EQ(clears.count(), 1);
    EXPECT_EQ(picks.count(), 0) << "clearing does not open the chooser";
    leave();
    EXPECT_FALSE(well.clearButton()->isVisible());
    QTest::keyClick(&well, Qt::Key_Delete);
    EXPECT_EQ(clears.count(), 2) << "the keyboard clears a well holding a picture";

    // An unreadable file keeps the button (there is a picture setting) but shows the placeholder.
    well.setPath(dir.filePath(QStringLiteral("gone.png")));
    hover(wellArea.center());
    EXPECT_TRUE(well.clearButton()->isVisible());
    EXPECT_NE(well.grab().toImage().pixelColor(wellArea.center().toPoint() + QPoint(-10, 5)),
              QColor(Qt::red));
}

TEST(WallpaperWell, chooserOffersPicturesAndReportsTheChosenFile)
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("chosen.png"));
    QImage(8, 8, QImage::Format_RGB32).save(file);
    WallpaperWell well(QStringLiteral("Light"), std::nullopt);
    well.show();
    QSignalSpy picks(&well, &WallpaperWell::picked);
    // A click on the well opens a chooser of one existing file.
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(dialog->fileMode(), QFileDialog::ExistingFile);
        dialog->selectFile(file);
        QMetaObject::invokeMethod(dialog, "accept");
    });
    QTest::mouseClick(&well, Qt::LeftButton, {},
                      WallpaperWell::wellRect(well.width()).center().toPoint());
    ASSERT_EQ(picks.count(), 1);
    EXPECT_EQ(picks.at(0).at(0).toString(), file);
}

TEST(MiniScreen, thumbnailsComeFromAShippedCopyOrTheSharedCacheBeforeTheFullPicture)
{
    TestDirs dirs;
    // A picture with a small copy beside it: the copy is shown, the picture is never decoded.
    const QString folder = dirs.root() + QStringLiteral("/pictures");
    QDir().mkpath(folder + QStringLiteral("/thumbnails"));
    QImage big(800, 500, QImage::Format_RGB32);
    big.fill(Qt::red);
    ASSERT_TRUE(big.save(folder + QStringLiteral("/Shipped.png")));
    QImage small(64, 40, QImage::Format_RGB32);
    small.fill(Qt::blue);
    ASSERT_TRUE(small.save(folder + QStringLiteral("/thumbnails/Shipped.png")));
    const QImage shipped = MiniScreen::readThumbnail(folder + QStringLiteral("/Shipped.png"));
    EXPECT_EQ(shipped.size(), QSize(64, 40));
    EXPECT_EQ(shipped.pixelColor(5, 5), QColor(Qt::blue));
}
