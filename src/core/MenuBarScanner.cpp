// Tray item scan over the window-list snapshot.
#include "MenuBarScanner.h"

#include "MenuBarNamer.h"
#include "platform/Geometry.h"
#include "platform/Platform.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace {

constexpr double maxTopEdge = 1.0;
constexpr double maxItemHeight = 44.0;
constexpr double maxWidthFraction = 0.6;
constexpr double maxNamingDistance = 16.0;
constexpr double minClockWidth = 80.0;

// Whether a window list entry stands in the bar. `topPanels` are the panel windows at the top
// edge, `trayPanels` those of them that hold tray icons (both a handful, whatever the number of
// icons).
bool isMenuBarWindow(const WindowListEntry& entry, std::optional<double> maxWidth,
                     const QList<const WindowListEntry*>& topPanels,
                     const QList<const WindowListEntry*>& trayPanels)
{
    if (!MenuBarScanner::menuBarLayers.contains(entry.layer))
        return false;
    // A panel that holds the tray is the bar itself, however short it is.
    if (entry.layer == WindowLayer::panel && trayPanels.contains(&entry))
        return false;
    // A tray icon keeps its own extents; the panel around it decides whether it stands in the
    // bar, so icons of a panel of any height count.
    if (entry.layer == WindowLayer::trayIcon) {
        for (const WindowListEntry* panel : topPanels) {
            if (panel->bounds.contains(entry.bounds.center()))
                return !maxWidth || entry.bounds.width() <= *maxWidth;
        }
    }
    const QRectF& r = entry.bounds;
    if (r.top() > maxTopEdge || r.height() > maxItemHeight)
        return false;
    // Rules out the panel window itself, which spans the monitor.
    return !maxWidth || r.width() <= *maxWidth;
}

// Each item takes the name of the entry nearest to its left edge; of equally near entries the
// one listed first. The entries are sorted once and searched, so n items cost n log n.
void nameByNearestEntry(QList<MenuBarItem>& items, const QList<NamedExtra>& named)
{
    // Entry indexes by x, and by list order among equal x.
    QList<qsizetype> byX(named.size());
    std::iota(byX.begin(), byX.end(), 0);
    std::stable_sort(byX.begin(), byX.end(),
                     [&](qsizetype a, qsizetype b) { return named.at(a).x < named.at(b).x; });
    const auto xAt = [&](qsizetype sorted) { return named.at(byX.at(sorted)).x; };
    for (MenuBarItem& item : items) {
        const double left = item.frame.x();
        // The first entry at or right of the edge, and the first of the nearest ones left of it.
        const auto right =
            std::lower_bound(byX.cbegin(), byX.cend(), left,
                             [&](qsizetype i, double x) { return named.at(i).x < x; });
        std::optional<qsizetype> best;
        double bestDistance = 0.0;
        const auto consider = [&](qsizetype index) {
            const double distance = std::abs(named.at(index).x - left);
            if (!best || distance < bestDistance || (distance == bestDistance && index < *best)) {
                best = index;
                bestDistance = distance;
            }
        };
        if (right != byX.cend())
            consider(*right);
        if (right != byX.cbegin()) {
            const qsizetype last = (right - byX.cbegin()) - 1;
            const auto first =
                std::lower_bound(byX.cbegin(), byX.cbegin() + last, xAt(last),
                                 [&](qsizetype i, double x) { return named.at(i).x < x; });
            consider(*first);
        }
        if (best && bestDistance <= maxNamingDistance)
            item.label = named.at(*best).name;
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
    QHash<qint64, qsizetype> rankOf;
    for (qsizetype r = processOrder.size() - 1; r >= 0; --r)
        rankOf.insert(processOrder[r], r);
    const auto key = [&](qsizetype i) {
        return items[i].pid > 0 ? rankOf.value(items[i].pid, std::numeric_limits<qsizetype>::max())
                                : std::numeric_limits<qsizetype>::max();
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

    QList<const WindowListEntry*> topPanels;
    QList<const WindowListEntry*> trayPanels;
    for (const WindowListEntry& w : windows) {
        if (w.layer == WindowLayer::panel && w.bounds.top() <= maxTopEdge)
            topPanels.append(&w);
    }
    for (const WindowListEntry& w : windows) {
        if (w.layer != WindowLayer::panel)
            continue;
        const bool holdsTray =
            std::any_of(windows.begin(), windows.end(), [&](const WindowListEntry& icon) {
                return icon.layer == WindowLayer::trayIcon &&
                       w.bounds.contains(icon.bounds.center());
            });
        if (holdsTray)
            trayPanels.append(&w);
    }

    QList<MenuBarItem> items;
    for (const WindowListEntry& entry : windows) {
        if (!isMenuBarWindow(entry, maxWidth, topPanels, trayPanels))
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
    QSet<qint64> known(processOrder.begin(), processOrder.end());
    for (const MenuBarItem& item : items) {
        if (item.pid > 0 && !known.contains(item.pid)) {
            processOrder.append(item.pid);
            known.insert(item.pid);
        }
    }
    if (processOrder.size() > limit)
        processOrder.remove(0, processOrder.size() - limit);
}

} // namespace MenuBarScanner
