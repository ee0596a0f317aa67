// Temporary per-test folders.
#include "TestDirs.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QStandardPaths>

TestDirs::TestDirs()
{
    QDir root(m_dir.path());
    for (const char* sub : {"home", "config", "data", "runtime", "resources"})
        root.mkpath(QString::fromLatin1(sub));
    QFile::setPermissions(m_dir.path() + QStringLiteral("/runtime"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("HOME", QFile::encodeName(m_dir.path() + QStringLiteral("/home")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(configHome()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome()));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_dir.path() + QStringLiteral("/runtime")));
    QStandardPaths::setTestModeEnabled(false);
    QImage picture(8, 8, QImage::Format_RGB32);
    picture.fill(Qt::white);
    picture.save(resourceDir() + QStringLiteral("/Light.png"));
    picture.fill(Qt::black);
    picture.save(resourceDir() + QStringLiteral("/Dark.png"));
}

TestDirs::~TestDirs() = default;
