// The overlay controller's rebuild rules, with a presenter that records the windows.
#include "FakeMaskPresenter.h"
#include "FakePlatform.h"
#include "core/OverlayController.h"

#include <gtest/gtest.h>

namespace {

struct OverlayFixture : ::testing::Test {
    FakePlatform fake;
    FakeMaskPresenter presenter;
    OverlayController overlay{fake.platform().screens(), fake.platform().managerWatch()};
    const QList<MaskTile> twoTiles{{QRectF(0, 876, 1440, 24), QImage(4, 4, QImage::Format_RGB32)},
                                   {QRectF(1440, 876, 1920, 24), std::nullopt}};

    OverlayFixture() { overlay.setPresenter(&presenter); }
};

} // namespace

TEST_F(OverlayFixture, everyAssignmentRebuildsAndNewMasksReplaceTheOld)
{
    // Tiles while masks are off: the old windows go, none come.
    overlay.setBarTiles(twoTiles);
    EXPECT_EQ(presenter.teardowns, 1);
    EXPECT_EQ(presenter.builds, 0);

    overlay.setMenuBarHidden(true);
    EXPECT_EQ(presenter.shown.size(), 2);
    EXPECT_EQ(presenter.shown[1].rect, QRectF(1440, 876, 1920, 24));

    // Equal values rebuild too; the new masks replace the old ones without a teardown.
    overlay.setMenuBarHidden(true);
    overlay.setBarTiles(twoTiles);
    EXPECT_EQ(presenter.teardowns, 1);
    EXPECT_EQ(presenter.builds, 3);
    EXPECT_EQ(presenter.shown.size(), 2);

    // Both at once: one build.
    overlay.setMenuBarHiddenAndTiles(true, {twoTiles.first()});
    EXPECT_EQ(presenter.builds, 4);
    EXPECT_EQ(presenter.shown.size(), 1);

    // Hidden with no tiles: no window.
    overlay.setBarTiles({});
    EXPECT_TRUE(presenter.shown.isEmpty());
    EXPECT_EQ(presenter.teardowns, 2);
    EXPECT_EQ(presenter.builds, 4);

    overlay.setBarTiles(twoTiles);
    overlay.clearMenuBarWindows();
    EXPECT_TRUE(presenter.shown.isEmpty());
    // The tiles are kept: the next switch brings the same masks back.
    overlay.setMenuBarHidden(true);
    EXPECT_EQ(presenter.shown.size(), 2);
}

TEST_F(OverlayFixture, aReplacedWindowManagerGetsFreshMasks)
{
    overlay.setMenuBarHidden(true);
    overlay.setBarTiles(twoTiles);
    const int builds = presenter.builds;
    emit fake.platform().managerWatch().managerReplaced();
    EXPECT_EQ(presenter.builds, builds + 1);
    EXPECT_EQ(presenter.shown.size(), 2);

    // With the masks off, a new window manager brings none.
    overlay.setMenuBarHidden(false);
    emit fake.platform().managerWatch().managerReplaced();
    EXPECT_TRUE(presenter.shown.isEmpty());
}
