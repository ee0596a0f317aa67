// Display modes over RandR: the connected outputs with a CRTC are the displays, an output's mode
// list is what they offer, and a switch sets the CRTCs for this session only.
#pragma once

#include "platform/DisplayModes.h"

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <future>
#include <vector>
#include <xcb/randr.h>

class X11DisplayModes final : public DisplayModes, public QAbstractNativeEventFilter {
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

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) override;

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
    // Reads the monitors again off the interface thread; the next query takes that reading.
    void beginReading() const;
    // The latest reading, waited for (bounded) only when it has not arrived yet.
    const Snapshot& snapshot() const;
    // One server-grabbed transaction: the display switched (and placed, when a placement is
    // given), its neighbours re-placed, the screen resized to hold them all.
    static bool configure(quint32 display, qint32 modeId,
                          const std::optional<DisplayPlacement>& placement);

    mutable std::shared_future<Snapshot> m_reading;
    // Readings not yet known to have ended, the latest among them: the display connection
    // closes after the quit, so the quit waits for them.
    mutable std::vector<std::shared_future<Snapshot>> m_running;
    quint8 m_randrBase = 0;
};
