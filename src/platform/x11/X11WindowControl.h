// Other applications' windows through the window manager's EWMH interface: the client list,
// each window's outer frame, moves and resizes by _NET_MOVERESIZE_WINDOW, and the ICCCM iconify
// request.
#pragma once

#include "platform/DesktopEntryNames.h"
#include "platform/WindowControl.h"

#include <memory>

class X11WindowControl final : public WindowControl {
public:
    X11WindowControl();
    ~X11WindowControl() override;

    bool canControlWindows() const override;
    void requestWindowControl() override;
    QList<ClientWindow> windows() const override;
    std::optional<QRectF> frame(quint64 handle) const override;
    void setPosition(quint64 handle, QPointF topLeft) override;
    void setSize(quint64 handle, QSizeF size) override;
    void minimize(quint64 handle) override;

private:
    struct State;
    std::unique_ptr<State> m_state;
    // Desktop entries are read once and kept while the applications folders stay unchanged.
    mutable DesktopEntryNames m_names;
};
