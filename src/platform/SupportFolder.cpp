#include "SupportFolder.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

void makePrivateDir(const QString& path)
{
    QDir dir(path);
    if (dir.exists())
        return;
    QDir().mkpath(QFileInfo(path).absolutePath());
    QDir().mkdir(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

QString fallbackDir()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir())
        return runtime + QStringLiteral("/Quillet");
    static const QString made = [] {
        QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/quillet-XXXXXX"));
        dir.setAutoRemove(false);
        return dir.isValid() ? dir.path() : QString();
    }();
    return made;
}

} // namespace

namespace SupportFolder {

QString path()
{
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString dir = data.isEmpty() ? fallbackDir() : data + QStringLiteral("/Quillet");
    makePrivateDir(dir);
    return dir;
}

} // namespace SupportFolder
