// The JSON defaults store: typed reads through the key table, atomic private writes.
#include "DefaultsStore.h"

#include "ProblemLog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringDecoder>

namespace {

bool hasKind(const QJsonValue& value, StoredKey::Kind kind)
{
    switch (kind) {
    case StoredKey::Kind::boolean:
        return value.isBool();
    case StoredKey::Kind::string:
        return value.isString();
    case StoredKey::Kind::object:
        return value.isObject();
    case StoredKey::Kind::stringList: {
        if (!value.isArray())
            return false;
        const QJsonArray array = value.toArray();
        return std::all_of(array.begin(), array.end(),
                           [](const QJsonValue& element) { return element.isString(); });
    }
    }
    return false;
}

QString kindName(StoredKey::Kind kind)
{
    switch (kind) {
    case StoredKey::Kind::boolean:
        return QStringLiteral("true or false");
    case StoredKey::Kind::string:
        return QStringLiteral("text");
    case StoredKey::Kind::object:
        return QStringLiteral("an object of texts");
    case StoredKey::Kind::stringList:
        return QStringLiteral("a list of texts");
    }
    return {};
}

} // namespace

bool writeAll(QFileDevice& file, const QByteArray& bytes)
{
    // A short write is retried for the rest, so that the error string names the real cause
    // (no space left, file too large) rather than a count.
    qsizetype done = 0;
    while (done < bytes.size()) {
        const qint64 n = file.write(bytes.constData() + done, bytes.size() - done);
        if (n <= 0)
            return false;
        done += n;
    }
    return true;
}

DefaultsStore::DefaultsStore(QString filePath) : m_filePath(std::move(filePath))
{
    load();
}

DefaultsStore::~DefaultsStore()
{
    if (m_writer.joinable()) {
        {
            const std::lock_guard lock(m_writerMutex);
            m_stopWriter = true;
        }
        m_writerWake.notify_one();
        m_writer.join();
    }
    flush();
}

void DefaultsStore::writeInBackground()
{
    if (!m_writer.joinable())
        m_writer = std::thread([this] { writerLoop(); });
}

void DefaultsStore::writerLoop()
{
    std::unique_lock lock(m_writerMutex);
    for (;;) {
        m_writerWake.wait(lock, [this] { return m_writePending || m_stopWriter; });
        if (m_stopWriter)
            return; // the destructor writes what is left
        m_writePending = false;
        lock.unlock();
        save();
        lock.lock();
    }
}

void DefaultsStore::flush()
{
    save();
}

void DefaultsStore::changed(const StoredKey& key)
{
    if (m_writer.joinable() && !key.writtenBeforeTheChange) {
        {
            const std::lock_guard lock(m_writerMutex);
            m_writePending = true;
        }
        m_writerWake.notify_one();
        return;
    }
    save();
}

QString DefaultsStore::standardPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Quillet/defaults.json");
}

DefaultsStore& DefaultsStore::standard()
{
    static DefaultsStore* const store = [] {
        // Never destroyed: threads that outlive main() may still read it; main() flushes it.
        auto* opened = new DefaultsStore(standardPath());
        opened->writeInBackground();
        return opened;
    }();
    return *store;
}

QJsonValue DefaultsStore::rawValue(const StoredKey& key) const
{
    const QMutexLocker lock(&m_mutex);
    return m_values.value(key.name);
}

QJsonValue DefaultsStore::value(const StoredKey& key) const
{
    const QJsonValue stored = rawValue(key);
    return hasKind(stored, key.kind) ? stored : key.fallback;
}

std::optional<bool> DefaultsStore::boolValue(const StoredKey& key) const
{
    const QJsonValue v = value(key);
    return v.isBool() ? std::optional<bool>(v.toBool()) : std::nullopt;
}

std::optional<QString> DefaultsStore::stringValue(const StoredKey& key) const
{
    const QJsonValue v = value(key);
    return v.isString() ? std::optional<QString>(v.toString()) : std::nullopt;
}

std::optional<QStringList> DefaultsStore::stringListValue(const StoredKey& key) const
{
    const QJsonValue v = value(key);
    if (!v.isArray())
        return std::nullopt;
    QStringList list;
    for (const QJsonValue& element : v.toArray())
        list.append(element.toString());
    return list;
}

void DefaultsStore::setValue(const StoredKey& key, const QJsonValue& value)
{
    {
        const QMutexLocker lock(&m_mutex);
        m_values.insert(key.name, value);
        ++m_changes;
    }
    changed(key);
}

void DefaultsStore::setStringList(const StoredKey& key, const QStringList& value)
{
    setValue(key, QJsonArray::fromStringList(value));
}

void DefaultsStore::remove(const StoredKey& key)
{
    {
        const QMutexLocker lock(&m_mutex);
        m_values.remove(key.name);
        ++m_changes;
    }
    changed(key);
}

void DefaultsStore::load()
{
    const QFileInfo info(m_filePath);
    if (info.isSymLink() && !info.exists()) {
        // A link to a file that is not there (an unmounted or moved folder of the user's): writing
        // through it could create files in unexpected places, replacing it would lose the link.
        leaveAlone(
            QStringLiteral("it is a link to %1, which does not exist").arg(info.symLinkTarget()));
        return;
    }
    if (!info.exists())
        return;
    if (info.isDir()) {
        leaveAlone(QStringLiteral("it is a folder, not a file"));
        return;
    }
    if (info.size() > kMaxFileBytes) {
        moveAside(QStringLiteral("it is larger than %1 MB").arg(kMaxFileBytes >> 20));
        return;
    }
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        // Intact but not ours to read (mode 000, another owner): keep it where it is and do not
        // replace it with a store that lacks the user's choices.
        leaveAlone(QStringLiteral("it cannot be opened (%1)").arg(file.errorString()));
        return;
    }
    const QByteArray bytes = file.read(kMaxFileBytes + 1);
    if (file.error() != QFileDevice::NoError) {
        leaveAlone(QStringLiteral("it cannot be read (%1)").arg(file.errorString()));
        return;
    }
    file.close();
    // Checked before parsing: a reader that replaced bad bytes would make the next write lose
    // them for good.
    QStringDecoder utf8(QStringDecoder::Utf8);
    (void)QString(utf8.decode(bytes));
    if (utf8.hasError()) {
        moveAside(QStringLiteral("it is not valid UTF-8 text"));
        return;
    }
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        moveAside(QStringLiteral("it is not valid JSON: %1 at byte %2")
                      .arg(error.errorString())
                      .arg(error.offset));
        return;
    }
    if (!document.isObject()) {
        moveAside(QStringLiteral("it holds JSON but not an object"));
        return;
    }
    m_values = document.object();
    reportMistypedValues();
}

void DefaultsStore::reportMistypedValues() const
{
    // Such values stay in the file (a later version may read them); only their reading falls
    // back, so the user hears which choice was not taken.
    QStringList mistyped;
    for (const StoredKey* key : StoredKeys::all) {
        const QJsonValue stored = m_values.value(key->name);
        if (!stored.isUndefined() && !hasKind(stored, key->kind))
            mistyped.append(QStringLiteral("\"%1\" is not %2").arg(key->name, kindName(key->kind)));
    }
    if (!mistyped.isEmpty())
        ProblemLog::reportOnce(
            m_filePath, QStringLiteral("settings file %1: %2; the defaults are used for them")
                            .arg(m_filePath, mistyped.join(QStringLiteral(", "))));
}

void DefaultsStore::leaveAlone(const QString& reason)
{
    m_leaveFileAlone = true;
    ProblemLog::reportOnce(m_filePath, QStringLiteral("settings file %1 cannot be used: %2. It is "
                                                      "left as it is, the defaults are used and "
                                                      "changes are not saved")
                                           .arg(m_filePath, reason));
}

void DefaultsStore::moveAside(const QString& reason)
{
    // Keep the unreadable file for the user to inspect and start from the defaults; a later
    // write then cannot destroy what we could not read.
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString aside = m_filePath + QStringLiteral(".corrupt-") + stamp;
    for (int n = 1; QFileInfo::exists(aside) || QFileInfo(aside).isSymLink(); ++n)
        aside = m_filePath + QStringLiteral(".corrupt-") + stamp + QLatin1Char('-') +
                QString::number(n);
    if (!QFile::rename(m_filePath, aside)) {
        leaveAlone(reason + QStringLiteral(", and it could not be moved aside"));
        return;
    }
    m_movedAsidePath = aside;
    ProblemLog::reportOnce(m_filePath, QStringLiteral("settings file %1 could not be read (%2); it "
                                                      "was moved to %3 and the defaults are used")
                                           .arg(m_filePath, reason, aside));
}

void DefaultsStore::save()
{
    if (m_leaveFileAlone)
        return;
    const std::lock_guard fileLock(m_fileMutex);
    QJsonObject values;
    quint64 changes = 0;
    {
        const QMutexLocker lock(&m_mutex);
        values = m_values;
        changes = m_changes;
    }
    if (changes <= m_saved)
        return;
    const QString topic = m_filePath + QStringLiteral(" (writing)");
    const QFileInfo info(m_filePath);
    const QString folder = info.absolutePath();
    if (!QFileInfo(folder).isDir() && !QDir().mkpath(folder)) {
        ProblemLog::reportOnce(topic,
                               QStringLiteral("cannot save settings: the folder %1 cannot be "
                                              "created; changes last only until Quillet quits")
                                   .arg(folder));
        return;
    }
    QSaveFile file(m_filePath);
    QString failure;
    // Unbuffered: a buffered QSaveFile commits a cut-off file when the disk fills up during the
    // flush; written directly, every short write is seen before the commit.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        // The new contents go to a temporary file beside the store: this is where a read-only
        // folder or a store of someone else's fails.
        failure = QStringLiteral("no file can be written in the folder %1 (%2)")
                      .arg(folder, file.errorString());
    } else {
        // Private before any byte is written: the file holds picture paths of the user.
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        const QByteArray bytes = QJsonDocument(values).toJson(QJsonDocument::Indented);
        if (!writeAll(file, bytes) || !file.commit())
            failure = QStringLiteral("no file can be written in the folder %1 (%2)")
                          .arg(folder, file.errorString());
    }
    // A failed write is not repeated until the next change: the report says changes last only
    // for this run.
    m_saved = changes;
    if (failure.isEmpty()) {
        ProblemLog::clear(topic);
        return;
    }
    ProblemLog::reportOnce(topic,
                           QStringLiteral("cannot save settings to %1: %2; the file keeps its "
                                          "earlier contents and changes last only until "
                                          "Quillet quits")
                               .arg(m_filePath, failure));
}
