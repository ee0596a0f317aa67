// The JSON defaults store: typed reads through the key table, atomic private writes.
#include "DefaultsStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>

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

} // namespace

DefaultsStore::DefaultsStore(QString filePath) : m_filePath(std::move(filePath))
{
    load();
}

QString DefaultsStore::standardPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Quillet/defaults.json");
}

DefaultsStore& DefaultsStore::standard()
{
    static DefaultsStore store(standardPath());
    return store;
}

QJsonValue DefaultsStore::value(const StoredKey& key) const
{
    const QJsonValue stored = m_values.value(key.name);
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
    m_values.insert(key.name, value);
    save();
}

void DefaultsStore::setStringList(const StoredKey& key, const QStringList& value)
{
    setValue(key, QJsonArray::fromStringList(value));
}

void DefaultsStore::remove(const StoredKey& key)
{
    m_values.remove(key.name);
    save();
}

void DefaultsStore::load()
{
    QFile file(m_filePath);
    if (!file.exists())
        return;
    QJsonParseError error{};
    QJsonDocument document;
    if (file.open(QIODevice::ReadOnly))
        document = QJsonDocument::fromJson(file.readAll(), &error);
    file.close();
    if (document.isObject()) {
        m_values = document.object();
        return;
    }
    // Keep the unreadable file for the user to inspect and start from the defaults; a later
    // write then cannot destroy what we could not read.
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString aside = m_filePath + QStringLiteral(".corrupt-") + stamp;
    for (int n = 1; QFileInfo::exists(aside); ++n)
        aside = m_filePath + QStringLiteral(".corrupt-") + stamp + QLatin1Char('-') + QString::number(n);
    const QString reason = error.error != QJsonParseError::NoError ? error.errorString()
                                                                    : QStringLiteral("not a JSON object");
    if (QFile::rename(m_filePath, aside)) {
        m_movedAsidePath = aside;
        qWarning("Quillet: settings file %s could not be read (%s); it was moved to %s and the "
                 "defaults are used",
                 qUtf8Printable(m_filePath), qUtf8Printable(reason), qUtf8Printable(aside));
    } else {
        m_leaveFileAlone = true;
        qWarning("Quillet: settings file %s could not be read (%s) nor moved aside; the defaults "
                 "are used and nothing is written",
                 qUtf8Printable(m_filePath), qUtf8Printable(reason));
    }
}

void DefaultsStore::save() const
{
    if (m_leaveFileAlone)
        return;
    const QFileInfo info(m_filePath);
    QDir().mkpath(info.absolutePath());
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly)) {
        qWarning("Quillet: cannot write settings file %s: %s", qUtf8Printable(m_filePath),
                 qUtf8Printable(file.errorString()));
        return;
    }
    // Private before any byte is written: the file holds picture paths of the user.
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(QJsonDocument(m_values).toJson(QJsonDocument::Indented));
    if (!file.commit())
        qWarning("Quillet: cannot write settings file %s: %s", qUtf8Printable(m_filePath),
                 qUtf8Printable(file.errorString()));
}
