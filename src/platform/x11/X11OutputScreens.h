// Qt's screens joined to their RandR outputs, which give each monitor its display id and the
// output name that desktop settings are keyed by.
#pragma once

#include "platform/Screens.h"

class X11OutputScreens final : public Screens {
    Q_OBJECT
public:
    X11OutputScreens();
    QList<ScreenInfo> screens() const override;
};
