// The desktop program's icon style, and restarting that program so that it takes effect.
// Every operation answers on the UI thread within a few seconds, whatever the other side does.
#pragma once

#include <functional>
#include <optional>

class DesktopIconsBackend {
public:
    // A style as the desktop program stores it; none when nobody has set one, so that the
    // program's own default applies.
    using Style = std::optional<int>;
    // What a read found; none when the setting could not be read at all.
    using ReadResult = std::optional<Style>;

    virtual ~DesktopIconsBackend() = default;
    // The style that shows no icons, and the one that shows them when the user had none.
    virtual Style hiddenStyle() const = 0;
    virtual Style shownStyle() const = 0;
    virtual void readStyle(std::function<void(ReadResult)> done) = 0;
    // Writing "none" removes the user's setting again.
    virtual void writeStyle(Style style, std::function<void(bool written)> done) = 0;
    // Starts the desktop program anew at once, in a way that no longer depends on this process
    // (a crash right after the call still leaves a desktop); `ready` follows once the new
    // program has drawn the desktop, or when waiting for it has been given up. A desktop that
    // is not running is left alone.
    virtual void restartDesktop(std::function<void()> ready) = 0;
};
