// Puts the chosen desktop picture on every monitor and the user's own pictures back.
#pragma once

#include "DesktopBackground.h"
#include "RgbColor.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <optional>

class DefaultsStore;
class Platform;

class WallpaperController final : public QObject {
    Q_OBJECT
public:
    WallpaperController(Platform& platform, DefaultsStore& defaults, QObject* parent = nullptr);

    DesktopBackground mode = DesktopBackground::keep;
    RgbColor color;
    std::optional<QString> lightURL;
    std::optional<QString> darkURL;
    // The user's own picture per display id.
    QHash<quint32, QString> originals;
    bool applied = false;
    bool barTintActive = false;

    // Shows the current choice on every monitor.
    void apply();
    // Puts the user's own pictures back and forgets their record.
    void restore();

private:
    Platform& m_platform;
    DefaultsStore& m_defaults;
};
