// Finds the tray items of the top panel, left to right, with unique labels.
#pragma once

#include "MenuBarItem.h"
#include "MenuBarNamer.h"
#include "platform/Screens.h"
#include "platform/WindowList.h"

#include <QList>
#include <QSet>

class Platform;

namespace MenuBarScanner {
// Window levels of panels and of tray icons.
inline const QSet<int> menuBarLayers = {24, 25};

// Asks the platform afresh on every call; empty when nothing can be found.
QList<MenuBarItem> currentItems(const Platform& platform);
// The items among windows and names already read from the platform (by a panel scan). Items
// that share a label are numbered by `processOrder` (owning processes in the order they were
// first seen), then left to right.
QList<MenuBarItem> itemsFrom(const QList<ScreenInfo>& screens,
                             const QList<WindowListEntry>& windows, const QList<NamedExtra>& named,
                             const QList<qint64>& processOrder = {});
// Appends the owners of `items` not yet in `processOrder`, left to right, so that the first
// numbering of a program's icons follows where they stand and later ones follow their processes
// wherever the icons dock again. Keeps at most `limit` processes, forgetting the oldest.
void rememberProcesses(QList<qint64>& processOrder, const QList<MenuBarItem>& items,
                       qsizetype limit = 256);
} // namespace MenuBarScanner
