// The icon switch: write the setting, remember who hid them, restart the desktop program.
#include "DesktopIcons.h"

#include "platform/DesktopIconsBackend.h"

void DesktopIcons::setHidden(bool hidden)
{
    m_backend.writeIconsHidden(hidden);
    m_didHide = hidden;
    m_backend.restartDesktop();
}

void DesktopIcons::restore()
{
    if (!m_didHide)
        return;
    m_backend.writeIconsHidden(false);
    m_didHide = false;
    m_backend.restartDesktop();
}
