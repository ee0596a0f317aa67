// The ten regions a window can be snapped to, with their tooltips.
#pragma once

#include <QString>
#include <array>
#include <optional>

enum class WindowArrangement {
    center,
    fill,
    leftHalf,
    rightHalf,
    topHalf,
    bottomHalf,
    topLeft,
    topRight,
    bottomLeft,
    bottomRight,
};

inline constexpr std::array<WindowArrangement, 10> allWindowArrangements{
    WindowArrangement::center,     WindowArrangement::fill,     WindowArrangement::leftHalf,
    WindowArrangement::rightHalf,  WindowArrangement::topHalf,  WindowArrangement::bottomHalf,
    WindowArrangement::topLeft,    WindowArrangement::topRight, WindowArrangement::bottomLeft,
    WindowArrangement::bottomRight};

inline QString rawValue(WindowArrangement value)
{
    switch (value) {
    case WindowArrangement::center:
        return QStringLiteral("center");
    case WindowArrangement::fill:
        return QStringLiteral("fill");
    case WindowArrangement::leftHalf:
        return QStringLiteral("leftHalf");
    case WindowArrangement::rightHalf:
        return QStringLiteral("rightHalf");
    case WindowArrangement::topHalf:
        return QStringLiteral("topHalf");
    case WindowArrangement::bottomHalf:
        return QStringLiteral("bottomHalf");
    case WindowArrangement::topLeft:
        return QStringLiteral("topLeft");
    case WindowArrangement::topRight:
        return QStringLiteral("topRight");
    case WindowArrangement::bottomLeft:
        return QStringLiteral("bottomLeft");
    case WindowArrangement::bottomRight:
        return QStringLiteral("bottomRight");
    }
    return {};
}

inline QString help(WindowArrangement value)
{
    switch (value) {
    case WindowArrangement::center:
        return QStringLiteral("Center");
    case WindowArrangement::fill:
        return QStringLiteral("Fill screen");
    case WindowArrangement::leftHalf:
        return QStringLiteral("Left half");
    case WindowArrangement::rightHalf:
        return QStringLiteral("Right half");
    case WindowArrangement::topHalf:
        return QStringLiteral("Top half");
    case WindowArrangement::bottomHalf:
        return QStringLiteral("Bottom half");
    case WindowArrangement::topLeft:
        return QStringLiteral("Top-left quarter");
    case WindowArrangement::topRight:
        return QStringLiteral("Top-right quarter");
    case WindowArrangement::bottomLeft:
        return QStringLiteral("Bottom-left quarter");
    case WindowArrangement::bottomRight:
        return QStringLiteral("Bottom-right quarter");
    }
    return {};
}

inline std::optional<WindowArrangement> windowArrangementFromRaw(const QString& raw)
{
    for (WindowArrangement value : allWindowArrangements) {
        if (rawValue(value) == raw)
            return value;
    }
    return std::nullopt;
}
