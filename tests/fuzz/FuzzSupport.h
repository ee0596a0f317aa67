// Shared by the fuzz targets: a quiet log and a private scratch folder for readers of files.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <QtGlobal>
#include <cstddef>
#include <cstdint>

namespace Fuzz {

inline QByteArray bytes(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), qsizetype(size));
}

// The readers report bad input to the log; thousands of runs a second would drown the output.
inline void silenceLog()
{
    static const bool done = [] {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        return true;
    }();
    Q_UNUSED(done);
}

// A folder removed when the fuzzer exits.
inline const QString& scratchDir()
{
    static QTemporaryDir dir;
    static const QString path = dir.path();
    return path;
}

inline void writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(contents);
}

} // namespace Fuzz
