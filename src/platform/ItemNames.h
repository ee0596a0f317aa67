// Names of the panel's tray items, as their applications publish them.
#pragma once

#include <QList>
#include <QString>

struct NamedTrayElement {
    // Left edge in global coordinates.
    double x = 0.0;
    // A sentence describing the element (a status item's tooltip title); empty when none.
    QString description;
    // The element's own title (a status item's title, an icon window's name); empty when none.
    QString title;
    // The owning application's name; a null string when it is unknown.
    QString appName;
};

class ItemNames {
public:
    virtual ~ItemNames() = default;
    // The tray elements the platform can see, in its own order; elements without a usable
    // position are left out.
    virtual QList<NamedTrayElement> trayElements() const = 0;
};
