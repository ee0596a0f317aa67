// The tray item scan and the item names: which windows count as items, their order, labels,
// numbering and the clock, and how names are chosen.
#include "core/MenuBarScanner.h"

#include "FakePlatform.h"
#include "core/MenuBarNamer.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

WindowListEntry window(quint32 number, QRectF bounds,
                       std::optional<QString> owner = QStringLiteral("app"), int layer = 25)
{
    WindowListEntry e;
    e.layer = layer;
    e.number = number;
    e.bounds = bounds;
    e.ownerName = std::move(owner);
    return e;
}

NamedTrayElement element(double x, QString description, QString title = {}, QString appName = {})
{
    return NamedTrayElement{x, std::move(description), std::move(title), std::move(appName)};
}

QStringList labels(const QList<MenuBarItem>& items)
{
    QStringList result;
    for (const MenuBarItem& item : items)
        result << item.label;
    return result;
}

QList<quint32> ids(const QList<MenuBarItem>& items)
{
    QList<quint32> result;
    for (const MenuBarItem& item : items)
        result << item.id;
    return result;
}

struct ScannerFixture : ::testing::Test {
    FakePlatform fake;
    ScannerFixture() { fake.addStandardMonitor(); } // 1440 × 900

    QList<MenuBarItem> scan() { return MenuBarScanner::currentItems(fake); }
    QList<NamedExtra> names() { return MenuBarNamer::named(fake); }
    void addScreen(QRectF frame)
    {
        ScreenInfo s;
        s.frame = frame;
        fake.screens->list.append(s);
    }
};

} // namespace

TEST_F(ScannerFixture, keepsOnlySmallWindowsAtTheTopOnMenuBarLayers)
{
    auto& w = fake.windowList->entries;
    w << window(1, {100, 1, 20, 44});                  // 44 high at y = 1: an item
    w << window(2, {200, 0, 20, 45});                  // 45 high
    w << window(3, {300, 2, 20, 20});                  // top edge at y = 2
    w << window(5, {400, 0, 864, 24}, u"wide"_qs, 24); // exactly 0.6 × 1440
    w << window(6, {1300, 0, 864.5, 24});              // just over
    w << window(7, {600, 0, 20, 20}, u"normal"_qs, 0);
    w << window(8, {700, 0, 20, 20}, u"over"_qs, 26);
    EXPECT_EQ(ids(scan()), (QList<quint32>{1, 5}));
}

TEST_F(ScannerFixture, panelsAreNeverItemsAndTheirIconsKeepTheirOwnExtents)
{
    auto& w = fake.windowList->entries;
    w << window(4, {0, 0, 1440, 24}, u"panel"_qs, 24); // the full-width panel
    EXPECT_TRUE(scan().isEmpty());

    // A 48-point panel half the screen wide, its icons 22 points high, centred in it.
    w.clear();
    w << window(10, {360, 0, 720, 48}, u"xfce4-panel"_qs, 24);
    w << window(11, {900, 13, 22, 22});
    w << window(12, {930, 13, 22, 22});
    w << window(13, {1200, 13, 22, 22}); // outside the panel: its top edge is below 1
    const QList<MenuBarItem> items = scan();
    EXPECT_EQ(ids(items), (QList<quint32>{11, 12}));
    EXPECT_EQ(items[0].frame, QRectF(900, 900 - 35, 22, 22));
}

TEST_F(ScannerFixture, convertsToBottomLeftCoordinatesAndKeepsItemsLeftOfThePrimary)
{
    addScreen({-1280, 100, 1280, 800}); // left of the primary, its top 1 point higher
    fake.windowList->entries << window(9, {-200, -0.5, 22, 22}) << window(10, {1000, 4, 30, 22});
    fake.windowList->entries << window(11, {1000, 0, 30, 22});
    const QList<MenuBarItem> items = scan();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[0].id, 9u);
    EXPECT_EQ(items[0].frame, QRectF(-200, 900 - 21.5, 22, 22));
    EXPECT_EQ(items[1].frame, QRectF(1000, 878, 30, 22));
}

TEST_F(ScannerFixture, thePrimaryMonitorDecidesTheTopAndTheWidthLimit)
{
    // A monitor arranged lower: its panel windows start at top-left y 50; one arranged higher:
    // its panel windows have a negative top-left y.
    addScreen({1440, -50, 1280, 800});
    addScreen({-1280, 200, 1280, 800});
    fake.windowList->entries << window(1, {1500, 50, 22, 22}) << window(2, {-300, -200, 22, 22});
    EXPECT_EQ(ids(scan()), (QList<quint32>{2}));

    // A wider primary frame widens the limit.
    fake.windowList->entries = {window(4, {0, 0, 1440, 24}, u"panel"_qs, 24)};
    fake.screens->list[0].frame.setWidth(3000);
    EXPECT_EQ(ids(scan()), (QList<quint32>{4}));
    // No monitor at the origin: no primary, nothing.
    fake.screens->list[0].frame.moveTo(1, 0);
    EXPECT_TRUE(scan().isEmpty());
}

TEST_F(ScannerFixture, stableOrderByLeftEdgeAndUnknownOwnersNumbered)
{
    auto& w = fake.windowList->entries;
    w << window(1, {300, 0, 22, 22}, std::nullopt) << window(2, {100, 0, 22, 22}, std::nullopt);
    w << window(3, {300, 0, 22, 22}, u"b"_qs) << window(4, {200, 0, 22, 22}, u"a"_qs);
    const QList<MenuBarItem> items = scan();
    EXPECT_EQ(ids(items), (QList<quint32>{2, 4, 1, 3}));
    EXPECT_EQ(labels(items), (QStringList{"Unknown 1", "a", "Unknown 2", "b"}));
    EXPECT_EQ(items[0].owner, "Unknown");
}

TEST_F(ScannerFixture, namesByNearestEntryWithinSixteenPoints)
{
    auto& w = fake.windowList->entries;
    w << window(1, {100, 0, 22, 22}) << window(2, {200, 0, 22, 22}) << window(3, {300, 0, 22, 22});
    auto& e = fake.itemNames->elements;
    e << element(116.0, u"Sixteen"_qs);                               // names item 1
    e << element(216.5, u"Too far"_qs);                               // 16.5 from item 2
    e << element(297.0, u"First"_qs) << element(303.0, u"Second"_qs); // a tie at 3
    EXPECT_EQ(labels(scan()), (QStringList{"Sixteen", "app", "First"}));
}

TEST_F(ScannerFixture, oneEntryMayNameSeveralItemsWhichAreThenNumbered)
{
    auto& w = fake.windowList->entries;
    w << window(1, {100, 0, 22, 22}) << window(2, {110, 0, 22, 22}) << window(3, {400, 0, 22, 22});
    fake.itemNames->elements << element(105, u"Network"_qs);
    EXPECT_EQ(labels(scan()), (QStringList{"Network 1", "Network 2", "app"}));
    // The number is appended to the name as it is, whatever characters it holds.
    fake.itemNames->elements = {element(105, u"Load %1"_qs)};
    EXPECT_EQ(labels(scan()), (QStringList{"Load %1 1", "Load %1 2", "app"}));
}

TEST_F(ScannerFixture, clockRuleOnlyWithoutNames)
{
    const QString cc = QStringLiteral("Control Center");
    auto& w = fake.windowList->entries;
    w << window(1, {100, 0, 30, 22}, cc) << window(2, {200, 0, 30, 22}, cc)
      << window(3, {1300, 0, 100, 22}, cc);
    EXPECT_EQ(labels(scan()), (QStringList{"Control Center 1", "Control Center 2", "Clock"}));

    w[2].bounds.setWidth(80);
    EXPECT_EQ(labels(scan()).last(), "Control Center 3");

    // The rightmost item must be the control centre's.
    w[2].bounds.setWidth(100);
    w << window(4, {1410, 0, 22, 22});
    EXPECT_EQ(labels(scan()).last(), "app");
    w.removeLast();

    // Any name at all, even one far from every item, turns the rule off.
    fake.itemNames->elements << element(700, u"Elsewhere"_qs);
    EXPECT_EQ(labels(scan()).last(), "Control Center 3");
}

TEST_F(ScannerFixture, namerChoosesDescriptionThenTitleThenApplicationName)
{
    auto& e = fake.itemNames->elements;
    e << element(10, u"  Wi-Fi, connected"_qs, u"ignored"_qs);
    e << element(20, u" ,x"_qs, u"ignored"_qs); // empty first piece stays
    e << element(30, u"\tVolume\t"_qs);
    e << element(40, {}, u"Clipper"_qs, u"ClipperHelper"_qs);
    e << element(50, {}, u"com.example.agent"_qs, u"Clipper Helper"_qs);
    e << element(60, {}, {}, u"FooHelperAgent"_qs);
    e << element(70, {}, {}, u"Foo Menu Bar Extra"_qs);
    e << element(80, {}, {}, u"Menu Bar Extra"_qs);
    e << element(90, {}, {}, u"Foo MenuBarExtra"_qs);
    e << element(100, {}, {}, u"Helper"_qs);
    e << element(110, {}, u"a.b"_qs, QString()); // no name at all: skipped
    e << element(120, u"Line\nbreak "_qs);
    QStringList got;
    for (const NamedExtra& n : names())
        got << n.name;
    EXPECT_EQ(got, (QStringList{"Wi-Fi", "", "Volume", "Clipper", "Clipper", "FooHelper", "Foo",
                                "Menu Bar Extra", "Foo", "Helper", "Line\nbreak"}));
}

TEST_F(ScannerFixture, namerSkipsTheLeftEdgeAndNeedsPermission)
{
    auto& e = fake.itemNames->elements;
    e << element(0, u"Zero"_qs) << element(-40, u"Left"_qs) << element(0.5, u"Half"_qs);
    EXPECT_EQ(names(), (QList<NamedExtra>{{0.5, "Half"}}));

    fake.windowControl->trusted = false;
    EXPECT_TRUE(names().isEmpty());
    // Without names the scanner falls back to owners and the clock rule.
    fake.windowList->entries << window(1, {1300, 0, 100, 22}, u"Control Center"_qs);
    EXPECT_EQ(labels(scan()), (QStringList{"Clock"}));
}

TEST_F(ScannerFixture, iconsOfOneProgramKeepTheirNumbersWhenTheyDockAgain)
{
    const QList<ScreenInfo> screens = fake.screens->list;
    auto yad = [](quint32 id, double x, qint64 pid) {
        WindowListEntry w = window(id, {x, 0, 22, 22}, u"yad"_qs);
        w.ownerPid = pid;
        return w;
    };
    // At first sight the icons are numbered left to right, whatever their processes.
    QList<qint64> order;
    QList<MenuBarItem> items = MenuBarScanner::itemsFrom(
        screens, {yad(1, 100, 2000), yad(2, 130, 1000), yad(3, 160, 0)}, {}, order);
    EXPECT_EQ(labels(items), (QStringList{u"yad 1"_qs, u"yad 2"_qs, u"yad 3"_qs}));
    MenuBarScanner::rememberProcesses(order, items);
    EXPECT_EQ(order, (QList<qint64>{2000, 1000}));

    // Docked again in the other order, with new windows: each process keeps its number; an
    // unknown owner comes after the known ones.
    items = MenuBarScanner::itemsFrom(
        screens, {yad(7, 100, 0), yad(8, 130, 1000), yad(9, 160, 2000)}, {}, order);
    EXPECT_EQ(labels(items), (QStringList{u"yad 3"_qs, u"yad 2"_qs, u"yad 1"_qs}));

    // A process seen for the first time comes after those seen before; the memory is bounded.
    items = MenuBarScanner::itemsFrom(screens, {yad(10, 50, 3000), yad(11, 100, 1000)}, {}, order);
    EXPECT_EQ(labels(items), (QStringList{u"yad 2"_qs, u"yad 1"_qs}));
    MenuBarScanner::rememberProcesses(order, items, 2);
    EXPECT_EQ(order, (QList<qint64>{1000, 3000}));
}

// Many items and entries, on a coarse grid so that equal distances and equal positions are
// common: every item gets the name the plain rule (nearest, first listed on a tie, within 16
// points) gives.
TEST(MenuBarScannerNaming, manyItemsGetTheNearestFirstListedName)
{
    ScreenInfo screen;
    screen.frame = QRectF(0, 0, 4000, 1000);
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::srand(seed);
        QList<WindowListEntry> windows;
        for (quint32 i = 0; i < 120; ++i)
            windows << window(i + 1, {double(std::rand() % 400) * 4, 0, 20, 20});
        QList<NamedExtra> named;
        for (int i = 0; i < 90; ++i)
            named << NamedExtra{double(std::rand() % 200) * 8 + (std::rand() % 2) * 0.5,
                                QStringLiteral("n%1").arg(i)};
        for (const MenuBarItem& item : MenuBarScanner::itemsFrom({screen}, windows, named)) {
            qsizetype best = 0;
            for (qsizetype i = 1; i < named.size(); ++i) {
                if (std::abs(named[i].x - item.frame.x()) <
                    std::abs(named[best].x - item.frame.x()))
                    best = i;
            }
            const bool near = std::abs(named[best].x - item.frame.x()) <= 16.0;
            // Numbered duplicates end in " <n>"; the name is what comes before.
            const QString label = item.label.section(QLatin1Char(' '), 0, 0);
            EXPECT_EQ(label, near ? named[best].name : u"app"_qs)
                << "seed " << seed << " item at " << item.frame.x();
        }
    }
}
