// Which appearance the desktop asks for, from the answers of its settings sources in order of
// authority. Kept apart from the sources so the order can be tested without a desktop.
#pragma once

#include <QString>
#include <optional>

namespace AppearanceRule {

struct Sources {
    // The desktop portal's org.freedesktop.appearance color-scheme: 0 no preference, 1 dark,
    // 2 light; absent when no portal answered.
    std::optional<quint32> portalColorScheme;
    // The XSETTINGS Net/ThemeName, e.g. "Adwaita-dark".
    std::optional<QString> themeName;
    // GNOME's org.gnome.desktop.interface color-scheme, e.g. "prefer-dark".
    std::optional<QString> gnomeColorScheme;
};

// A definite portal answer decides; then a theme named dark; then GNOME's preference; light
// otherwise, as a desktop without any preference shows.
inline bool isDark(const Sources& sources)
{
    if (sources.portalColorScheme == 1u)
        return true;
    if (sources.portalColorScheme == 2u)
        return false;
    if (sources.themeName &&
        sources.themeName->contains(QLatin1String("dark"), Qt::CaseInsensitive))
        return true;
    return sources.gnomeColorScheme == QLatin1String("prefer-dark");
}

} // namespace AppearanceRule
