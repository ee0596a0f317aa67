// Application names from the desktop entries (.desktop files) in the XDG data folders, found by
// an application id or a window class the way freedesktop task lists match them.
#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>

class DesktopEntryNames final {
public:
    // The "applications" folders under $XDG_DATA_HOME and $XDG_DATA_DIRS, most important first.
    DesktopEntryNames();
    explicit DesktopEntryNames(QStringList applicationDirs);

    static QStringList standardApplicationDirs();

    // The entry's Name (localised when the entry has a translation for the user's language) for
    // the first of: the application id, the class, the instance (each as a desktop file id, as
    // is and in lower case), then an entry whose StartupWMClass is the class or the instance.
    std::optional<QString> name(const QString& applicationId, const QString& wmInstance,
                                const QString& wmClass);

private:
    struct Entry {
        QString name;
        QString startupWMClass;
    };
    void refreshIfChanged();
    std::optional<Entry> entryFor(const QString& desktopId);
    void buildWMClassIndex();

    QStringList m_dirs;
    QList<QDateTime> m_dirTimes;
    // Desktop file id → parsed entry (absent: no such usable file).
    QHash<QString, std::optional<Entry>> m_byId;
    QHash<QString, QString> m_byWMClass;
    bool m_wmClassIndexBuilt = false;
};
