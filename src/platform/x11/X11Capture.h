// Reading the monitors' pixels from the X server: GetImage of the monitor's rectangle on the
// root window, through a shared-memory segment when the server offers MIT-SHM. Where the server
// has the Composite extension, the top panels are read from the offscreen copies the server
// keeps of them, so our own windows over a panel do not get into its capture.
#pragma once

#include "platform/ScreenCapture.h"

#include <QImage>
#include <QList>
#include <QRect>
#include <QSet>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <xcb/xcb.h>

class X11Capture final : public ScreenCapture {
public:
    X11Capture();
    ~X11Capture() override;
    X11Capture(const X11Capture&) = delete;
    X11Capture& operator=(const X11Capture&) = delete;

    bool canCaptureScreen() const override;
    // X11 has no permission prompt: access is whatever the server allows now.
    bool requestCaptureAccess() override;
    // The top strip of the monitor down to its lowest top panel (at least 128 rows).
    QImage captureDisplay(quint32 displayId) override;
    // True once every top panel has an offscreen copy of ours (made at a capture).
    bool capturesBelowOwnWindows() const override;
    // Also ends the panels' redirection.
    void releaseBuffers() override;

    // A rectangle of the root window (device pixels) as an opaque RGB32 image, row 0 at the
    // top; null when the server refuses or the pixel layout is not 32-bit true colour.
    QImage captureRootRect(const QRect& rect);
    // The monitor of the RandR output in root coordinates; empty when it has none.
    static QRect monitorRect(quint32 output);
    // Whether the shared-memory path is in use (false after it failed once).
    bool usesSharedMemory() const { return m_shmUsable; }

private:
    // Dock windows whose top edge is the monitor's, root coordinates.
    QList<std::pair<xcb_window_t, QRect>> topPanels(const QRect& monitor) const;
    QList<std::pair<xcb_window_t, QRect>> allTopPanels() const;
    // Has the server keep an offscreen copy of the panel from now on (drawn on the screen as
    // before); false for a panel that cannot be read that way.
    bool redirect(xcb_window_t panel);
    // The panel's pixels from its offscreen copy; null when that failed, with `translucent` set
    // when the copy does not show what the screen shows.
    QImage panelPixels(xcb_window_t panel, bool* translucent) const;
    // Reads the panel from the screen from now on.
    void dropRedirection(xcb_window_t panel);
    void endRedirection();
    QImage filled(const std::uint8_t* data, std::size_t length, QSize size);
    bool ensureSegment(std::size_t bytes);
    void releaseSegment();

    bool m_shmUsable = false;
    bool m_compositeUsable = false;
    // Panels whose offscreen copy is ours to read.
    QSet<xcb_window_t> m_redirected;
    // Panels whose copy does not show what the screen shows (translucent ones under a
    // compositing manager).
    QSet<xcb_window_t> m_unreadable;
    xcb_connection_t* m_connection = nullptr;
    std::uint32_t m_segment = 0;
    int m_shmId = -1;
    void* m_shmAddress = nullptr;
    std::size_t m_shmSize = 0;
    // Earlier captures, written over once the caller has let go of them.
    QList<QImage> m_buffers;
};
