// The app model: master switch, desktop choices, launch restore, permissions and the poll.
#include "FakeApp.h"

#include <QFile>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

struct ModelFixture : ::testing::Test, FakeApp {};

qsizetype publishedCount(const QSignalSpy& spy, AppModel::Field field)
{
    return std::count_if(spy.begin(), spy.end(), [field](const QList<QVariant>& args) {
        return args.at(0).value<AppModel::Field>() == field;
    });
}

} // namespace

TEST_F(ModelFixture, constructionLoadsLabelsAndPicturesAndPushesOnce)
{
    const QString mine = dirs.root() + QStringLiteral("/mine.png");
    QFile(mine).open(QIODevice::WriteOnly);
    store.setStringList(StoredKeys::hiddenItemLabels, {QStringLiteral("Clock")});
    store.setString(StoredKeys::lightWallpaperURL, mine);
    store.setString(StoredKeys::darkWallpaperURL, dirs.root() + QStringLiteral("/gone.png"));

    AppModel& m = makeModel();
    EXPECT_EQ(m.hiddenLabels(), QSet<QString>({QStringLiteral("Clock")}));
    EXPECT_EQ(m.lightWallpaperURL(), mine);
    EXPECT_EQ(m.darkWallpaperURL(), dirs.resourceDir() + QStringLiteral("/Dark.png"));
    EXPECT_EQ(m.wallpaper().choice().lightURL, mine);

    // A cleared picture is forgotten until the next launch, which offers the default again.
    m.setLightWallpaperURL(std::nullopt);
    EXPECT_EQ(m.lightWallpaperURL(), std::nullopt);
    EXPECT_EQ(store.stringValue(StoredKeys::lightWallpaperURL), std::nullopt);
    EXPECT_EQ(makeModel().lightWallpaperURL(), dirs.resourceDir() + QStringLiteral("/Light.png"));
}

TEST_F(ModelFixture, equalValuesAreIgnoredByTheMasterSwitchAndPublishedByTheRest)
{
    AppModel& m = makeModel();
    QSignalSpy spy(&m, &AppModel::published);
    m.setEnabled(true);
    EXPECT_EQ(spy.count(), 0);
    EXPECT_TRUE(fake.desktopIcons->log.isEmpty());
    EXPECT_TRUE(fake.displayModes->switches.isEmpty());
    m.setBackground(DesktopBackground::keep);
    m.setBackground(DesktopBackground::keep);
    EXPECT_EQ(spy.count(), 2);
    EXPECT_EQ(store.stringValue(StoredKeys::background), QStringLiteral("keep"));
}

TEST_F(ModelFixture, iconsChosenWhileOffAreHiddenWhenSwitchedOn)
{
    AppModel& m = makeModel();
    m.setEnabled(false);
    // Never hidden by us: switching off runs no command.
    EXPECT_TRUE(fake.desktopIcons->log.isEmpty());

    m.setDesktopIconsHidden(true);
    EXPECT_EQ(store.boolValue(StoredKeys::desktopIconsHidden), true);
    EXPECT_TRUE(fake.desktopIcons->log.isEmpty());

    m.setEnabled(true);
    EXPECT_EQ(fake.desktopIcons->log, QStringList({"hide", "restart"}));

    fake.desktopIcons->log.clear();
    m.setEnabled(false);
    EXPECT_EQ(fake.desktopIcons->log, QStringList({"show", "restart"}));
    // The choice survives the switch.
    EXPECT_TRUE(m.desktopIconsHidden());
}

TEST_F(ModelFixture, restoreReadsNothingWhenOffAndIgnoresWrongCase)
{
    for (const bool restore : {false, true}) {
        store.setBool(StoredKeys::restoreOnLaunch, restore);
        store.setString(StoredKeys::background, restore ? u"Image"_qs : u"color"_qs);
        store.setString(StoredKeys::menuBarCover, restore ? u"Entire"_qs : u"entire"_qs);
        store.setBool(StoredKeys::desktopIconsHidden, !restore);
        AppModel& m = makeModel();
        m.restoreIfEnabled();
        EXPECT_EQ(m.background(), DesktopBackground::keep) << restore;
        EXPECT_EQ(m.menuBarCover(), MenuBarCover::keep) << restore;
        EXPECT_FALSE(m.desktopIconsHidden());
        EXPECT_TRUE(fake.desktopIcons->log.isEmpty());
    }
    EXPECT_EQ(store.stringValue(StoredKeys::menuBarCover), QStringLiteral("Entire"));
}

TEST_F(ModelFixture, restoreReappliesStoredChoicesInOrder)
{
    store.setBool(StoredKeys::restoreOnLaunch, true);
    store.setString(StoredKeys::backgroundColor, QStringLiteral("#1E90FF"));
    store.setString(StoredKeys::background, QStringLiteral("color"));
    store.setBool(StoredKeys::desktopIconsHidden, true);
    store.setString(StoredKeys::menuBarCover, QStringLiteral("items"));
    store.setStringList(StoredKeys::hiddenItemLabels, {QStringLiteral("Clock")});
    AppModel& m = makeModel();
    m.restoreIfEnabled();

    EXPECT_EQ(m.backgroundColor(), (RgbColor{30 / 255.0, 144 / 255.0, 1.0, 1.0}));
    // The push of the background already used the stored colour.
    EXPECT_EQ(m.wallpaper().choice().mode, DesktopBackground::color);
    EXPECT_EQ(m.wallpaper().choice().color, m.backgroundColor());
    EXPECT_EQ(fake.desktopIcons->log, QStringList({"hide", "restart"}));
    EXPECT_EQ(m.menuBarCover(), MenuBarCover::items);

    // The stored item selection follows 0.6 s later.
    QSignalSpy spy(&m, &AppModel::published);
    scheduler.advance(599ms);
    const auto before = publishedCount(spy, AppModel::Field::selectedItemIDs);
    scheduler.advance(1ms);
    EXPECT_GT(publishedCount(spy, AppModel::Field::selectedItemIDs), before);
}

TEST_F(ModelFixture, accessibilityPollRunsOnceAndEndsWithOneRefresh)
{
    fake.windowControl->trusted = false;
    AppModel& m = makeModel();
    m.requestAccessibility();
    m.requestAccessibility();
    EXPECT_EQ(fake.windowControl->prompts, 2);
    EXPECT_EQ(m.accessibilityPollCount(), 30);
    EXPECT_EQ(scheduler.activeCount(), 1);

    scheduler.advance(29s);
    EXPECT_EQ(m.accessibilityPollCount(), 1);
    QSignalSpy spy(&m, &AppModel::published);
    scheduler.advance(1s);
    // Never granted: the poll ends after 30 ticks with one refresh of the permissions.
    EXPECT_EQ(m.accessibilityPollCount(), 0);
    EXPECT_EQ(scheduler.activeCount(), 0);
    EXPECT_EQ(spy.count(), 3);
}

TEST_F(ModelFixture, grantingDuringThePollRefreshesWindowsAndItemsOnce)
{
    fake.windowControl->trusted = false;
    fake.windowControl->list = {{101, QStringLiteral("Editor"), QStringLiteral("notes.txt")}};
    AppModel& m = makeModel();
    EXPECT_TRUE(m.windows().isEmpty());
    m.requestAccessibility();

    scheduler.advance(3s);
    fake.windowControl->trusted = true;
    QSignalSpy spy(&m, &AppModel::published);
    scheduler.advance(1s);
    EXPECT_EQ(m.accessibilityPollCount(), 0);
    EXPECT_TRUE(m.canControlWindows());
    EXPECT_TRUE(m.canNameItems());
    ASSERT_EQ(m.windows().size(), 1);
    EXPECT_EQ(m.windows().first().menuLabel(), QStringLiteral("Editor \u2014 notes.txt"));
    EXPECT_EQ(publishedCount(spy, AppModel::Field::windows), 1);
    scheduler.advance(60s);
    EXPECT_EQ(scheduler.activeCount(), 0);
}

TEST_F(ModelFixture, deferredWorkDoesNothingOnceTheModelIsGone)
{
    fake.windowControl->trusted = false;
    store.setBool(StoredKeys::restoreOnLaunch, true);
    store.setString(StoredKeys::menuBarCover, QStringLiteral("items"));
    AppModel& m = makeModel();
    m.restoreIfEnabled();
    m.requestAccessibility();
    model.reset();
    scheduler.advance(60s);
    EXPECT_EQ(scheduler.activeCount(), 0);
}

TEST_F(ModelFixture, aDesktopThatTakesOverGetsTheChoicesAgainButNotWhileOff)
{
    AppModel& m = makeModel();
    m.setBackground(DesktopBackground::color);
    const qsizetype shown = fake.desktopPictures->setRequests.size();
    ASSERT_GT(shown, 0);

    // xfdesktop restarted (by someone else): the pictures go up again, the icon style in the
    // desktop's settings outlives it, so no icon command runs.
    fake.desktopSupport->takeOver(fake.desktopSupport->current);
    EXPECT_GT(fake.desktopPictures->setRequests.size(), shown);
    EXPECT_TRUE(fake.desktopIcons->log.isEmpty());

    m.setEnabled(false);
    const qsizetype afterOff = fake.desktopPictures->setRequests.size();
    fake.desktopSupport->takeOver(fake.desktopSupport->current);
    EXPECT_EQ(fake.desktopPictures->setRequests.size(), afterOff);
}

TEST_F(ModelFixture, aDesktopThatTakesOverWhileQuittingGetsTheUsersPicturesBack)
{
    fake.desktopPictures->pictures.insert(QStringLiteral("DP-1"), QStringLiteral("/mine.png"));
    AppModel& m = makeModel();
    m.setBackground(DesktopBackground::color);
    ASSERT_NE(fake.desktopPictures->pictures.value(QStringLiteral("DP-1")), u"/mine.png");

    // A desktop program that comes back while the quit waits (the switch stays on for the next
    // launch) must not be given the colour again.
    m.restoreDesktop([this](const std::function<bool()>&) {
        fake.desktopSupport->takeOver(fake.desktopSupport->current);
    });
    EXPECT_EQ(fake.desktopPictures->pictures.value(QStringLiteral("DP-1")), u"/mine.png");
    EXPECT_TRUE(m.enabled());
}

TEST_F(ModelFixture, iconsHiddenWhereNoDesktopKeptThemAreHiddenOnceOneCanAndAfterCommandsSettle)
{
    DesktopSupport::State none = fake.desktopSupport->current;
    none.icons = false;
    none.iconsGap = QStringLiteral("no program draws icons on this desktop");
    fake.desktopSupport->current = none;
    AppModel& m = makeModel();
    m.setDesktopIconsHidden(true);
    fake.desktopIcons->log.clear();

    // The desktop program appears while an icon command is still under way: it is followed
    // once the command is done, not in the middle of it.
    fake.desktopIcons->deferred = true;
    m.setDesktopIconsHidden(false);
    m.setDesktopIconsHidden(true);
    DesktopSupport::State some = none;
    some.icons = true;
    some.iconsGap.clear();
    fake.desktopSupport->takeOver(some);
    fake.desktopIcons->deferred = false;
    fake.desktopIcons->answerPending();
    while (!fake.desktopIcons->pending.isEmpty())
        fake.desktopIcons->answerPending();
    EXPECT_EQ(fake.desktopIcons->log.count(QStringLiteral("hide")), 2);
    EXPECT_EQ(m.desktopSupport().icons, true);
}
