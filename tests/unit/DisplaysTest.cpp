// The display list, the resolutions offered for a display, the start-up modes put back and their
// crash record, the monitors' arrangement kept across switches, the model's display operations.
#include "FakeApp.h"
#include "FakePlatform.h"
#include "TestDirs.h"
#include "core/DisplayController.h"
#include "platform/MonitorLayout.h"

#include <gtest/gtest.h>

namespace {

using Switches = QList<QPair<quint32, qint32>>;

PlatformDisplayMode mode(qint32 id, qint64 w, qint64 h, double refresh, qint64 pw = 0,
                         qint64 ph = 0, bool usable = true)
{
    return {id, w, h, pw ? pw : w, ph ? ph : h, refresh, usable};
}

QList<qint32> ids(const QList<DisplayMode>& modes)
{
    QList<qint32> result;
    for (const DisplayMode& m : modes)
        result.append(m.id);
    return result;
}

struct ControllerFixture : ::testing::Test {
    FakeScreens screens;
    FakeDisplayModes platform;

    ControllerFixture()
    {
        platform.displays = {5, 7};
        platform.main = 5;
    }
    // Two monitors side by side at their start-up modes, with a store for the crash record.
    void twoMonitors(int rotationOfTheSecond = 1)
    {
        platform.modes.insert(5, {mode(50, 1920, 1080, 60), mode(51, 1280, 720, 60)});
        platform.modes.insert(7, {mode(70, 1920, 1080, 60), mode(71, 1024, 768, 60)});
        platform.current = {{5, 50}, {7, 70}};
        platform.placements = {{5, {QStringLiteral("DP-1"), {0, 0}, 1}},
                               {7, {QStringLiteral("DP-2"), {1920, 0}, rotationOfTheSecond}}};
    }
    QList<qint32> offered(const QList<PlatformDisplayMode>& modes)
    {
        platform.modes.insert(5, modes);
        return ids(DisplayController(platform, screens).availableModes(5));
    }
};

} // namespace

TEST_F(ControllerFixture, oneModePerSizeAtItsBestRefreshLargestFirst)
{
    // 50 Hz listed before 60 Hz must not win; 1280x720 after both 1920x1080 modes.
    EXPECT_EQ(offered({mode(1, 1920, 1080, 50), mode(2, 1280, 720, 60), mode(3, 1920, 1080, 60)}),
              QList<qint32>({3, 2}));
    // Equal refresh rates: the one listed first stays.
    EXPECT_EQ(offered({mode(1, 1920, 1080, 60), mode(2, 1920, 1080, 60)}), QList<qint32>({1}));
    // Equal areas (1600x900 and 1440x1000): the higher refresh rate first, whatever the order.
    EXPECT_EQ(offered({mode(1, 1600, 900, 60), mode(2, 1440, 1000, 75)}), QList<qint32>({2, 1}));
    EXPECT_EQ(offered({mode(1, 1440, 1000, 75), mode(2, 1600, 900, 60)}), QList<qint32>({1, 2}));
    // By area, not by width: 1280x1024 before 1440x900.
    EXPECT_EQ(offered({mode(1, 1440, 900, 60), mode(2, 1280, 1024, 60)}), QList<qint32>({2, 1}));
}

TEST_F(ControllerFixture, scaledModesHideUnscaledOnesAndUnusableModesAreDropped)
{
    // One mode denser than its point size (only in height) leaves out every plain mode.
    EXPECT_EQ(offered({mode(1, 2560, 1440, 60), mode(2, 1280, 720, 60, 1280, 1440),
                       mode(3, 1920, 1080, 60)}),
              QList<qint32>({2}));
    // An interlaced mode counts for nothing, not even for the scaled preference.
    EXPECT_EQ(offered({mode(1, 1920, 1080, 60), mode(2, 1920, 1080, 120, 3840, 2160, false),
                       mode(3, 1024, 768, 60)}),
              QList<qint32>({1, 3}));
    EXPECT_TRUE(offered({}).isEmpty());
    EXPECT_TRUE(offered({mode(1, 1920, 1080, 60, 0, 0, false)}).isEmpty());
}

TEST_F(ControllerFixture, namesComeFromTheMatchingScreenElseAFallback)
{
    ScreenInfo unmatched;
    unmatched.name = QStringLiteral("Projector");
    ScreenInfo named;
    named.displayId = 7;
    named.name = QStringLiteral("Studio 27");
    screens.list = {unmatched, named};
    platform.displays = {5, 7, 12};

    const DisplayController controller(platform, screens);
    EXPECT_EQ(controller.onlineDisplays(),
              QList<DisplayInfo>({{5, QStringLiteral("Main Display"), true},
                                  {7, QStringLiteral("Studio 27"), false},
                                  {12, QStringLiteral("Display 12"), false}}));
    platform.displays.clear();
    EXPECT_TRUE(controller.onlineDisplays().isEmpty());
}

TEST_F(ControllerFixture, startUpModesAreWhatRestoreGoesBackTo)
{
    platform.modes.insert(5, {mode(50, 1920, 1080, 60), mode(51, 1280, 720, 60)});
    platform.modes.insert(7, {mode(70, 1920, 1080, 60), mode(71, 1024, 768, 60)});
    platform.current = {{5, 50}, {7, 70}};
    DisplayController controller(platform, screens);

    // Changed by us or by anyone else later: restore still goes back to the start-up mode.
    platform.current = {{5, 51}, {7, 71}};
    // A display attached after start-up has nothing to go back to.
    platform.displays.append(9);
    platform.modes.insert(9, {mode(90, 800, 600, 60)});
    platform.current.insert(9, 90);

    controller.restore(9);
    EXPECT_TRUE(platform.switches.isEmpty());
    controller.restore(7);
    EXPECT_EQ(platform.switches, Switches({{7u, 70}}));

    // Each display on its own, a refusal does not stop the others.
    platform.switches.clear();
    platform.refuse = true;
    controller.restoreAll();
    EXPECT_EQ(platform.switches, Switches({{5u, 50}, {7u, 70}}));
}

TEST_F(ControllerFixture, identicalMonitorsAreToldApartByTheirConnector)
{
    const auto screen = [](quint32 id, const char* name, const char* output) {
        ScreenInfo s;
        s.displayId = id;
        s.name = QString::fromLatin1(name);
        s.outputName = QString::fromLatin1(output);
        return s;
    };
    platform.displays = {5, 7, 9};
    screens.list = {screen(5, "DELL U2720Q", "DP-1"), screen(7, "DELL U2720Q", "DP-2"),
                    screen(9, "Studio 27", "HDMI-1")};
    const DisplayController controller(platform, screens);
    EXPECT_EQ(controller.onlineDisplays(),
              QList<DisplayInfo>({{5, QStringLiteral("DELL U2720Q (DP-1)"), true},
                                  {7, QStringLiteral("DELL U2720Q (DP-2)"), false},
                                  {9, QStringLiteral("Studio 27"), false}}));
    // Monitors without an EDID go by their connectors, which differ already.
    screens.list = {screen(5, "DP-1", "DP-1"), screen(7, "DP-2", "DP-2")};
    EXPECT_EQ(controller.localizedName(5), QStringLiteral("DP-1"));
}

TEST_F(ControllerFixture, theOriginalsAreRecordedBeforeTheFirstSwitchAndClearedOnlyWhenAllAreBack)
{
    TestDirs dirs;
    DefaultsStore store(dirs.defaultsPath());
    twoMonitors(2);
    DisplayController controller(platform, screens, &store);
    EXPECT_TRUE(store.rawValue(StoredKeys::originalDisplayModes).isUndefined());

    // Written before the switch reaches the platform, with place and rotation by connector.
    platform.refuse = true;
    controller.switchMode(5, 51);
    const QJsonObject record = store.rawValue(StoredKeys::originalDisplayModes).toObject();
    EXPECT_EQ(record.value(QStringLiteral("DP-2")).toObject(), QJsonObject({{"mode", 70},
                                                                            {"width", 1920},
                                                                            {"height", 1080},
                                                                            {"refresh", 60.0},
                                                                            {"x", 1920},
                                                                            {"y", 0},
                                                                            {"rotation", 2}}));
    EXPECT_EQ(record.keys(), QStringList({"DP-1", "DP-2"}));
    platform.refuse = false;
    controller.switchMode(5, 51);
    controller.switchMode(7, 71);

    // One display back is not everything back; a refused restore keeps the record too.
    controller.restore(5);
    EXPECT_TRUE(store.rawValue(StoredKeys::originalDisplayModes).isObject());
    platform.refuse = true;
    controller.restoreAll();
    EXPECT_TRUE(controller.hasCrashRecord());
    platform.refuse = false;
    platform.switches.clear();
    controller.restoreAll();
    EXPECT_EQ(platform.switches, Switches({{5u, 50}, {7u, 70}}));
    EXPECT_TRUE(store.rawValue(StoredKeys::originalDisplayModes).isUndefined());
    EXPECT_FALSE(controller.hasCrashRecord());
}

TEST_F(ControllerFixture, aCrashRecordIsWhatTheNextLaunchRestores)
{
    TestDirs dirs;
    DefaultsStore store(dirs.defaultsPath());
    twoMonitors();
    {
        DisplayController crashed(platform, screens, &store);
        crashed.switchMode(5, 51);
        // Killed here: nothing restores.
    }
    platform.current.insert(5, 51);
    platform.placements.insert(7, {QStringLiteral("DP-2"), {1280, 0}, 1});
    // The mode ids changed (a new server): the recorded id now means another size and is not
    // taken; the recorded size at the nearest refresh rate is.
    platform.modes.insert(
        5, {mode(50, 1280, 720, 60), mode(51, 1920, 1080, 59.9), mode(62, 1920, 1080, 60)});
    platform.current.insert(5, 50);

    DisplayController relaunched(platform, screens, &store);
    EXPECT_TRUE(relaunched.hasCrashRecord());
    EXPECT_EQ(relaunched.originalModes().value(5).modeId, 62);
    EXPECT_EQ(relaunched.originalModes().value(7).placement->position, QPoint(1920, 0));
    // A later switch does not overwrite the user's modes with the crashed ones.
    relaunched.switchMode(7, 71);
    EXPECT_EQ(store.rawValue(StoredKeys::originalDisplayModes)
                  .toObject()
                  .value(QStringLiteral("DP-1"))
                  .toObject()
                  .value(QStringLiteral("width")),
              1920);
    relaunched.restoreAll();
    EXPECT_EQ(platform.current.value(5), 62);
    EXPECT_EQ(platform.current.value(7), 70);
    EXPECT_EQ(platform.placements.value(7).position, QPoint(1920, 0));
    EXPECT_TRUE(store.rawValue(StoredKeys::originalDisplayModes).isUndefined());
}

TEST_F(ControllerFixture, aMonitorAbsentAtTheRelaunchKeepsItsEntryUntilItIsBack)
{
    TestDirs dirs;
    DefaultsStore store(dirs.defaultsPath());
    twoMonitors();
    {
        DisplayController crashed(platform, screens, &store);
        crashed.switchMode(5, 51);
        crashed.switchMode(7, 71);
        // Killed here, and DP-2 unplugged before the next launch.
    }
    platform.displays = {5};
    platform.modes.remove(7);
    platform.current.remove(7);
    platform.placements.remove(7);

    {
        DisplayController withoutIt(platform, screens, &store);
        withoutIt.restoreAll();
        EXPECT_EQ(platform.current.value(5), 50);
        EXPECT_EQ(store.rawValue(StoredKeys::originalDisplayModes).toObject().keys(),
                  QStringList({"DP-2"}));
        // A switch in this run records DP-1 again without losing DP-2.
        withoutIt.switchMode(5, 51);
        EXPECT_EQ(store.rawValue(StoredKeys::originalDisplayModes).toObject().keys(),
                  QStringList({"DP-1", "DP-2"}));
        withoutIt.restoreAll();
    }

    // DP-2 is back, still in the crashed run's mode: the launch after puts it back and clears.
    platform.displays = {5, 7};
    platform.modes.insert(7, {mode(70, 1920, 1080, 60), mode(71, 1024, 768, 60)});
    platform.current.insert(7, 71);
    platform.placements.insert(7, {QStringLiteral("DP-2"), {1920, 0}, 1});
    DisplayController withIt(platform, screens, &store);
    withIt.restoreAll();
    EXPECT_EQ(platform.current.value(7), 70);
    EXPECT_TRUE(store.rawValue(StoredKeys::originalDisplayModes).isUndefined());
}

TEST(MonitorLayout, neighboursFollowTheChangedEdgeAndKeepTheirAlignment)
{
    const QRect left(0, 0, 1920, 1080);
    const QRect right(1920, 0, 1920, 1080);
    using Rects = QList<QRect>;
    // Smaller and larger on the left: the right one stays against it, top edges aligned.
    EXPECT_EQ(MonitorLayout::rearranged({left, right}, 0, {0, 0, 1600, 1200}),
              Rects({{0, 0, 1600, 1200}, {1600, 0, 1920, 1080}}));
    EXPECT_EQ(MonitorLayout::rearranged({left, right}, 0, {0, 0, 2560, 1440}),
              Rects({{0, 0, 2560, 1440}, {2560, 0, 1920, 1080}}));
    // On the right: the left one stays where it is.
    EXPECT_EQ(MonitorLayout::rearranged({left, right}, 1, {1920, 0, 1280, 720}),
              Rects({left, {1920, 0, 1280, 720}}));
    // And back: the arrangement before the switch.
    EXPECT_EQ(MonitorLayout::rearranged({{0, 0, 1600, 1200}, {1600, 0, 1920, 1080}}, 0, left),
              Rects({left, right}));

    // Bottom edges aligned stay aligned; nothing lands at negative coordinates.
    const QRect lower(1920, 56, 1280, 1024);
    EXPECT_EQ(MonitorLayout::rearranged({left, lower}, 0, {0, 0, 1280, 720}),
              Rects({{0, 304, 1280, 720}, {1280, 0, 1280, 1024}}));
    // Centred stays centred.
    const QRect centred(1920, 28, 1280, 1024);
    EXPECT_EQ(MonitorLayout::rearranged({left, centred}, 0, {0, 0, 1920, 1200}),
              Rects({left.adjusted(0, 0, 0, 120), {1920, 88, 1280, 1024}}));

    // Stacked: the lower monitor follows the bottom edge, left edges aligned; a third monitor
    // right of both follows the right edge.
    const QRect top(0, 0, 1920, 1080);
    const QRect bottom(0, 1080, 1920, 1080);
    const QRect side(1920, 0, 1024, 768);
    EXPECT_EQ(MonitorLayout::rearranged({top, bottom, side}, 0, {0, 0, 1280, 720}),
              Rects({{0, 0, 1280, 720}, {0, 720, 1920, 1080}, {1280, 0, 1024, 768}}));
    // A right-aligned lower monitor stays right-aligned.
    EXPECT_EQ(MonitorLayout::rearranged({top, {640, 1080, 1280, 1024}}, 0, {0, 0, 1600, 900}),
              Rects({{0, 0, 1600, 900}, {320, 900, 1280, 1024}}));
}

namespace {

struct DisplayModelFixture : ::testing::Test, FakeApp {};

} // namespace

TEST_F(DisplayModelFixture, selectionFallsBackToTheMainThenTheFirstDisplay)
{
    fake.displayModes->displays = {3, 1};
    fake.displayModes->modes.insert(3, {mode(30, 800, 600, 60)});
    AppModel& m = makeModel();
    EXPECT_EQ(m.selectedDisplayID(), 1u);
    EXPECT_EQ(ids(m.modes()), QList<qint32>({10, 11}));

    // The main display is gone: the first one listed is taken.
    fake.displayModes->displays = {3};
    m.reloadDisplays();
    EXPECT_EQ(m.selectedDisplayID(), 3u);
    EXPECT_EQ(ids(m.modes()), QList<qint32>({30}));
    // No current mode: the size shown stays as it was.
    EXPECT_EQ(m.currentWidth(), 1440);

    // A selection that is still there is kept even when it is not the main display.
    fake.displayModes->displays = {1, 3};
    m.reloadDisplays();
    EXPECT_EQ(m.selectedDisplayID(), 3u);

    // Nothing listed: the platform's main display.
    fake.displayModes->displays.clear();
    fake.displayModes->main = 8;
    m.reloadDisplays();
    EXPECT_EQ(m.selectedDisplayID(), 8u);
    EXPECT_TRUE(m.modes().isEmpty());
}

TEST_F(DisplayModelFixture, applyAndMonitorChangesRecaptureOnlyWhenTheScreenChanged)
{
    fake.capture->images.insert(1, QImage(1440, 900, QImage::Format_RGB32));
    AppModel& m = makeModel();
    m.setMenuBarCover(MenuBarCover::entire);
    const int capturesBefore = fake.capture->captures;

    const DisplayMode small{11, 1280, 800, 1280, 800, 60.0};
    m.apply(small);
    EXPECT_EQ(fake.displayModes->switches, Switches({{1u, 11}}));
    // The cached capture of the old size is dropped and the panel read again.
    EXPECT_GT(fake.capture->captures, capturesBefore);

    // Refused: nothing is reported, the chosen size is still shown, nothing recaptured.
    fake.displayModes->refuse = true;
    const int capturesAfterSwitch = fake.capture->captures;
    const DisplayMode large{10, 1440, 900, 1440, 900, 60.0};
    m.apply(large);
    EXPECT_EQ(m.currentWidth(), 1440);
    EXPECT_EQ(m.lastAppliedMode()->id, 10);
    EXPECT_EQ(fake.capture->captures, capturesAfterSwitch);

    // A monitor change recaptures at once.
    fake.screens->announceChange();
    EXPECT_EQ(fake.capture->captures, capturesAfterSwitch + 1);
}

TEST_F(DisplayModelFixture, offRestoresEveryDisplayAndOnReappliesTheLastModeToTheSelectedOne)
{
    fake.displayModes->displays.append(2);
    fake.displayModes->modes.insert(2, {mode(20, 1920, 1080, 60)});
    fake.displayModes->current.insert(2, 20);
    AppModel& m = makeModel();
    m.setEnabled(false);
    EXPECT_EQ(fake.displayModes->switches, Switches({{1u, 10}, {2u, 20}}));
    fake.displayModes->switches.clear();
    // While off a choice is only remembered and shown.
    m.apply({11, 1280, 800, 1280, 800, 60.0});
    EXPECT_TRUE(fake.displayModes->switches.isEmpty());
    EXPECT_EQ(m.currentWidth(), 1280);
    // Someone reads the real size in between.
    m.reloadModes();
    EXPECT_EQ(m.currentWidth(), 1440);

    // Switching on applies it to the display selected now and leaves the shown size alone.
    m.setSelectedDisplayID(2);
    m.setEnabled(true);
    EXPECT_EQ(fake.displayModes->switches, Switches({{2u, 11}}));
    EXPECT_EQ(m.currentWidth(), 1440);
    m.setEnabled(false);
    EXPECT_EQ(m.lastAppliedMode()->id, 11);
}
