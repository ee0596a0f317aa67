// Desktop pictures per monitor.
#include "WallpaperController.h"

#include "DefaultsStore.h"
#include "platform/Platform.h"

WallpaperController::WallpaperController(Platform& platform, DefaultsStore& defaults,
                                         QObject* parent)
    : QObject(parent), m_platform(platform), m_defaults(defaults)
{
}

void WallpaperController::apply()
{
    // Rendering, originals and the tinted strip come with the desktop-pictures work.
}

void WallpaperController::restore()
{
    applied = false;
}
