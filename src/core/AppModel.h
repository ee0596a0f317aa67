// The one observable state object: every value the main window shows and every operation
// through which the window, the tray menu and the shell change the screen.
#pragma once

#include "BarReflow.h"
#include "DesktopBackground.h"
#include "DesktopIcons.h"
#include "DisplayController.h"
#include "DisplayInfo.h"
#include "ManagedWindow.h"
#include "MenuBarCover.h"
#include "MenuBarItem.h"
#include "OverlayController.h"
#include "RgbColor.h"
#include "WallpaperController.h"
#include "WindowArrangement.h"
#include "platform/DesktopSupport.h"
#include "platform/PanelScan.h"
#include "platform/PermissionGap.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QObject>
#include <QSet>
#include <QSizeF>
#include <QUuid>
#include <functional>
#include <memory>
#include <optional>

class Appearance;
class DefaultsStore;
class Platform;
class Preferences;
class ScheduledTask;
class Scheduler;
class TaskQueue;

class AppModel final : public QObject {
    Q_OBJECT
public:
    // The published fields; `published` is emitted after every assignment, also of an equal
    // value, so views simply redraw.
    enum class Field {
        displays,
        selectedDisplayID,
        modes,
        currentSize,
        desktopIconsHidden,
        background,
        backgroundColor,
        lightWallpaperURL,
        darkWallpaperURL,
        menuBarCover,
        menuBarItems,
        selectedItemIDs,
        canCloneBar,
        canNameItems,
        enabled,
        windows,
        selectedWindowID,
        canControlWindows,
        desktopNotice,
        desktopSupport,
    };
    Q_ENUM(Field)

    struct Dependencies {
        Platform& platform;
        DefaultsStore& defaults;
        Scheduler& scheduler;
        // Where the default pictures are looked up; empty means the standard places.
        QStringList resourceDirs = {};
        // Read by restoreIfEnabled; null means Preferences::shared().
        Preferences* preferences = nullptr;
        // Where the desktop pictures are read, rendered and set; null means on the calling
        // thread, as the tests have it.
        TaskQueue* pictureWork = nullptr;
        // The running program lists the other windows once its own window has been painted
        // (refreshWindows); until then windowsListed() is false. Tests have them listed at once.
        bool listWindowsLater = false;
        // Where the panels are captured (the X server may take long to answer while it draws
        // a new desktop picture); null means on the calling thread, as the tests have it.
        TaskQueue* captureWork = nullptr;
    };

    explicit AppModel(Dependencies deps);
    ~AppModel() override;

    // The model of the running program, created on first use.
    static AppModel& shared();

    // Fixed preset window sizes offered by the main window, in this order.
    static const QList<QSizeF>& windowSizes();

    // --- master switch, desktop choices, launch restore, permissions ---
    void setEnabled(bool enabled);
    // Waits (bounded, by the caller's means) until the condition holds; see restoreDesktop().
    using WaitUntil = std::function<void(const std::function<bool()>&)>;
    // Takes every change off the desktop: display modes, the icon style, the pictures and the
    // masks over the panel. The stored choices stay. Quitting passes a function that waits for
    // each stage and leaves the restarted desktop program to start on its own; the master
    // switch passes none and lets the stages run on.
    void restoreDesktop(const WaitUntil& quitting = {});
    void setDesktopIconsHidden(bool hidden);
    void setBackground(DesktopBackground background);
    void setBackgroundColor(const RgbColor& color);
    void setLightWallpaperURL(const std::optional<QString>& path);
    void setDarkWallpaperURL(const std::optional<QString>& path);
    void restoreIfEnabled();
    void refreshPermissions();
    void requestAccessibility();
    // The Screen Recording banner: ask once, then re-read the permissions.
    void requestScreenCapture();
    // What is still missing for window control and for capturing, for the banners to explain.
    PermissionGap windowControlGap() const;
    PermissionGap screenCaptureGap() const;
    // The desktop's light or dark appearance, which the windows follow.
    Appearance& appearance() const;

    // --- displays ---
    void reloadDisplays();
    void reloadModes();
    void apply(const DisplayMode& mode);
    void setSelectedDisplayID(quint32 id);
    // The reset action of the main window: the selected display back to its original mode.
    void restoreSelectedDisplay();

    // --- panel items and cover ---
    void refreshMenuBarItems();
    void toggleItem(quint32 id);
    void restoreHiddenSelection();
    void setMenuBarCover(MenuBarCover cover);

    // --- other applications' windows ---
    void refreshWindows();
    void arrangeSelected(WindowArrangement arrangement);
    void resizeSelected(QSizeF size);
    void hideSelectedWindow();
    void setSelectedWindowID(const std::optional<QUuid>& id);

    // --- read access ---
    DisplayController& display() { return *m_display; }
    OverlayController& overlays() { return *m_overlays; }
    WallpaperController& wallpaper() { return *m_wallpaper; }
    DesktopIcons& desktopIcons() { return m_desktopIcons; }

    const QList<DisplayInfo>& displays() const { return m_displays; }
    quint32 selectedDisplayID() const { return m_selectedDisplayID; }
    const QList<DisplayMode>& modes() const { return m_modes; }
    qint64 currentWidth() const { return m_currentWidth; }
    qint64 currentHeight() const { return m_currentHeight; }
    bool desktopIconsHidden() const { return m_desktopIconsHidden; }
    DesktopBackground background() const { return m_background; }
    RgbColor backgroundColor() const { return m_backgroundColor; }
    std::optional<QString> lightWallpaperURL() const { return m_lightWallpaperURL; }
    std::optional<QString> darkWallpaperURL() const { return m_darkWallpaperURL; }
    MenuBarCover menuBarCover() const { return m_menuBarCover; }
    const QList<MenuBarItem>& menuBarItems() const { return m_menuBarItems; }
    const QSet<quint32>& selectedItemIDs() const { return m_selectedItemIDs; }
    const QSet<QString>& hiddenLabels() const { return m_hiddenLabels; }
    bool canCloneBar() const { return m_canCloneBar; }
    bool canNameItems() const { return m_canNameItems; }
    bool enabled() const { return m_enabled; }
    std::optional<DisplayMode> lastAppliedMode() const { return m_lastAppliedMode; }
    const QList<ManagedWindow>& windows() const { return m_windows; }
    // False until the windows have been listed for the first time.
    bool windowsListed() const { return m_windowsListed; }
    std::optional<QUuid> selectedWindowID() const { return m_selectedWindowID; }
    bool canControlWindows() const { return m_canControlWindows; }
    // Why the desktop could not be put back exactly as it was; empty when it could.
    const QString& desktopNotice() const { return m_desktopNotice; }
    int accessibilityPollCount() const { return m_accessibilityPollCount; }
    bool hasPendingBarRecapture() const;
    // What the running desktop lets the program change, and which program draws it.
    DesktopSupport::State desktopSupport() const;

signals:
    void published(AppModel::Field field);

private:
    template <typename T> void assign(T& member, const T& value, Field field)
    {
        member = value;
        emit published(field);
    }
    void setCurrentSize(qint64 width, qint64 height);

    void pushWallpaper();
    // Another desktop backend took over: the choices are shown again through it.
    void followDesktopBackend();
    void pollForAccessibility();
    // `rescan`: a panel scan follows, whose result rebuilds the tiles when the panel changed.
    // `sameScreens`: the monitors and their panels are those of the last build (a toggle), so
    // they are not asked for again.
    void recomputeBarTiles(bool rescan = true, bool sameScreens = false);
    // Takes the missing captures on the capture thread, then shows the tiles built with them
    // unless another build came meanwhile.
    void captureBars(const QList<quint32>& displayIds, bool rescan);
    // The tiles of m_barScreens from the captures at hand, up in one step.
    void showBarTiles(bool rescan);
    void scheduleBarRecapture();
    void startPanelScan();
    void panelScanned(const PanelSnapshot& snapshot);
    void panelChanged();
    void reselectHiddenItems();
    // The panel at the top of the screen and its rectangle (global bottom-left points); none
    // on a monitor without a top panel.
    std::optional<BarReflow::Bar> barOn(const ScreenInfo& screen, QRectF* rect) const;
    const ManagedWindow* selectedWindow() const;
    std::optional<QString> defaultPicture(const QString& fileName) const;

    Platform& m_platform;
    DefaultsStore& m_defaults;
    Scheduler& m_scheduler;
    QStringList m_resourceDirs;
    Preferences* m_preferences;

    std::unique_ptr<DisplayController> m_display;
    std::unique_ptr<OverlayController> m_overlays;
    std::unique_ptr<WallpaperController> m_wallpaper;
    DesktopIcons m_desktopIcons;
    // Set while a picture change waits for a restarted desktop program.
    bool m_wallpaperWaitsForDesktop = false;
    // Set while a change of the desktop backend waits for the icon commands under way.
    bool m_followWhenSettled = false;
    // Whether the desktop offered an icon setting when the icons were last asked to hide.
    bool m_iconsReachable = false;

    QList<DisplayInfo> m_displays;
    quint32 m_selectedDisplayID = 0;
    QList<DisplayMode> m_modes;
    qint64 m_currentWidth = 0;
    qint64 m_currentHeight = 0;
    bool m_desktopIconsHidden = false;
    DesktopBackground m_background = DesktopBackground::keep;
    RgbColor m_backgroundColor;
    std::optional<QString> m_lightWallpaperURL;
    std::optional<QString> m_darkWallpaperURL;
    MenuBarCover m_menuBarCover = MenuBarCover::keep;
    QList<MenuBarItem> m_menuBarItems;
    QSet<quint32> m_selectedItemIDs;
    QSet<QString> m_hiddenLabels;
    bool m_canCloneBar = false;
    bool m_canNameItems = false;
    bool m_enabled = true;
    // Set when the quit puts the desktop back: from then on nothing goes on screen again, even
    // while the switch stays on for the next launch (a desktop program coming back mid-quit
    // would otherwise get the pictures again, in place of the user's).
    bool m_quitting = false;
    bool showsChanges() const { return m_enabled && !m_quitting; }
    std::optional<DisplayMode> m_lastAppliedMode;
    QList<ManagedWindow> m_windows;
    bool m_windowsListed = false;
    std::optional<QUuid> m_selectedWindowID;
    bool m_canControlWindows = false;
    QString m_desktopNotice;
    QHash<quint32, QImage> m_frameCache;
    // What the last panel scan saw, global bottom-left points.
    QList<QRectF> m_topPanels;
    QList<QRectF> m_emptyStretches;
    // Why the last panel scan could not place chosen items (DesktopSupport::State::itemsGap).
    QString m_itemsGap;
    // The monitors of the last build of the tiles.
    QList<ScreenInfo> m_barScreens;
    // Owners of tray items in the order they were first seen: numbers icons of one program.
    QList<qint64> m_trayProcessOrder;
    // The next scan result empties the capture cache and rebuilds the tiles.
    bool m_scanClearsCache = false;
    std::shared_ptr<ScheduledTask> m_barRecaptureWork;
    std::unique_ptr<TaskQueue> m_inlineCaptureWork;
    TaskQueue& m_captureWork;
    // Counts the builds of the tiles: a capture's answer for an older build is dropped.
    quint64 m_barBuild = 0;
    int m_capturesUnderWay = 0;
    int m_accessibilityPollCount = 0;
    std::shared_ptr<ScheduledTask> m_accessibilityPoll;
};
