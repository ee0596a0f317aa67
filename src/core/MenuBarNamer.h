// Names of the panel's tray items as a person knows them, each with the item's left edge.
#pragma once

#include "platform/ItemNames.h"

#include <QList>
#include <QString>

class Platform;

// One named tray item: its left edge in global coordinates (always greater than 0) and the name
// chosen for it.
struct NamedExtra {
    double x = 0.0;
    QString name;

    bool operator==(const NamedExtra&) const = default;
};

namespace MenuBarNamer {
// Empty when other applications' windows may not be inspected; otherwise one entry per tray
// element that has a usable position and name, in the order the platform lists them.
QList<NamedExtra> named(const Platform& platform);
// The same for tray elements already read from the platform (by a panel scan).
QList<NamedExtra> named(const QList<NamedTrayElement>& elements);
} // namespace MenuBarNamer
