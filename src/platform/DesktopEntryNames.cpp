// Reads the Name and StartupWMClass keys of desktop entries, with a cache that is dropped when an
// applications folder changes.
#include "DesktopEntryNames.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTextStream>

namespace {

// Real entries are a few kilobytes; the largest translated ones stay well below this.
constexpr qint64 kMaxEntryBytes = qint64(1) << 20;

QString unescape(const QString& value)
{
    QString out;
    out.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value.at(i);
        if (c != QLatin1Char('\\') || i + 1 == value.size()) {
            out.append(c);
            continue;
        }
        const QChar next = value.at(++i);
        switch (next.unicode()) {
        case 's':
            out.append(QLatin1Char(' '));
            break;
        case 'n':
            out.append(QLatin1Char('\n'));
            break;
        case 't':
            out.append(QLatin1Char('\t'));
            break;
        case 'r':
            out.append(QLatin1Char('\r'));
            break;
        default:
            out.append(next);
            break;
        }
    }
    return out;
}

// The user's language as locale keys, most specific first ("de_AT", "de").
QStringList localeKeys()
{
    const QString name = QLocale::system().name();
    QStringList keys{name};
    const qsizetype underscore = name.indexOf(QLatin1Char('_'));
    if (underscore > 0)
        keys.append(name.left(underscore));
    return keys;
}

} // namespace

DesktopEntryNames::DesktopEntryNames() : DesktopEntryNames(standardApplicationDirs()) {}

DesktopEntryNames::DesktopEntryNames(QStringList applicationDirs)
    : m_dirs(std::move(applicationDirs))
{
}

QStringList DesktopEntryNames::standardApplicationDirs()
{
    QString home = qEnvironmentVariable("XDG_DATA_HOME");
    if (home.isEmpty())
        home = QDir::homePath() + QStringLiteral("/.local/share");
    QString dirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dirs.isEmpty())
        dirs = QStringLiteral("/usr/local/share:/usr/share");
    QStringList result{home + QStringLiteral("/applications")};
    for (const QString& dir : dirs.split(QLatin1Char(':'), Qt::SkipEmptyParts))
        result.append(dir + QStringLiteral("/applications"));
    return result;
}

void DesktopEntryNames::refreshIfChanged()
{
    QList<QDateTime> times;
    times.reserve(m_dirs.size());
    for (const QString& dir : m_dirs)
        times.append(QFileInfo(dir).lastModified());
    if (times == m_dirTimes)
        return;
    m_dirTimes = times;
    m_byId.clear();
    m_byWMClass.clear();
    m_wmClassIndexBuilt = false;
}

std::optional<DesktopEntryNames::Entry> DesktopEntryNames::entryFor(const QString& desktopId)
{
    if (desktopId.isEmpty() || desktopId.contains(QLatin1Char('/')))
        return std::nullopt;
    if (const auto found = m_byId.constFind(desktopId); found != m_byId.constEnd())
        return *found;

    std::optional<Entry> result;
    // The first folder that has the file decides, even when its entry is hidden.
    for (const QString& dir : m_dirs) {
        const QString path = dir + QLatin1Char('/') + desktopId + QStringLiteral(".desktop");
        // Only plain files of a sane size: opening a pipe would wait for a writer, and a huge
        // file (or a link to one) would be read whole on the interface thread.
        const QFileInfo info(path);
        if (!info.exists())
            continue;
        if (!info.isFile() || info.size() > kMaxEntryBytes)
            break;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            continue;
        QTextStream in(&file);
        bool inMainGroup = false;
        bool hidden = false;
        QHash<QString, QString> values;
        while (!in.atEnd()) {
            const QString line = in.readLine().trimmed();
            if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
                continue;
            if (line.startsWith(QLatin1Char('['))) {
                inMainGroup = line == QLatin1String("[Desktop Entry]");
                continue;
            }
            if (!inMainGroup)
                continue;
            const qsizetype eq = line.indexOf(QLatin1Char('='));
            if (eq <= 0)
                continue;
            // Translated entries hold hundreds of keys; only these few are kept.
            const QString key = line.left(eq).trimmed();
            if (key != QLatin1String("Hidden") && key != QLatin1String("StartupWMClass") &&
                !key.startsWith(QLatin1String("Name")))
                continue;
            const QString value = unescape(line.mid(eq + 1).trimmed());
            if (key == QLatin1String("Hidden"))
                hidden = value == QLatin1String("true");
            values.insert(key, value);
        }
        if (!hidden) {
            QString name = values.value(QStringLiteral("Name"));
            for (const QString& locale : localeKeys()) {
                const QString localised = values.value(QStringLiteral("Name[%1]").arg(locale));
                if (!localised.isEmpty()) {
                    name = localised;
                    break;
                }
            }
            if (!name.isEmpty())
                result = Entry{name, values.value(QStringLiteral("StartupWMClass"))};
        }
        break;
    }
    m_byId.insert(desktopId, result);
    return result;
}

void DesktopEntryNames::buildWMClassIndex()
{
    m_wmClassIndexBuilt = true;
    // Later folders first, so that the more important ones overwrite them.
    for (auto dir = m_dirs.crbegin(); dir != m_dirs.crend(); ++dir) {
        const QStringList files =
            QDir(*dir).entryList({QStringLiteral("*.desktop")}, QDir::Files | QDir::Readable);
        for (const QString& file : files) {
            // Few entries name a window class: the others are not parsed at all.
            QFile entryFile(*dir + QLatin1Char('/') + file);
            if (entryFile.size() > kMaxEntryBytes || !entryFile.open(QIODevice::ReadOnly) ||
                !entryFile.readAll().contains("StartupWMClass"))
                continue;
            const QString id = file.chopped(8);
            if (const auto entry = entryFor(id); entry && !entry->startupWMClass.isEmpty())
                m_byWMClass.insert(entry->startupWMClass, entry->name);
        }
    }
}

std::optional<QString> DesktopEntryNames::name(const QString& applicationId,
                                               const QString& wmInstance, const QString& wmClass)
{
    refreshIfChanged();
    for (const QString& id : {applicationId, wmClass, wmInstance}) {
        if (id.isEmpty())
            continue;
        if (const auto entry = entryFor(id))
            return entry->name;
        if (const auto entry = entryFor(id.toLower()))
            return entry->name;
    }
    if (wmClass.isEmpty() && wmInstance.isEmpty())
        return std::nullopt;
    if (!m_wmClassIndexBuilt)
        buildWMClassIndex();
    for (const QString& key : {wmClass, wmInstance}) {
        if (!key.isEmpty()) {
            if (const auto found = m_byWMClass.constFind(key); found != m_byWMClass.constEnd())
                return *found;
        }
    }
    return std::nullopt;
}
