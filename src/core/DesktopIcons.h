// Hiding and showing the desktop icons, undoing only what this program did.
#pragma once

class DesktopIconsBackend;

class DesktopIcons final {
public:
    explicit DesktopIcons(DesktopIconsBackend& backend) : m_backend(backend) {}

    void setHidden(bool hidden);
    // Shows the icons again only if this program hid them.
    void restore();
    // True exactly when the last command given to the desktop was to hide the icons.
    bool didHide() const { return m_didHide; }

private:
    DesktopIconsBackend& m_backend;
    bool m_didHide = false;
};
