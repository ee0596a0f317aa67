// Finds the tray items of the top panel, left to right, with unique labels.
#pragma once

#include "MenuBarItem.h"

#include <QList>

class Platform;

namespace MenuBarScanner {
QList<MenuBarItem> currentItems(const Platform& platform);
} // namespace MenuBarScanner
