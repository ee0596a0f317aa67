// The platform facilities the program uses, chosen once at start-up: the X11 backends on an X
// display, a degraded set whose probes say no elsewhere, and fakes in tests.
#pragma once

#include "Appearance.h"
#include "DesktopIconsBackend.h"
#include "DesktopPictures.h"
#include "DesktopSupport.h"
#include "DisplayModes.h"
#include "ItemNames.h"
#include "LoginItems.h"
#include "PanelScan.h"
#include "ProcessRunner.h"
#include "ScreenCapture.h"
#include "Screens.h"
#include "WindowControl.h"
#include "WindowList.h"
#include "WindowManagerWatch.h"

#include <QObject>
#include <memory>

class Platform : public QObject {
    Q_OBJECT
public:
    struct Parts {
        QString name;
        std::unique_ptr<Screens> screens;
        std::unique_ptr<WindowList> windowList;
        std::unique_ptr<ScreenCapture> capture;
        std::unique_ptr<DesktopPictures> desktopPictures;
        std::unique_ptr<DisplayModes> displayModes;
        std::unique_ptr<WindowControl> windowControl;
        std::unique_ptr<ItemNames> itemNames;
        std::unique_ptr<Appearance> appearance;
        std::unique_ptr<LoginItems> loginItems;
        std::unique_ptr<DesktopIconsBackend> desktopIcons;
        std::unique_ptr<ProcessRunner> processes;
        std::unique_ptr<WindowManagerWatch> managerWatch;
        std::unique_ptr<DesktopSupport> desktopSupport;
        // Null: a scan over the window list and the item names, run at once.
        std::unique_ptr<PanelScan> panelScan;
    };

    explicit Platform(Parts parts);
    ~Platform() override;

    // "x11-xfce", "x11" or "degraded": which backends were chosen.
    QString name() const { return m_parts.name; }
    Screens& screens() const { return *m_parts.screens; }
    WindowList& windowList() const { return *m_parts.windowList; }
    ScreenCapture& capture() const { return *m_parts.capture; }
    DesktopPictures& desktopPictures() const { return *m_parts.desktopPictures; }
    DisplayModes& displayModes() const { return *m_parts.displayModes; }
    WindowControl& windowControl() const { return *m_parts.windowControl; }
    ItemNames& itemNames() const { return *m_parts.itemNames; }
    Appearance& appearance() const { return *m_parts.appearance; }
    LoginItems& loginItems() const { return *m_parts.loginItems; }
    DesktopIconsBackend& desktopIcons() const { return *m_parts.desktopIcons; }
    ProcessRunner& processes() const { return *m_parts.processes; }
    WindowManagerWatch& managerWatch() const { return *m_parts.managerWatch; }
    DesktopSupport& desktopSupport() const { return *m_parts.desktopSupport; }
    PanelScan& panelScan() const { return *m_parts.panelScan; }

    // The platform of the running program, set once by main().
    static Platform& shared();
    static void setShared(Platform* platform);

signals:
    // The program came to the foreground.
    void applicationActivated();

private:
    Parts m_parts;
};

// Fills every part left empty in `parts` with the degraded backend, which reports nothing and
// changes nothing.
Platform::Parts withDegradedDefaults(Platform::Parts parts);
