// The shell's widgets: the settings rows and their bindings, the application menu, the tray
// menu, and the update feed's verdicts.
#include "FakeApp.h"
#include "core/UpdateFeed.h"
#include "platform/AutostartLoginItems.h"
#include "ui/MainWindow.h"
#include "ui/Popover.h"
#include "ui/PreferencesView.h"
#include "ui/StatusItemController.h"
#include "ui/UpdaterController.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>
#include <memory>

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

// A one-shot HTTP server on the loopback that answers every request with `response`.
class CannedHttpServer final {
public:
    explicit CannedHttpServer(QByteArray response) : m_response(std::move(response))
    {
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            QTcpSocket* socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                if (!socket->readAll().contains("\r\n\r\n"))
                    return;
                socket->write(m_response);
                socket->disconnectFromHost();
            });
        });
    }
    QUrl url() const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/feed.xml").arg(m_server.serverPort()));
    }

private:
    QTcpServer m_server;
    QByteArray m_response;
};

// The verdict a check of `feed` ends with: [newer, message, link].
QVariantList checkOnce(const QUrl& feed)
{
    UpdaterController updater(feed);
    QSignalSpy spy(&updater, &UpdaterController::finished);
    updater.checkForUpdates();
    if (!spy.wait(10000))
        return {};
    return spy.at(0);
}

} // namespace

// The settings window's rows over a fresh store.
struct SettingsView : ::testing::Test {
    TestDirs dirs;
    DefaultsStore store{dirs.defaultsPath()};
    AutostartLoginItems login;
    Preferences prefs{store, login, nullptr};
    PreferencesView view{prefs};
    SettingsView() { view.show(); }
};

TEST_F(SettingsView, rowsInOrderBoundToThePreferences)
{

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

    // The keyboard's space bar clicks a box and is stored like a mouse click. (An assistive
    // tool's "Toggle" is driven on a real desktop.)
    view.toggle("Restore settings on launch")->setFocus();
    QTest::keyClick(view.toggle("Restore settings on launch"), Qt::Key_Space);
    EXPECT_FALSE(prefs.restoreOnLaunch());
    EXPECT_EQ(store.boolValue(StoredKeys::restoreOnLaunch), false);
}

TEST_F(SettingsView, saysWhatClosingTheWindowDoes)
{

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
    // The entries themselves are read from the real tray on a desktop.
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

TEST(UpdateFeed, onlyHttpsLinksAreKept)
{
    const auto linkOf = [](const QByteArray& link) {
        QString error;
        const auto newest =
            UpdateFeed::newestRelease("<rss><channel><item><version>9.0</version><link>" + link +
                                          "</link></item></channel></rss>",
                                      &error);
        return newest ? newest->link : QUrl(QStringLiteral("unread:"));
    };
    EXPECT_EQ(linkOf("https://example.org/9"), QUrl("https://example.org/9"));
    for (const QByteArray& unsafe :
         {QByteArray("javascript:alert(1)"), QByteArray("file:///etc/passwd"),
          QByteArray("http://example.org/9"), QByteArray("HTTPS:"), QByteArray("https:///x"),
          QByteArray("data:text/html,&lt;b&gt;x"), QByteArray("  smb://host/share")})
        EXPECT_EQ(linkOf(unsafe), QUrl()) << unsafe.toStdString();

    QString error;
    EXPECT_FALSE(UpdateFeed::newestRelease(QByteArray(UpdateFeed::kMaxFeedBytes + 1, ' '), &error));
    EXPECT_EQ(error, QStringLiteral("The update feed is larger than 1024 KB and was not read."));
}

TEST(UpdaterController, theDialogShowsNetworkTextPlainAndOpensOnlyHttps)
{
    const QString injected = QStringLiteral("<a href=\"file:///etc\">click</a>");
    std::unique_ptr<QMessageBox> box(
        UpdaterController::createDialog(true, injected, QUrl("javascript:alert(1)"), nullptr));
    EXPECT_EQ(box->textFormat(), Qt::PlainText);
    EXPECT_EQ(box->text(), injected);
    EXPECT_TRUE(box->informativeText().isEmpty());
    EXPECT_EQ(box->buttons().size(), 1) << "no button opens an unsafe link";

    box.reset(UpdaterController::createDialog(true, QStringLiteral("Quillet 9.0 is available."),
                                              QUrl("https://example.org/9"), nullptr));
    EXPECT_EQ(box->informativeText(), QStringLiteral("https://example.org/9"));
    QStringList labels;
    for (const QAbstractButton* button : box->buttons())
        labels << button->text();
    EXPECT_TRUE(labels.contains(QStringLiteral("Open Download Page")));
}

TEST(UpdaterController, serverTextIsBoundedAndNeverALink)
{
    // A reason phrase carrying markup reaches the message only as text.
    CannedHttpServer markup("HTTP/1.1 500 <a href=\"javascript:x\">Update now</a>\r\n"
                            "Content-Length: 0\r\nConnection: close\r\n\r\n");
    const QVariantList failed = checkOnce(markup.url());
    ASSERT_EQ(failed.size(), 3);
    EXPECT_FALSE(failed[0].toBool());
    EXPECT_TRUE(failed[1].toString().startsWith(QStringLiteral("Could not check for updates:")));
    EXPECT_FALSE(failed[2].toUrl().isValid());
    std::unique_ptr<QMessageBox> box(
        UpdaterController::createDialog(false, failed[1].toString(), failed[2].toUrl(), nullptr));
    EXPECT_EQ(box->textFormat(), Qt::PlainText);

    // A feed far larger than any real one is cut off unread.
    QByteArray huge = "HTTP/1.1 200 OK\r\nContent-Type: application/rss+xml\r\n"
                      "Connection: close\r\n\r\n<rss><channel>";
    huge += QByteArray(3 << 20, ' ');
    CannedHttpServer large(huge);
    const QVariantList tooLarge = checkOnce(large.url());
    ASSERT_EQ(tooLarge.size(), 3);
    EXPECT_EQ(tooLarge[1].toString(),
              QStringLiteral("The update feed is larger than 1024 KB and was not read."));

    // A newer release with a javascript: link is announced without its link.
    CannedHttpServer unsafe("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n"
                            "<rss><channel><item><version>99.0</version>"
                            "<link>javascript:alert(1)</link></item></channel></rss>");
    const QVariantList newer = checkOnce(unsafe.url());
    ASSERT_EQ(newer.size(), 3);
    EXPECT_TRUE(newer[0].toBool());
    EXPECT_FALSE(newer[2].toUrl().isValid());
}
