// The per-user store of choices and preferences: one JSON object file, written atomically after
// every change. A damaged file is moved aside, one that cannot be opened is left alone (and not
// written); either way the user is told once and the defaults are used.
#pragma once

#include "StoredKeys.h"

#include <QJsonObject>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

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
    // Writes what is still pending and stops the writing thread.
    ~DefaultsStore();
    DefaultsStore(const DefaultsStore&) = delete;
    DefaultsStore& operator=(const DefaultsStore&) = delete;

    // From now on ordinary changes are written by a thread of the store's own, the latest state
    // once for a burst of changes, so that a click never waits for the disk (a synced write can
    // take tens of milliseconds). Keys written before the change they record stay synchronous.
    void writeInBackground();
    // Returns when every change made so far is on disk (or its write has failed and been
    // reported).
    void flush();

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
    // Writes the current values unless a newer or equal state is already on disk.
    void save();
    void writerLoop();
    void changed(const StoredKey& key);
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
    // Counts changes; a write records the count it saved, so an older state never replaces a
    // newer one whichever thread writes last.
    quint64 m_changes = 0;

    // One file write at a time; guards m_saved.
    std::mutex m_fileMutex;
    quint64 m_saved = 0;

    std::mutex m_writerMutex;
    std::condition_variable m_writerWake;
    bool m_writePending = false;
    bool m_stopWriter = false;
    std::thread m_writer;
};
