// XDG autostart: the entry exists and is not hidden = enabled.
#include "AutostartLoginItems.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

AutostartLoginItems::AutostartLoginItems(QString entryPath, QString program)
    : m_entryPath(std::move(entryPath)), m_program(std::move(program))
{
    if (m_entryPath.isEmpty())
        m_entryPath = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                      QStringLiteral("/autostart/quillet.desktop");
    if (m_program.isEmpty())
        m_program = QCoreApplication::instance() ? QCoreApplication::applicationFilePath()
                                                 : QStringLiteral("quillet");
}

LoginItems::Status AutostartLoginItems::status() const
{
    QFile file(m_entryPath);
    if (!file.open(QIODevice::ReadOnly))
        return Status::notRegistered;
    // A user who switches the entry off in the session settings gets Hidden=true: not enabled.
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.startsWith("Hidden=") && line.mid(7).trimmed().toLower() == "true")
            return Status::notRegistered;
    }
    return Status::enabled;
}

bool AutostartLoginItems::registerItem(QString* error)
{
    QDir().mkpath(QFileInfo(m_entryPath).absolutePath());
    QSaveFile file(m_entryPath);
    if (!file.open(QIODevice::WriteOnly)) {
        if (error)
            *error = file.errorString();
        return false;
    }
    QString exec = m_program;
    // Desktop-entry Exec quoting: a path with spaces or quotes goes in double quotes.
    if (exec.contains(QLatin1Char(' ')) || exec.contains(QLatin1Char('"'))) {
        exec.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
            .replace(QLatin1Char('"'), QStringLiteral("\\\""));
        exec = QLatin1Char('"') + exec + QLatin1Char('"');
    }
    const QString entry =
        QStringLiteral("[Desktop Entry]\n"
                       "Type=Application\n"
                       "Name=Quillet\n"
                       "Comment=Make the screen presentable for screenshots and demos\n"
                       "Exec=%1\n"
                       "Icon=quillet\n"
                       "Terminal=false\n"
                       "X-GNOME-Autostart-enabled=true\n")
            .arg(exec);
    file.write(entry.toUtf8());
    if (!file.commit()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    return true;
}

bool AutostartLoginItems::unregisterItem(QString* error)
{
    QFile file(m_entryPath);
    if (!file.exists() || file.remove())
        return true;
    if (error)
        *error = file.errorString();
    return false;
}
