// Chooses the platform backends once at start-up.
#pragma once

#include <memory>

class Platform;

// X11 backends when Qt runs on xcb with a live X connection (the Xfce ones where xfdesktop
// runs); otherwise the degraded set whose probes say "not available".
std::unique_ptr<Platform> createPlatform();
