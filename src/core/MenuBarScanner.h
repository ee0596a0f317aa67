// Finds the tray items of the top panel, left to right, with unique labels.
#pragma once

#include "MenuBarItem.h"

#include <QList>
#include <QSet>

class Platform;

namespace MenuBarScanner {
// Window levels of panels and of tray icons.
inline const QSet<int> menuBarLayers = {24, 25};

// Asks the platform afresh on every call; empty when nothing can be found.
QList<MenuBarItem> currentItems(const Platform& platform);
} // namespace MenuBarScanner
