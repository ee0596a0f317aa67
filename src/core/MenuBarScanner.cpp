// Tray item scan over the window-list snapshot.
#include "MenuBarScanner.h"

#include "MenuBarNamer.h"
#include "platform/Platform.h"

#include <QHash>
#include <algorithm>
#include <cmath>
#include <optional>

namespace {

constexpr double maxTopEdge = 1.0;
constexpr double maxItemHeight = 44.0;
constexpr double maxWidthFraction = 0.6;
constexpr double maxNamingDistance = 16.0;
constexpr double minClockWidth = 80.0;

// The primary monitor is the one whose bottom-left frame origin is (0, 0).
std::optional<QRectF> primaryFrame(const Platform& platform)
{
    for (const ScreenInfo& screen : platform.screens().screens()) {
        if (screen.frame.x() == 0.0 && screen.frame.y() == 0.0)
            return screen.frame;
    }
    return std::nullopt;
}

std::optional<double> primaryDisplayHeight(const Platform& platform)
{
    if (const auto frame = primaryFrame(platform))
        return frame->height();
    return std::nullopt;
}

bool isMenuBarWindow(const WindowListEntry& entry, std::optional<double> maxWidth)
{
    if (!MenuBarScanner::menuBarLayers.contains(entry.layer))
        return false;
    const QRectF& r = entry.bounds;
    if (r.top() > maxTopEdge || r.height() > maxItemHeight)
        return false;
    // Rules out the panel window itself, which spans the monitor.
    return !maxWidth || r.width() <= *maxWidth;
}

void nameByNearestEntry(QList<MenuBarItem>& items, const QList<NamedExtra>& named)
{
    for (MenuBarItem& item : items) {
        const double left = item.cocoaRect.x();
        qsizetype best = 0;
        double bestDistance = std::abs(named.first().x - left);
        for (qsizetype i = 1; i < named.size(); ++i) {
            const double distance = std::abs(named.at(i).x - left);
            if (distance < bestDistance) {
                best = i;
                bestDistance = distance;
            }
        }
        if (bestDistance <= maxNamingDistance)
            item.label = named.at(best).name;
    }
}

void numberDuplicates(QList<MenuBarItem>& items)
{
    QHash<QString, int> counts;
    for (const MenuBarItem& item : std::as_const(items))
        ++counts[item.label];
    QHash<QString, int> seen;
    for (MenuBarItem& item : items) {
        if (counts.value(item.label) < 2)
            continue;
        const int number = ++seen[item.label];
        // Appended, not formatted: a label may itself hold a marker such as "%1".
        item.label += QLatin1Char(' ') + QString::number(number);
    }
}

} // namespace

namespace MenuBarScanner {

QList<MenuBarItem> currentItems(const Platform& platform)
{
    const std::optional<double> screenHeight = primaryDisplayHeight(platform);
    if (!screenHeight)
        return {};
    std::optional<double> maxWidth;
    if (const auto frame = primaryFrame(platform))
        maxWidth = maxWidthFraction * frame->width();

    QList<MenuBarItem> items;
    for (const WindowListEntry& entry : platform.windowList().onScreenWindows()) {
        if (!isMenuBarWindow(entry, maxWidth))
            continue;
        MenuBarItem item;
        item.id = entry.number;
        item.owner = entry.ownerName.value_or(QStringLiteral("Unknown"));
        const QRectF& r = entry.bounds;
        item.cocoaRect = QRectF(r.left(), *screenHeight - r.bottom(), r.width(), r.height());
        item.label = item.owner;
        items.append(item);
    }
    // Items at the same x keep the window list's front-to-back order.
    std::stable_sort(items.begin(), items.end(), [](const MenuBarItem& a, const MenuBarItem& b) {
        return a.cocoaRect.x() < b.cocoaRect.x();
    });

    const QList<NamedExtra> named = MenuBarNamer::named(platform);
    if (!named.isEmpty() && !items.isEmpty())
        nameByNearestEntry(items, named);

    numberDuplicates(items);

    // Without any names, a wide item of the system's control centre at the right end is the
    // clock.
    if (named.isEmpty() && !items.isEmpty()) {
        MenuBarItem& last = items.last();
        if (last.owner == QLatin1String("Control Center") && last.cocoaRect.width() > minClockWidth)
            last.label = QStringLiteral("Clock");
    }
    return items;
}

} // namespace MenuBarScanner
