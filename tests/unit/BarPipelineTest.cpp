// The model's panel pipeline with the fake platform and clock: captures and their cache, the
// delayed recapture, item toggles by label, the master switch, and missing captures.
#include "FakeApp.h"
#include "FakeMaskPresenter.h"

#include <QPainter>
#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

const QColor panelColor(30, 30, 36);

QColor colorOf(quint32 id)
{
    return QColor::fromHsv(int(id * 70 % 360), 255, 255);
}

bool contains(const QImage& image, const QColor& color)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) == color.rgb())
                return true;
        }
    }
    return false;
}

struct PipelineFixture : ::testing::Test, FakeApp {
    FakeMaskPresenter presenter;

    PipelineFixture()
    {
        // The monitor's 25-point panel holds three tray icons.
        QImage capture(1440, 900, QImage::Format_RGB32);
        capture.fill(Qt::darkBlue);
        QPainter p(&capture);
        p.fillRect(0, 0, 1440, 25, panelColor);
        for (const quint32 id : {11u, 12u, 13u}) {
            addIcon(id, 1300 + 30 * (id - 11), QStringLiteral("app%1").arg(id));
            p.fillRect(1300 + 30 * int(id - 11), 1, 22, 22, colorOf(id));
        }
        fake.capture->images.insert(1, capture);
    }

    void addIcon(quint32 id, double x, const QString& owner)
    {
        WindowListEntry entry;
        entry.layer = 25;
        entry.number = id;
        entry.bounds = QRectF(x, 1, 22, 22);
        entry.ownerName = owner;
        fake.windowList->entries.append(entry);
    }

    // The model goes first: it takes its masks down through the presenter.
    ~PipelineFixture() override { model.reset(); }

    AppModel& make(TaskQueue* captureWork = nullptr)
    {
        makeModel(captureWork).overlays().setPresenter(&presenter);
        return *model;
    }

    // Chooses the cover and lets the delayed recapture run.
    void settle(MenuBarCover cover)
    {
        model->setMenuBarCover(cover);
        scheduler.advance(400ms);
    }

    quint32 idOf(const QString& label) const
    {
        for (const MenuBarItem& item : model->menuBarItems()) {
            if (item.label == label)
                return item.id;
        }
        return 0;
    }
};

// Holds the tasks posted to it until told to run them, as a busy capture thread would.
class HeldTaskQueue final : public TaskQueue {
public:
    void post(std::function<void()> work, QObject*, std::function<void()> done) override
    {
        m_tasks.append({std::move(work), std::move(done)});
    }
    bool idle() const override { return m_tasks.isEmpty(); }
    void runAll()
    {
        while (!m_tasks.isEmpty()) {
            const auto [work, done] = m_tasks.takeFirst();
            work();
            if (done)
                done();
        }
    }

private:
    QList<std::pair<std::function<void()>, std::function<void()>>> m_tasks;
};

} // namespace

TEST_F(PipelineFixture, capturesUnderWayHoldNothingUpAndAnOutdatedOneIsDropped)
{
    HeldTaskQueue captures;
    AppModel& m = make(&captures);
    m.setMenuBarCover(MenuBarCover::entire);
    // Nothing captured on the calling thread; the masks wait for the capture, which counts as
    // a pending recapture.
    EXPECT_EQ(fake.capture->captures, 0);
    EXPECT_TRUE(presenter.shown.isEmpty());
    EXPECT_TRUE(m.hasPendingBarRecapture());
    captures.runAll();
    EXPECT_EQ(fake.capture->captures, 1);
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_TRUE(m.hasPendingBarRecapture());

    // The recapture is under way when the cover goes back to "Keep": its answer brings no mask
    // back, and the buffers are let go of after it.
    scheduler.advance(400ms);
    const int releases = fake.capture->releases;
    m.setMenuBarCover(MenuBarCover::keep);
    captures.runAll();
    EXPECT_EQ(fake.capture->captures, 2);
    EXPECT_TRUE(presenter.shown.isEmpty());
    EXPECT_FALSE(m.hasPendingBarRecapture());
    EXPECT_EQ(fake.capture->releases, releases + 1);

    // A toggle while the cover's capture is under way: the later build wins and shows the
    // toggle.
    m.setMenuBarCover(MenuBarCover::items);
    m.toggleItem(idOf(QStringLiteral("app12")));
    captures.runAll();
    scheduler.advance(400ms);
    captures.runAll();
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_TRUE(contains(*presenter.shown[0].image, colorOf(11)));
    EXPECT_FALSE(contains(*presenter.shown[0].image, colorOf(12)));
}

TEST_F(PipelineFixture, quickCoverChangesRunOneRecaptureAfterTheLast)
{
    store.setStringList(StoredKeys::hiddenItemLabels, {QStringLiteral("app12")});
    AppModel& m = make();
    m.setMenuBarCover(MenuBarCover::entire);
    EXPECT_EQ(fake.capture->captures, 1);
    // The masks come down at once so the next capture sees the bare panel.
    EXPECT_TRUE(presenter.shown.isEmpty());
    EXPECT_EQ(store.stringValue(StoredKeys::menuBarCover), QStringLiteral("entire"));

    scheduler.advance(200ms);
    m.setMenuBarCover(MenuBarCover::items);
    EXPECT_EQ(fake.capture->captures, 1);
    scheduler.advance(399ms);
    EXPECT_EQ(fake.capture->captures, 1);
    EXPECT_TRUE(presenter.shown.isEmpty());
    scheduler.advance(1ms);
    EXPECT_EQ(fake.capture->captures, 2);
    ASSERT_EQ(presenter.shown.size(), 1);
    scheduler.advance(2000ms);
    EXPECT_EQ(fake.capture->captures, 2);
}

TEST_F(PipelineFixture, switchingBetweenCoversKeepsMasksUpAndCapturesNothing)
{
    AppModel& m = make();
    settle(MenuBarCover::entire);
    m.toggleItem(idOf(QStringLiteral("app12")));
    const int captures = fake.capture->captures;
    const int teardowns = presenter.teardowns;
    ASSERT_EQ(presenter.shown.size(), 1);

    m.setMenuBarCover(MenuBarCover::items);
    // The tint stays: the capture is still good, and the old masks are replaced, never torn
    // down first.
    EXPECT_EQ(scheduler.activeCount(), 0);
    EXPECT_EQ(presenter.teardowns, teardowns);
    ASSERT_EQ(presenter.shown.size(), 1);
    m.setMenuBarCover(MenuBarCover::entire);
    EXPECT_EQ(presenter.teardowns, teardowns);
    EXPECT_EQ(presenter.shown.size(), 1);
    EXPECT_EQ(fake.capture->captures, captures);
}

TEST_F(PipelineFixture, togglingUsesTheCacheAndKeepsMasksUp)
{
    AppModel& m = make();
    settle(MenuBarCover::items);
    const int captures = fake.capture->captures;
    // Nothing hidden, nothing moves: the panel stays live.
    EXPECT_TRUE(presenter.shown.isEmpty());

    m.toggleItem(idOf(QStringLiteral("app12")));
    EXPECT_EQ(fake.capture->captures, captures);
    EXPECT_EQ(scheduler.activeCount(), 0);
    ASSERT_EQ(presenter.shown.size(), 1);
    const MaskTile tile = presenter.shown.first();
    // From 8 points left of the first icon to halfway between app11's new place (1330..1352)
    // and app13, which stays live, at the top of the screen.
    EXPECT_EQ(tile.rect, QRectF(1292, 875, 64, 25));
    ASSERT_TRUE(tile.image);
    EXPECT_FALSE(contains(*tile.image, colorOf(12)));
    EXPECT_TRUE(contains(*tile.image, colorOf(11)));
    EXPECT_FALSE(contains(*tile.image, colorOf(13)));
    EXPECT_EQ(store.stringListValue(StoredKeys::hiddenItemLabels),
              QStringList({QStringLiteral("app12")}));

    m.toggleItem(idOf(QStringLiteral("app12")));
    EXPECT_TRUE(m.hiddenLabels().isEmpty());
    EXPECT_TRUE(presenter.shown.isEmpty());
    m.toggleItem(4242); // unknown id: nothing happens
    EXPECT_TRUE(m.selectedItemIDs().isEmpty());
}

TEST_F(PipelineFixture, everyScanSelectsTheStoredLabelsAgain)
{
    AppModel& m = make();
    m.toggleItem(12);
    // The icon docks anew (its program restarted, the panel restarted): a new window number
    // under the same label, and it stays hidden.
    fake.windowList->entries[1].number = 22;
    m.refreshMenuBarItems();
    EXPECT_EQ(m.selectedItemIDs(), QSet<quint32>({22}));
    EXPECT_TRUE(m.hiddenLabels().contains(QStringLiteral("app12")));

    // A click on it shows it again.
    m.toggleItem(22);
    EXPECT_TRUE(m.hiddenLabels().isEmpty());
    EXPECT_TRUE(m.selectedItemIDs().isEmpty());

    m.toggleItem(22);
    fake.windowList->entries[1].number = 32;
    m.restoreHiddenSelection();
    EXPECT_EQ(m.selectedItemIDs(), QSet<quint32>({32}));
}

TEST_F(PipelineFixture, aToggleSwapsTheMasksAndScansOnce)
{
    AppModel& m = make();
    settle(MenuBarCover::items);
    const int teardowns = presenter.teardowns;
    const int builds = presenter.builds;
    const int scans = fake.panelScan->starts;

    m.toggleItem(12);
    // The old masks are replaced by the new ones, never taken down first.
    EXPECT_EQ(presenter.teardowns, teardowns);
    EXPECT_EQ(presenter.builds, builds + 1);
    EXPECT_EQ(fake.panelScan->starts, scans + 1);
}

TEST_F(PipelineFixture, aSlowScanNeitherHoldsUpNorLosesAToggle)
{
    AppModel& m = make();
    settle(MenuBarCover::items);
    fake.panelScan->deferred = true;

    // The tiles follow the toggle at once, from the items of the last scan.
    m.toggleItem(12);
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_FALSE(contains(*presenter.shown.first().image, colorOf(12)));
    ASSERT_TRUE(fake.panelScan->pending());

    // Meanwhile the icon docked anew; the scan's result keeps it hidden.
    fake.windowList->entries[1].number = 22;
    const int builds = presenter.builds;
    fake.panelScan->finish();
    EXPECT_EQ(m.selectedItemIDs(), QSet<quint32>({22}));
    EXPECT_EQ(presenter.builds, builds + 1);
    EXPECT_FALSE(contains(*presenter.shown.first().image, colorOf(12)));

    // A scan that finds nothing new builds nothing.
    m.toggleItem(11);
    const int after = presenter.builds;
    fake.panelScan->finish();
    EXPECT_EQ(presenter.builds, after);
}

TEST_F(PipelineFixture, thePanelWindowGivesTheBarItsExtentAndHeight)
{
    // A short panel, 720 points from x = 700, 33 points high, that reserves no space.
    fake.screens->list[0].visibleFrame = fake.screens->list[0].frame;
    WindowListEntry panel;
    panel.layer = 24;
    panel.number = 99;
    panel.bounds = QRectF(700, 0, 720, 33);
    panel.ownerName = QStringLiteral("xfce4-panel");
    fake.windowList->entries.append(panel);

    AppModel& m = make();
    // The panel itself is not an item, although it is narrower than 0.6 of the screen.
    ASSERT_EQ(m.menuBarItems().size(), 3);
    settle(MenuBarCover::entire);
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_EQ(presenter.shown[0].rect, QRectF(700, 867, 720, 33));

    settle(MenuBarCover::items);
    m.toggleItem(13);
    ASSERT_EQ(presenter.shown.size(), 1);
    // The rightmost icon hidden: from 8 points left of the first icon to the panel's right
    // end; the desktop right of it stays uncovered.
    EXPECT_EQ(presenter.shown[0].rect, QRectF(1292, 867, 128, 33));
    EXPECT_EQ(presenter.shown[0].image->size(), QSize(128, 33));
}

TEST_F(PipelineFixture, theBackgroundComesFromAnEmptyStretchOfThePanel)
{
    // Left of the icons stands a pager of another colour; a separator further left shows the
    // panel's own background.
    const QColor pagerColor(90, 90, 90);
    QImage& capture = fake.capture->images[1];
    {
        QPainter p(&capture);
        p.fillRect(1200, 0, 90, 25, pagerColor);
    }
    fake.panelScan->emptyStretches = {QRectF(1180, 0, 12, 25), QRectF(600, 0, 300, 25)};

    AppModel& m = make();
    settle(MenuBarCover::entire);
    ASSERT_EQ(presenter.shown.size(), 1);
    ASSERT_TRUE(presenter.shown[0].image);
    EXPECT_EQ(presenter.shown[0].image->pixel(0, 0), panelColor.rgb());

    settle(MenuBarCover::items);
    m.toggleItem(11);
    const QImage piece = *presenter.shown[0].image;
    // Where YAD 1 stood and left of the others: background, not the pager.
    EXPECT_FALSE(contains(piece, pagerColor));
    EXPECT_EQ(QColor(piece.pixel(2, 12)), panelColor);

    // Without a known stretch the column lies 40 points left of the icons, in the pager.
    fake.panelScan->emptyStretches.clear();
    m.refreshMenuBarItems();
    EXPECT_TRUE(contains(*presenter.shown[0].image, pagerColor));
}

TEST_F(PipelineFixture, masterSwitchOffTakesMasksAndTintDownAndKeepsTheChoices)
{
    AppModel& m = make();
    m.setMenuBarCover(MenuBarCover::entire);
    m.toggleItem(11);
    scheduler.advance(400ms);
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_TRUE(m.wallpaper().barTintActive());

    m.setEnabled(false);
    EXPECT_TRUE(presenter.shown.isEmpty());
    EXPECT_FALSE(m.wallpaper().barTintActive());
    EXPECT_EQ(m.menuBarCover(), MenuBarCover::entire);
    EXPECT_EQ(m.hiddenLabels(), QSet<QString>({QStringLiteral("app11")}));

    m.setEnabled(true);
    scheduler.advance(400ms);
    EXPECT_EQ(presenter.shown.size(), 1);
    EXPECT_TRUE(m.wallpaper().barTintActive());
}

TEST_F(PipelineFixture, onlyAMonitorWithAPanelIsCovered)
{
    // A second monitor right of the first, without a panel of its own.
    ScreenInfo second;
    second.displayId = 2;
    second.outputName = QStringLiteral("HDMI-1");
    second.frame = QRectF(1440, -180, 1920, 1080);
    second.visibleFrame = second.frame;
    fake.screens->list.append(second);
    QImage secondCapture(1920, 1080, QImage::Format_RGB32);
    secondCapture.fill(Qt::gray);
    fake.capture->images.insert(2, secondCapture);

    make();
    settle(MenuBarCover::entire);
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_EQ(presenter.shown[0].rect, QRectF(0, 875, 1440, 25));
    // 40 points left of the first icon: a strip of bare panel 2 pixels wide.
    ASSERT_TRUE(presenter.shown[0].image);
    EXPECT_EQ(presenter.shown[0].image->size(), QSize(2, 25));
    EXPECT_EQ(presenter.shown[0].image->pixel(0, 0), panelColor.rgb());
    // Two builds (the cover's and the recapture's), one capture each: the monitor without a
    // panel is never captured.
    EXPECT_EQ(fake.capture->captures, 2);

    settle(MenuBarCover::items);
    model->toggleItem(12);
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_EQ(presenter.shown[0].rect.x(), 1292);
}

TEST_F(PipelineFixture, withoutCapturesEntireIsBlackAndItemsShowsNothing)
{
    fake.capture->allowed = false;
    make();
    settle(MenuBarCover::entire);
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_FALSE(presenter.shown[0].image);
    EXPECT_EQ(presenter.fill, (RgbColor{0, 0, 0, 1}));
    // Access is asked for again on every recomputation that finds no capture.
    EXPECT_EQ(fake.capture->requests, 2);

    settle(MenuBarCover::items);
    EXPECT_TRUE(presenter.shown.isEmpty());
    EXPECT_EQ(fake.capture->captures, 0);
}
