// pcmanfm's desktop pictures: the settings file edits, and the record that puts the user's
// settings back, against a fake pcmanfm that writes its file as the real one does when its
// command line hands it a picture.
#include "platform/x11/PcmanfmDesktopPictures.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QString read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void write(const QString& path, const QString& text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.toUtf8());
}

// What pcmanfm keeps for a monitor and writes out whole whenever it takes new options.
struct FakePcmanfm {
    QString profileDir;
    bool running = true;
    bool reachable = true;
    // The monitor pcmanfm numbers 0 (its command line's), by output name.
    QString firstOutput = QStringLiteral("screen");
    QStringList sent;
    QString mode = QStringLiteral("color");
    QString picture;
    // pcmanfm-qt: settings.conf, a new picture only (never a mode), and every setting it has
    // written out, its defaults too.
    bool qt = false;

    QString file() const
    {
        return profileDir +
               (qt ? QStringLiteral("/settings.conf") : QStringLiteral("/desktop-items-0.conf"));
    }
    void take(const QStringList& arguments)
    {
        if (qt) {
            for (const QString& argument : arguments) {
                if (argument.startsWith(QLatin1String("--set-wallpaper=")))
                    picture = argument.mid(16);
            }
            write(file(),
                  Pcmanfm::withKeys(read(file()), QStringLiteral("Desktop"),
                                    {{QStringLiteral("Wallpaper"), picture},
                                     {QStringLiteral("ShowHidden"), QStringLiteral("false")}}) +
                      QStringLiteral("\n[Window]\nSplitView=false\n"));
            return;
        }
        for (const QString& argument : arguments) {
            if (argument.startsWith(QLatin1String("--set-wallpaper=")))
                picture = argument.mid(16);
            if (argument.startsWith(QLatin1String("--wallpaper-mode=")))
                mode = argument.mid(17);
        }
        QString text = read(file());
        if (text.isEmpty())
            text = QStringLiteral("[*]\ndesktop_bg=#000000\n");
        write(file(), Pcmanfm::withKeys(text, QStringLiteral("*"),
                                        {{QStringLiteral("wallpaper_mode"), mode},
                                         {QStringLiteral("wallpaper_common"), QStringLiteral("1")},
                                         {QStringLiteral("wallpaper"), picture}}));
    }
};

class FakeLink final : public PcmanfmLink {
public:
    explicit FakeLink(FakePcmanfm& pcmanfm) : m_pcmanfm(pcmanfm) {}
    std::optional<std::pair<PcmanfmInstance, int>> find(const ScreenInfo& screen) override
    {
        if (!m_pcmanfm.running)
            return std::nullopt;
        PcmanfmInstance instance;
        instance.pid = 42;
        instance.profileDir = m_pcmanfm.profileDir;
        return std::pair(instance, screen.outputName == m_pcmanfm.firstOutput ? 0 : 1);
    }
    bool send(const PcmanfmInstance&, const QStringList& arguments) override
    {
        if (!m_pcmanfm.reachable)
            return false;
        m_pcmanfm.sent.append(arguments.join(u' '));
        m_pcmanfm.take(arguments);
        return true;
    }
    QString fallbackConfig(const PcmanfmInstance&, int) override { return {}; }

private:
    FakePcmanfm& m_pcmanfm;
};

class PcmanfmPictures : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        QDir().mkpath(profileDir());
        m_pcmanfm.profileDir = profileDir();
        QImage picture(8, 8, QImage::Format_RGB32);
        picture.fill(Qt::darkCyan);
        ASSERT_TRUE(picture.save(sea()));
    }
    // The user's own picture, an image pcmanfm can read.
    QString sea() const { return m_dir.path() + QStringLiteral("/sea.png"); }
    QString userFile() const;
    QString profileDir() const { return m_dir.path() + QStringLiteral("/config/pcmanfm/p"); }
    QString recordDir() const { return m_dir.path() + QStringLiteral("/records"); }
    QString recordPath() const { return recordDir() + QStringLiteral("/desktop-pcmanfm.json"); }
    std::unique_ptr<PcmanfmDesktopPictures> backend()
    {
        return std::make_unique<PcmanfmDesktopPictures>(
            recordDir(), std::make_unique<FakeLink>(m_pcmanfm),
            m_pcmanfm.qt ? PcmanfmDialect::lxqt() : PcmanfmDialect::lxde());
    }
    static ScreenInfo screen(const QString& output = QStringLiteral("screen"))
    {
        ScreenInfo info;
        info.outputName = output;
        info.displayId = 1;
        return info;
    }

    QTemporaryDir m_dir;
    FakePcmanfm m_pcmanfm;
};

// The user's settings, with their picture's path for %1.
const QString kUserFile = QStringLiteral("[*]\n"
                                         "wallpaper_mode=center\n"
                                         "wallpaper_common=1\n"
                                         "wallpaper=%1\n"
                                         "desktop_bg=#2a5d8f\n"
                                         "show_trash=1\n"
                                         "\n"
                                         "[notes.desktop]\n"
                                         "x=10\n"
                                         "y=40\n");

QString PcmanfmPictures::userFile() const
{
    return kUserFile.arg(sea());
}

} // namespace

TEST(PcmanfmConfig, keysAreReadAndEditedInPlaceInTheirSectionOnly)
{
    const QString text =
        QStringLiteral("# comment\n[*]\nwallpaper_mode = crop\nwallpaper=/a b.png\n"
                       "\n[other]\nwallpaper=/not/this\n");
    EXPECT_EQ(Pcmanfm::value(text, QStringLiteral("*"), QStringLiteral("wallpaper_mode")),
              QStringLiteral("crop"));
    EXPECT_EQ(Pcmanfm::value(text, QStringLiteral("*"), QStringLiteral("wallpaper")),
              QStringLiteral("/a b.png"));
    EXPECT_FALSE(Pcmanfm::value(text, QStringLiteral("*"), QStringLiteral("desktop_bg")));
    EXPECT_EQ(
        Pcmanfm::keysWithPrefix(text, QStringLiteral("*"), QStringLiteral("wallpaper")).keys(),
        (QStringList{QStringLiteral("wallpaper"), QStringLiteral("wallpaper_mode")}));

    // Set in place, removed, added at the end of the section: nothing else moves.
    const QString edited =
        Pcmanfm::withKeys(text, QStringLiteral("*"),
                          {{QStringLiteral("wallpaper_mode"), QStringLiteral("color")},
                           {QStringLiteral("wallpaper"), std::nullopt},
                           {QStringLiteral("wallpaper_common"), QStringLiteral("1")}});
    EXPECT_EQ(edited, QStringLiteral("# comment\n[*]\nwallpaper_mode=color\nwallpaper_common=1\n"
                                     "\n[other]\nwallpaper=/not/this\n"));
    // A text without the section gets it at the end; an empty text becomes just the section.
    EXPECT_EQ(Pcmanfm::withKeys(QStringLiteral("[a]\nx=1\n"), QStringLiteral("*"),
                                {{QStringLiteral("k"), QStringLiteral("v")}}),
              QStringLiteral("[a]\nx=1\n\n[*]\nk=v\n"));
    EXPECT_EQ(Pcmanfm::withKeys(QString(), QStringLiteral("*"),
                                {{QStringLiteral("k"), QStringLiteral("v")}}),
              QStringLiteral("[*]\nk=v\n"));
}

TEST(PcmanfmConfig, profileAndSettingsFolderFollowTheRunningPcmanfm)
{
    const auto profile = [](QStringList arguments) {
        arguments.prepend(QStringLiteral("pcmanfm"));
        return Pcmanfm::profileOf(arguments);
    };
    EXPECT_EQ(profile({QStringLiteral("--desktop")}), QStringLiteral("default"));
    EXPECT_EQ(
        profile({QStringLiteral("--desktop"), QStringLiteral("--profile"), QStringLiteral("LXDE")}),
        QStringLiteral("LXDE"));
    EXPECT_EQ(profile({QStringLiteral("--profile=lubuntu"), QStringLiteral("--desktop")}),
              QStringLiteral("lubuntu"));
    EXPECT_EQ(profile({QStringLiteral("-p"), QStringLiteral("x")}), QStringLiteral("x"));
    EXPECT_EQ(profile({QStringLiteral("-py")}), QStringLiteral("y"));

    EXPECT_EQ(Pcmanfm::profileDirOf(
                  {QStringLiteral("HOME=/home/u"), QStringLiteral("XDG_CONFIG_HOME=/cfg")},
                  QStringLiteral("LXDE")),
              QStringLiteral("/cfg/pcmanfm/LXDE"));
    // A relative XDG_CONFIG_HOME is not used, as pcmanfm itself ignores it.
    EXPECT_EQ(Pcmanfm::profileDirOf(
                  {QStringLiteral("HOME=/home/u"), QStringLiteral("XDG_CONFIG_HOME=rel")},
                  QStringLiteral("LXDE")),
              QStringLiteral("/home/u/.config/pcmanfm/LXDE"));
}

TEST_F(PcmanfmPictures, theRecordIsOnDiskBeforeTheChangeAndTheFileComesBackExactly)
{
    write(m_pcmanfm.file(), userFile());
    m_pcmanfm.mode = QStringLiteral("center");
    m_pcmanfm.picture = sea();
    auto pictures = backend();
    EXPECT_EQ(pictures->desktopPicture(screen()), sea());
    ASSERT_TRUE(pictures->rememberDesktop(screen()));
    EXPECT_TRUE(QFile::exists(recordPath()));
    EXPECT_TRUE(m_pcmanfm.sent.isEmpty());

    ASSERT_TRUE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/colour.png")));
    EXPECT_EQ(m_pcmanfm.sent.constLast(),
              QStringLiteral("--set-wallpaper=/tmp/colour.png --wallpaper-mode=crop"));
    EXPECT_EQ(pictures->desktopPicture(screen()), QStringLiteral("/tmp/colour.png"));
    // A second remember keeps the first record (the user's settings, not ours).
    ASSERT_TRUE(pictures->rememberDesktop(screen()));

    // The user moves an icon meanwhile: pcmanfm writes that into the same file.
    write(m_pcmanfm.file(),
          read(m_pcmanfm.file()).replace(QStringLiteral("x=10"), QStringLiteral("x=99")));
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::restored);
    EXPECT_EQ(m_pcmanfm.sent.constLast(),
              QStringLiteral("--set-wallpaper=%1 --wallpaper-mode=center").arg(sea()));
    EXPECT_EQ(read(m_pcmanfm.file()),
              QString(userFile()).replace(QStringLiteral("x=10"), QStringLiteral("x=99")));
    EXPECT_FALSE(pictures->holdsRecord(screen()));
    EXPECT_FALSE(QFile::exists(recordPath()));
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::nothingHeld);
}

TEST_F(PcmanfmPictures, aFileThatDidNotExistGoesAwayAndAColourDesktopStaysAColour)
{
    auto pictures = backend();
    EXPECT_FALSE(pictures->desktopPicture(screen()));
    ASSERT_TRUE(pictures->rememberDesktop(screen()));
    ASSERT_TRUE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/a.png")));
    ASSERT_TRUE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/b.png")));
    EXPECT_TRUE(QFile::exists(m_pcmanfm.file()));
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::restored);
    // The colour mode alone: pcmanfm keeps its colour, and there was no picture to give back.
    EXPECT_EQ(m_pcmanfm.sent.constLast(), QStringLiteral("--wallpaper-mode=color"));
    EXPECT_FALSE(QFile::exists(m_pcmanfm.file()));
}

TEST_F(PcmanfmPictures, aColourDesktopGetsItsEarlierPictureBackForPcmanfmsNextSave)
{
    // pcmanfm holds the last picture it was given while it shows a colour and writes it out
    // whenever it saves: the user's own goes back with the colour, not ours.
    const QString colourFile = QString(userFile())
                                   .replace(QStringLiteral("wallpaper_mode=center"),
                                            QStringLiteral("wallpaper_mode=color"));
    write(m_pcmanfm.file(), colourFile);
    m_pcmanfm.picture = sea();
    auto pictures = backend();
    ASSERT_TRUE(pictures->rememberDesktop(screen()));
    ASSERT_TRUE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/colour.png")));
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::restored);
    EXPECT_EQ(m_pcmanfm.picture, sea());
    EXPECT_EQ(m_pcmanfm.mode, QStringLiteral("color"));
    EXPECT_EQ(read(m_pcmanfm.file()), colourFile);
    EXPECT_TRUE(pictures->restoreLimitation().isEmpty());

    // An earlier picture that is gone (or no image) pcmanfm would refuse: the colour still
    // comes back, and the user is told pcmanfm keeps the name of ours.
    ASSERT_TRUE(QFile::remove(sea()));
    ASSERT_TRUE(pictures->rememberDesktop(screen()));
    ASSERT_TRUE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/colour.png")));
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::restored);
    EXPECT_EQ(m_pcmanfm.sent.constLast(), QStringLiteral("--wallpaper-mode=color"));
    EXPECT_EQ(read(m_pcmanfm.file()), colourFile);
    EXPECT_FALSE(pictures->restoreLimitation().isEmpty());
}

TEST_F(PcmanfmPictures, aKilledRunLeavesARecordTheNextRunPutsBack)
{
    write(m_pcmanfm.file(), userFile());
    {
        auto crashed = backend();
        ASSERT_TRUE(crashed->rememberDesktop(screen()));
        ASSERT_TRUE(crashed->setDesktopPicture(screen(), QStringLiteral("/tmp/colour.png")));
        // No restore: the process is gone.
    }
    auto next = backend();
    EXPECT_TRUE(next->holdsRecord(screen()));
    // What the next run sees first must not replace the record of the user's settings.
    ASSERT_TRUE(next->rememberDesktop(screen()));
    EXPECT_EQ(next->restoreDesktop(screen()), PictureRestore::restored);
    EXPECT_EQ(read(m_pcmanfm.file()), userFile());
    EXPECT_FALSE(QFile::exists(recordPath()));
}

TEST_F(PcmanfmPictures, nothingChangesWherePcmanfmCannotTakeItAndTheRecordWaits)
{
    write(m_pcmanfm.file(), userFile());
    auto pictures = backend();
    // A monitor pcmanfm's command line does not reach is left alone, without a record.
    EXPECT_FALSE(pictures->rememberDesktop(screen(QStringLiteral("HDMI-2"))));
    EXPECT_FALSE(pictures->setDesktopPicture(screen(QStringLiteral("HDMI-2")),
                                             QStringLiteral("/tmp/x.png")));
    EXPECT_FALSE(pictures->holdsRecord(screen(QStringLiteral("HDMI-2"))));
    // Without a record, no change at all.
    EXPECT_FALSE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/x.png")));
    EXPECT_TRUE(m_pcmanfm.sent.isEmpty());

    ASSERT_TRUE(pictures->rememberDesktop(screen()));
    ASSERT_TRUE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/x.png")));
    // pcmanfm away, then not answering: the record is kept for a later attempt.
    m_pcmanfm.running = false;
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::failed);
    m_pcmanfm.running = true;
    m_pcmanfm.reachable = false;
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::failed);
    EXPECT_TRUE(pictures->holdsRecord(screen()));
    EXPECT_TRUE(QFile::exists(recordPath()));
    m_pcmanfm.reachable = true;
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::restored);
    EXPECT_EQ(read(m_pcmanfm.file()), userFile());
}

TEST_F(PcmanfmPictures, pcmanfmQtKeepsItsModeAndGetsItsWholeFileBack)
{
    m_pcmanfm.qt = true;
    const QString user = QStringLiteral("[Desktop]\nBgColor=#3b6e4f\nWallpaper=%1\n"
                                        "WallpaperMode=stretch\n")
                             .arg(sea());
    write(m_pcmanfm.file(), user);
    m_pcmanfm.picture = sea();
    auto pictures = backend();
    ASSERT_TRUE(pictures->rememberDesktop(screen()));
    EXPECT_TRUE(QFile::exists(recordDir() + QStringLiteral("/desktop-pcmanfm-qt.json")));
    ASSERT_TRUE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/colour.png")));
    EXPECT_EQ(m_pcmanfm.sent.constLast(), QStringLiteral("--set-wallpaper=/tmp/colour.png"));
    EXPECT_EQ(pictures->desktopPicture(screen()), QStringLiteral("/tmp/colour.png"));
    // Only pcmanfm-qt's defaults were added: the user's file comes back byte for byte.
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::restored);
    EXPECT_EQ(m_pcmanfm.sent.constLast(), QStringLiteral("--set-wallpaper=") + sea());
    EXPECT_EQ(read(m_pcmanfm.file()), user);

    // A colour chosen in pcmanfm-qt meanwhile stays, with the user's picture back beside it.
    ASSERT_TRUE(pictures->rememberDesktop(screen()));
    ASSERT_TRUE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/colour.png")));
    write(m_pcmanfm.file(),
          read(m_pcmanfm.file()).replace(QStringLiteral("#3b6e4f"), QStringLiteral("#000000")));
    EXPECT_EQ(pictures->restoreDesktop(screen()), PictureRestore::restored);
    const QString now = read(m_pcmanfm.file());
    EXPECT_EQ(Pcmanfm::value(now, QStringLiteral("Desktop"), QStringLiteral("BgColor")),
              QStringLiteral("#000000"));
    EXPECT_EQ(Pcmanfm::value(now, QStringLiteral("Desktop"), QStringLiteral("Wallpaper")), sea());

    // A plain colour desktop (which pcmanfm-qt's command line cannot bring back) is left alone.
    write(m_pcmanfm.file(),
          QString(user).replace(QStringLiteral("stretch"), QStringLiteral("none")));
    const int sent = int(m_pcmanfm.sent.size());
    EXPECT_FALSE(pictures->rememberDesktop(screen()));
    EXPECT_FALSE(pictures->setDesktopPicture(screen(), QStringLiteral("/tmp/colour.png")));
    EXPECT_EQ(m_pcmanfm.sent.size(), sent);
}
