// Desktop pictures on LXDE, where pcmanfm draws the desktop: its per-monitor settings file
// (<config>/pcmanfm/<profile>/desktop-items-<n>.conf), changed through pcmanfm's own command
// line, which hands --set-wallpaper and --wallpaper-mode to the running instance. pcmanfm reads
// that file only when it starts and takes those two options for its first monitor only, so the
// other monitors are left as they are.
// LXQt's pcmanfm-qt works the same way through its settings.conf ([Desktop] Wallpaper=,
// WallpaperMode=) and the same two options, handed on over the session bus. It takes a new
// picture but keeps the mode it read at start (it never writes a mode it was given), and once
// it shows a picture no option brings its plain colour back: it is changed only while it shows
// a picture of the user's, which comes back in the user's mode.
#pragma once

#include "platform/DesktopPictures.h"
#include "platform/DesktopRecordFile.h"

#include <QJsonObject>
#include <QMap>
#include <QStringList>
#include <memory>
#include <optional>

// Where one pcmanfm keeps its desktop settings and how it takes new ones.
struct PcmanfmDialect {
    // The program's name, as its process and its command line have it.
    QString program;
    // Its folder under the configuration folder, and its settings file in a profile there
    // ("%1" is the monitor's number).
    QString folder;
    QString fileName;
    QString fileOf(int monitor) const
    {
        return fileName.contains(QLatin1String("%1")) ? fileName.arg(monitor) : fileName;
    }
    QString section;
    QString pictureKey;
    QString modeKey;
    // The modes in which it shows its plain colour.
    QStringList colourModes;
    // The mode our pictures are shown in; empty where the user's own mode stays.
    QString fillMode;
    // pcmanfm-qt writes out every setting it has whenever it saves: the whole file is
    // recorded, and goes back as it was when pcmanfm-qt added nothing but its defaults.
    bool writesWholeFile = false;
    // Reached over the session bus under this name; empty: over pcmanfm's socket.
    QString busName;

    static const PcmanfmDialect& lxde();
    static const PcmanfmDialect& lxqt();
};

// The running pcmanfm as this program reaches it.
struct PcmanfmInstance {
    qint64 pid = 0;
    // <config>/pcmanfm/<profile>: where its settings files are.
    QString profileDir;
    // What a second pcmanfm needs to find the first one's socket.
    QStringList environment;
};

// The few things the backend asks of the running pcmanfm; a fake stands in for it in tests.
class PcmanfmLink {
public:
    virtual ~PcmanfmLink() = default;
    // The pcmanfm drawing the monitor, with pcmanfm's number for it (0 for the monitor its
    // command line reaches); none when pcmanfm does not draw it.
    virtual std::optional<std::pair<PcmanfmInstance, int>> find(const ScreenInfo& screen) = 0;
    // Runs pcmanfm with `arguments` against the running instance; false when that instance
    // could not be reached or did not take them.
    virtual bool send(const PcmanfmInstance& instance, const QStringList& arguments) = 0;
    // The settings a monitor has while its file does not exist (the system-wide file of the
    // profile, else pcmanfm's defaults).
    virtual QString fallbackConfig(const PcmanfmInstance& instance, int monitor) = 0;
};

namespace Pcmanfm {
// The value of `key` in a GKeyFile-style `[section]`; none when the key is absent.
std::optional<QString> value(const QString& text, const QString& section, const QString& key);
// Every key of `section` whose name starts with `prefix`, with its value.
QMap<QString, QString> keysWithPrefix(const QString& text, const QString& section,
                                      const QString& prefix);
// The text with each key of `section` set in place (a new key goes at the end of the section,
// a missing section at the end of the text); a key mapped to none is removed. Every other line
// stays as it was.
QString withKeys(const QString& text, const QString& section,
                 const QMap<QString, std::optional<QString>>& keys);
// The profile a pcmanfm command line names ("default" when none).
QString profileOf(const QStringList& arguments);
// The settings folder of that profile for a process with this environment.
QString profileDirOf(const QStringList& environment, const QString& profile,
                     const QString& folder = QStringLiteral("pcmanfm"));
// Every "section/key" of the text with its value.
QMap<QString, QString> allKeys(const QString& text);
// Whether the pcmanfm-qt with this process id shows its plain colour (which no option of its
// command line brings back once it shows a picture).
bool qtShowsColour(qint64 pid);
// The monitors whose desktop window belongs to the pcmanfm with this process id, by name, the
// one its command line reaches first.
QStringList monitorsDrawnBy(qint64 pid);
// The live link to the pcmanfm drawing the desktop.
std::unique_ptr<PcmanfmLink> systemLink(const PcmanfmDialect& dialect = PcmanfmDialect::lxde());
} // namespace Pcmanfm

class PcmanfmDesktopPictures final : public DesktopPictures {
public:
    // The record of every monitor's settings is kept in `recordDir`.
    explicit PcmanfmDesktopPictures(const QString& recordDir,
                                    std::unique_ptr<PcmanfmLink> link = Pcmanfm::systemLink(),
                                    const PcmanfmDialect& dialect = PcmanfmDialect::lxde());
    ~PcmanfmDesktopPictures() override;

    std::optional<QString> desktopPicture(const ScreenInfo& screen) const override;
    // What pcmanfm draws: it publishes its drawing as the root pixmap.
    QImage snapshotDesktopPicture(const ScreenInfo& screen) override;

    // The monitor's picture settings (every "wallpaper…" key of the file, or the fact that
    // the file does not exist) and what pcmanfm shows by them; only for the monitor pcmanfm's
    // command line reaches.
    bool rememberDesktop(const ScreenInfo& screen) override;
    bool holdsRecord(const ScreenInfo& screen) const override;
    // Shows the remembered picture (or colour) again through pcmanfm, then puts the remembered
    // keys back into the file as they were, leaving whatever else pcmanfm wrote there since
    // (icon positions); a file that did not exist goes away again unless pcmanfm keeps more
    // than its defaults in it.
    PictureRestore restoreDesktop(const ScreenInfo& screen) override;
    bool otherDesktopRecordPending() const override { return m_file.othersPending(); }
    QString restoreLimitation() const override { return m_limitation; }

    // The picture, cropped to fill the monitor.
    bool setDesktopPicture(const ScreenInfo& screen, const QString& path) override;

private:
    QString settingsPath(const PcmanfmInstance& instance, int monitor) const;

    const PcmanfmDialect& m_dialect;
    std::unique_ptr<PcmanfmLink> m_link;
    DesktopRecordFile m_file;
    // {"<output>": {"file": path, "existed": bool, "keys": {"wallpaper_mode": "crop", …},
    //               "mode": shown mode, "picture": shown picture, "text": the whole file}}
    QJsonObject m_record;
    // Said once a restore could not put back all pcmanfm held.
    QString m_limitation;
};
