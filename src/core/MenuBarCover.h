// The user's panel-cover choice, its stored string form and its title in the interface.
#pragma once

#include <QString>
#include <array>
#include <optional>

enum class MenuBarCover { keep, entire, items };

inline constexpr std::array<MenuBarCover, 3> allMenuBarCovers{
    MenuBarCover::keep, MenuBarCover::entire, MenuBarCover::items};

inline QString rawValue(MenuBarCover value)
{
    switch (value) {
    case MenuBarCover::keep:
        return QStringLiteral("keep");
    case MenuBarCover::entire:
        return QStringLiteral("entire");
    case MenuBarCover::items:
        return QStringLiteral("items");
    }
    return {};
}

inline QString title(MenuBarCover value)
{
    switch (value) {
    case MenuBarCover::keep:
        return QStringLiteral("Keep");
    case MenuBarCover::entire:
        return QStringLiteral("Hide bar");
    case MenuBarCover::items:
        return QStringLiteral("Hide items");
    }
    return {};
}

inline std::optional<MenuBarCover> menuBarCoverFromRaw(const QString& raw)
{
    for (MenuBarCover value : allMenuBarCovers) {
        if (rawValue(value) == raw)
            return value;
    }
    return std::nullopt;
}
