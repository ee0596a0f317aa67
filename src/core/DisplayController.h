// The attached displays, the resolutions offered for one of them, switching for the session
// and putting every display back to the mode it had at start-up.
#pragma once

#include "DisplayInfo.h"
#include "platform/DisplayModes.h"

#include <QJsonObject>
#include <QMap>
#include <optional>

class DefaultsStore;
class Screens;

class DisplayController final {
public:
    // Records every display's current mode; those are the modes restored later. When `defaults`
    // holds a crash record of an earlier run that never restored, its modes are the originals.
    DisplayController(DisplayModes& modes, const Screens& screens,
                      DefaultsStore* defaults = nullptr);

    QList<DisplayInfo> onlineDisplays() const;
    QString localizedName(quint32 id) const;
    // One mode per size at its best refresh rate, largest first.
    QList<DisplayMode> availableModes(quint32 id) const;
    // Switches one display for the session; the originals are recorded first, so that a crash
    // after the switch still leaves a way back.
    bool switchMode(quint32 id, qint32 modeId);
    void restore(quint32 id);
    void restoreAll();

    struct Original {
        qint32 modeId = 0;
        PlatformDisplayMode mode;
        std::optional<DisplayPlacement> placement;
    };
    const QMap<quint32, Original>& originalModes() const { return m_originalModes; }
    // True while the crash record is stored.
    bool hasCrashRecord() const { return m_recordWritten; }

private:
    void loadCrashRecord();
    void writeCrashRecord();
    // Every original display is in its original mode, place and rotation.
    bool allRestored() const;

    DisplayModes& m_modes;
    const Screens& m_screens;
    DefaultsStore* m_defaults;
    QMap<quint32, Original> m_originalModes;
    bool m_recordWritten = false;
    // Entries of the crash record for monitors that are not connected now: kept in the record
    // until a launch finds them connected and puts them back.
    QJsonObject m_absentEntries;
};
