// The per-user store of choices and preferences: one JSON object file, written atomically on
// every change. A damaged file is moved aside, one that cannot be opened is left alone (and not
// written); either way the user is told once and the defaults are used.
#pragma once

#include "StoredKeys.h"

#include <QJsonObject>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <optional>

class QFileDevice;

// Writes all of `bytes` to a file opened unbuffered; false (with the file's error string set)
// when the disk takes less.
bool writeAll(QFileDevice& file, const QByteArray& bytes);

// The desktop pictures are recorded from a thread of their own: every read and write holds the
// store's lock.
class DefaultsStore final {
public:
    // Opens (or later creates) the store at `filePath`.
    explicit DefaultsStore(QString filePath);

    // `$XDG_CONFIG_HOME/Quillet/defaults.json`.
    static QString standardPath();
    // The store of the running program, opened on first use at the standard path.
    static DefaultsStore& standard();

    // The stored value when it has the key's type, else the key's fallback.
    QJsonValue value(const StoredKey& key) const;
    // The stored value whatever its type (Undefined when absent).
    QJsonValue rawValue(const StoredKey& key) const;

    std::optional<bool> boolValue(const StoredKey& key) const;
    std::optional<QString> stringValue(const StoredKey& key) const;
    std::optional<QStringList> stringListValue(const StoredKey& key) const;

    void setValue(const StoredKey& key, const QJsonValue& value);
    void setBool(const StoredKey& key, bool value) { setValue(key, value); }
    void setString(const StoredKey& key, const QString& value) { setValue(key, value); }
    void setStringList(const StoredKey& key, const QStringList& value);
    void remove(const StoredKey& key);

    QString filePath() const { return m_filePath; }
    // Where an unreadable file was moved at load, empty when none was.
    QString movedAsidePath() const { return m_movedAsidePath; }

    // Larger stores are not read: the program's own never come near (300 000 labels are 6 MB).
    static constexpr qint64 kMaxFileBytes = qint64(64) << 20;

private:
    void load();
    void save();
    void reportMistypedValues() const;
    // The file cannot be used but is intact or not ours: use the defaults, never write it.
    void leaveAlone(const QString& reason);
    // The file is damaged: keep it beside under a new name and start a new one.
    void moveAside(const QString& reason);

    mutable QMutex m_mutex;
    QString m_filePath;
    QString m_movedAsidePath;
    QJsonObject m_values;
    // Set when an unreadable file could not be moved aside: it must not be overwritten.
    bool m_leaveFileAlone = false;
};
