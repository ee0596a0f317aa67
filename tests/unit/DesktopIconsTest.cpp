// The desktop-icon switch: undoing only its own change, the user's style kept in a record that
// survives a crash, failures that change nothing, and the order of commands and restarts.
#include "core/DesktopIcons.h"

#include "FakeApp.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace {

struct IconsFixture : ::testing::Test {
    TestDirs dirs;
    FakeDesktopIcons backend;
    QString record = dirs.dataHome() + QStringLiteral("/Quillet/icon-style.json");
};

} // namespace

TEST_F(IconsFixture, undoesOnlyWhatItHid)
{
    DesktopIcons icons(backend, record);
    // Nothing hidden yet, so nothing to undo; hiding twice runs twice; one restore undoes it.
    icons.restore();
    icons.setHidden(true);
    icons.setHidden(true);
    icons.restore();
    icons.restore();
    // Showing clears the flag, so a later restore has nothing to undo.
    icons.setHidden(true);
    icons.setHidden(false);
    icons.restore();
    EXPECT_EQ(backend.log, QStringList({"hide", "restart", "hide", "restart", "show", "restart",
                                        "hide", "restart", "show", "restart"}));
    EXPECT_FALSE(QFile::exists(record));
}

TEST_F(IconsFixture, theUsersStyleOutlivesACrashAndComesBackExactly)
{
    for (const DesktopIconsBackend::Style users :
         {DesktopIconsBackend::Style(1), DesktopIconsBackend::Style()}) {
        backend.style = users;
        {
            DesktopIcons icons(backend, record);
            icons.setHidden(true);
            EXPECT_EQ(backend.style, DesktopIconsBackend::Style(0));
            // The process ends here without restoring: only the record is left.
        }
        ASSERT_TRUE(QFile::exists(record));
        DesktopIcons relaunched(backend, record);
        EXPECT_TRUE(relaunched.didHide());
        // Hiding again keeps the user's style, not the hidden one now in force.
        relaunched.setHidden(true);
        relaunched.restore();
        EXPECT_EQ(backend.style, users) << (users ? *users : -1);
        EXPECT_FALSE(QFile::exists(record));
        EXPECT_FALSE(DesktopIcons(backend, record).didHide());
    }
}

TEST_F(IconsFixture, failuresChangeNothingAndLoseNothing)
{
    // An unreadable style: the icons are left as they are, and no record claims otherwise.
    backend.style = 1;
    backend.readable = false;
    DesktopIcons icons(backend, record);
    icons.setHidden(true);
    EXPECT_TRUE(backend.log.isEmpty());
    EXPECT_FALSE(QFile::exists(record));

    // A record that cannot be written: nothing is hidden either.
    backend.readable = true;
    QDir().mkpath(record);
    icons.setHidden(true);
    EXPECT_TRUE(backend.log.isEmpty());
    QDir().rmdir(record);

    // A restore whose write fails keeps the record for the next launch.
    icons.setHidden(true);
    backend.writable = false;
    icons.restore();
    EXPECT_EQ(backend.style, DesktopIconsBackend::Style(0));
    EXPECT_TRUE(DesktopIcons(backend, record).didHide());
    backend.writable = true;
    DesktopIcons(backend, record).restore();
    EXPECT_EQ(backend.style, DesktopIconsBackend::Style(1));

    // A damaged record is moved aside, never read as a style nor overwritten.
    QDir().mkpath(QFileInfo(record).path());
    QFile damaged(record);
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write("{\"style\": \"1\"");
    damaged.close();
    EXPECT_FALSE(DesktopIcons(backend, record).didHide());
    EXPECT_FALSE(QFile::exists(record));
    const QStringList aside =
        QDir(QFileInfo(record).path()).entryList({QStringLiteral("icon-style.json.corrupt-*")});
    EXPECT_EQ(aside.size(), 1);
}

TEST_F(IconsFixture, showingIconsTheUserHidBeforeLaunchWritesTheShownStyle)
{
    backend.style = 0;
    DesktopIcons icons(backend, record);
    icons.setHidden(false);
    EXPECT_EQ(backend.style, DesktopIconsBackend::Style(2));
    // Hidden by the user and hidden again by us: quitting leaves them hidden, with no restart.
    backend.style = 0;
    backend.log.clear();
    icons.setHidden(true);
    icons.restore();
    EXPECT_EQ(backend.log, QStringList({"hide", "restart", "hide"}));
}

TEST_F(IconsFixture, commandsRunInTurnAndABurstRestartsOnceWhenTheDesktopIsReady)
{
    backend.deferred = true;
    DesktopIcons icons(backend, record);
    icons.setHidden(true);
    icons.setHidden(false);
    icons.setHidden(true);
    EXPECT_FALSE(icons.isSettled());
    // Only the first read has been asked for; each answer lets the next command go.
    while (!backend.pending.isEmpty() && !backend.log.contains(QStringLiteral("restart")))
        backend.answerPending();
    EXPECT_EQ(backend.log, QStringList({"hide", "show", "hide", "restart"}));
    EXPECT_FALSE(icons.isDesktopReady());
    // A command given while the desktop restarts waits for it to be ready.
    icons.restore();
    EXPECT_EQ(backend.log.size(), 4);
    backend.answerPending();
    EXPECT_TRUE(icons.isDesktopReady());
    backend.answerPending();
    EXPECT_EQ(backend.log.mid(4), QStringList({"show", "restart"}));
    backend.answerPending();
    EXPECT_TRUE(icons.isSettled());
}

TEST_F(IconsFixture, aHeldRestartRunsLastWithoutWaitingForTheDesktop)
{
    DesktopIcons icons(backend, record);
    icons.setHidden(true);
    backend.log.clear();
    backend.deferred = true;
    icons.holdRestarts();
    icons.restore();
    backend.answerPending();
    EXPECT_TRUE(icons.onlyRestartLeft());
    EXPECT_FALSE(icons.isSettled());
    EXPECT_EQ(backend.log, QStringList({"show"}));
    icons.releaseRestarts(false);
    EXPECT_EQ(backend.log, QStringList({"show", "restart"}));
    EXPECT_TRUE(icons.isSettled());
    EXPECT_TRUE(icons.isDesktopReady());
}

TEST(DesktopIconsModel, picturesWaitUntilTheRestartedDesktopIsReady)
{
    FakeApp app;
    app.fake.desktopIcons->deferred = true;
    AppModel& m = app.makeModel();
    m.setDesktopIconsHidden(true);
    while (!app.fake.desktopIcons->log.contains(QStringLiteral("restart")))
        app.fake.desktopIcons->answerPending();
    m.setBackground(DesktopBackground::color);
    EXPECT_EQ(m.wallpaper().choice().mode, DesktopBackground::keep);
    app.fake.desktopIcons->answerPending();
    EXPECT_EQ(m.wallpaper().choice().mode, DesktopBackground::color);
}
