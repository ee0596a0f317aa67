// The model's construction, master switch, desktop choices, launch restore and permissions.
#include "AppModel.h"

#include "Codecs.h"
#include "DefaultsStore.h"
#include "Preferences.h"
#include "Scheduler.h"
#include "TaskQueue.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPointer>

using namespace std::chrono_literals;

AppModel::AppModel(Dependencies deps)
    : m_platform(deps.platform), m_defaults(deps.defaults), m_scheduler(deps.scheduler),
      m_resourceDirs(std::move(deps.resourceDirs)), m_preferences(deps.preferences),
      m_desktopIcons(deps.platform.desktopIcons(),
                     // Not "desktop-*.json": those are the picture backends' records.
                     WallpaperController::supportDir() + QStringLiteral("/icon-style.json")),
      m_inlineCaptureWork(deps.captureWork ? nullptr : std::make_unique<InlineTaskQueue>()),
      m_captureWork(deps.captureWork ? *deps.captureWork : *m_inlineCaptureWork)
{
    m_display = std::make_unique<DisplayController>(m_platform.displayModes(), m_platform.screens(),
                                                    &m_defaults);
    m_overlays =
        std::make_unique<OverlayController>(m_platform.screens(), m_platform.managerWatch());
    m_wallpaper = std::make_unique<WallpaperController>(m_platform, m_defaults, deps.pictureWork);
    // The desktop program is never restarted (icons) while its pictures change.
    m_desktopIcons.setRestartGate([this] { return m_wallpaper->idle(); });
    connect(m_wallpaper.get(), &WallpaperController::passEnded, this,
            [this] { m_desktopIcons.resume(); });
    connect(m_wallpaper.get(), &WallpaperController::picturesShown, this, [this] {
        // The desktop behind the panel has changed.
        m_frameCache.clear();
        scheduleBarRecapture();
    });
    // Said in the window, and in the log for a restore at quit, when the window is gone.
    connect(m_wallpaper.get(), &WallpaperController::restoreNotice, this,
            [this](const QString& text) {
                qWarning("Quillet: %s", qPrintable(text));
                assign(m_desktopNotice, text, Field::desktopNotice);
            });

    m_selectedDisplayID = m_platform.displayModes().mainDisplay();
    m_canCloneBar = m_platform.capture().canCaptureScreen();
    m_canNameItems = m_platform.windowControl().canControlWindows();
    m_canControlWindows = m_canNameItems;

    const QStringList labels =
        m_defaults.stringListValue(StoredKeys::hiddenItemLabels).value_or(QStringList());
    m_hiddenLabels = QSet<QString>(labels.begin(), labels.end());

    reloadDisplays();
    connect(&m_platform.panelScan(), &PanelScan::scanned, this, &AppModel::panelScanned);
    connect(&m_platform.panelScan(), &PanelScan::panelChanged, this, &AppModel::panelChanged);
    refreshMenuBarItems();
    if (!deps.listWindowsLater)
        refreshWindows();

    m_overlays->onScreenChange = [self = QPointer<AppModel>(this)] {
        if (!self)
            return;
        self->m_frameCache.clear();
        self->recomputeBarTiles();
    };
    connect(&m_platform, &Platform::applicationActivated, this, &AppModel::refreshPermissions);
    connect(&m_desktopIcons, &DesktopIcons::desktopReady, this, [this] {
        if (!std::exchange(m_wallpaperWaitsForDesktop, false))
            return;
        m_wallpaper->setBarTintActive(showsChanges() && m_menuBarCover != MenuBarCover::keep);
        pushWallpaper();
    });
    connect(&m_platform.appearance(), &Appearance::appearanceChanged, this,
            &AppModel::scheduleBarRecapture);
    m_iconsReachable = m_platform.desktopSupport().state().icons;
    connect(&m_platform.desktopSupport(), &DesktopSupport::backendChanged, this,
            &AppModel::followDesktopBackend);
    connect(&m_platform.desktopSupport(), &DesktopSupport::stateChanged, this,
            [this] { emit published(Field::desktopSupport); });
    connect(&m_desktopIcons, &DesktopIcons::settled, this, [this] {
        if (std::exchange(m_followWhenSettled, false))
            followDesktopBackend();
    });

    m_lightWallpaperURL = Codecs::loadURL(m_defaults, StoredKeys::lightWallpaperURL);
    if (!m_lightWallpaperURL)
        m_lightWallpaperURL = defaultPicture(QStringLiteral("Light.png"));
    emit published(Field::lightWallpaperURL);
    m_darkWallpaperURL = Codecs::loadURL(m_defaults, StoredKeys::darkWallpaperURL);
    if (!m_darkWallpaperURL)
        m_darkWallpaperURL = defaultPicture(QStringLiteral("Dark.png"));
    emit published(Field::darkWallpaperURL);

    pushWallpaper();
}

AppModel::~AppModel() = default;

AppModel& AppModel::shared()
{
    static QtScheduler scheduler;
    // Never ended: its thread goes with the process, after the quit has waited for its work.
    static TaskQueue* pictureWork = new ThreadTaskQueue(QStringLiteral("desktop pictures"));
    static TaskQueue* captureWork = new ThreadTaskQueue(QStringLiteral("panel captures"));
    static AppModel* model = new AppModel({Platform::shared(),
                                           DefaultsStore::standard(),
                                           scheduler,
                                           {},
                                           nullptr,
                                           pictureWork,
                                           true,
                                           captureWork});
    return *model;
}

const QList<QSizeF>& AppModel::windowSizes()
{
    static const QList<QSizeF> sizes{{1280, 800},  {1440, 900}, {1600, 1000},
                                     {1920, 1080}, {1024, 768}, {800, 600}};
    return sizes;
}

std::optional<QString> AppModel::defaultPicture(const QString& fileName) const
{
    QStringList dirs = m_resourceDirs;
    if (dirs.isEmpty()) {
        // The build tree keeps the pictures beside the executable; an installed program under
        // <prefix>/share/quillet.
        const QString exeDir = QCoreApplication::applicationDirPath();
        dirs = {exeDir + QStringLiteral("/share/quillet"),
                exeDir + QStringLiteral("/../share/quillet"), QStringLiteral(QUILLET_DATA_DIR)};
    }
    for (const QString& dir : std::as_const(dirs)) {
        if (!QFileInfo(dir).isDir())
            continue;
        const QString path = QDir(dir).absoluteFilePath(fileName);
        if (QFileInfo::exists(path))
            return QDir::cleanPath(path);
        return std::nullopt;
    }
    // Say where we looked, so that a program copied without its share/quillet folder is easy
    // to put right; the fatal message itself stays as it is.
    qCritical("Quillet: no folder with the default pictures (Light.png, Dark.png) among: %s",
              qUtf8Printable(dirs.join(QStringLiteral(", "))));
    qFatal("unable to find bundle named Quillet_Quillet");
}

void AppModel::setEnabled(bool enabled)
{
    if (enabled == m_enabled)
        return;
    assign(m_enabled, enabled, Field::enabled);
    if (m_quitting)
        return;
    if (enabled) {
        // The last chosen mode goes to the display selected now.
        if (m_lastAppliedMode)
            m_display->switchMode(m_selectedDisplayID, m_lastAppliedMode->id);
        if (m_desktopIconsHidden)
            m_desktopIcons.setHidden(true);
        pushWallpaper();
    } else {
        restoreDesktop();
    }
    recomputeBarTiles();
}

void AppModel::restoreDesktop(const WaitUntil& quitting)
{
    const auto waitFor = [&quitting](const std::function<bool()>& done) {
        if (quitting)
            quitting(done);
    };
    if (quitting)
        m_quitting = true;
    m_display->restoreAll();
    // The icon style is written in its turn, but the desktop program is restarted once, last:
    // one that starts while its pictures change may crash. The restart runs in a process of its
    // own when quitting, so the quit does not wait for the new desktop to appear.
    m_desktopIcons.holdRestarts();
    m_desktopIcons.restore();
    waitFor([this] { return m_desktopIcons.onlyRestartLeft(); });
    m_wallpaper->restore();
    m_overlays->clearMenuBarWindows();
    // A capture still under way brings no mask back, and ends before the platform goes.
    ++m_barBuild;
    // The pictures go back on their own thread; the restart gate keeps the desktop program from
    // restarting before they are back.
    waitFor([this] { return m_wallpaper->idle() && m_captureWork.idle(); });
    m_desktopIcons.releaseRestarts(/*waitForReady=*/!quitting);
    waitFor([this] { return m_desktopIcons.isSettled(); });
}

void AppModel::setDesktopIconsHidden(bool hidden)
{
    assign(m_desktopIconsHidden, hidden, Field::desktopIconsHidden);
    m_defaults.setBool(StoredKeys::desktopIconsHidden, hidden);
    if (showsChanges())
        m_desktopIcons.setHidden(hidden);
}

void AppModel::setBackground(DesktopBackground background)
{
    assign(m_background, background, Field::background);
    m_defaults.setString(StoredKeys::background, rawValue(background));
    pushWallpaper();
}

void AppModel::setBackgroundColor(const RgbColor& color)
{
    assign(m_backgroundColor, color, Field::backgroundColor);
    m_defaults.setString(StoredKeys::backgroundColor, Codecs::hex(color));
    pushWallpaper();
}

void AppModel::setLightWallpaperURL(const std::optional<QString>& path)
{
    assign(m_lightWallpaperURL, path, Field::lightWallpaperURL);
    Codecs::persistURL(m_defaults, path, StoredKeys::lightWallpaperURL);
    pushWallpaper();
}

void AppModel::setDarkWallpaperURL(const std::optional<QString>& path)
{
    assign(m_darkWallpaperURL, path, Field::darkWallpaperURL);
    Codecs::persistURL(m_defaults, path, StoredKeys::darkWallpaperURL);
    pushWallpaper();
}

void AppModel::pushWallpaper()
{
    if (!showsChanges())
        return;
    if (!m_desktopIcons.isDesktopReady()) {
        // A desktop program still starting may crash when its pictures change: push once it
        // has drawn the desktop.
        m_wallpaperWaitsForDesktop = true;
        return;
    }
    m_wallpaper->show({m_background, m_backgroundColor, m_lightWallpaperURL, m_darkWallpaperURL});
}

void AppModel::followDesktopBackend()
{
    // Our own restart of the desktop program looks like one that died and came back: what it
    // comes to is seen once the icon commands are done.
    if (!m_desktopIcons.isSettled()) {
        m_followWhenSettled = true;
        return;
    }
    const bool iconsReachable = m_platform.desktopSupport().state().icons;
    const bool iconsBefore = std::exchange(m_iconsReachable, iconsReachable);
    if (!showsChanges())
        return;
    // The icon style outlives the desktop program (the next one reads it): it is written again
    // only where no icon setting could be reached before.
    if (m_desktopIconsHidden && iconsReachable && !iconsBefore)
        m_desktopIcons.setHidden(true);
    pushWallpaper();
}

DesktopSupport::State AppModel::desktopSupport() const
{
    DesktopSupport::State state = m_platform.desktopSupport().state();
    if (state.itemsGap.isEmpty())
        state.itemsGap = m_itemsGap;
    return state;
}

void AppModel::restoreIfEnabled()
{
    Preferences& preferences = m_preferences ? *m_preferences : Preferences::shared();
    if (!preferences.restoreOnLaunch())
        return;
    // The colour first, without storing or pushing, so the push of the background uses it.
    if (const auto hex = m_defaults.stringValue(StoredKeys::backgroundColor))
        assign(m_backgroundColor, Codecs::colorFromHex(*hex), Field::backgroundColor);
    if (const auto raw = m_defaults.stringValue(StoredKeys::background)) {
        if (const auto background = desktopBackgroundFromRaw(*raw))
            setBackground(*background);
    }
    if (m_defaults.boolValue(StoredKeys::desktopIconsHidden).value_or(false))
        setDesktopIconsHidden(true);
    if (const auto raw = m_defaults.stringValue(StoredKeys::menuBarCover)) {
        if (const auto cover = menuBarCoverFromRaw(*raw)) {
            setMenuBarCover(*cover);
            // The item scan needs time before stored labels can be matched to items.
            if (*cover == MenuBarCover::items)
                m_scheduler.after(600ms, this, [this] { restoreHiddenSelection(); });
        }
    }
}

void AppModel::refreshPermissions()
{
    const bool trusted = m_platform.windowControl().canControlWindows();
    const bool canCapture = m_platform.capture().canCaptureScreen();
    const bool accessibilityGained = trusted && !m_canControlWindows;
    const bool captureGained = canCapture && !m_canCloneBar;
    assign(m_canControlWindows, trusted, Field::canControlWindows);
    assign(m_canNameItems, trusted, Field::canNameItems);
    assign(m_canCloneBar, canCapture, Field::canCloneBar);
    if (accessibilityGained) {
        refreshWindows();
        refreshMenuBarItems();
    } else if (captureGained) {
        recomputeBarTiles();
    }
}

void AppModel::requestAccessibility()
{
    m_platform.windowControl().requestWindowControl();
    refreshPermissions();
    if (!m_platform.windowControl().canControlWindows())
        pollForAccessibility();
}

void AppModel::requestScreenCapture()
{
    m_platform.capture().requestCaptureAccess();
    refreshPermissions();
}

PermissionGap AppModel::windowControlGap() const
{
    return m_platform.windowControl().controlGap();
}

PermissionGap AppModel::screenCaptureGap() const
{
    return m_platform.capture().captureGap();
}

Appearance& AppModel::appearance() const
{
    return m_platform.appearance();
}

void AppModel::pollForAccessibility()
{
    if (m_accessibilityPollCount != 0)
        return;
    m_accessibilityPollCount = 30;
    // The timer is owned by this model, so it stops when the model goes.
    m_accessibilityPoll = m_scheduler.every(1000ms, this, [this] {
        --m_accessibilityPollCount;
        if (!m_platform.windowControl().canControlWindows() && m_accessibilityPollCount > 0)
            return;
        if (m_accessibilityPoll)
            m_accessibilityPoll->cancel();
        m_accessibilityPoll.reset();
        m_accessibilityPollCount = 0;
        refreshPermissions();
    });
}
