// The user's desktop-picture choice and its stored string form.
#pragma once

#include <QString>
#include <array>
#include <optional>

enum class DesktopBackground { keep, color, image };

inline constexpr std::array<DesktopBackground, 3> allDesktopBackgrounds{
    DesktopBackground::keep, DesktopBackground::color, DesktopBackground::image};

inline QString rawValue(DesktopBackground value)
{
    switch (value) {
    case DesktopBackground::keep:
        return QStringLiteral("keep");
    case DesktopBackground::color:
        return QStringLiteral("color");
    case DesktopBackground::image:
        return QStringLiteral("image");
    }
    return {};
}

// Exact, case-sensitive match of the stored string; anything else is no value.
inline std::optional<DesktopBackground> desktopBackgroundFromRaw(const QString& raw)
{
    for (DesktopBackground value : allDesktopBackgrounds) {
        if (rawValue(value) == raw)
            return value;
    }
    return std::nullopt;
}
