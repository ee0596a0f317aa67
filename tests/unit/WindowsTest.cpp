// Other applications' windows: the enumeration filters and grouping (the workspace and stacking
// rules are checked on a real desktop), region geometry and the two coordinate systems, clamped
// resizing, the preset sizes, the model's selection rules, and keeping our own window on its
// monitor.
#include "FakeApp.h"
#include "FakePlatform.h"
#include "TestDirs.h"
#include "core/WindowMover.h"
#include "platform/Geometry.h"
#include "ui/MainWindow.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

ScreenInfo screen(quint32 id, QRectF frame, QRectF visible)
{
    ScreenInfo info;
    info.displayId = id;
    info.name = info.outputName = QStringLiteral("OUT-%1").arg(id);
    info.frame = frame;
    info.visibleFrame = visible;
    return info;
}

// A 1440 × 900 primary screen whose visible frame is (0, 25, 1440, 875), and a 1920 × 1080
// screen to its right, bottoms aligned, with nothing taken off.
void twoScreens(FakePlatform& fake, quint32 main = 1)
{
    fake.screens->list = {screen(1, {0, 0, 1440, 900}, {0, 25, 1440, 875}),
                          screen(2, {1440, 0, 1920, 1080}, {1440, 0, 1920, 1080})};
    fake.displayModes->main = main;
}

ClientWindow client(quint64 handle, qint64 pid, QString app, QString title = {},
                    WindowRole role = WindowRole::normal)
{
    ClientWindow w;
    w.handle = handle;
    w.pid = pid;
    w.app = std::move(app);
    w.title = std::move(title);
    w.role = role;
    return w;
}

QStringList labels(const QList<ManagedWindow>& windows)
{
    QStringList result;
    for (const ManagedWindow& w : windows)
        result << w.menuLabel();
    return result;
}

} // namespace

TEST(WindowGeometry, regionsOfTheVisibleFrame)
{
    const QRectF v(0, 25, 1440, 875);
    const QSizeF size(800, 600);
    using A = WindowArrangement;
    const QList<QPair<A, QRectF>> expected{
        {A::center, {320, 162.5, 800, 600}},   {A::fill, {0, 25, 1440, 875}},
        {A::leftHalf, {0, 25, 720, 875}},      {A::rightHalf, {720, 25, 720, 875}},
        {A::topHalf, {0, 462.5, 1440, 437.5}}, {A::bottomHalf, {0, 25, 1440, 437.5}},
        {A::topLeft, {0, 462.5, 720, 437.5}},  {A::topRight, {720, 462.5, 720, 437.5}},
        {A::bottomLeft, {0, 25, 720, 437.5}},  {A::bottomRight, {720, 25, 720, 437.5}},
    };
    ASSERT_EQ(expected.size(), qsizetype(allWindowArrangements.size()));
    for (const auto& [arrangement, rect] : expected)
        EXPECT_EQ(WindowMover::targetFrame(arrangement, v, size), rect)
            << rawValue(arrangement).toStdString();

    // Odd sizes keep their half pixels, and centring neither clamps nor rounds.
    EXPECT_EQ(WindowMover::targetFrame(A::rightHalf, {0, 0, 1441, 875}, size),
              QRectF(720.5, 0, 720.5, 875));
    EXPECT_EQ(WindowMover::targetFrame(A::center, v, {2000, 1200}),
              QRectF(-280, -137.5, 2000, 1200));
}

TEST(WindowGeometry, conversionAndTheScreenOfAWindow)
{
    EXPECT_EQ(Geometry::flipped({100, 50, 800, 600}, 1080), QRectF(100, 430, 800, 600));
    EXPECT_EQ(Geometry::flipped({0, 462.5, 720, 437.5}, 900), QRectF(0, 0, 720, 437.5));

    FakePlatform fake;
    EXPECT_EQ(WindowMover::primaryHeight(fake), 0);
    EXPECT_FALSE(WindowMover::screenForWindowFrame(fake, {0, 0, 10, 10}));

    // The screen at the origin decides, wherever it is in the list.
    fake.screens->list = {screen(2, {1440, 0, 1920, 1080}, {1440, 0, 1920, 1080}),
                          screen(1, {0, 0, 1440, 900}, {0, 25, 1440, 875})};
    fake.displayModes->main = 2;
    EXPECT_EQ(WindowMover::primaryHeight(fake), 900);

    // A window straddling both screens belongs to the one that holds its centre.
    EXPECT_EQ(WindowMover::screenForWindowFrame(fake, {1000, 100, 1000, 400})->displayId, 2u);
    EXPECT_EQ(WindowMover::screenForWindowFrame(fake, {900, 100, 1000, 400})->displayId, 1u);
    // The maximum edge is outside: a centre on x = 1440 is on the right screen.
    EXPECT_EQ(WindowMover::screenForWindowFrame(fake, {1340, 100, 200, 200})->displayId, 2u);
    // A centre on no screen: the main screen, not the first.
    EXPECT_EQ(WindowMover::screenForWindowFrame(fake, {-5000, -5000, 100, 100})->displayId, 2u);
    fake.displayModes->main = 99;
    EXPECT_EQ(WindowMover::screenForWindowFrame(fake, {-5000, -5000, 100, 100})->displayId, 2u);

    // Without a screen at the origin the main screen's height counts.
    fake.screens->list = {screen(3, {10, 0, 800, 600}, {10, 0, 800, 600}),
                          screen(4, {810, 0, 1024, 768}, {810, 0, 1024, 768})};
    fake.displayModes->main = 4;
    EXPECT_EQ(WindowMover::primaryHeight(fake), 768);
}

TEST(WindowGeometry, arrangeUsesTheScreenOfTheCentreAndSetsSizePositionSize)
{
    FakePlatform fake;
    twoScreens(fake);
    // Top-left (1500, 100) on the right-hand screen; the primary is 900 high, so that screen's
    // top edge is at y = -180 in top-left coordinates.
    fake.windowControl->frames.insert(7, QRectF(1500, 100, 600, 400));
    WindowMover::arrange(fake, 7, WindowArrangement::topRight);
    EXPECT_EQ(fake.windowControl->log,
              QStringList({"size 7 960 540", "position 7 2400 -180", "size 7 960 540"}));

    // A window whose frame cannot be read is left alone.
    fake.windowControl->log.clear();
    WindowMover::arrange(fake, 404, WindowArrangement::fill);
    WindowMover::resize(fake, 404, {800, 600});
    EXPECT_TRUE(fake.windowControl->log.isEmpty());
}

TEST(WindowGeometry, resizeClampsEachDimensionAndCentres)
{
    FakePlatform fake;
    twoScreens(fake);
    fake.windowControl->frames.insert(1, QRectF(10, 10, 300, 200));
    WindowMover::resize(fake, 1, {5000, 5000});
    EXPECT_EQ(fake.windowControl->frames.value(1), QRectF(0, 0, 1440, 875));
    // Only the height is clamped; the width stays and the window is centred across.
    WindowMover::resize(fake, 1, {1000.5, 2000});
    EXPECT_EQ(fake.windowControl->frames.value(1), QRectF(219.75, 0, 1000.5, 875));
    WindowMover::resize(fake, 1, {800, 600});
    EXPECT_EQ(fake.windowControl->frames.value(1), QRectF(320, 137.5, 800, 600));
}

TEST(WindowList, filtersAndGroupsByApplication)
{
    FakePlatform fake;
    const qint64 own = QCoreApplication::applicationPid();
    ClientWindow agent = client(7, 50, "Agent", "Status");
    agent.skipTaskbar = true;
    ClientWindow minimised = client(8, 30, "Files", "Downloads");
    minimised.minimized = true;
    fake.windowControl->list = {client(1, 30, "Files", "Home"),
                                client(2, 20, "Editor", "notes.txt"),
                                client(3, 30, "Files", "Copying", WindowRole::dialog),
                                client(4, 30, "Files", "Tools", WindowRole::utility),
                                client(5, 40, "Panel", "", WindowRole::dock),
                                client(6, 41, "Desktop", "", WindowRole::desktop),
                                agent,
                                minimised,
                                client(9, own, "Quillet", "Quillet"),
                                client(10, 30, "Files", "Pictures"),
                                client(11, 0, "", ""),
                                client(12, 20, "Editor", ""),
                                client(13, 0, "xterm", "bash"),
                                client(14, 0, "", "orphan")};

    const QList<ManagedWindow> windows = WindowMover::windows(fake);
    // Applications in the order of their first window, each one's windows together.
    ASSERT_EQ(labels(windows),
              QStringList({"Files \u2014 Home", "Files \u2014 Pictures", "Editor \u2014 notes.txt",
                           "Editor \u2014 Untitled", "App \u2014 Untitled", "App \u2014 orphan",
                           "xterm \u2014 bash"}));
    // Every enumeration gives every window a new identity.
    const QList<ManagedWindow> again = WindowMover::windows(fake);
    ASSERT_EQ(again.size(), windows.size());
    for (qsizetype i = 0; i < windows.size(); ++i) {
        EXPECT_NE(again[i].id, windows[i].id);
        EXPECT_EQ(again[i].element, windows[i].element);
    }
    // Without control nothing is asked.
    fake.windowControl->trusted = false;
    const int listings = fake.windowControl->listings;
    EXPECT_TRUE(WindowMover::windows(fake).isEmpty());
    EXPECT_EQ(fake.windowControl->listings, listings);
}

TEST(MainWindowPlacement, aWindowPartlyOffItsMonitorIsMovedFullyOntoIt)
{
    const QRect monitor(0, 0, 1280, 720);
    // 701 pixels tall at y 300 on a 720-pixel monitor: moved up until its bottom edge fits.
    EXPECT_EQ(MainWindow::keptInside({600, 300, 560, 701}, monitor), QPoint(600, 19));
    // Off the right edge (the monitor shrank under it) and above the top.
    EXPECT_EQ(MainWindow::keptInside({1100, -20, 560, 500}, monitor), QPoint(720, 0));
    // Already inside: not moved.
    EXPECT_EQ(MainWindow::keptInside({10, 40, 560, 500}, monitor), QPoint(10, 40));
    // Larger than the monitor: its top-left corner stays reachable.
    EXPECT_EQ(MainWindow::keptInside({300, 300, 900, 800}, {1920, 33, 800, 600}), QPoint(1920, 33));
    // A second monitor's own coordinates.
    EXPECT_EQ(MainWindow::keptInside({3000, 900, 560, 701}, {1920, 0, 1024, 768}),
              QPoint(2384, 67));
}

namespace {

struct WindowModelFixture : ::testing::Test, FakeApp {
    WindowModelFixture()
    {
        twoScreens(fake);
        fake.windowControl->list = {client(1, 30, "Files", "Home"),
                                    client(2, 20, "Editor", "a.txt"),
                                    client(3, 20, "Editor", "b.txt")};
        for (quint64 handle : {1, 2, 3})
            fake.windowControl->frames.insert(handle, QRectF(100, 100, 400, 300));
    }
};

} // namespace

TEST_F(WindowModelFixture, refreshSelectsTheFirstWindowEveryTime)
{
    AppModel& m = makeModel();
    ASSERT_EQ(m.windows().size(), 3);
    EXPECT_EQ(m.selectedWindowID(), m.windows().first().id);

    m.setSelectedWindowID(m.windows().at(2).id);
    m.refreshWindows();
    // Fresh identities: the old selection is never found again.
    EXPECT_EQ(m.selectedWindowID(), m.windows().first().id);

    fake.windowControl->list.clear();
    m.refreshWindows();
    EXPECT_FALSE(m.selectedWindowID());
}

TEST_F(WindowModelFixture, withoutAMatchingSelectionNothingHappens)
{
    AppModel& m = makeModel();
    // A selection that no listed window has (as after a refresh elsewhere).
    m.setSelectedWindowID(QUuid::createUuid());
    QSignalSpy spy(&m, &AppModel::published);
    m.arrangeSelected(WindowArrangement::fill);
    m.resizeSelected({800, 600});
    m.hideSelectedWindow();
    EXPECT_TRUE(fake.windowControl->log.isEmpty());
    // No refresh either.
    EXPECT_EQ(spy.count(), 0);
}

TEST_F(WindowModelFixture, operationsActOnTheSelectedEntry)
{
    AppModel& m = makeModel();
    m.setSelectedWindowID(m.windows().at(1).id);
    m.arrangeSelected(WindowArrangement::leftHalf);
    EXPECT_EQ(fake.windowControl->frames.value(2), QRectF(0, 0, 720, 875));
    m.resizeSelected({1920, 1080});
    EXPECT_EQ(fake.windowControl->frames.value(2), QRectF(0, 0, 1440, 875));
    EXPECT_EQ(fake.windowControl->frames.value(1), QRectF(100, 100, 400, 300));

    // The stored element is used as it is, even when the window has left the list since.
    fake.windowControl->list.removeAt(1);
    m.resizeSelected({800, 600});
    EXPECT_EQ(fake.windowControl->frames.value(2), QRectF(320, 137.5, 800, 600));
}
