// The attached displays, the resolutions offered for one of them, switching for the session
// and putting every display back to the mode it had at start-up.
#pragma once

#include "DisplayInfo.h"

#include <QList>
#include <QMap>

class DisplayModes;
class Screens;

class DisplayController final {
public:
    // Records every display's current mode; those are the modes restored later.
    DisplayController(DisplayModes& modes, const Screens& screens);

    QList<DisplayInfo> onlineDisplays() const;
    QString localizedName(quint32 id) const;
    // One mode per size at its best refresh rate, largest first.
    QList<DisplayMode> availableModes(quint32 id) const;
    void restore(quint32 id);
    void restoreAll();

    const QMap<quint32, qint32>& originalModes() const { return m_originalModes; }

private:
    DisplayModes& m_modes;
    const Screens& m_screens;
    QMap<quint32, qint32> m_originalModes;
};
