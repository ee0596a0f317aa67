// Assembles the fake platform.
#include "FakePlatform.h"

FakePlatform::FakePlatform()
{
    Platform::Parts parts;
    parts.name = QStringLiteral("fake");
    auto s = std::make_unique<FakeScreens>();
    auto wl = std::make_unique<FakeWindowList>();
    auto c = std::make_unique<FakeCapture>();
    auto dp = std::make_unique<FakeDesktopPictures>();
    auto dm = std::make_unique<FakeDisplayModes>();
    auto wc = std::make_unique<FakeWindowControl>();
    auto in = std::make_unique<FakeItemNames>();
    auto a = std::make_unique<FakeAppearance>();
    auto li = std::make_unique<FakeLoginItems>();
    auto di = std::make_unique<FakeDesktopIcons>();
    auto pr = std::make_unique<FakeProcesses>();
    screens = s.get();
    windowList = wl.get();
    capture = c.get();
    desktopPictures = dp.get();
    displayModes = dm.get();
    windowControl = wc.get();
    itemNames = in.get();
    appearance = a.get();
    loginItems = li.get();
    desktopIcons = di.get();
    processes = pr.get();
    parts.screens = std::move(s);
    parts.windowList = std::move(wl);
    parts.capture = std::move(c);
    parts.desktopPictures = std::move(dp);
    parts.displayModes = std::move(dm);
    parts.windowControl = std::move(wc);
    parts.itemNames = std::move(in);
    parts.appearance = std::move(a);
    parts.loginItems = std::move(li);
    parts.desktopIcons = std::move(di);
    parts.processes = std::move(pr);
    m_platform = std::make_unique<Platform>(std::move(parts));
}

void FakePlatform::addStandardMonitor()
{
    ScreenInfo screen;
    screen.displayId = 1;
    screen.name = QStringLiteral("Test Monitor");
    screen.outputName = QStringLiteral("DP-1");
    screen.frame = QRectF(0, 0, 1440, 900);
    screen.visibleFrame = QRectF(0, 0, 1440, 875);
    screens->list.append(screen);
    displayModes->displays.append(1);
    displayModes->main = 1;
    displayModes->modes.insert(1, {{10, 1440, 900, 1440, 900, 60.0, true},
                                   {11, 1280, 800, 1280, 800, 60.0, true}});
    displayModes->current.insert(1, 10);
}
