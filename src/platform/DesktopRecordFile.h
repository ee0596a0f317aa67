// A desktop backend's record of the user's desktop: one JSON object in a file of its own in the
// program's support folder, "desktop-<backend>.json" (pictures), written atomically so that a crash
// leaves either the old or the new record, never half of one.
#pragma once

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

class DesktopRecordFile final {
public:
    // An empty folder means no file at all (the record lives in memory only). A record of
    // something other than the desktop's pictures takes another prefix ("icons-"), so that the
    // picture backends do not wait for it (othersPending).
    DesktopRecordFile(QString dir, QString backend, QString prefix = QStringLiteral("desktop-"))
        : m_dir(std::move(dir)), m_backend(std::move(backend)), m_prefix(std::move(prefix))
    {
    }

    QString dir() const { return m_dir; }
    QString path() const
    {
        return m_dir.isEmpty() ? QString()
                               : m_dir + u'/' + m_prefix + m_backend + QStringLiteral(".json");
    }

    // The stored record; empty when there is none. A file that cannot be read as a record is
    // moved aside (never overwritten), so the user's last record stays on disk.
    QJsonObject load() const
    {
        QFile file(path());
        if (path().isEmpty() || !file.exists() || !file.open(QIODevice::ReadOnly))
            return {};
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
        file.close();
        if (error.error == QJsonParseError::NoError && document.isObject())
            return document.object();
        QFile::rename(path(), path() + QStringLiteral(".corrupt-") +
                                  QString::number(QDateTime::currentSecsSinceEpoch()));
        return {};
    }

    // Writes the record, or removes the file when the record is empty; false when the record
    // could not be stored.
    bool save(const QJsonObject& record) const
    {
        if (path().isEmpty())
            return true;
        if (record.isEmpty())
            return !QFile::exists(path()) || QFile::remove(path());
        QDir().mkpath(m_dir);
        QSaveFile file(path());
        if (!file.open(QIODevice::WriteOnly))
            return false;
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        file.write(QJsonDocument(record).toJson(QJsonDocument::Compact));
        return file.commit();
    }

    // Whether another backend left a record here that only it can put back.
    bool othersPending() const
    {
        if (m_dir.isEmpty())
            return false;
        const QFileInfoList files = QDir(m_dir).entryInfoList({QStringLiteral("desktop-*.json")},
                                                              QDir::Files | QDir::NoDotAndDotDot);
        for (const QFileInfo& file : files) {
            if (file.absoluteFilePath() != QFileInfo(path()).absoluteFilePath() && file.size() > 2)
                return true;
        }
        return false;
    }

private:
    QString m_dir;
    QString m_backend;
    QString m_prefix;
};
