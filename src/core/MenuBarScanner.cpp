// Tray item scan over the window-list snapshot.
#include "MenuBarScanner.h"

#include "MenuBarNamer.h"
#include "platform/Geometry.h"
#include "platform/Platform.h"

#include <QHash>
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace {

constexpr double maxTopEdge = 1.0;
constexpr double maxItemHeight = 44.0;
constexpr double maxWidthFraction = 0.6;
constexpr double maxNamingDistance = 16.0;
constexpr double minClockWidth = 80.0;

// A panel window at the top edge that holds tray icons.
bool holdsTrayIcons(const WindowListEntry& panel, const QList<WindowListEntry>& windows)
{
    return std::any_of(windows.begin(), windows.end(), [&](const WindowListEntry& w) {
        return w.layer == WindowLayer::trayIcon && panel.bounds.contains(w.bounds.center());
    });
}

bool isMenuBarWindow(const WindowListEntry& entry, std::optional<double> maxWidth,
                     const QList<WindowListEntry>& windows)
{
    if (!MenuBarScanner::menuBarLayers.contains(entry.layer))
        return false;
    // A panel that holds the tray is the bar itself, however short it is.
    if (entry.layer == WindowLayer::panel && holdsTrayIcons(entry, windows))
        return false;
    // A tray icon keeps its own extents; the panel around it decides whether it stands in the
    // bar, so icons of a panel of any height count.
    if (entry.layer == WindowLayer::trayIcon) {
        for (const WindowListEntry& panel : windows) {
            if (panel.layer == WindowLayer::panel && panel.bounds.top() <= maxTopEdge &&
                panel.bounds.contains(entry.bounds.center()))
                return !maxWidth || entry.bounds.width() <= *maxWidth;
        }
    }
    const QRectF& r = entry.bounds;
    if (r.top() > maxTopEdge || r.height() > maxItemHeight)
        return false;
    // Rules out the panel window itself, which spans the monitor.
    return !maxWidth || r.width() <= *maxWidth;
}

void nameByNearestEntry(QList<MenuBarItem>& items, const QList<NamedExtra>& named)
{
    for (MenuBarItem& item : items) {
        const double left = item.frame.x();
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

void numberDuplicates(QList<MenuBarItem>& items, const QList<qint64>& processOrder)
{
    QHash<QString, int> counts;
    for (const MenuBarItem& item : std::as_const(items))
        ++counts[item.label];
    // Items that share a label are numbered by when their process was first seen (left to right
    // at first sight), so that a stored "YAD 2" keeps meaning the same icon when the icons dock
    // again in another order; items of unknown or new processes follow, left to right.
    QList<qsizetype> order;
    for (qsizetype i = 0; i < items.size(); ++i)
        order.append(i);
    const auto key = [&](qsizetype i) {
        const qsizetype rank = items[i].pid > 0 ? processOrder.indexOf(items[i].pid) : -1;
        return rank >= 0 ? rank : std::numeric_limits<qsizetype>::max();
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](qsizetype a, qsizetype b) { return key(a) < key(b); });
    QHash<QString, int> seen;
    QHash<qsizetype, int> numbers;
    for (const qsizetype i : std::as_const(order)) {
        if (counts.value(items[i].label) >= 2)
            numbers.insert(i, ++seen[items[i].label]);
    }
    for (auto it = numbers.constBegin(); it != numbers.constEnd(); ++it) {
        // Appended, not formatted: a label may itself hold a marker such as "%1".
        items[it.key()].label += QLatin1Char(' ') + QString::number(it.value());
    }
}

} // namespace

namespace MenuBarScanner {

QList<MenuBarItem> currentItems(const Platform& platform)
{
    const QList<NamedExtra> named = MenuBarNamer::named(platform);
    return itemsFrom(platform.screens().screens(), platform.windowList().onScreenWindows(), named);
}

QList<MenuBarItem> itemsFrom(const QList<ScreenInfo>& screens,
                             const QList<WindowListEntry>& windows, const QList<NamedExtra>& named,
                             const QList<qint64>& processOrder)
{
    const std::optional<ScreenInfo> primary = Geometry::primaryScreen(screens);
    if (!primary)
        return {};
    const double screenHeight = primary->frame.height();
    const std::optional<double> maxWidth = maxWidthFraction * primary->frame.width();

    QList<MenuBarItem> items;
    for (const WindowListEntry& entry : windows) {
        if (!isMenuBarWindow(entry, maxWidth, windows))
            continue;
        MenuBarItem item;
        item.id = entry.number;
        item.owner = entry.ownerName.value_or(QStringLiteral("Unknown"));
        const QRectF& r = entry.bounds;
        item.frame = Geometry::flipped(r, screenHeight);
        item.label = item.owner;
        item.pid = entry.ownerPid;
        items.append(item);
    }
    // Items at the same x keep the window list's front-to-back order.
    std::stable_sort(items.begin(), items.end(), [](const MenuBarItem& a, const MenuBarItem& b) {
        return a.frame.x() < b.frame.x();
    });

    if (!named.isEmpty() && !items.isEmpty())
        nameByNearestEntry(items, named);

    numberDuplicates(items, processOrder);

    // Without any names, a wide item of the system's control centre at the right end is the
    // clock.
    if (named.isEmpty() && !items.isEmpty()) {
        MenuBarItem& last = items.last();
        if (last.owner == QLatin1String("Control Center") && last.frame.width() > minClockWidth)
            last.label = QStringLiteral("Clock");
    }
    return items;
}

void rememberProcesses(QList<qint64>& processOrder, const QList<MenuBarItem>& items,
                       qsizetype limit)
{
    for (const MenuBarItem& item : items) {
        if (item.pid > 0 && !processOrder.contains(item.pid))
            processOrder.append(item.pid);
    }
    if (processOrder.size() > limit)
        processOrder.remove(0, processOrder.size() - limit);
}

} // namespace MenuBarScanner
