// The platform holder and the degraded backends used where X11 offers nothing.
#include "Platform.h"

#include "AutostartLoginItems.h"
#include "Geometry.h"

#include <QGuiApplication>
#include <QScreen>

namespace {

Platform* g_shared = nullptr;

// Qt's screens without display ids: enough for layout where no X11 is available.
class QtScreens final : public Screens {
public:
    QtScreens()
    {
        if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
            connect(app, &QGuiApplication::screenAdded, this, &Screens::screensChanged);
            connect(app, &QGuiApplication::screenRemoved, this, &Screens::screensChanged);
        }
    }
    QList<ScreenInfo> screens() const override
    {
        QList<ScreenInfo> result;
        if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
            return result;
        const QScreen* primary = QGuiApplication::primaryScreen();
        if (!primary)
            return result;
        const QRectF p = primary->geometry();
        auto toBottomLeft = [&](QRect r) { return Geometry::toBottomLeft(r, p); };
        for (const QScreen* screen : QGuiApplication::screens()) {
            ScreenInfo info;
            info.name = screen->name();
            info.outputName = screen->name();
            info.frame = toBottomLeft(screen->geometry());
            info.visibleFrame = toBottomLeft(screen->availableGeometry());
            info.backingScale = screen->devicePixelRatio();
            result.append(info);
        }
        return result;
    }
};

class NoWindowList final : public WindowList {
public:
    QList<WindowListEntry> onScreenWindows() const override { return {}; }
};

class NoCapture final : public ScreenCapture {
public:
    bool canCaptureScreen() const override { return false; }
    bool requestCaptureAccess() override { return false; }
    PermissionGap captureGap() const override { return sessionWithoutX11(); }
    QImage captureDisplay(quint32) override { return {}; }
};

class NoDesktopPictures final : public DesktopPictures {
public:
    std::optional<QString> desktopPicture(const ScreenInfo&) const override { return {}; }
    QImage snapshotDesktopPicture(const ScreenInfo&) override { return {}; }
    bool rememberDesktop(const ScreenInfo&) override { return false; }
    bool holdsRecord(const ScreenInfo&) const override { return false; }
    PictureRestore restoreDesktop(const ScreenInfo&) override
    {
        return PictureRestore::nothingHeld;
    }
    bool otherDesktopRecordPending() const override { return false; }
    bool setDesktopPicture(const ScreenInfo&, const QString&) override { return false; }
};

class NoDisplayModes final : public DisplayModes {
public:
    QList<quint32> onlineDisplays() const override { return {}; }
    quint32 mainDisplay() const override { return 0; }
    std::optional<PlatformDisplayMode> currentMode(quint32) const override { return {}; }
    QList<PlatformDisplayMode> allModes(quint32) const override { return {}; }
    bool switchMode(quint32, qint32) override { return false; }
};

class NoWindowControl final : public WindowControl {
public:
    bool canControlWindows() const override { return false; }
    void requestWindowControl() override
    {
        qWarning("Quillet: moving other applications' windows needs an X11 session with a "
                 "window manager that follows the EWMH conventions");
    }
    PermissionGap controlGap() const override { return sessionWithoutX11(); }
    QList<ClientWindow> windows() const override { return {}; }
    std::optional<QRectF> frame(quint64) const override { return {}; }
    void setPosition(quint64, QPointF) override {}
    void setSize(quint64, QSizeF) override {}
    void minimize(quint64) override {}
};

class NoItemNames final : public ItemNames {
public:
    QList<NamedTrayElement> trayElements() const override { return {}; }
};

class LightAppearance final : public Appearance {
public:
    bool isDark() const override { return false; }
};

// No supported desktop program: nothing can be read or written, so nothing is ever changed.
class NoDesktopIcons final : public DesktopIconsBackend {
public:
    Style hiddenStyle() const override { return 0; }
    Style shownStyle() const override { return {}; }
    void readStyle(std::function<void(ReadResult)> done) override { done(ReadResult()); }
    void writeStyle(Style, std::function<void(bool)> done) override { done(false); }
    void restartDesktop(std::function<void()> ready) override { ready(); }
};

} // namespace

Platform::Platform(Parts parts) : m_parts(withDegradedDefaults(std::move(parts))) {}

Platform::~Platform() = default;

Platform& Platform::shared()
{
    Q_ASSERT(g_shared);
    return *g_shared;
}

void Platform::setShared(Platform* platform)
{
    g_shared = platform;
}

Platform::Parts withDegradedDefaults(Platform::Parts parts)
{
    if (parts.name.isEmpty())
        parts.name = QStringLiteral("degraded");
    if (!parts.screens)
        parts.screens = std::make_unique<QtScreens>();
    if (!parts.windowList)
        parts.windowList = std::make_unique<NoWindowList>();
    if (!parts.capture)
        parts.capture = std::make_unique<NoCapture>();
    if (!parts.desktopPictures)
        parts.desktopPictures = std::make_unique<NoDesktopPictures>();
    if (!parts.displayModes)
        parts.displayModes = std::make_unique<NoDisplayModes>();
    if (!parts.windowControl)
        parts.windowControl = std::make_unique<NoWindowControl>();
    if (!parts.itemNames)
        parts.itemNames = std::make_unique<NoItemNames>();
    if (!parts.appearance)
        parts.appearance = std::make_unique<LightAppearance>();
    if (!parts.loginItems)
        parts.loginItems = std::make_unique<AutostartLoginItems>();
    if (!parts.desktopIcons)
        parts.desktopIcons = std::make_unique<NoDesktopIcons>();
    if (!parts.processes)
        parts.processes = std::make_unique<QtProcessRunner>();
    if (!parts.managerWatch)
        parts.managerWatch = std::make_unique<WindowManagerWatch>();
    return parts;
}
