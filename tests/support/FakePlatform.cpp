// Assembles the fake platform.
#include "FakePlatform.h"

namespace {

// Puts a new fake into the platform's slot and hands back a typed pointer to it.
template <typename Fake, typename Interface> Fake* install(std::unique_ptr<Interface>& slot)
{
    auto fake = std::make_unique<Fake>();
    Fake* raw = fake.get();
    slot = std::move(fake);
    return raw;
}

} // namespace

FakePlatform::FakePlatform()
{
    Platform::Parts parts;
    parts.name = QStringLiteral("fake");
    screens = install<FakeScreens>(parts.screens);
    windowList = install<FakeWindowList>(parts.windowList);
    capture = install<FakeCapture>(parts.capture);
    desktopPictures = install<FakeDesktopPictures>(parts.desktopPictures);
    displayModes = install<FakeDisplayModes>(parts.displayModes);
    windowControl = install<FakeWindowControl>(parts.windowControl);
    itemNames = install<FakeItemNames>(parts.itemNames);
    appearance = install<FakeAppearance>(parts.appearance);
    loginItems = install<FakeLoginItems>(parts.loginItems);
    desktopIcons = install<FakeDesktopIcons>(parts.desktopIcons);
    desktopSupport = install<FakeDesktopSupport>(parts.desktopSupport);
    auto scan = std::make_unique<FakePanelScan>(*windowList, *itemNames);
    panelScan = scan.get();
    parts.panelScan = std::move(scan);
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
    displayModes->modes.insert(
        1, {{10, 1440, 900, 1440, 900, 60.0, true}, {11, 1280, 800, 1280, 800, 60.0, true}});
    displayModes->current.insert(1, 10);
}
