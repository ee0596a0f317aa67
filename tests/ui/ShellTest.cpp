// The shell's widgets: the settings rows and their bindings, the application menu, the tray
// menu, and the update feed's verdicts.
#include "FakeApp.h"
#include "UpdateFeed.h"
#include "platform/AutostartLoginItems.h"
#include "ui/MainWindow.h"
#include "ui/PreferencesView.h"
#include "ui/StatusItemController.h"
#include "ui/UpdaterController.h"

#include <QAccessible>
#include <QCheckBox>
#include <QLabel>
#include <QMenu>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QStringList actionTexts(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* action : menu->actions())
        texts << (action->isSeparator() ? QStringLiteral("---") : action->text());
    return texts;
}

} // namespace

TEST(PreferencesView, rowsInOrderBoundToThePreferences)
{
    TestDirs dirs;
    DefaultsStore store(dirs.defaultsPath());
    AutostartLoginItems login;
    Preferences prefs(store, login, nullptr);
    PreferencesView view(prefs);
    view.show();

    const QStringList titles{"Restore settings on launch", "Show in Dock", "Show in menu bar",
                             "Launch at login"};
    int previousY = -1;
    for (const QString& title : titles) {
        QCheckBox* toggle = view.toggle(title);
        ASSERT_NE(toggle, nullptr) << title.toStdString();
        EXPECT_EQ(toggle->accessibleName(), title);
        const int y = toggle->mapTo(&view, QPoint()).y();
        EXPECT_GT(y, previousY);
        previousY = y;
    }
    // Explanations wrap but are never cut: every label gets the height it needs.
    for (const QLabel* label : view.findChildren<QLabel*>())
        EXPECT_GE(label->height(), label->heightForWidth(label->width()))
            << label->text().toStdString();

    EXPECT_TRUE(view.toggle("Show in Dock")->isChecked());
    QTest::mouseClick(view.toggle("Show in Dock"), Qt::LeftButton);
    EXPECT_FALSE(prefs.showInDock());
    EXPECT_EQ(store.boolValue(StoredKeys::showInDock), false);

    // A change made elsewhere shows at once, and is not written back as a change of the user.
    prefs.setRestoreOnLaunch(true);
    EXPECT_TRUE(view.toggle("Restore settings on launch")->isChecked());

    // An assistive tool's "Toggle" flips the box without a click; the keyboard's space bar
    // clicks it. Both are stored like a mouse click.
    QAccessibleInterface* accessible =
        QAccessible::queryAccessibleInterface(view.toggle("Show in menu bar"));
    ASSERT_NE(accessible, nullptr);
    ASSERT_NE(accessible->actionInterface(), nullptr);
    ASSERT_TRUE(accessible->actionInterface()->actionNames().contains(
        QAccessibleActionInterface::toggleAction()));
    const bool before = prefs.showInMenuBar();
    accessible->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(prefs.showInMenuBar(), !before);
    EXPECT_EQ(store.boolValue(StoredKeys::showInMenuBar), !before);
    view.toggle("Restore settings on launch")->setFocus();
    QTest::keyClick(view.toggle("Restore settings on launch"), Qt::Key_Space);
    EXPECT_FALSE(prefs.restoreOnLaunch());
    EXPECT_EQ(store.boolValue(StoredKeys::restoreOnLaunch), false);
}

struct ShellFixture : ::testing::Test, FakeApp {
    ShellFixture() { makeModel(); }
};

TEST_F(ShellFixture, applicationMenuHasTheFourCommandsAndNoNewWindow)
{
    MainWindow window(*model, *preferences);
    ASSERT_NE(window.applicationMenu(), nullptr);
    EXPECT_EQ(actionTexts(window.applicationMenu()),
              QStringList({"About Quillet", "Check for Updates\u2026", "---", "Settings\u2026",
                           "---", "Quit Quillet"}));
    const auto actions = window.applicationMenu()->actions();
    EXPECT_EQ(actions[3]->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Comma));
    EXPECT_EQ(actions[5]->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));

    // Settings… opens a window holding the preferences; closing the main window keeps it.
    actions[3]->trigger();
    QWidget* settings = window.settingsWindow();
    EXPECT_TRUE(settings->isVisible());
    EXPECT_NE(settings->findChild<PreferencesView*>(), nullptr);
    window.show();
    window.close();
    EXPECT_TRUE(settings->isVisible());
    window.reopen();
    EXPECT_TRUE(window.isVisible());
}

TEST_F(ShellFixture, trayMenuFollowsTheMasterSwitchAndIsRebuiltWhenShownAgain)
{
    StatusItemController tray([this]() -> AppModel& { return *model; });
    tray.setVisible(true);
    ASSERT_NE(tray.menu(), nullptr);
    EXPECT_EQ(actionTexts(tray.menu()),
              QStringList({"Enabled", "---", "Show Window", "---", "Quit Quillet"}));

    // Its check follows the master switch when the menu opens.
    model->setEnabled(false);
    emit tray.menu()->aboutToShow();
    EXPECT_FALSE(tray.enabledItem()->isChecked());

    QPointer<QMenu> oldMenu = tray.menu();
    tray.setVisible(false);
    EXPECT_EQ(tray.item(), nullptr);
    EXPECT_EQ(tray.enabledItem(), nullptr);
    EXPECT_TRUE(oldMenu.isNull());
    tray.setVisible(true);
    EXPECT_NE(tray.menu(), nullptr);
    tray.setVisible(true);
    EXPECT_NE(tray.item(), nullptr);
}

TEST(UpdateFeed, newestReleaseAndVerdict)
{
    const QByteArray feed = R"(<?xml version="1.0"?><rss><channel>
        <item><title>Quillet 0.2</title><version>0.2.0</version><link>https://example.org/0.2</link></item>
        <item><title>Quillet 0.10</title><version>0.10.1</version><link>https://example.org/0.10</link></item>
        <item><title>no version</title></item>
        </channel></rss>)";
    QString error;
    const auto newest = UpdateFeed::newestRelease(feed, &error);
    ASSERT_TRUE(newest.has_value());
    // Versions compare by number, not as text.
    EXPECT_EQ(newest->version, QVersionNumber(0, 10, 1));
    EXPECT_EQ(newest->link, QUrl("https://example.org/0.10"));
    EXPECT_TRUE(UpdateFeed::compare(QVersionNumber(0, 9), *newest).newer);
    const auto same = UpdateFeed::compare(QVersionNumber(0, 10, 1), *newest);
    EXPECT_FALSE(same.newer);
    EXPECT_EQ(same.message, QStringLiteral("Quillet 0.10.1 is up to date."));

    EXPECT_FALSE(UpdateFeed::newestRelease("<rss><channel>", &error).has_value());
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(UpdateFeed::newestRelease("<rss><channel></channel></rss>", &error).has_value());
    EXPECT_EQ(error, QStringLiteral("The update feed lists no release."));
}

TEST(UpdaterController, reportsAFeedThatCannotBeRead)
{
    TestDirs dirs;
    UpdaterController broken(QUrl::fromLocalFile(dirs.root() + QStringLiteral("/missing.xml")));
    QSignalSpy brokenSpy(&broken, &UpdaterController::finished);
    broken.checkForUpdates();
    ASSERT_TRUE(brokenSpy.wait(5000));
    EXPECT_FALSE(brokenSpy.at(0).at(0).toBool());
    EXPECT_TRUE(brokenSpy.at(0).at(1).toString().startsWith(
        QStringLiteral("Could not check for updates:")));
}
