// pcmanfm's desktop settings, changed the way its own command line changes them: a second
// pcmanfm started with --set-wallpaper / --wallpaper-mode passes them to the running one over
// its socket and exits; the running one shows the picture on its first monitor and writes it to
// that monitor's settings file at once.
#include "PcmanfmDesktopPictures.h"

#include "RootWindowDesktopPictures.h"
#include "X11Connection.h"
#include "X11DesktopProgram.h"
#include "X11RandR.h"
#include "platform/PlatformLogging.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QProcess>
#include <QSaveFile>
#include <QThread>
#include <algorithm>
#include <sys/stat.h>

namespace {

const QString kColour = QStringLiteral("color");
// pcmanfm answers the other instance and writes its settings within a moment; a busy or hung
// one is given up on after this long.
constexpr int kReplyMs = 5000;

QString sectionOf(const QString& line)
{
    const QString trimmed = line.trimmed();
    if (trimmed.startsWith(u'[') && trimmed.endsWith(u']'))
        return trimmed.mid(1, trimmed.size() - 2);
    return {};
}

// The key of a "key=value" line; empty for comments, blank lines and section headers.
QString keyOf(const QString& line)
{
    const QString trimmed = line.trimmed();
    if (trimmed.isEmpty() || trimmed.startsWith(u'#') || trimmed.startsWith(u'['))
        return {};
    const qsizetype equals = trimmed.indexOf(u'=');
    return equals <= 0 ? QString() : trimmed.left(equals).trimmed();
}

QString valueOf(const QString& line)
{
    return line.mid(line.indexOf(u'=') + 1).trimmed();
}

std::optional<QString> readText(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return QString::fromUtf8(file.readAll());
}

bool writeText(const QString& path, const QString& text)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(text.toUtf8());
    return file.commit();
}

QString environmentValue(const QStringList& environment, const QString& name)
{
    const QString prefix = name + u'=';
    for (const QString& entry : environment) {
        if (entry.startsWith(prefix))
            return entry.mid(prefix.size());
    }
    return {};
}

QStringList procList(qint64 pid, const char* what)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1String(what)));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList items;
    for (const QByteArray& item : file.readAll().split('\0')) {
        if (!item.isEmpty())
            items.append(QString::fromLocal8Bit(item));
    }
    return items;
}

// Where pcmanfm listens for its other instances: <runtime dir>/pcmanfm-socket-<host>-<display>,
// the runtime dir falling back to the cache dir as GLib's does.
QString socketPath(const QStringList& environment)
{
    QString dir = environmentValue(environment, QStringLiteral("XDG_RUNTIME_DIR"));
    if (dir.isEmpty())
        dir = environmentValue(environment, QStringLiteral("XDG_CACHE_HOME"));
    if (dir.isEmpty())
        dir = environmentValue(environment, QStringLiteral("HOME")) + QStringLiteral("/.cache");
    const QString display = environmentValue(environment, QStringLiteral("DISPLAY"));
    const qsizetype colon = display.lastIndexOf(u':');
    if (colon < 0)
        return {};
    const QString number = display.mid(colon + 1).section(u'.', 0, 0);
    return dir + QStringLiteral("/pcmanfm-socket-") + display.left(colon) + u'-' + number;
}

// Whether the running pcmanfm has its socket: without one, a pcmanfm started to pass on the
// options would become an instance of its own. The socket is not tried out: pcmanfm takes any
// connection as a request and opens a folder window for an empty one.
bool hasSocket(const QString& path)
{
    struct stat info {};
    return !path.isEmpty() && ::stat(QFile::encodeName(path).constData(), &info) == 0 &&
           S_ISSOCK(info.st_mode);
}

// Whether a process on the bus at `address` owns `name`; asked on the picture thread.
bool busNameOwned(const QString& address, const QString& name)
{
    if (address.isEmpty())
        return false;
    const QString connectionName =
        QStringLiteral("quillet-pcmanfm-%1").arg(quintptr(QThread::currentThreadId()));
    bool owned = false;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(address, connectionName);
        if (bus.isConnected() && bus.interface())
            owned = bus.interface()->isServiceRegistered(name).value();
    }
    QDBusConnection::disconnectFromBus(connectionName);
    return owned;
}

class SystemLink final : public PcmanfmLink {
public:
    explicit SystemLink(const PcmanfmDialect& dialect) : m_dialect(dialect) {}

    std::optional<std::pair<PcmanfmInstance, int>> find(const ScreenInfo& screen) override
    {
        xcb_connection_t* c = X11::connection();
        if (!c)
            return std::nullopt;
        const xcb_window_t root = X11::rootWindow();
        const QList<X11::RandrMonitor> monitors = X11::randrMonitors();
        const std::optional<QRect> area = X11::monitorRect(screen.outputName, screen.displayId);
        std::optional<X11::DesktopProgram> mine;
        QList<xcb_window_t> windows;
        if (monitors.size() <= 1 || !area) {
            mine = X11::desktopProgram(c, root);
            if (mine)
                windows.append(mine->window);
        } else {
            mine = X11::desktopProgramCovering(c, root, *area);
            for (const X11::RandrMonitor& monitor : monitors) {
                const auto drawn = X11::desktopProgramCovering(c, root, monitor.rect);
                if (drawn && mine && drawn->pid == mine->pid && !windows.contains(drawn->window))
                    windows.append(drawn->window);
            }
        }
        if (!mine || mine->name != m_dialect.program || mine->pid <= 0)
            return std::nullopt;
        // pcmanfm numbers its monitors in the order it made their desktop windows, and the X
        // server hands a client its window ids in increasing order.
        std::sort(windows.begin(), windows.end());
        const int number = int(windows.indexOf(mine->window));
        PcmanfmInstance instance;
        instance.pid = mine->pid;
        instance.environment = procList(mine->pid, "environ");
        const QStringList arguments = procList(mine->pid, "cmdline");
        if (instance.environment.isEmpty() || arguments.isEmpty())
            return std::nullopt;
        instance.profileDir = Pcmanfm::profileDirOf(
            instance.environment, Pcmanfm::profileOf(arguments), m_dialect.folder);
        return std::pair(instance, std::max(number, 0));
    }

    bool send(const PcmanfmInstance& instance, const QStringList& arguments) override
    {
        // Without a listener, the program started to pass the options on would become a
        // desktop (or a folder window) of its own.
        const bool listens =
            m_dialect.busName.isEmpty()
                ? hasSocket(socketPath(instance.environment))
                : busNameOwned(environmentValue(instance.environment,
                                                QStringLiteral("DBUS_SESSION_BUS_ADDRESS")),
                               m_dialect.busName);
        if (!listens) {
            qCWarning(lcX11, "%s (pid %lld) does not listen for its command line",
                      qUtf8Printable(m_dialect.program), instance.pid);
            return false;
        }
        QProcess process;
        process.setEnvironment(instance.environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.setStandardOutputFile(QProcess::nullDevice());
        process.start(m_dialect.program, arguments);
        if (!process.waitForStarted(kReplyMs))
            return false;
        if (!process.waitForFinished(kReplyMs)) {
            // It did not hand the options on and exit (nobody listened on the socket): it must
            // not stay as a second pcmanfm.
            process.kill();
            process.waitForFinished(1000);
            return false;
        }
        return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }

    QString fallbackConfig(const PcmanfmInstance& instance, int monitor) override
    {
        QString dirs = environmentValue(instance.environment, QStringLiteral("XDG_CONFIG_DIRS"));
        if (dirs.isEmpty())
            dirs = QStringLiteral("/etc/xdg");
        const QString profile = QFileInfo(instance.profileDir).fileName();
        for (const QString& dir : dirs.split(u':', Qt::SkipEmptyParts)) {
            if (const auto text =
                    readText(QStringLiteral("%1/%2/%3/").arg(dir, m_dialect.folder, profile) +
                             m_dialect.fileOf(monitor)))
                return *text;
        }
        // pcmanfm's own default: the desktop in its background colour.
        return {};
    }

private:
    const PcmanfmDialect& m_dialect;
};

// Polls until `done` holds, for at most the reply time; pictures are set on their own thread.
bool waitFor(const std::function<bool()>& done)
{
    const QDeadlineTimer deadline(kReplyMs);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(20);
    }
    return true;
}

} // namespace

namespace Pcmanfm {

std::optional<QString> value(const QString& text, const QString& section, const QString& key)
{
    QString current;
    for (const QString& line : text.split(u'\n')) {
        if (const QString name = sectionOf(line); !name.isEmpty()) {
            current = name;
            continue;
        }
        if (current == section && keyOf(line) == key)
            return valueOf(line);
    }
    return std::nullopt;
}

QMap<QString, QString> keysWithPrefix(const QString& text, const QString& section,
                                      const QString& prefix)
{
    QMap<QString, QString> found;
    QString current;
    for (const QString& line : text.split(u'\n')) {
        if (const QString name = sectionOf(line); !name.isEmpty()) {
            current = name;
            continue;
        }
        const QString key = keyOf(line);
        if (current == section && key.startsWith(prefix))
            found.insert(key, valueOf(line));
    }
    return found;
}

QString withKeys(const QString& text, const QString& section,
                 const QMap<QString, std::optional<QString>>& keys)
{
    QStringList lines = text.isEmpty() ? QStringList() : text.split(u'\n');
    QMap<QString, std::optional<QString>> pending = keys;
    QString current;
    qsizetype sectionEnd = -1; // the line after the section's last key
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (const QString name = sectionOf(lines[i]); !name.isEmpty()) {
            current = name;
            if (name == section)
                sectionEnd = i + 1;
            continue;
        }
        if (current != section)
            continue;
        const QString key = keyOf(lines[i]);
        if (key.isEmpty())
            continue;
        if (const auto it = pending.constFind(key); it != pending.constEnd()) {
            if (*it) {
                lines[i] = key + u'=' + **it;
            } else {
                lines.removeAt(i--);
                sectionEnd = i + 1;
                continue;
            }
        }
        sectionEnd = i + 1;
    }
    QStringList added;
    for (auto it = pending.cbegin(); it != pending.cend(); ++it) {
        const bool present =
            keysWithPrefix(lines.join(u'\n'), section, it.key()).contains(it.key());
        if (it.value() && !present)
            added.append(it.key() + u'=' + *it.value());
    }
    if (added.isEmpty())
        return lines.join(u'\n');
    if (sectionEnd < 0) {
        // A new section at the end, after the text's last line.
        if (!lines.isEmpty() && lines.constLast().isEmpty())
            lines.removeLast();
        if (!lines.isEmpty())
            lines.append(QString());
        lines.append(u'[' + section + u']');
        lines.append(added);
        lines.append(QString());
        return lines.join(u'\n');
    }
    for (qsizetype i = 0; i < added.size(); ++i)
        lines.insert(sectionEnd + i, added[i]);
    return lines.join(u'\n');
}

QString profileOf(const QStringList& arguments)
{
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (argument.startsWith(QLatin1String("--profile=")))
            return argument.mid(10);
        if ((argument == QLatin1String("--profile") || argument == QLatin1String("-p")) &&
            i + 1 < arguments.size())
            return arguments[i + 1];
        if (argument.startsWith(QLatin1String("-p")) && !argument.startsWith(QLatin1String("--")))
            return argument.mid(2);
    }
    return QStringLiteral("default");
}

QString profileDirOf(const QStringList& environment, const QString& profile, const QString& folder)
{
    QString config = environmentValue(environment, QStringLiteral("XDG_CONFIG_HOME"));
    // As GLib has it: a relative XDG_CONFIG_HOME is ignored.
    if (config.isEmpty() || !QDir::isAbsolutePath(config))
        config = environmentValue(environment, QStringLiteral("HOME")) + QStringLiteral("/.config");
    return config + u'/' + folder + u'/' + profile;
}

QMap<QString, QString> allKeys(const QString& text)
{
    QMap<QString, QString> found;
    QString current;
    for (const QString& line : text.split(u'\n')) {
        if (const QString name = sectionOf(line); !name.isEmpty()) {
            current = name;
            continue;
        }
        if (const QString key = keyOf(line); !key.isEmpty())
            found.insert(current + u'/' + key, valueOf(line));
    }
    return found;
}

bool qtShowsColour(qint64 pid)
{
    const PcmanfmDialect& qt = PcmanfmDialect::lxqt();
    const QStringList environment = procList(pid, "environ");
    const QString dir = profileDirOf(environment, profileOf(procList(pid, "cmdline")), qt.folder);
    const QString text = readText(dir + u'/' + qt.fileName).value_or(QString());
    return qt.colourModes.contains(value(text, qt.section, qt.modeKey).value_or(kColour)) ||
           value(text, qt.section, qt.pictureKey).value_or(QString()).isEmpty();
}

QStringList monitorsDrawnBy(qint64 pid)
{
    xcb_connection_t* c = X11::connection();
    if (!c || pid <= 0)
        return {};
    QList<std::pair<xcb_window_t, QString>> drawn;
    for (const X11::RandrMonitor& monitor : X11::randrMonitors()) {
        const auto program = X11::desktopProgramCovering(c, X11::rootWindow(), monitor.rect);
        if (program && program->pid == pid)
            drawn.append({program->window, monitor.name});
    }
    // As in find(): pcmanfm's first monitor is the one with its oldest desktop window.
    std::sort(drawn.begin(), drawn.end());
    QStringList names;
    for (const auto& [window, name] : drawn)
        names.append(name);
    return names;
}

std::unique_ptr<PcmanfmLink> systemLink(const PcmanfmDialect& dialect)
{
    return std::make_unique<SystemLink>(dialect);
}

} // namespace Pcmanfm

const PcmanfmDialect& PcmanfmDialect::lxde()
{
    // "crop": scaled to fill the monitor, cut off equally on both sides.
    static const PcmanfmDialect dialect{QStringLiteral("pcmanfm"),
                                        QStringLiteral("pcmanfm"),
                                        QStringLiteral("desktop-items-%1.conf"),
                                        QStringLiteral("*"),
                                        QStringLiteral("wallpaper"),
                                        QStringLiteral("wallpaper_mode"),
                                        {kColour},
                                        QStringLiteral("crop"),
                                        false,
                                        {}};
    return dialect;
}

const PcmanfmDialect& PcmanfmDialect::lxqt()
{
    // pcmanfm-qt reads "color" and writes it back as "none".
    static const PcmanfmDialect dialect{QStringLiteral("pcmanfm-qt"),
                                        QStringLiteral("pcmanfm-qt"),
                                        QStringLiteral("settings.conf"),
                                        QStringLiteral("Desktop"),
                                        QStringLiteral("Wallpaper"),
                                        QStringLiteral("WallpaperMode"),
                                        {kColour, QStringLiteral("none")},
                                        {},
                                        true,
                                        QStringLiteral("org.pcmanfm.PCManFM")};
    return dialect;
}

PcmanfmDesktopPictures::PcmanfmDesktopPictures(const QString& recordDir,
                                               std::unique_ptr<PcmanfmLink> link,
                                               const PcmanfmDialect& dialect)
    : m_dialect(dialect), m_link(std::move(link)), m_file(recordDir, dialect.program),
      m_record(m_file.load())
{
}

PcmanfmDesktopPictures::~PcmanfmDesktopPictures() = default;

QString PcmanfmDesktopPictures::settingsPath(const PcmanfmInstance& instance, int monitor) const
{
    return instance.profileDir + u'/' + m_dialect.fileOf(monitor);
}

std::optional<QString> PcmanfmDesktopPictures::desktopPicture(const ScreenInfo& screen) const
{
    const auto found = m_link->find(screen);
    if (!found)
        return std::nullopt;
    const auto& [instance, monitor] = *found;
    const QString text = readText(settingsPath(instance, monitor))
                             .value_or(m_link->fallbackConfig(instance, monitor));
    const QString mode =
        Pcmanfm::value(text, m_dialect.section, m_dialect.modeKey).value_or(kColour);
    const QString picture =
        Pcmanfm::value(text, m_dialect.section, m_dialect.pictureKey).value_or(QString());
    if (m_dialect.colourModes.contains(mode) || picture.isEmpty())
        return std::nullopt;
    return picture;
}

QImage PcmanfmDesktopPictures::snapshotDesktopPicture(const ScreenInfo& screen)
{
    return RootWindowDesktopPictures::rootPixmapPart(screen);
}

bool PcmanfmDesktopPictures::holdsRecord(const ScreenInfo& screen) const
{
    return !screen.outputName.isEmpty() && m_record.contains(screen.outputName);
}

bool PcmanfmDesktopPictures::rememberDesktop(const ScreenInfo& screen)
{
    if (screen.outputName.isEmpty())
        return false;
    if (holdsRecord(screen))
        return true;
    const auto found = m_link->find(screen);
    // pcmanfm's command line reaches its first monitor only, and it reads the others' files
    // only when it starts: those monitors keep what they show.
    if (!found || found->second != 0)
        return false;
    const auto& [instance, monitor] = *found;
    const QString path = settingsPath(instance, monitor);
    const auto text = readText(path);
    const QString shown = text.value_or(m_link->fallbackConfig(instance, monitor));
    const QString mode =
        Pcmanfm::value(shown, m_dialect.section, m_dialect.modeKey).value_or(kColour);
    const QString picture =
        Pcmanfm::value(shown, m_dialect.section, m_dialect.pictureKey).value_or(QString());
    // pcmanfm-qt shows our pictures in the mode it has and can go back only to a picture it
    // can read: a plain colour desktop is left alone.
    if (m_dialect.fillMode.isEmpty() &&
        (m_dialect.colourModes.contains(mode) || !QImageReader(picture).canRead()))
        return false;
    QJsonObject keys;
    const QMap<QString, QString> saved =
        Pcmanfm::keysWithPrefix(text.value_or(QString()), m_dialect.section, m_dialect.pictureKey);
    for (auto it = saved.cbegin(); it != saved.cend(); ++it)
        keys.insert(it.key(), it.value());
    QJsonObject entry{{QStringLiteral("file"), path},
                      {QStringLiteral("existed"), text.has_value()},
                      {QStringLiteral("keys"), keys},
                      {QStringLiteral("mode"), mode},
                      {QStringLiteral("picture"), picture}};
    if (m_dialect.writesWholeFile && text)
        entry.insert(QStringLiteral("text"), *text);
    m_record.insert(screen.outputName, entry);
    if (!m_file.save(m_record)) {
        m_record.remove(screen.outputName);
        return false;
    }
    return true;
}

bool PcmanfmDesktopPictures::setDesktopPicture(const ScreenInfo& screen, const QString& path)
{
    if (!holdsRecord(screen))
        return false;
    const auto found = m_link->find(screen);
    if (!found || found->second != 0)
        return false;
    const QString file = settingsPath(found->first, found->second);
    QStringList arguments{QStringLiteral("--set-wallpaper=") + path};
    if (!m_dialect.fillMode.isEmpty())
        arguments << QStringLiteral("--wallpaper-mode=") + m_dialect.fillMode;
    if (!m_link->send(found->first, arguments))
        return false;
    // Taken once pcmanfm has written it down.
    return waitFor([&] {
        const QString text = readText(file).value_or(QString());
        return Pcmanfm::value(text, m_dialect.section, m_dialect.pictureKey) == path &&
               (m_dialect.fillMode.isEmpty() ||
                Pcmanfm::value(text, m_dialect.section, m_dialect.modeKey) == m_dialect.fillMode);
    });
}

PictureRestore PcmanfmDesktopPictures::restoreDesktop(const ScreenInfo& screen)
{
    if (!holdsRecord(screen))
        return PictureRestore::nothingHeld;
    const QJsonObject entry = m_record.value(screen.outputName).toObject();
    const auto found = m_link->find(screen);
    // The settings go back through the pcmanfm that shows them; one that is away (restarting,
    // or not started yet) finds them in the record later.
    if (!found || found->second != 0)
        return PictureRestore::failed;
    const QString file = entry.value(QStringLiteral("file")).toString();
    const QString mode = entry.value(QStringLiteral("mode")).toString();
    const QString picture = entry.value(QStringLiteral("picture")).toString();
    // pcmanfm keeps the picture it was last given even while it shows a colour, and writes it
    // into its file whenever it saves (an icon moved, another mode chosen): the user's own
    // picture goes back with the colour. It takes only a file it can read as an image, and no
    // empty one: a user who never had a picture keeps our last one in pcmanfm until it
    // restarts.
    const bool givesPicture = !picture.isEmpty() && QImageReader(picture).canRead();
    // pcmanfm-qt never took a mode from us: its own is still in force.
    const bool givesMode = !m_dialect.fillMode.isEmpty();
    QStringList arguments;
    if (givesPicture)
        arguments << QStringLiteral("--set-wallpaper=") + picture;
    if (givesMode)
        arguments << QStringLiteral("--wallpaper-mode=") + mode;
    if (arguments.isEmpty() || !m_link->send(found->first, arguments))
        return PictureRestore::failed;
    // pcmanfm writes its whole file when it takes the options: the keys go back after that,
    // or its write would undo them.
    const bool written = waitFor([&] {
        const QString text = readText(file).value_or(QString());
        return (!givesMode || Pcmanfm::value(text, m_dialect.section, m_dialect.modeKey) == mode) &&
               (!givesPicture ||
                Pcmanfm::value(text, m_dialect.section, m_dialect.pictureKey) == picture);
    });
    if (!written)
        return PictureRestore::failed;
    if (!givesPicture) {
        qCInfo(lcX11, "pcmanfm keeps the name of the last picture: it had none it could take back");
        m_limitation = QStringLiteral(
            "pcmanfm shows your desktop as before, but it takes no empty picture from other "
            "programs: until it restarts it keeps the name of Quillet's last picture, and may "
            "write it into its settings.");
    }

    const QString now = readText(file).value_or(QString());
    const QJsonObject keys = entry.value(QStringLiteral("keys")).toObject();
    QMap<QString, std::optional<QString>> back;
    for (const QString& key :
         Pcmanfm::keysWithPrefix(now, m_dialect.section, m_dialect.pictureKey).keys())
        back.insert(key, std::nullopt);
    for (auto it = keys.constBegin(); it != keys.constEnd(); ++it)
        back.insert(it.key(), it.value().toString());
    QString restored = Pcmanfm::withKeys(now, m_dialect.section, back);
    // pcmanfm-qt's save added its defaults to the user's file: where it holds every setting
    // the user's file had as the file had it, that file goes back as it was.
    if (const QJsonValue before = entry.value(QStringLiteral("text")); before.isString()) {
        const QMap<QString, QString> had = Pcmanfm::allKeys(before.toString());
        const QMap<QString, QString> has = Pcmanfm::allKeys(restored);
        const bool onlyDefaultsAdded =
            std::all_of(had.keyValueBegin(), had.keyValueEnd(),
                        [&](const auto& kv) { return has.value(kv.first) == kv.second; });
        if (onlyDefaultsAdded)
            restored = before.toString();
    }
    bool done = false;
    if (entry.value(QStringLiteral("existed")).toBool()) {
        done = writeText(file, restored);
    } else {
        // pcmanfm wrote the file for our change: with nothing of its own in it (only [*], no
        // icon positions) it goes away again, so pcmanfm keeps reading what it read before.
        bool othersSections = false;
        for (const QString& line : now.split(u'\n')) {
            const QString section = sectionOf(line);
            othersSections = othersSections || (!section.isEmpty() && section != m_dialect.section);
        }
        done = othersSections ? writeText(file, restored)
                              : (!QFile::exists(file) || QFile::remove(file));
    }
    if (!done)
        return PictureRestore::failed;
    m_record.remove(screen.outputName);
    m_file.save(m_record);
    return PictureRestore::restored;
}
