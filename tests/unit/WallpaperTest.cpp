// Desktop pictures: the record of the user's own pictures and the desktop's own record (which
// must be held before a monitor changes and dropped only once it is back), which files count as
// ours, the solid-colour and tinted files with their numbering, and the tint's geometry and
// sampling.
#include "FakeApp.h"
#include "core/TaskQueue.h"
#include "core/WallpaperController.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QImage solid(int w, int h, QColor c)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(c);
    return image;
}

bool near(QColor a, QColor b, int tolerance = 6)
{
    return std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

ScreenInfo screenOf(std::optional<quint32> id, QRectF frame, double scale = 1)
{
    ScreenInfo screen;
    screen.displayId = id;
    screen.outputName = id ? QStringLiteral("OUT-%1").arg(*id) : QStringLiteral("OUT-none");
    screen.frame = screen.visibleFrame = frame;
    screen.backingScale = scale;
    return screen;
}

WindowListEntry panel(QRectF bounds)
{
    WindowListEntry entry;
    entry.layer = 24;
    entry.bounds = bounds;
    return entry;
}

WallpaperChoice chooseColor(RgbColor color = {})
{
    return {DesktopBackground::color, color, std::nullopt, std::nullopt};
}

WallpaperChoice chooseImage(std::optional<QString> light, std::optional<QString> dark)
{
    return {DesktopBackground::image, {}, std::move(light), std::move(dark)};
}

struct WallpaperFixture : ::testing::Test, FakeApp {
    std::unique_ptr<WallpaperController> controller;

    // An Xfce-like desktop: a readable path per monitor, no snapshot.
    WallpaperFixture()
    {
        fake.capture->allowed = false;
        fake.desktopPictures->pictures.insert(QStringLiteral("DP-1"), userPicture());
    }
    // Whatever a test did, no monitor was changed before the desktop remembered it.
    void TearDown() override
    {
        EXPECT_EQ(fake.desktopPictures->unrememberedChanges, QStringList());
    }

    WallpaperController& make()
    {
        controller = std::make_unique<WallpaperController>(fake, store);
        return *controller;
    }
    WallpaperController& colorApplied()
    {
        make().show(chooseColor());
        return *controller;
    }
    QString shown(const QString& output = QStringLiteral("DP-1")) const
    {
        return fake.desktopPictures->pictures.value(output);
    }
    QString userPicture() const { return dirs.root() + QStringLiteral("/home/beach.jpg"); }
    QString support(const QString& name) const
    {
        return dirs.dataHome() + QStringLiteral("/Quillet/") + name;
    }
    QString writePicture(const QString& name, const QImage& image) const
    {
        const QString path = dirs.root() + u'/' + name;
        image.save(path);
        return path;
    }
    ScreenInfo addSecondMonitor()
    {
        ScreenInfo second = screenOf(2, QRectF(1440, 0, 1920, 1080));
        second.outputName = QStringLiteral("HDMI-1");
        fake.screens->list.append(second);
        fake.desktopPictures->pictures.insert(second.outputName, QStringLiteral("/p/second.png"));
        return second;
    }
    // Only this monitor, primary, with the panel along its top when given.
    void onlyMonitor(const ScreenInfo& screen, std::optional<double> panelHeight = 24)
    {
        fake.screens->list = {screen};
        fake.windowList->entries.clear();
        if (panelHeight)
            fake.windowList->entries = {panel(QRectF(0, 0, screen.frame.width(), *panelHeight))};
    }
    QJsonValue storedRecord() const
    {
        return DefaultsStore(dirs.defaultsPath()).rawValue(StoredKeys::originalURLs);
    }
};

} // namespace

TEST(WallpaperOriginals, loadsOnlyReadableRecords)
{
    TestDirs dirs;
    DefaultsStore store(dirs.defaultsPath());
    auto load = [&](const QJsonValue& record) {
        store.setValue(StoredKeys::originalURLs, record);
        return WallpaperController::loadOriginals(store);
    };

    // One value that is not text spoils the whole record.
    EXPECT_TRUE(load(QJsonObject{{"1", "/p/a.png"}, {"2", 5}}).isEmpty());
    EXPECT_TRUE(load(QJsonObject{{"1", "/p/a.png"}, {"2", QJsonArray{"/p/b.png"}}}).isEmpty());
    // A bad key drops its entry only: a leading plus is accepted; out-of-range, signed and empty
    // keys are not. Files are not checked for existence.
    EXPECT_EQ(load(QJsonObject{{"+7", "/p/a.png"},
                               {"12", "/nowhere/gone.png"},
                               {"x", "/p/x.png"},
                               {"4294967295", "/p/max.png"},
                               {"4294967296", "/p/over.png"},
                               {"-1", "/p/neg.png"},
                               {"", "/p/empty.png"},
                               {"+", "/p/plus.png"},
                               {" 3", "/p/space.png"}}),
              (QHash<quint32, QString>{
                  {7, "/p/a.png"}, {12, "/nowhere/gone.png"}, {4294967295u, "/p/max.png"}}));

    EXPECT_TRUE(load(QJsonValue("/p/a.png")).isEmpty());
    store.remove(StoredKeys::originalURLs);
    EXPECT_TRUE(WallpaperController::loadOriginals(store).isEmpty());
}

TEST_F(WallpaperFixture, remembersFirstThenPutsBackAndForgetsBothRecords)
{
    WallpaperController& c = colorApplied();

    EXPECT_TRUE(c.applied());
    EXPECT_EQ(c.originals(), (QHash<quint32, QString>{{1, userPicture()}}));
    EXPECT_EQ(storedRecord().toObject(), (QJsonObject{{"1", userPicture()}}));
    EXPECT_EQ(fake.desktopPictures->records.value("DP-1"), userPicture());
    EXPECT_EQ(shown(), support("quillet-color-1.png"));

    c.restore();
    EXPECT_EQ(shown(), userPicture());
    EXPECT_TRUE(c.originals().isEmpty());
    EXPECT_TRUE(storedRecord().isUndefined());
    EXPECT_TRUE(fake.desktopPictures->records.isEmpty());
    EXPECT_FALSE(c.applied());
}

TEST_F(WallpaperFixture, onItsOwnThreadTheLastRequestWinsAndTheRestoreFollows)
{
    // The answers of the worker come through the event loop.
    int argc = 1;
    char name[] = "test_wallpaper";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    ThreadTaskQueue work(QStringLiteral("pictures"));
    controller = std::make_unique<WallpaperController>(fake, store, &work);
    WallpaperController& c = *controller;
    QSignalSpy announced(&c, &WallpaperController::picturesShown);
    // Asked faster than a pass runs: the passes not yet begun give way to the last one.
    for (int step = 0; step <= 10; ++step)
        c.show(chooseColor(RgbColor{0, step / 10.0, 0, 1}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return c.idle() && !announced.isEmpty(); }, 10000));
    EXPECT_LE(fake.desktopPictures->setRequests.size(), 2);
    EXPECT_EQ(QImage(shown()).pixelColor(0, 0).name(), QStringLiteral("#00ff00"));
    EXPECT_EQ(c.originals().value(1), userPicture());

    // The desktop program may restart only once the pictures are back.
    bool backFirst = false;
    c.restore();
    c.afterPending(&c, [&] { backFirst = shown() == userPicture(); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return backFirst; }, 10000));
    EXPECT_TRUE(c.originals().isEmpty());
    controller.reset();
}

TEST_F(WallpaperFixture, recordsLeftByACrashAreKeptAndRestored)
{
    store.setValue(StoredKeys::originalURLs, QJsonObject{{"1", "/p/mine.png"}});
    // The screen still shows what the crashed run set, and the desktop's record survived.
    fake.desktopPictures->pictures.insert("DP-1", support("quillet-color-4.png"));
    fake.desktopPictures->records.insert("DP-1", "/p/mine-exactly.png");
    WallpaperController& c = colorApplied();
    EXPECT_EQ(storedRecord().toObject(), (QJsonObject{{"1", "/p/mine.png"}}));
    EXPECT_EQ(fake.desktopPictures->records.value("DP-1"), "/p/mine-exactly.png");
    c.restore();
    EXPECT_EQ(shown(), "/p/mine-exactly.png");
    EXPECT_TRUE(storedRecord().isUndefined());

    // Only the picture record is left (a kill between the two records, before any change):
    // nothing of ours is on the desktop, so nothing is put on it and the entry goes.
    store.setValue(StoredKeys::originalURLs, QJsonObject{{"1", "/p/snapshot-of-the-root.png"}});
    fake.desktopPictures->setRequests.clear();
    make().restore();
    EXPECT_EQ(shown(), "/p/mine-exactly.png");
    EXPECT_TRUE(fake.desktopPictures->setRequests.isEmpty());
    EXPECT_TRUE(storedRecord().isUndefined());
}

TEST_F(WallpaperFixture, aRecordIsDroppedOnlyWhenItsRestoreHappened)
{
    WallpaperController& c = colorApplied();
    const QJsonValue record = storedRecord();

    // The desktop cannot be reached: both records stay for a later attempt.
    fake.desktopPictures->unreachable = true;
    c.restore();
    EXPECT_EQ(storedRecord(), record);
    EXPECT_EQ(fake.desktopPictures->records.value("DP-1"), userPicture());
    fake.desktopPictures->unreachable = false;
    make().restore();
    EXPECT_EQ(shown(), userPicture());
    EXPECT_TRUE(storedRecord().isUndefined());

    // A record made while another desktop program ran waits for that program: this backend
    // does not put its pictures back, nor forget them.
    store.setValue(StoredKeys::originalURLs, QJsonObject{{"1", "/p/under-xfce.png"}});
    fake.desktopPictures->otherRecord = true;
    make().restore();
    EXPECT_EQ(shown(), userPicture());
    EXPECT_EQ(storedRecord().toObject(), (QJsonObject{{"1", "/p/under-xfce.png"}}));
}

TEST_F(WallpaperFixture, aMonitorSwitchedOffKeepsItsEntriesUntilItReturns)
{
    const ScreenInfo second = addSecondMonitor();
    WallpaperController& c = colorApplied();
    fake.screens->list.removeLast();
    c.restore();
    EXPECT_EQ(shown(), userPicture());
    EXPECT_EQ(storedRecord().toObject(), (QJsonObject{{"2", "/p/second.png"}}));
    EXPECT_TRUE(fake.desktopPictures->records.contains("HDMI-1"));

    fake.screens->list.append(second);
    fake.screens->announceChange();
    EXPECT_EQ(shown("HDMI-1"), "/p/second.png");
    EXPECT_TRUE(storedRecord().isUndefined());
    EXPECT_TRUE(fake.desktopPictures->records.isEmpty());
}

TEST_F(WallpaperFixture, snapshotIsPreferredWhenCapturePermitted)
{
    fake.capture->allowed = true;
    fake.desktopPictures->snapshots.insert("DP-1", solid(40, 30, Qt::darkCyan));
    WallpaperController& c = colorApplied();

    EXPECT_EQ(c.originals().value(1), support("original-1.png"));
    EXPECT_EQ(QImage(support("original-1.png")).pixelColor(5, 5), QColor(Qt::darkCyan));
}

TEST_F(WallpaperFixture, ourOwnAndTheChosenPicturesAreNeverOriginals)
{
    const QString light = writePicture("light.png", solid(4, 4, Qt::white));
    const QString link = dirs.root() + QStringLiteral("/home/link-to-light.png");
    ASSERT_TRUE(QFile::link(light, link));
    WallpaperController& c = make();
    c.show({DesktopBackground::keep, {}, light, QStringLiteral("/p/dark.png")});

    EXPECT_TRUE(c.isStagedURL("/anywhere/tinted-5-3.jpg"));
    EXPECT_TRUE(c.isStagedURL("/anywhere/quillet-color-9.png"));
    EXPECT_TRUE(c.isStagedURL("/anywhere/quillet-background.png"));
    EXPECT_TRUE(c.isStagedURL(link));
    EXPECT_TRUE(c.isStagedURL(dirs.root() + "/home/../light.png"));
    EXPECT_TRUE(c.isStagedURL("/p/./dark.png"));
    EXPECT_FALSE(c.isStagedURL(support("original-5.png")));
    EXPECT_FALSE(c.isStagedURL("/anywhere/Tinted-5-3.jpg"));
    EXPECT_FALSE(c.isStagedURL("/anywhere/my-tinted-5-3.jpg"));

    for (const QString& current :
         {link, QStringLiteral("/x/tinted-1-1.jpg"), QStringLiteral("/x/quillet-color-2.png"),
          QStringLiteral("/System/DefaultDesktop.heic"), QString()}) {
        fake.desktopPictures->pictures.insert("DP-1", current);
        c.captureOriginalsIfNeeded(fake.screens->list);
        EXPECT_TRUE(c.originals().isEmpty()) << current.toStdString();
        EXPECT_TRUE(storedRecord().isUndefined());
    }
}

TEST_F(WallpaperFixture, noScreensRecordsNothingAndTheNextApplyTriesAgain)
{
    store.setValue(StoredKeys::originalURLs, QJsonObject{{"1", 5}});
    fake.screens->list.clear();
    WallpaperController& c = colorApplied();
    EXPECT_TRUE(c.originals().isEmpty());
    EXPECT_TRUE(storedRecord().isUndefined());
    fake.addStandardMonitor();
    c.show(chooseColor());
    EXPECT_EQ(c.originals().value(1), userPicture());
}

TEST_F(WallpaperFixture, keepModeRestoresUnlessThePanelIsCovered)
{
    WallpaperController& c = colorApplied();
    c.show({});
    EXPECT_FALSE(c.applied());
    EXPECT_EQ(shown(), userPicture());

    // Covered panel in keep mode: the user's own picture with its strip tinted; where that
    // picture cannot be read, the whole display is the flat colour.
    c.show({DesktopBackground::keep, RgbColor{1, 0, 0, 1}, std::nullopt, std::nullopt});
    c.setBarTintActive(true);
    EXPECT_TRUE(c.applied());
    const QImage picture(shown());
    ASSERT_FALSE(picture.isNull());
    EXPECT_TRUE(near(picture.pixelColor(700, 450), Qt::red));
}

TEST_F(WallpaperFixture, solidColourFilesAreNumberedAndTheOldOneGoesAfterTheNewIsWritten)
{
    addSecondMonitor();
    WallpaperController& c = make();
    c.show(chooseColor(RgbColor{0.2, 0.4, 0.6, 1}));
    // Outside the tint, every monitor gets the one file rendered for this apply.
    EXPECT_EQ(shown(), support("quillet-color-1.png"));
    EXPECT_EQ(shown("HDMI-1"), support("quillet-color-1.png"));
    EXPECT_EQ(QImage(support("quillet-color-1.png")).pixelColor(255, 255),
              QColor::fromRgbF(0.2f, 0.4f, 0.6f));
    // The support folder is private to the user.
    EXPECT_EQ(QFileInfo(support({})).permissions() & 0x0077, 0);

    // The same colour again keeps its file, so the desktop has nothing to load again.
    c.show(c.choice());
    EXPECT_EQ(shown(), support("quillet-color-1.png"));
    EXPECT_EQ(c.colorSeq(), 1);
    c.show(chooseColor(RgbColor{0.2, 0.4, 0.7, 1}));
    EXPECT_FALSE(QFile::exists(support("quillet-color-1.png")));
    EXPECT_TRUE(QFile::exists(support("quillet-color-2.png")));

    // A failed write leaves the previous file and its record; the number has moved on.
    QDir().mkpath(support("quillet-color-3.png"));
    EXPECT_EQ(c.renderSolidColor(RgbColor{0.1, 0.1, 0.1, 1}), std::nullopt);
    EXPECT_EQ(c.colorSeq(), 3);
    EXPECT_EQ(c.lastColorURL(), support("quillet-color-2.png"));
    EXPECT_TRUE(QFile::exists(support("quillet-color-2.png")));
    EXPECT_EQ(c.renderSolidColor(RgbColor{0.1, 0.1, 0.1, 1}), support("quillet-color-4.png"));
    EXPECT_FALSE(QFile::exists(support("quillet-color-2.png")));
}

TEST_F(WallpaperFixture, pictureFollowsTheAppearanceAndFallsBackToTheOther)
{
    WallpaperController& c = make();
    const auto target = [&](std::optional<QString> light, std::optional<QString> dark) {
        c.show(chooseImage(std::move(light), std::move(dark)));
        return c.targetURL();
    };
    EXPECT_EQ(target(std::nullopt, "/p/dark.png"), "/p/dark.png");
    EXPECT_EQ(target("/p/light.png", "/p/dark.png"), "/p/light.png");
    fake.appearance->set(true);
    EXPECT_EQ(shown(), "/p/dark.png");
    EXPECT_EQ(target("/p/light.png", std::nullopt), "/p/light.png");

    // Neither picture: nothing is changed, but the originals are captured.
    const qsizetype requests = fake.desktopPictures->setRequests.size();
    EXPECT_EQ(target(std::nullopt, std::nullopt), std::nullopt);
    EXPECT_EQ(fake.desktopPictures->setRequests.size(), requests);
    EXPECT_EQ(c.originals().value(1), userPicture());

    // Once applied, a change of appearance shows the other picture, in image mode only.
    c.show(chooseImage("/p/light.png", "/p/dark.png"));
    fake.appearance->set(false);
    EXPECT_EQ(shown(), "/p/light.png");
    c.show(chooseColor());
    const qsizetype colourRequests = fake.desktopPictures->setRequests.size();
    fake.appearance->set(true);
    EXPECT_EQ(fake.desktopPictures->setRequests.size(), colourRequests);
    // Nor after the switch went off.
    c.show(chooseImage("/p/light.png", "/p/dark.png"));
    c.restore();
    const qsizetype offRequests = fake.desktopPictures->setRequests.size();
    fake.appearance->set(false);
    EXPECT_EQ(fake.desktopPictures->setRequests.size(), offRequests);
}

TEST_F(WallpaperFixture, tintedPictureGeometryAndStrip)
{
    ScreenInfo screen = screenOf(9, QRectF(0, 0, 1512, 982), 2);
    onlyMonitor(screen, 24);
    // Base picture: a green band over blue; the band is what the strip samples.
    QImage base = solid(1512, 982, Qt::blue);
    QPainter(&base).fillRect(0, 0, 1512, 24, Qt::green);
    WallpaperController& c = make();
    c.show(chooseImage(writePicture("base.png", base), std::nullopt));

    const auto path = c.renderTinted(screen, 9);
    ASSERT_TRUE(path);
    EXPECT_EQ(*path, support("tinted-9-1.jpg"));
    QImage out(*path);
    EXPECT_EQ(out.size(), QSize(3024, 1964));
    // The strip is 24/982 of the height: 48 rows at this size, all the sampled green.
    EXPECT_TRUE(near(out.pixelColor(1500, 0), Qt::green));
    EXPECT_TRUE(near(out.pixelColor(10, 44), Qt::green));
    EXPECT_TRUE(near(out.pixelColor(1500, 52), Qt::blue));

    screen.backingScale = 3;
    out = QImage(*c.renderTinted(screen, 9));
    EXPECT_EQ(out.size(), QSize(3024, 1964));

    // Halves round away from zero.
    screen.frame = QRectF(0, 0, 100.5, 50.25);
    screen.backingScale = 1;
    EXPECT_EQ(QImage(*c.renderTinted(screen, 9)).size(), QSize(101, 50));
    screen.frame = QRectF(0, 0, 0.4, 100);
    EXPECT_EQ(c.renderTinted(screen, 9), std::nullopt);
}

TEST_F(WallpaperFixture, aMonitorWithoutATopPanelGetsNoStrip)
{
    // The panel lies along the top of the left monitor only.
    const ScreenInfo left = screenOf(1, QRectF(0, 0, 800, 600));
    const ScreenInfo right = screenOf(2, QRectF(800, 0, 800, 600));
    fake.screens->list = {left, right};
    fake.windowList->entries = {panel(QRectF(0, 0, 800, 33))};
    WallpaperController& c = make();
    c.show(chooseColor(RgbColor{1, 1, 0, 1}));
    QImage base = solid(800, 600, Qt::blue);
    QPainter(&base).fillRect(0, 0, 800, 60, Qt::green);
    c.show(chooseImage(writePicture("band.png", base), std::nullopt));
    c.setBarTintActive(true);
    const QImage leftOut(shown("OUT-1"));
    const QImage rightOut(shown("OUT-2"));
    EXPECT_TRUE(near(leftOut.pixelColor(400, 40), Qt::green)) << "strip of the band's green";
    EXPECT_TRUE(near(leftOut.pixelColor(400, 5), Qt::green));
    // The right monitor shows the plain picture: its top is the picture's own band.
    EXPECT_TRUE(near(rightOut.pixelColor(400, 5), Qt::green));
    EXPECT_TRUE(near(rightOut.pixelColor(400, 100), Qt::blue));
    EXPECT_EQ(
        WallpaperController::topPanelHeight(fake.windowList->entries, right, fake.screens->list),
        std::nullopt);
    EXPECT_EQ(
        WallpaperController::topPanelHeight(fake.windowList->entries, left, fake.screens->list),
        33);

    // With colour and no panel at all, a monitor is simply the colour.
    fake.windowList->entries.clear();
    c.show(chooseColor(RgbColor{1, 1, 0, 1}));
    EXPECT_TRUE(near(QImage(shown("OUT-1")).pixelColor(400, 5), Qt::yellow));
}

TEST_F(WallpaperFixture, tintedBaseIsScaledToFillCentredOnePixelPerPixel)
{
    const ScreenInfo screen = screenOf(3, QRectF(0, 0, 300, 300));
    onlyMonitor(screen, std::nullopt);
    // Three vertical thirds; scaled to fill a square only the middle one shows.
    QImage base = solid(900, 300, Qt::red);
    QPainter painter(&base);
    painter.fillRect(300, 0, 300, 300, Qt::green);
    painter.fillRect(600, 0, 300, 300, Qt::blue);
    painter.end();
    WallpaperController& c = make();
    c.show(chooseImage(std::nullopt, writePicture("wide.png", base)));
    QImage out(*c.renderTinted(screen, 3));
    EXPECT_TRUE(near(out.pixelColor(3, 150), Qt::green));
    EXPECT_TRUE(near(out.pixelColor(296, 150), Qt::green));
    // A "@2x" name does not halve the picture: every pixel of the file covers one of the image.
    c.show(chooseImage(std::nullopt, writePicture("square@2x.png", solid(300, 300, Qt::magenta))));
    out = QImage(*c.renderTinted(screen, 3));
    EXPECT_TRUE(near(out.pixelColor(296, 296), Qt::magenta));
}

TEST_F(WallpaperFixture, largePicturesAreAveragedDownAndDecodedOncePerChoice)
{
    // One-pixel black lines every third row of a white picture three times the monitor's
    // size: averaged, every row of the result is the same grey; sampled, rows alternate.
    const ScreenInfo screen = screenOf(4, QRectF(0, 0, 400, 300));
    onlyMonitor(screen, std::nullopt);
    QImage lines = solid(1200, 900, Qt::white);
    for (int y = 0; y < 900; y += 3)
        QPainter(&lines).fillRect(0, y, 1200, 1, Qt::black);
    const QString path = writePicture("lines.png", lines);
    WallpaperController& c = make();
    c.show(chooseImage(path, std::nullopt));
    const QImage out(*c.renderTinted(screen, 4));
    int darkest = 255, lightest = 0;
    for (int y = 20; y < 280; ++y) {
        darkest = std::min(darkest, qGray(out.pixel(200, y)));
        lightest = std::max(lightest, qGray(out.pixel(200, y)));
    }
    EXPECT_LE(lightest - darkest, 12) << darkest << " .. " << lightest;
    EXPECT_NEAR(lightest, 170, 12);

    // Decoded once for the choice: a file changed behind its back shows only with a new choice.
    solid(1200, 900, Qt::red).save(path);
    EXPECT_TRUE(
        near(QImage(*c.renderTinted(screen, 4)).pixelColor(200, 150), out.pixelColor(200, 150)));
    c.show(chooseImage(path, path));
    EXPECT_TRUE(near(QImage(*c.renderTinted(screen, 4)).pixelColor(200, 150), Qt::red));
}

TEST_F(WallpaperFixture, tintedStripSamplesAtLeastTwoPercentOrIsTheColour)
{
    // 24 / 2000 is below the floor: two rows of a 100-row picture are sampled, not one.
    const ScreenInfo screen = screenOf(3, QRectF(0, 0, 500, 2000));
    onlyMonitor(screen, 24);
    WallpaperController& c = make();
    QImage rows = solid(100, 100, Qt::black);
    QPainter(&rows).fillRect(0, 0, 100, 1, Qt::white);
    c.show(chooseImage(std::nullopt, writePicture("rows.png", rows)));
    const QImage out(*c.renderTinted(screen, 3));
    EXPECT_TRUE(near(out.pixelColor(250, 5), QColor(128, 128, 128), 12))
        << out.pixelColor(250, 5).name().toStdString();

    // In colour mode the strip is the colour itself.
    c.show(chooseColor(RgbColor{1, 1, 0, 1}));
    const QImage flat(*c.renderTinted(screen, 3));
    EXPECT_TRUE(near(flat.pixelColor(250, 5), Qt::yellow));
    EXPECT_TRUE(near(flat.pixelColor(250, 1000), Qt::yellow));
}

TEST_F(WallpaperFixture, tintedFilesShareOneSequenceAndReplaceTheirPredecessor)
{
    addSecondMonitor();
    ScreenInfo noId = screenOf(std::nullopt, QRectF(0, 1080, 800, 600));
    noId.outputName = QStringLiteral("VGA-1");
    fake.screens->list.append(noId);
    WallpaperController& c = make();
    c.setBarTintActive(true);
    EXPECT_TRUE(fake.desktopPictures->setRequests.isEmpty()) << "nothing before a choice";
    c.show(chooseColor());
    EXPECT_EQ(shown(), support("tinted-1-1.jpg"));
    EXPECT_EQ(shown("HDMI-1"), support("tinted-2-2.jpg"));
    EXPECT_FALSE(fake.desktopPictures->pictures.contains("VGA-1"));

    // The same pictures again keep their files; a new colour makes new ones.
    c.show(c.choice());
    EXPECT_EQ(shown(), support("tinted-1-1.jpg"));
    EXPECT_EQ(c.tintSeq(), 2);
    c.show(chooseColor(RgbColor{0.9, 0.1, 0.1, 1}));
    EXPECT_EQ(c.lastTinted(), (QHash<quint32, QString>{{1, support("tinted-1-3.jpg")},
                                                       {2, support("tinted-2-4.jpg")}}));
    EXPECT_FALSE(QFile::exists(support("tinted-1-1.jpg")));
    EXPECT_FALSE(QFile::exists(support("tinted-2-2.jpg")));
    EXPECT_TRUE(QFile::exists(support("tinted-2-4.jpg")));

    // A change of monitors renders them again for their new sizes.
    fake.screens->list[1].frame.setSize(QSizeF(1280, 720));
    fake.screens->announceChange();
    EXPECT_EQ(QImage(shown("HDMI-1")).size(), QSize(1280, 720));

    EXPECT_EQ(shown(), support("tinted-1-3.jpg")) << "the unchanged monitor keeps its file";
    EXPECT_EQ(c.tintSeq(), 5);

    // A failed write keeps the last file and its record.
    QDir().mkpath(support("tinted-1-6.jpg"));
    fake.screens->list[0].frame.setSize(QSizeF(1024, 768));
    EXPECT_EQ(c.renderTinted(fake.screens->list.first(), 1), std::nullopt);
    EXPECT_EQ(c.tintSeq(), 6);
    EXPECT_EQ(c.lastTinted().value(1), support("tinted-1-3.jpg"));
    EXPECT_TRUE(QFile::exists(support("tinted-1-3.jpg")));
}

TEST_F(WallpaperFixture, whatCannotBePutBackExactlyIsSaidOnce)
{
    fake.desktopPictures->limitation = QStringLiteral("X's default background was put back.");
    WallpaperController& c = colorApplied();
    QSignalSpy notices(&c, &WallpaperController::restoreNotice);
    c.restore();
    c.show(chooseColor());
    c.restore();
    ASSERT_EQ(notices.size(), 1);
    EXPECT_EQ(notices.first().first().toString(), fake.desktopPictures->limitation);
}

TEST(WallpaperTint, theBarIsAHorizontalPanelAlongTheTop)
{
    ScreenInfo screen;
    screen.frame = QRectF(0, 0, 1920, 1080);
    EXPECT_EQ(WallpaperController::topPanelHeight({}, screen, {screen}), std::nullopt);
    WindowListEntry ordinary;
    ordinary.bounds = QRectF(0, 0, 800, 40);
    const QList<WindowListEntry> windows = {ordinary,
                                            panel(QRectF(0, 1050, 1920, 30)),
                                            panel(QRectF(0, 0, 48, 1080)),
                                            panel(QRectF(0, 0.5, 1920, 0)),
                                            panel(QRectF(0, 1, 1920, 32)),
                                            panel(QRectF(0, 0, 1920, 28))};
    EXPECT_EQ(WallpaperController::topPanelHeight(windows, screen, {screen}), 32.0);
}

TEST(WallpaperTint, averageTopSamplesColumnsAndRows)
{
    // Every 100th column of an 8000-pixel row is red, the rest blue: only red is sampled.
    QImage wide = solid(8000, 10, Qt::blue);
    for (int x = 0; x < 8000; x += 100)
        wide.setPixelColor(x, 0, Qt::red);
    EXPECT_EQ(WallpaperController::averageTop(wide, 0.05)->toQColor(), QColor(Qt::red));

    // 100 wide: a step of 1, all 100 columns.
    QImage hundred = solid(100, 4, Qt::black);
    hundred.setPixelColor(99, 0, Qt::white);
    EXPECT_NEAR(WallpaperController::averageTop(hundred, 0.0)->green, 0.01, 1e-9);

    QImage image(10, 10, QImage::Format_ARGB32);
    image.fill(QColor(0, 0, 255, 255));
    for (int x = 0; x < 10; ++x) {
        image.setPixelColor(x, 0, QColor(255, 0, 0, 0));
        image.setPixelColor(x, 1, QColor(0, 255, 0, 255));
    }
    // A transparent pixel counts with its colour; alpha is ignored.
    EXPECT_EQ(WallpaperController::averageTop(image, 0.1)->toQColor(), QColor(Qt::red));
    const RgbColor two = *WallpaperController::averageTop(image, 0.25);
    EXPECT_NEAR(two.red, 0.5, 1e-9);
    EXPECT_NEAR(two.green, 0.5, 1e-9);
    // More rows than the picture has: all of them.
    EXPECT_NEAR(WallpaperController::averageTop(image, 24.0)->blue, 0.8, 1e-9);
    EXPECT_EQ(WallpaperController::averageTop(QImage(), 0.1), std::nullopt);
}
