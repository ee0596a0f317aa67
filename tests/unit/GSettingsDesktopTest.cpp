// The desktops that keep their picture in GSettings (MATE, GNOME, Cinnamon): the record of
// exactly what the user had (a key never set is unset again afterwards), on disk before the first
// change and put back after a crash; one picture for all monitors, composed when they differ; the
// icon switches as one style. Against a fake of the two tools, and once against a real dconf.
#include "platform/x11/GSettingsDesktop.h"

#include "TestDirs.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>

namespace {

// The dconf database the two tools see: user values by full path, as GVariant text.
class FakeTools final : public CommandOutput {
public:
    QMap<QString, QString> db;
    // Schema defaults, for `gsettings get` of a key nobody set.
    QMap<QString, QString> defaults;
    QStringList calls;
    // Any call whose command line contains this fails.
    QString failing;

    Output run(const QString& program, const QStringList& arguments) override
    {
        const QString line = QFileInfo(program).fileName() + u' ' + arguments.join(u' ');
        calls.append(line);
        if (!failing.isEmpty() && line.contains(failing))
            return std::nullopt;
        const QString verb = arguments.value(0);
        if (program.endsWith(QLatin1String("dconf"))) {
            if (verb == QLatin1String("dump")) {
                // Grouped by folder as dconf prints them: "[/]", then "[sub]".
                QMap<QString, QByteArray> folders;
                for (auto it = db.cbegin(); it != db.cend(); ++it) {
                    if (!it.key().startsWith(arguments[1]))
                        continue;
                    const QString rest = it.key().mid(arguments[1].size());
                    const qsizetype slash = rest.lastIndexOf(u'/');
                    folders[slash < 0 ? QStringLiteral("/") : rest.left(slash)] +=
                        (rest.mid(slash + 1) + u'=' + it.value() + u'\n').toUtf8();
                }
                QByteArray out;
                for (auto it = folders.cbegin(); it != folders.cend(); ++it)
                    out += '[' + it.key().toUtf8() + "]\n" + it.value() + '\n';
                return out;
            }
            if (verb == QLatin1String("write"))
                db.insert(arguments[1], arguments[2]);
            else if (verb == QLatin1String("reset"))
                db.remove(arguments[1]);
            return QByteArray();
        }
        QString schema = arguments.value(1);
        QString sub;
        if (schema.endsWith(QLatin1String(".slideshow"))) {
            schema.chop(10);
            sub = QStringLiteral("slideshow/");
        }
        const QString path = folder(schema) + sub + arguments.value(2);
        if (verb == QLatin1String("get"))
            return (db.value(path, defaults.value(path)) + u'\n').toUtf8();
        if (verb == QLatin1String("set"))
            db.insert(path, arguments.value(3));
        return QByteArray();
    }
    // `dconf load FOLDER`: the keyfile on standard input, in one change.
    Output runWithInput(const QString& program, const QStringList& arguments,
                        const QByteArray& input) override
    {
        if (arguments.value(0) != QLatin1String("load"))
            return run(program, arguments);
        calls.append(QFileInfo(program).fileName() + u' ' + arguments.join(u' ') + u' ' +
                     QString::fromUtf8(input).simplified());
        if (!failing.isEmpty() && calls.last().contains(failing))
            return std::nullopt;
        QString section;
        for (const QByteArray& raw : input.split('\n')) {
            const QString line = QString::fromUtf8(raw).trimmed();
            if (line.startsWith(u'[')) {
                section = line.mid(1, line.size() - 2);
                section = section == QLatin1String("/") ? QString() : section + u'/';
            } else if (const qsizetype equals = line.indexOf(u'='); equals > 0) {
                db.insert(arguments[1] + section + line.left(equals), line.mid(equals + 1));
            }
        }
        return QByteArray();
    }
    void runAsync(QObject*, const QString& program, const QStringList& arguments,
                  std::function<void(Output)> done) override
    {
        done(run(program, arguments));
    }

private:
    static QString folder(const QString& schema)
    {
        for (const auto* keys : {&GSettingsDesktopKeys::mate(), &GSettingsDesktopKeys::gnome(),
                                 &GSettingsDesktopKeys::cinnamon()}) {
            if (keys->schema == schema)
                return keys->folder;
        }
        return QStringLiteral("/unknown/");
    }
};

ScreenInfo monitor(const QString& output, QRectF frame)
{
    ScreenInfo screen;
    screen.displayId = quint32(qHash(output));
    screen.name = output;
    screen.outputName = output;
    screen.frame = frame;
    screen.visibleFrame = frame;
    return screen;
}

QString solidPicture(const QString& dir, const QString& name, QColor colour)
{
    QImage image(64, 64, QImage::Format_RGB32);
    image.fill(colour);
    const QString path = dir + u'/' + name;
    image.save(path);
    return path;
}

struct GSettingsFixture : ::testing::Test {
    TestDirs dirs;
    FakeTools tools;
    QString recordDir = dirs.dataHome() + QStringLiteral("/Quillet");
    ScreenInfo left = monitor(QStringLiteral("DP-1"), QRectF(0, 0, 200, 100));
    ScreenInfo right = monitor(QStringLiteral("DP-2"), QRectF(200, 0, 100, 100));
    const QString mate = QStringLiteral("/org/mate/desktop/background/");

    static DesktopIconsBackend::ReadResult readStyle(GSettingsDesktopIcons& icons)
    {
        DesktopIconsBackend::ReadResult found;
        icons.readStyle([&](DesktopIconsBackend::ReadResult r) { found = r; });
        return found;
    }
    static bool writeStyle(GSettingsDesktopIcons& icons, DesktopIconsBackend::Style style)
    {
        bool written = false;
        icons.writeStyle(style, [&](bool ok) { written = ok; });
        return written;
    }

    void SetUp() override
    {
        QDir().mkpath(recordDir);
        // What the user had: a picture and its options set, the colours left to the defaults.
        tools.db.insert(mate + QStringLiteral("picture-filename"),
                        QStringLiteral("'/home/u/it''s.jpg'"));
        tools.db.insert(mate + QStringLiteral("picture-options"), QStringLiteral("'centered'"));
        tools.db.insert(mate + QStringLiteral("background-fade"), QStringLiteral("false"));
    }
    QString recordPath(const QString& name = QStringLiteral("mate")) const
    {
        return recordDir + QStringLiteral("/desktop-") + name + QStringLiteral(".json");
    }
};

} // namespace

TEST_F(GSettingsFixture, recordsBeforeTheFirstChangeAndPutsBackExactly)
{
    const auto before = tools.db;
    GSettingsDesktopPictures pictures(GSettingsDesktopKeys::mate(), recordDir, tools);
    // Nothing may change for a monitor the record does not hold.
    EXPECT_FALSE(pictures.setDesktopPicture(left, QStringLiteral("/x.png")));
    EXPECT_EQ(tools.db, before);

    ASSERT_TRUE(pictures.rememberDesktop(left));
    ASSERT_TRUE(pictures.rememberDesktop(right));
    EXPECT_TRUE(QFile::exists(recordPath()));
    EXPECT_FALSE(tools.calls.join(u'\n').contains(QLatin1String("dconf load")));

    const QString colour =
        solidPicture(recordDir, QStringLiteral("quillet-color-1.png"), QColor(0xD3, 0x54, 0x00));
    ASSERT_TRUE(pictures.setDesktopPicture(left, colour));
    ASSERT_TRUE(pictures.setDesktopPicture(right, colour));
    EXPECT_EQ(tools.db.value(mate + QStringLiteral("picture-filename")), u'\'' + colour + u'\'');
    EXPECT_EQ(tools.db.value(mate + QStringLiteral("picture-options")), QStringLiteral("'zoom'"));
    EXPECT_EQ(tools.db.value(mate + QStringLiteral("primary-color")), QStringLiteral("'#D35400'"));
    EXPECT_EQ(tools.db.value(mate + QStringLiteral("color-shading-type")),
              QStringLiteral("'solid'"));
    EXPECT_EQ(tools.db.value(mate + QStringLiteral("picture-opacity")), QStringLiteral("100"));
    // The picture and its style in one change (one redraw), and the same picture for the
    // second monitor is no change at all.
    const QStringList loads = tools.calls.filter(QStringLiteral("dconf load"));
    ASSERT_EQ(loads.size(), 1);
    EXPECT_TRUE(loads[0].contains(QLatin1String("picture-filename=")));
    EXPECT_TRUE(loads[0].contains(QLatin1String("picture-options='zoom'")));
    // Only what changed goes in the next one.
    const QString other =
        solidPicture(recordDir, QStringLiteral("quillet-color-2.png"), QColor(0x11, 0x22, 0x33));
    ASSERT_TRUE(pictures.setDesktopPicture(left, other));
    ASSERT_TRUE(pictures.setDesktopPicture(right, other));
    const QStringList later = tools.calls.filter(QStringLiteral("dconf load")).mid(1);
    ASSERT_FALSE(later.isEmpty());
    EXPECT_TRUE(later.last().contains(QLatin1String("primary-color='#112233'")));
    EXPECT_FALSE(later.join(u'\n').contains(QLatin1String("picture-opacity")));

    EXPECT_EQ(pictures.restoreDesktop(left), PictureRestore::restored);
    // The keys went back with the first monitor: one picture for all.
    EXPECT_EQ(pictures.restoreDesktop(right), PictureRestore::nothingHeld);
    EXPECT_EQ(tools.db, before);
    EXPECT_FALSE(QFile::exists(recordPath()));
}

TEST_F(GSettingsFixture, aCrashedRunsRecordIsPutBackByTheNextOne)
{
    const auto before = tools.db;
    {
        GSettingsDesktopPictures pictures(GSettingsDesktopKeys::mate(), recordDir, tools);
        ASSERT_TRUE(pictures.rememberDesktop(left));
        ASSERT_TRUE(pictures.setDesktopPicture(left, QStringLiteral("/tmp/ours.png")));
        // Gone without a restore.
    }
    ASSERT_NE(tools.db, before);
    GSettingsDesktopPictures next(GSettingsDesktopKeys::mate(), recordDir, tools);
    EXPECT_TRUE(next.holdsRecord(left));
    // Remembering again keeps the older record: the desktop shows our picture now.
    ASSERT_TRUE(next.rememberDesktop(left));
    ASSERT_TRUE(next.rememberDesktop(right));
    ASSERT_TRUE(next.setDesktopPicture(left, QStringLiteral("/tmp/ours-2.png")));
    EXPECT_EQ(next.restoreDesktop(right), PictureRestore::restored);
    EXPECT_EQ(tools.db, before);
}

TEST_F(GSettingsFixture, failuresChangeNothingAndKeepTheRecord)
{
    const auto before = tools.db;
    GSettingsDesktopPictures pictures(GSettingsDesktopKeys::mate(), recordDir, tools);
    // dconf cannot be read: no record, and so no change.
    tools.failing = QStringLiteral("dconf dump");
    EXPECT_FALSE(pictures.rememberDesktop(left));
    EXPECT_FALSE(pictures.setDesktopPicture(left, QStringLiteral("/tmp/ours.png")));
    EXPECT_EQ(tools.db, before);
    EXPECT_FALSE(QFile::exists(recordPath()));

    tools.failing.clear();
    ASSERT_TRUE(pictures.rememberDesktop(left));
    // A picture dconf does not take says so.
    tools.failing = QStringLiteral("dconf load");
    EXPECT_FALSE(pictures.setDesktopPicture(left, QStringLiteral("/tmp/ours.png")));
    tools.failing = QStringLiteral("dconf write");
    EXPECT_EQ(pictures.restoreDesktop(left), PictureRestore::failed);
    EXPECT_TRUE(QFile::exists(recordPath()));
    tools.failing.clear();
    EXPECT_EQ(pictures.restoreDesktop(left), PictureRestore::restored);
    EXPECT_EQ(tools.db, before);
}

TEST_F(GSettingsFixture, differentPicturesAreComposedAndSpanned)
{
    GSettingsDesktopPictures pictures(GSettingsDesktopKeys::mate(), recordDir, tools);
    ASSERT_TRUE(pictures.rememberDesktop(left));
    ASSERT_TRUE(pictures.rememberDesktop(right));
    const QString red = solidPicture(recordDir, QStringLiteral("red.png"), Qt::red);
    const QString blue = solidPicture(recordDir, QStringLiteral("blue.png"), Qt::blue);
    ASSERT_TRUE(pictures.setDesktopPicture(left, red));
    ASSERT_TRUE(pictures.setDesktopPicture(right, blue));
    EXPECT_EQ(tools.db.value(mate + QStringLiteral("picture-options")),
              QStringLiteral("'spanned'"));
    const auto shown =
        GVariantText::unquoted(tools.db.value(mate + QStringLiteral("picture-filename")));
    ASSERT_TRUE(shown);
    EXPECT_TRUE(QFileInfo(*shown).fileName().startsWith(QLatin1String("tinted-")));
    const QImage composed(*shown);
    ASSERT_EQ(composed.size(), QSize(300, 100));
    EXPECT_LT(qAbs(composed.pixelColor(100, 50).red() - 255), 8);
    EXPECT_LT(qAbs(composed.pixelColor(250, 50).blue() - 255), 8);

    // A new composition replaces the file before it; the same picture everywhere is itself.
    ASSERT_TRUE(pictures.setDesktopPicture(right, red));
    EXPECT_EQ(tools.db.value(mate + QStringLiteral("picture-filename")), u'\'' + red + u'\'');
    EXPECT_EQ(tools.db.value(mate + QStringLiteral("picture-options")), QStringLiteral("'zoom'"));
    ASSERT_TRUE(pictures.setDesktopPicture(right, blue));
    const auto second =
        GVariantText::unquoted(tools.db.value(mate + QStringLiteral("picture-filename")));
    ASSERT_TRUE(second);
    EXPECT_NE(*second, *shown);
    EXPECT_FALSE(QFile::exists(*shown));
    EXPECT_EQ(pictures.restoreDesktop(left), PictureRestore::restored);
    EXPECT_FALSE(QFile::exists(*second));
}

TEST_F(GSettingsFixture, gnomeTakesUrisForBothAppearancesAndCinnamonPausesItsSlideshow)
{
    const QString gnome = QStringLiteral("/org/gnome/desktop/background/");
    tools.defaults.insert(gnome + QStringLiteral("picture-uri"),
                          QStringLiteral("'file:///usr/share/backgrounds/a%20b.jpg'"));
    GSettingsDesktopPictures pictures(GSettingsDesktopKeys::gnome(), recordDir, tools);
    EXPECT_EQ(pictures.desktopPicture(left), QStringLiteral("/usr/share/backgrounds/a b.jpg"));
    ASSERT_TRUE(pictures.rememberDesktop(left));
    EXPECT_TRUE(QFile::exists(recordPath(QStringLiteral("gnome"))));
    ASSERT_TRUE(pictures.setDesktopPicture(left, QStringLiteral("/tmp/my pic.png")));
    EXPECT_EQ(tools.db.value(gnome + QStringLiteral("picture-uri")),
              QStringLiteral("'file:///tmp/my%20pic.png'"));
    EXPECT_EQ(tools.db.value(gnome + QStringLiteral("picture-uri-dark")),
              QStringLiteral("'file:///tmp/my%20pic.png'"));
    EXPECT_EQ(pictures.restoreDesktop(left), PictureRestore::restored);
    for (auto it = tools.db.cbegin(); it != tools.db.cend(); ++it)
        EXPECT_FALSE(it.key().startsWith(gnome)) << qPrintable(it.key());

    const QString cinnamon = QStringLiteral("/org/cinnamon/desktop/background/");
    const QString slideshow = cinnamon + QStringLiteral("slideshow/slideshow-enabled");
    tools.db.insert(slideshow, QStringLiteral("true"));
    GSettingsDesktopPictures other(GSettingsDesktopKeys::cinnamon(), recordDir, tools);
    ASSERT_TRUE(other.rememberDesktop(left));
    ASSERT_TRUE(other.setDesktopPicture(left, QStringLiteral("/tmp/p.png")));
    EXPECT_EQ(tools.db.value(slideshow), QStringLiteral("false"));
    EXPECT_EQ(other.restoreDesktop(left), PictureRestore::restored);
    EXPECT_EQ(tools.db.value(slideshow), QStringLiteral("true"));
}

TEST_F(GSettingsFixture, iconSwitchesAreOneStyle)
{
    const QString caja = QStringLiteral("/org/mate/caja/desktop/");
    GSettingsDesktopIcons icons(GSettingsDesktopKeys::mate(), tools);
    auto read = [&] { return readStyle(icons); };
    auto write = [&](DesktopIconsBackend::Style style) { return writeStyle(icons, style); };
    // Nothing set: no style, and giving that back unsets every switch again.
    const auto none = read();
    ASSERT_TRUE(none);
    EXPECT_EQ(*none, DesktopIconsBackend::Style());

    // The user showed the network icon and hid the trash.
    tools.db.insert(caja + QStringLiteral("network-icon-visible"), QStringLiteral("true"));
    tools.db.insert(caja + QStringLiteral("trash-icon-visible"), QStringLiteral("false"));
    tools.db.insert(caja + QStringLiteral("font"), QStringLiteral("'Sans 10'"));
    const auto before = tools.db;
    const auto users = read();
    ASSERT_TRUE(users && *users);
    EXPECT_NE(*users, icons.hiddenStyle());

    ASSERT_TRUE(write(icons.hiddenStyle()));
    for (const QString& key : GSettingsDesktopKeys::mate().iconKeys)
        EXPECT_EQ(tools.db.value(caja + key), QStringLiteral("false")) << qPrintable(key);
    EXPECT_EQ(read(), DesktopIconsBackend::ReadResult(icons.hiddenStyle()));
    ASSERT_TRUE(write(*users));
    EXPECT_EQ(tools.db, before);

    // Another desktop's style (Xfce's 2) is not ours to write; an unreadable value is no style.
    EXPECT_FALSE(write(2));
    EXPECT_EQ(tools.db, before);
    tools.db.insert(caja + QStringLiteral("home-icon-visible"), QStringLiteral("'yes'"));
    EXPECT_FALSE(read());
    tools.failing = QStringLiteral("dconf");
    EXPECT_FALSE(read());
    EXPECT_FALSE(write(icons.hiddenStyle()));
}

TEST_F(GSettingsFixture, nemoLayoutIsTheCinnamonIconStyle)
{
    const QString layout = QStringLiteral("/org/nemo/desktop/desktop-layout");
    GSettingsDesktopIcons icons(GSettingsDesktopKeys::cinnamon(), tools);
    GSettingsDesktopIcons mate(GSettingsDesktopKeys::mate(), tools);
    auto read = [&] { return readStyle(icons); };
    auto write = [&](DesktopIconsBackend::Style style) { return writeStyle(icons, style); };
    // Unset: hidden by the empty layout, and unset again afterwards.
    const auto unset = read();
    ASSERT_TRUE(unset);
    ASSERT_TRUE(write(icons.hiddenStyle()));
    EXPECT_EQ(tools.db.value(layout), QStringLiteral("'false::false'"));
    EXPECT_EQ(read(), DesktopIconsBackend::ReadResult(icons.hiddenStyle()));
    ASSERT_TRUE(write(*unset));
    EXPECT_FALSE(tools.db.contains(layout));

    // The user's layout (icons on every monitor) goes back as it was.
    tools.db.insert(layout, QStringLiteral("'true::true'"));
    const auto users = read();
    ASSERT_TRUE(users && *users);
    ASSERT_TRUE(write(icons.hiddenStyle()));
    ASSERT_TRUE(write(*users));
    EXPECT_EQ(tools.db.value(layout), QStringLiteral("'true::true'"));

    // Neither desktop takes the other's styles; a layout nemo does not offer is no style.
    EXPECT_FALSE(write(mate.hiddenStyle()));
    EXPECT_NE(icons.hiddenStyle(), mate.hiddenStyle());
    tools.db.insert(layout, QStringLiteral("'left'"));
    EXPECT_FALSE(read());
}

TEST(GVariantText, quotingRoundTrips)
{
    for (const QString& text : {QStringLiteral(""), QStringLiteral("/a b/it's\\x.png")})
        EXPECT_EQ(GVariantText::unquoted(GVariantText::quoted(text)), text);
    EXPECT_EQ(GVariantText::unquoted(QStringLiteral("\"it's\"\n")), QStringLiteral("it's"));
    EXPECT_FALSE(GVariantText::unquoted(QStringLiteral("true")));
    EXPECT_FALSE(GVariantText::unquoted(QStringLiteral("'a'b'")));
}

// The real tools on a private session bus, against the installed schemas: our values are
// accepted, and putting back leaves dconf exactly as it was (an unset key unset again).
TEST(GSettingsRealDconf, writesAndPutsBackExactly)
{
    const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    if (daemon.isEmpty() || !QFile::exists(QStringLiteral("/usr/bin/dconf")) ||
        !QFile::exists(QStringLiteral("/usr/bin/gsettings")))
        GTEST_SKIP() << "dbus-daemon, dconf or gsettings is not installed";
    TestDirs dirs;
    QProcess bus;
    // The bus goes with the test, however it ends (dconf-service leaves with its bus).
    struct BusEnd {
        QProcess& bus;
        QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        ~BusEnd()
        {
            qputenv("DBUS_SESSION_BUS_ADDRESS", address);
            bus.terminate();
            bus.waitForFinished(5000);
        }
    } end{bus};
    bus.start(daemon, {QStringLiteral("--session"), QStringLiteral("--nofork"),
                       QStringLiteral("--print-address=1")});
    ASSERT_TRUE(bus.waitForStarted(5000));
    ASSERT_TRUE(bus.waitForReadyRead(10000));
    const QByteArray address = bus.readLine().trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    qputenv("GSETTINGS_BACKEND", "dconf");
    QtCommandOutput tools;
    auto dump = [&](const QString& folder) {
        return tools.run(QStringLiteral("/usr/bin/dconf"), {QStringLiteral("dump"), folder})
            .value_or("unreadable");
    };
    const QString recordDir = dirs.dataHome() + QStringLiteral("/Quillet");
    QDir().mkpath(recordDir);
    ScreenInfo screen = monitor(QStringLiteral("screen"), QRectF(0, 0, 64, 64));
    const QString picture =
        solidPicture(recordDir, QStringLiteral("quillet-color-1.png"), Qt::darkGreen);
    for (const auto* keys : {&GSettingsDesktopKeys::gnome(), &GSettingsDesktopKeys::cinnamon(),
                             &GSettingsDesktopKeys::mate()}) {
        if (!QFile::exists(QStringLiteral("/usr/share/glib-2.0/schemas/") + keys->schema +
                           QStringLiteral(".gschema.xml"))) {
            ADD_FAILURE() << "schema not installed: " << qPrintable(keys->schema);
            continue;
        }
        // One key of the user's, the rest unset.
        tools.run(QStringLiteral("/usr/bin/dconf"),
                  {QStringLiteral("write"), keys->folder + QStringLiteral("primary-color"),
                   QStringLiteral("'#123456'")});
        const QByteArray before = dump(keys->folder);
        ASSERT_TRUE(before.contains("primary-color='#123456'")) << before.constData();
        GSettingsDesktopPictures pictures(*keys, recordDir, tools);
        ASSERT_TRUE(pictures.rememberDesktop(screen));
        ASSERT_TRUE(pictures.setDesktopPicture(screen, picture)) << qPrintable(keys->schema);
        const QByteArray during = dump(keys->folder);
        EXPECT_TRUE(during.contains(QUrl::fromLocalFile(picture).path().toUtf8()))
            << during.constData();
        EXPECT_TRUE(during.contains("picture-options='zoom'")) << during.constData();
        EXPECT_EQ(pictures.restoreDesktop(screen), PictureRestore::restored);
        EXPECT_EQ(dump(keys->folder), before) << qPrintable(keys->schema);
    }
}
