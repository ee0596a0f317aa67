// Names of the tray icons from what their applications publish.
#pragma once

#include "platform/ItemNames.h"

class X11ItemNames final : public ItemNames {
public:
    QList<NamedTrayElement> trayElements() const override;
};
