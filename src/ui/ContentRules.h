// The main window's presentation rules that do not need widgets: which cells, banners and
// tiles it shows, how the resolution strip fades, and how a typed custom size is read.
#pragma once

#include "core/DisplayInfo.h"
#include "core/MenuBarCover.h"
#include "core/WindowArrangement.h"
#include "platform/PermissionGap.h"

#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <optional>

// One cell of the "Center" group: a preset size, filling the screen, or a size typed in.
struct CenterItem {
    enum class Kind { size, fill, custom };
    Kind kind = Kind::fill;
    QSizeF size;

    static CenterItem preset(QSizeF s) { return {Kind::size, s}; }
    static CenterItem filling() { return {Kind::fill, {}}; }
    static CenterItem customSize() { return {Kind::custom, {}}; }
    bool operator==(const CenterItem& other) const
    {
        return kind == other.kind && (kind != Kind::size || size == other.size);
    }
};

// One cell of the "Reposition" group: a region or minimising.
struct RepositionItem {
    enum class Kind { arrange, hide };
    Kind kind = Kind::arrange;
    WindowArrangement arrangement = WindowArrangement::fill;

    bool operator==(const RepositionItem&) const = default;
};

// The two banners that can show above the bottom row, in the order they are shown.
enum class MenuBarBanner { screenRecording, itemNames };

// Which of the two custom-size fields has the keyboard focus.
enum class CustomField { width, height };

// One stop of the strip's opacity mask: a location from 0 (leading) to 1 (trailing).
struct FadeStop {
    double location = 0.0;
    bool opaque = true;

    bool operator==(const FadeStop&) const = default;
};

namespace ContentRules {

inline constexpr double kInitialPanelWidth = 632;
inline constexpr int kWindowListWidth = 190;
inline constexpr int kWindowListHeight = 158;

// The presets that fit a current mode of width × height, in preset order; all of them while
// the mode is unknown (either side below 1).
QList<QSizeF> fittingSizes(qint64 width, qint64 height);

// Fill, the fitting presets, then custom.
QList<CenterItem> centerItems(qint64 currentWidth, qint64 currentHeight);

// The eight half and quarter regions, then hiding. Centring has no cell of its own.
QList<RepositionItem> repositionItems();

// The banners for the panel choice and the two permissions, screen recording first.
QList<MenuBarBanner> menuBarBanners(MenuBarCover cover, bool canCloneBar, bool canNameItems);
QString bannerText(MenuBarBanner banner);
// What a permission banner tells the user once "Grant…" could not help: what is missing and
// what to do. Empty when nothing is missing.
QString permissionAdvice(PermissionGap gap);

// The common scale of the resolution tiles: the largest mode fits 168 × 108.
double tileScale(const QList<DisplayMode>& modes);

// How far the strip's edges fade: 22 points, but at most 12 % of the viewport.
double fadeFraction(double viewportWidth);
// The four stops of the mask, leading pair first. An edge fades only while content lies
// beyond it by more than one point.
QList<FadeStop> fadeStops(double leadingX, double trailingX, const QRectF& viewport);

// Region in unit coordinates of the thumbnail (origin top-left) and the caption of a cell.
QRectF arrangementRegion(WindowArrangement arrangement);
QString arrangementCaption(WindowArrangement arrangement);
// The size cell's caption ("1280 × 800") and tooltip, in whole numbers.
QString sizeCaption(QSizeF size);
QString sizeTooltip(QSizeF size);
// The centred region that stands for a size on the current display.
QRectF sizeRegion(QSizeF size, qint64 currentWidth, qint64 currentHeight);

// One custom-size field: blanks trimmed at both ends (line breaks are not blanks), then a
// decimal number.
std::optional<double> parseDimension(const QString& text);
// Both fields parsed and both above zero, or nothing.
std::optional<QSizeF> parseCustomSize(const QString& width, const QString& height);

// A list cut into consecutive rows of three; the last row may be shorter.
template <typename T> QList<QList<T>> rowsOfThree(const QList<T>& items)
{
    QList<QList<T>> rows;
    for (qsizetype i = 0; i < items.size(); i += 3)
        rows.append(items.mid(i, 3));
    return rows;
}

} // namespace ContentRules
