// Names of the panel's tray items, as their applications publish them.
#pragma once

#include <QList>
#include <QString>

struct NamedTrayElement {
    // Left edge in global coordinates.
    double x = 0.0;
    QString description;
    QString title;
    QString appName;
};

class ItemNames {
public:
    virtual ~ItemNames() = default;
    virtual QList<NamedTrayElement> trayElements() const = 0;
};
