// Preferences: defaults, stored booleans only, the shell and autostart effects.
#include "core/Preferences.h"

#include "FakePlatform.h"
#include "TestDirs.h"
#include "core/DefaultsStore.h"
#include "core/ShellHooks.h"
#include "platform/AutostartLoginItems.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

class RecordingShell final : public ShellHooks {
public:
    QStringList log;
    void setTaskbarPresence(bool shown) override
    {
        log << (shown ? QStringLiteral("taskbar on") : QStringLiteral("taskbar off"));
    }
    void bringToFront() override { log << QStringLiteral("front"); }
    void setStatusItemVisible(bool visible) override
    {
        log << (visible ? QStringLiteral("tray on") : QStringLiteral("tray off"));
    }
};

QStringList g_messages;
void collect(QtMsgType, const QMessageLogContext&, const QString& message)
{
    g_messages << message;
}

struct PreferencesFixture : ::testing::Test {
    TestDirs dirs;
    DefaultsStore store{dirs.defaultsPath()};
    FakeLoginItems login;
    RecordingShell shell;
};

} // namespace

TEST_F(PreferencesFixture, firstLaunchAppliesTheDefaultsInOrder)
{
    Preferences preferences(store, login, &shell);
    preferences.apply();
    EXPECT_EQ(shell.log, QStringList({"taskbar on", "front", "tray off"}));
    EXPECT_EQ(login.registrations + login.unregistrations, 0);
    // apply() writes what the system reports.
    EXPECT_EQ(store.boolValue(StoredKeys::launchAtLogin), false);
}

TEST_F(PreferencesFixture, loginItemIsChangedOnlyWhenTheSystemDiffers)
{
    Preferences preferences(store, login, nullptr);

    login.current = LoginItems::Status::enabled;
    preferences.setLaunchAtLogin(true);
    EXPECT_EQ(login.registrations, 0);

    // Awaiting approval is not enabled: apply() turns the preference off, and on registers.
    login.current = LoginItems::Status::requiresApproval;
    preferences.apply();
    EXPECT_FALSE(preferences.launchAtLogin());
    EXPECT_EQ(login.unregistrations, 0);
    preferences.setLaunchAtLogin(true);
    EXPECT_EQ(login.registrations, 1);
}

TEST_F(PreferencesFixture, failedLoginItemChangeIsLoggedAndKept)
{
    login.failure = QStringLiteral("read-only file system");
    Preferences preferences(store, login, nullptr);

    g_messages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collect);
    preferences.setLaunchAtLogin(true);
    qInstallMessageHandler(previous);

    EXPECT_TRUE(preferences.launchAtLogin());
    EXPECT_EQ(store.boolValue(StoredKeys::launchAtLogin), true);
    EXPECT_EQ(g_messages,
              QStringList({"Quillet: launch-at-login update failed: read-only file system"}));
}

TEST(AutostartLoginItems, entryFileDecidesTheStatus)
{
    TestDirs dirs;
    AutostartLoginItems items(QString(), QStringLiteral("/opt/My Apps/quillet"));
    EXPECT_EQ(items.entryPath(), dirs.configHome() + QStringLiteral("/autostart/quillet.desktop"));
    EXPECT_EQ(items.status(), LoginItems::Status::notRegistered);

    QString error;
    ASSERT_TRUE(items.registerItem(&error));
    EXPECT_EQ(items.status(), LoginItems::Status::enabled);
    QFile entry(items.entryPath());
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QByteArray text = entry.readAll();
    EXPECT_TRUE(text.contains("Exec=\"/opt/My Apps/quillet\"\n"));
    entry.close();

    // A user who switched the entry off in the session settings.
    ASSERT_TRUE(entry.open(QIODevice::Append));
    entry.write("Hidden=true\n");
    entry.close();
    EXPECT_EQ(items.status(), LoginItems::Status::notRegistered);

    ASSERT_TRUE(items.unregisterItem(&error));
    EXPECT_FALSE(QFile::exists(items.entryPath()));
}
