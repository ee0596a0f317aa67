// Display modes over RandR: the connected outputs with a CRTC are the displays, an output's mode
// list is what they offer, and a switch sets the CRTCs for this session only.
#pragma once

#include "platform/DisplayModes.h"

#include <QHash>
#include <QObject>
#include <future>
#include <xcb/randr.h>

class X11DisplayModes final : public DisplayModes {
public:
    // The first reading of the monitors starts at once, on a thread of its own.
    X11DisplayModes();
    ~X11DisplayModes() override;

    QList<quint32> onlineDisplays() const override;
    quint32 mainDisplay() const override;
    std::optional<PlatformDisplayMode> currentMode(quint32 display) const override;
    QList<PlatformDisplayMode> allModes(quint32 display) const override;
    std::optional<DisplayPlacement> placement(quint32 display) const override;
    bool switchMode(quint32 display, qint32 modeId) override;
    bool placeMode(quint32 display, qint32 modeId, const DisplayPlacement& placement) override;

    // One output as the server described it, in pixels.
    struct Output {
        bool connected = false;
        // Driven by a CRTC (which may show no mode).
        bool hasCrtc = false;
        QString connector;
        QList<xcb_randr_mode_info_t> modes;
        std::optional<xcb_randr_mode_info_t> current;
        QPoint position;
        int rotation = 1;
    };
    // Every output, in the server's order, and the primary one.
    struct Snapshot {
        QList<xcb_randr_output_t> order;
        QHash<xcb_randr_output_t, Output> outputs;
        xcb_randr_output_t primary = XCB_NONE;
    };

private:
    // The reading the queries answer from: the first one, begun at creation, waited for (bounded)
    // only when it has not arrived yet; later ones read at once. Each is kept until the event
    // loop next runs, so one pass of questions sees one state and a later pass a fresh one.
    const Snapshot& snapshot() const;
    // One server-grabbed transaction: the display switched (and placed, when a placement is
    // given), its neighbours re-placed, the screen resized to hold them all.
    static bool configure(quint32 display, qint32 modeId,
                          const std::optional<DisplayPlacement>& placement);

    mutable std::future<Snapshot> m_firstReading;
    mutable std::optional<Snapshot> m_current;
    // The context of the timer that drops the kept reading.
    QObject m_keep;
};
