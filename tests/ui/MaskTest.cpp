// The mask windows and their pictures: unsmoothed pixels, fills, placement and
// teardown.
#include "ui/MaskWindow.h"
#include "ui/MaskWindowPresenter.h"
#include "ui/SliceView.h"

#include <QApplication>
#include <QPainter>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

// Every pixel a different colour, so a shift or a blend shows.
QImage patterned(int width, int height)
{
    QImage image(width, height, QImage::Format_RGBA8888_Premultiplied);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixelColor(x, y, QColor(x * 20 % 256, y * 40 % 256, (x * 7 + y * 13) % 256));
    }
    return image;
}

QImage rendered(QWidget& widget, qreal dpr)
{
    QImage out(widget.size() * dpr, QImage::Format_ARGB32_Premultiplied);
    out.setDevicePixelRatio(dpr);
    out.fill(Qt::transparent);
    widget.render(&out);
    return out;
}

void expectSamePixels(const QImage& actual, const QImage& expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x)
            ASSERT_EQ(actual.pixelColor(x, y), expected.pixelColor(x, y)) << x << "," << y;
    }
}

} // namespace

TEST(SliceView, drawsPixelForPixelAndStretchesWithoutBlending)
{
    const QImage picture = patterned(12, 6);
    SliceView view(picture);
    view.resize(12, 6);
    expectSamePixels(rendered(view, 1), picture);

    // At two device pixels per point a picture of twice the view's size is copied one to one.
    view.resize(6, 3);
    expectSamePixels(rendered(view, 2), picture);

    // A stretched strip shows only its own colours: no blend of red and blue at the middle.
    QImage strip(2, 4, QImage::Format_RGB32);
    strip.setPixelColor(0, 0, Qt::red);
    strip.setPixelColor(1, 0, Qt::blue);
    QPainter(&strip).fillRect(0, 1, 2, 3, Qt::darkGreen);
    SliceView stretched(strip);
    stretched.resize(100, 8);
    const QImage out = rendered(stretched, 1);
    for (int x = 0; x < 100; ++x) {
        const QColor top = out.pixelColor(x, 0);
        ASSERT_TRUE(top == QColor(Qt::red) || top == QColor(Qt::blue)) << x;
        ASSERT_EQ(out.pixelColor(x, 7), QColor(Qt::darkGreen)) << x;
    }
    EXPECT_EQ(out.pixelColor(0, 1), QColor(Qt::red));
    EXPECT_EQ(out.pixelColor(99, 1), QColor(Qt::blue));
}

TEST(MaskWindow, showsAPictureOrAFill)
{
    // Opaque black without a picture.
    MaskWindow black(QRect(0, 0, 40, 10), std::nullopt, QColor(0, 0, 0));
    EXPECT_FALSE(black.testAttribute(Qt::WA_TranslucentBackground));
    EXPECT_EQ(black.grab().toImage().pixelColor(20, 5), QColor(Qt::black));

    // A translucent fill makes a window that is not opaque.
    MaskWindow tinted(QRect(0, 0, 40, 10), std::nullopt, QColor(255, 0, 0, 128));
    EXPECT_TRUE(tinted.testAttribute(Qt::WA_TranslucentBackground));
    MaskWindow nearlyOpaque(QRect(0, 0, 40, 10), std::nullopt, QColor::fromRgbF(0, 0, 0, 0.999f));
    EXPECT_TRUE(nearlyOpaque.testAttribute(Qt::WA_TranslucentBackground));

    // A picture fills the whole window.
    const QImage picture = patterned(40, 10);
    MaskWindow pictured(QRect(0, 0, 40, 10), picture, Qt::black);
    pictured.show();
    expectSamePixels(rendered(pictured, 1), picture);
}

TEST(MaskWindowPresenter, onePlacedWindowPerTileAndTeardown)
{
    // The primary monitor at root (1920, 0), 1440 × 900; another one left of it, 1920 × 1080.
    const QRect primary(1920, 0, 1440, 900);
    EXPECT_EQ(MaskWindowPresenter::toScreenGeometry(QRectF(0, 876, 1440, 24), primary),
              QRect(1920, 0, 1440, 24));
    EXPECT_EQ(MaskWindowPresenter::toScreenGeometry(QRectF(-1820, 876, 1820, 24), primary),
              QRect(100, 0, 1820, 24));
    EXPECT_EQ(MaskWindowPresenter::toScreenGeometry(QRectF(-1920, -180 + 1056, 1920, 24), primary),
              QRect(0, 0, 1920, 24));

    MaskWindowPresenter presenter;
    presenter.showMasks(
        {{QRectF(0, 600, 200, 24), patterned(200, 24)}, {QRectF(200, 600, 100, 24), std::nullopt}},
        {0, 0, 0, 1});
    const QList<MaskWindow*> windows = presenter.menuBarWindows();
    ASSERT_EQ(windows.size(), 2);
    // Mapped once the event loop runs, so a rebuild right after never shows the first set.
    EXPECT_FALSE(windows[0]->isVisible());
    QCoreApplication::processEvents();
    EXPECT_TRUE(windows[0]->isVisible());
    EXPECT_TRUE(windows[1]->isVisible());
    EXPECT_NE(windows[0]->sliceView(), nullptr);
    EXPECT_EQ(windows[1]->sliceView(), nullptr);
    EXPECT_EQ(windows[1]->fill(), QColor(Qt::black));

    presenter.clearMasks();
    EXPECT_TRUE(presenter.menuBarWindows().isEmpty());
    EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty());
}

TEST(MaskWindowPresenter, newMasksReplaceTheOldOnlyOnceTheyHavePainted)
{
    MaskWindowPresenter presenter;
    const RgbColor black{0, 0, 0, 1};
    presenter.showMasks({{QRectF(0, 600, 200, 24), patterned(200, 24)}}, black);
    ASSERT_TRUE(QTest::qWaitFor([&] { return presenter.menuBarWindows()[0]->hasPainted(); }));
    const QPointer<MaskWindow> old = presenter.menuBarWindows()[0];

    presenter.showMasks({{QRectF(0, 600, 180, 24), patterned(180, 24)}}, black);
    // Until the new window has painted, the old one stays up: the panel never shows between.
    EXPECT_TRUE(presenter.isReplacing());
    ASSERT_TRUE(old);
    EXPECT_TRUE(old->isVisible());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !presenter.isReplacing(); }));
    EXPECT_FALSE(old);
    EXPECT_TRUE(presenter.menuBarWindows()[0]->hasPainted());
    EXPECT_EQ(QApplication::topLevelWidgets().size(), 1);

    // Two sets in a row: the one never shown goes at once, the shown one waits for the last.
    presenter.showMasks({{QRectF(0, 600, 160, 24), std::nullopt}}, black);
    presenter.showMasks({{QRectF(0, 600, 150, 24), std::nullopt}}, black);
    EXPECT_EQ(QApplication::topLevelWidgets().size(), 2);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !presenter.isReplacing(); }));
    EXPECT_EQ(QApplication::topLevelWidgets().size(), 1);
    EXPECT_EQ(presenter.menuBarWindows()[0]->width(), 150);

    presenter.clearMasks();
    EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty());
}
