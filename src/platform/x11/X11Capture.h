// Reading the monitors' pixels from the X server: GetImage of the monitor's rectangle on the
// root window, through a shared-memory segment when the server offers MIT-SHM. Where the server
// has the Composite extension, the top panels are read from the offscreen copies the server
// keeps of them, so our own windows over a panel do not get into its capture.
#pragma once

#include "platform/ScreenCapture.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QRect>
#include <QSet>
#include <atomic>
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
    // True once every top panel seen at the last captures has an offscreen copy of ours
    // (made at a capture); asks the X server nothing.
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
    // Has the server keep an offscreen copy of the panel from now on (drawn on the screen as
    // before) and reads the panel from it; null for a panel that cannot be read that way.
    QImage redirect(xcb_window_t panel);
    // The panel as the screen shows it, from its offscreen copy (blended over what lies below
    // it when a compositing manager shows it translucent); null when that failed, with
    // `translucent` set when what lies below cannot be read.
    QImage panelPixels(xcb_window_t panel, bool* translucent) const;
    // What the screen shows in the panel's place without the panel: the desktop window's or
    // the root picture's pixels; null when another window lies between.
    QImage belowPanel(xcb_window_t panel, QSize size) const;
    // The desktop window in a top-level window (itself or a child of a frame), or none.
    xcb_window_t desktopWindowIn(xcb_window_t topLevel) const;
    // A rectangle of a 24-bit drawable as an opaque RGB32 image.
    QImage pixelsOf(xcb_drawable_t drawable, const QRect& rect) const;
    // _NET_WM_WINDOW_OPACITY as 0 to 1.
    double windowOpacity(xcb_window_t panel) const;
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
    // Panels whose copy cannot show what the screen shows (translucent ones under a
    // compositing manager over another window).
    QSet<xcb_window_t> m_unreadable;
    // Per monitor with top panels: whether each of them was read from its copy at the last
    // capture.
    QHash<quint32, bool> m_readBelow;
    std::atomic<bool> m_belowOwnWindows{false};
    xcb_connection_t* m_connection = nullptr;
    std::uint32_t m_segment = 0;
    int m_shmId = -1;
    void* m_shmAddress = nullptr;
    std::size_t m_shmSize = 0;
    // Earlier captures, written over once the caller has let go of them.
    QList<QImage> m_buffers;
};
