// Desktop icons on Xfce: the xfdesktop icon style in xfconf, and a restart of xfdesktop.
#pragma once

#include "platform/DesktopIconsBackend.h"

class ProcessRunner;

class XfceDesktopIcons final : public DesktopIconsBackend {
public:
    explicit XfceDesktopIcons(ProcessRunner& processes) : m_processes(processes) {}

    // True when xfdesktop runs on this session bus.
    static bool isRunning();

    void writeIconsHidden(bool hidden) override;
    void restartDesktop() override;

private:
    ProcessRunner& m_processes;
};
