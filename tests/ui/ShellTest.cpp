// The shell's widgets: the settings rows and their bindings, the application menu, the tray
// menu, and the update feed's verdicts.
#include "FakeApp.h"
#include "UpdateFeed.h"
#include "platform/AutostartLoginItems.h"
#include "ui/MainWindow.h"
#include "ui/Popover.h"
#include "ui/PreferencesView.h"
#include "ui/StatusItemController.h"
#include "ui/UpdaterController.h"

#include <QCheckBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

// The entries as the user reads them: without the mnemonic markers.
QStringList actionTexts(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* action : menu->actions())
        texts << (action->isSeparator() ? QStringLiteral("---")
                                        : QString(action->text()).remove(u'&'));
    return texts;
}

// Every entry has a mnemonic (Alt+letter, or the letter while the menu is open) and no two
// entries of one menu share a letter.
void expectDistinctMnemonics(const QList<QAction*>& actions)
{
    QSet<QChar> letters;
    for (const QAction* action : actions) {
        if (action->isSeparator())
            continue;
        const QKeySequence mnemonic = QKeySequence::mnemonic(action->text());
        EXPECT_FALSE(mnemonic.isEmpty()) << action->text().toStdString();
        const qsizetype marker = action->text().indexOf(u'&');
        if (marker < 0 || marker + 1 >= action->text().size())
            continue;
        const QChar letter = action->text().at(marker + 1).toLower();
        EXPECT_FALSE(letters.contains(letter)) << action->text().toStdString();
        letters.insert(letter);
    }
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

    // A change made elsewhere shows at once.
    prefs.setRestoreOnLaunch(true);
    EXPECT_TRUE(view.toggle("Restore settings on launch")->isChecked());
}

TEST(PreferencesView, saysWhatClosingTheWindowDoes)
{
    TestDirs dirs;
    DefaultsStore store(dirs.defaultsPath());
    AutostartLoginItems login;
    Preferences prefs(store, login, nullptr);
    PreferencesView view(prefs);
    view.show();

    EXPECT_EQ(view.closingNote(),
              QStringLiteral("Closing the main window quits Quillet and puts the desktop back."));
    QTest::mouseClick(view.toggle("Show in menu bar"), Qt::LeftButton);
    ASSERT_TRUE(prefs.showInMenuBar());
    EXPECT_EQ(view.closingNote(), QStringLiteral("Closing the main window keeps Quillet running; "
                                                 "reopen it from the menu-bar item."));
    // The note sits below the rows and is never cut off.
    const auto* note = view.findChild<QLabel*>(QStringLiteral("closingNote"));
    ASSERT_NE(note, nullptr);
    EXPECT_GT(note->mapTo(&view, QPoint()).y(),
              view.toggle("Launch at login")->mapTo(&view, QPoint()).y());
    EXPECT_LE(note->mapTo(&view, QPoint()).y() + note->heightForWidth(note->width()),
              view.height());
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
    expectDistinctMnemonics(actions);
    expectDistinctMnemonics(window.menuBar()->actions());

    // Settings… opens a window holding the preferences; closing the main window keeps it.
    actions[3]->trigger();
    QWidget* settings = window.settingsWindow();
    EXPECT_TRUE(settings->isVisible());
    EXPECT_NE(settings->findChild<PreferencesView*>(), nullptr);
    window.show();
    QSignalSpy closed(&window, &MainWindow::closed);
    window.close();
    EXPECT_TRUE(settings->isVisible());
    // The shell hears of the close and decides whether it quits.
    EXPECT_EQ(closed.count(), 1);
    window.reopen();
    EXPECT_TRUE(window.isVisible());
}

TEST(Popover, keptOffTheTaskbarBeforeItIsMapped)
{
    QWidget owner;
    owner.show();
    Popover popover(QStringLiteral("Custom size"), &owner);
    QList<bool> visibleWhenMarked;
    Popover::setKeepOffTaskbar([&](QWindow* window) {
        EXPECT_EQ(window, popover.windowHandle());
        visibleWhenMarked << window->isVisible();
    });
    popover.open(&owner);
    popover.hide();
    popover.open(&owner);
    Popover::setKeepOffTaskbar(nullptr);
    // Marked at every showing, each time before the window manager could list it.
    EXPECT_EQ(visibleWhenMarked, QList<bool>({false, false}));
}

TEST_F(ShellFixture, trayMenuFollowsTheMasterSwitchAndIsRebuiltWhenShownAgain)
{
    StatusItemController tray([this]() -> AppModel& { return *model; });
    tray.setVisible(true);
    ASSERT_NE(tray.menu(), nullptr);
    EXPECT_EQ(actionTexts(tray.menu()),
              QStringList({"Enabled", "---", "Show Window", "---", "Quit Quillet"}));
    expectDistinctMnemonics(tray.menu()->actions());

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
