// A platform for unit tests: each facility records what it was asked to do, and the test sets
// what the system reports.
#pragma once

#include "platform/Platform.h"

#include <QHash>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class FakeScreens final : public Screens {
public:
    QList<ScreenInfo> list;
    QList<ScreenInfo> screens() const override { return list; }
    void announceChange() { emit screensChanged(); }
};

class FakeWindowList final : public WindowList {
public:
    QList<WindowListEntry> entries;
    QList<WindowListEntry> onScreenWindows() const override { return entries; }
};

class FakeCapture final : public ScreenCapture {
public:
    bool allowed = true;
    bool grantOnRequest = false;
    QHash<quint32, QImage> images;
    int captures = 0;
    int requests = 0;
    bool canCaptureScreen() const override { return allowed; }
    bool requestCaptureAccess() override
    {
        ++requests;
        if (grantOnRequest)
            allowed = true;
        return allowed;
    }
    QImage captureDisplay(quint32 id) override
    {
        ++captures;
        return allowed ? images.value(id) : QImage();
    }
    int releases = 0;
    void releaseBuffers() override { ++releases; }
};

// A desktop that keeps its own record the way real desktops do: a monitor may be changed only
// once its record is held, and a restore puts back what the record holds and drops it.
class FakeDesktopPictures final : public DesktopPictures {
public:
    // What each monitor shows, keyed by output name, as desktops keep them.
    QHash<QString, QString> pictures;
    QHash<QString, QImage> snapshots;
    // The desktop's own record: what each monitor showed when it was remembered (empty text:
    // no picture).
    QHash<QString, QString> records;
    QList<QPair<QString, QString>> setRequests;
    // Monitors changed without their record held: the core forgot to remember first.
    QStringList unrememberedChanges;
    // The desktop cannot be reached: nothing is remembered, restored or set.
    bool unreachable = false;
    // Another backend left a record here.
    bool otherRecord = false;
    QString limitation;

    std::optional<QString> desktopPicture(const ScreenInfo& s) const override
    {
        return pictures.contains(s.outputName) ? std::optional(pictures.value(s.outputName))
                                               : std::nullopt;
    }
    QImage snapshotDesktopPicture(const ScreenInfo& s) override
    {
        return snapshots.value(s.outputName);
    }
    bool rememberDesktop(const ScreenInfo& s) override
    {
        if (unreachable)
            return false;
        if (!records.contains(s.outputName))
            records.insert(s.outputName, pictures.value(s.outputName));
        return true;
    }
    bool holdsRecord(const ScreenInfo& s) const override { return records.contains(s.outputName); }
    PictureRestore restoreDesktop(const ScreenInfo& s) override
    {
        if (!records.contains(s.outputName))
            return PictureRestore::nothingHeld;
        if (unreachable)
            return PictureRestore::failed;
        pictures.insert(s.outputName, records.take(s.outputName));
        return PictureRestore::restored;
    }
    bool otherDesktopRecordPending() const override { return otherRecord; }
    bool setDesktopPicture(const ScreenInfo& s, const QString& path) override
    {
        setRequests.append({s.outputName, path});
        if (!records.contains(s.outputName)) {
            unrememberedChanges.append(s.outputName);
            return false;
        }
        if (unreachable)
            return false;
        pictures.insert(s.outputName, path);
        return true;
    }
    QString restoreLimitation() const override { return limitation; }
};

class FakeDisplayModes final : public DisplayModes {
public:
    QList<quint32> displays;
    quint32 main = 0;
    QHash<quint32, QList<PlatformDisplayMode>> modes;
    QHash<quint32, qint32> current;
    bool refuse = false;
    // (display, mode id) of every switch asked for, refused or not.
    QList<QPair<quint32, qint32>> switches;

    QList<quint32> onlineDisplays() const override { return displays; }
    quint32 mainDisplay() const override { return main; }
    std::optional<PlatformDisplayMode> currentMode(quint32 display) const override
    {
        if (!current.contains(display))
            return std::nullopt;
        for (const PlatformDisplayMode& m : modes.value(display)) {
            if (m.id == current.value(display))
                return m;
        }
        return std::nullopt;
    }
    QList<PlatformDisplayMode> allModes(quint32 display) const override
    {
        return modes.value(display);
    }
    bool switchMode(quint32 display, qint32 modeId) override
    {
        switches.append({display, modeId});
        if (refuse)
            return false;
        current.insert(display, modeId);
        return true;
    }
    // Where each display stands; displays without an entry report none.
    QHash<quint32, DisplayPlacement> placements;
    std::optional<DisplayPlacement> placement(quint32 display) const override
    {
        if (!placements.contains(display))
            return std::nullopt;
        return placements.value(display);
    }
    bool placeMode(quint32 display, qint32 modeId, const DisplayPlacement& placement) override
    {
        if (!switchMode(display, modeId))
            return false;
        placements.insert(display, placement);
        return true;
    }
};

class FakeWindowControl final : public WindowControl {
public:
    bool trusted = true;
    QList<ClientWindow> list;
    QHash<quint64, QRectF> frames;
    int prompts = 0;
    // How often the window list was read.
    mutable int listings = 0;
    // "position <handle> x y", "size <handle> w h", "minimize <handle>".
    QStringList log;

    bool canControlWindows() const override { return trusted; }
    // Why control is missing, when a test names it (a Wayland session, say).
    std::optional<PermissionGap> gap;
    PermissionGap controlGap() const override { return gap ? *gap : WindowControl::controlGap(); }
    void requestWindowControl() override { ++prompts; }
    QList<ClientWindow> windows() const override
    {
        ++listings;
        return trusted ? list : QList<ClientWindow>();
    }
    std::optional<QRectF> frame(quint64 handle) const override
    {
        return frames.contains(handle) ? std::optional(frames.value(handle)) : std::nullopt;
    }
    void setPosition(quint64 handle, QPointF p) override
    {
        log << QStringLiteral("position %1 %2 %3").arg(handle).arg(p.x()).arg(p.y());
        if (frames.contains(handle))
            frames[handle].moveTopLeft(p);
    }
    void setSize(quint64 handle, QSizeF s) override
    {
        log << QStringLiteral("size %1 %2 %3").arg(handle).arg(s.width()).arg(s.height());
        if (frames.contains(handle))
            frames[handle].setSize(s);
    }
    void minimize(quint64 handle) override
    {
        log << QStringLiteral("minimize %1").arg(handle);
        list.erase(std::remove_if(list.begin(), list.end(),
                                  [handle](const ClientWindow& w) { return w.handle == handle; }),
                   list.end());
    }
};

class FakeItemNames final : public ItemNames {
public:
    QList<NamedTrayElement> elements;
    QList<NamedTrayElement> trayElements() const override { return elements; }
};

// Scans the fake window list and names. With `deferred` the result waits for finish(), as the
// real scan's thread makes it wait.
class FakePanelScan final : public PanelScan {
public:
    FakePanelScan(const FakeWindowList& windows, const FakeItemNames& names)
        : m_windows(windows), m_names(names)
    {
    }
    bool deferred = false;
    int starts = 0;
    // Global top-left points.
    QList<QRectF> emptyStretches;
    QString itemsGap;

    void start(bool withNames) override
    {
        ++starts;
        m_pending = true;
        m_withNames = m_withNames || withNames;
        if (!deferred)
            finish();
    }
    bool pending() const { return m_pending; }
    void finish()
    {
        if (!m_pending)
            return;
        PanelSnapshot snapshot;
        snapshot.windows = m_windows.onScreenWindows();
        if (m_withNames)
            snapshot.names = m_names.trayElements();
        snapshot.emptyStretches = emptyStretches;
        snapshot.itemsGap = itemsGap;
        m_pending = m_withNames = false;
        emit scanned(snapshot);
    }

private:
    const FakeWindowList& m_windows;
    const FakeItemNames& m_names;
    bool m_pending = false;
    bool m_withNames = false;
};

class FakeAppearance final : public Appearance {
public:
    bool dark = false;
    // What the desktop's settings tell at once; `dark` when unset.
    std::optional<bool> guess;
    // Questions asked without waiting are held here until answered by the test.
    bool answersLater = false;
    std::vector<std::function<void(bool)>> questions;
    bool isDark() const override { return dark; }
    bool quickGuessDark() const override { return guess.value_or(dark); }
    void queryDark(QObject*, std::function<void(bool)> done) override
    {
        if (answersLater)
            questions.push_back(std::move(done));
        else
            done(dark);
    }
    void set(bool isDark)
    {
        dark = isDark;
        emit appearanceChanged();
    }
};

class FakeLoginItems final : public LoginItems {
public:
    Status current = Status::notRegistered;
    QString failure; // non-empty: register/unregister fail with this text
    int registrations = 0;
    int unregistrations = 0;
    Status status() const override { return current; }
    bool registerItem(QString* error) override
    {
        return change(Status::enabled, registrations, error);
    }
    bool unregisterItem(QString* error) override
    {
        return change(Status::notRegistered, unregistrations, error);
    }

private:
    bool change(Status to, int& counter, QString* error)
    {
        ++counter;
        if (!failure.isEmpty())
            *error = failure;
        else
            current = to;
        return failure.isEmpty();
    }
};

// Answers at once unless `deferred` is set; then the answers wait in `pending` until run.
class FakeDesktopIcons final : public DesktopIconsBackend {
public:
    // "hide" (the hidden style written), "show" (any other), "restart" in the order asked.
    QStringList log;
    // The desktop's stored style; `readable` / `writable` false make reads / writes fail.
    Style style;
    bool readable = true;
    bool writable = true;
    bool deferred = false;
    QList<std::function<void()>> pending;

    Style hiddenStyle() const override { return 0; }
    Style shownStyle() const override { return 2; }
    void readStyle(std::function<void(ReadResult)> done) override
    {
        answer([this, done] { done(readable ? ReadResult(style) : ReadResult()); });
    }
    void writeStyle(Style wanted, std::function<void(bool)> done) override
    {
        log << (wanted == hiddenStyle() ? QStringLiteral("hide") : QStringLiteral("show"));
        if (writable)
            style = wanted;
        answer([this, done] { done(writable); });
    }
    void restartDesktop(std::function<void()> ready) override
    {
        log << QStringLiteral("restart");
        answer(std::move(ready));
    }
    // Runs the answers held back so far, in order (not those they lead to).
    void answerPending()
    {
        const QList<std::function<void()>> now = std::exchange(pending, {});
        for (const auto& reply : now)
            reply();
    }

private:
    void answer(std::function<void()> reply)
    {
        if (deferred)
            pending << std::move(reply);
        else
            reply();
    }
};

// A desktop on which everything works until a test says otherwise.
class FakeDesktopSupport final : public DesktopSupport {
public:
    State current;
    FakeDesktopSupport()
    {
        current.desktop = QStringLiteral("Fake");
        current.pictures = true;
        current.icons = true;
    }
    State state() const override { return current; }
    // Another desktop program took over (or the same one restarted).
    void takeOver(const State& state)
    {
        current = state;
        emit stateChanged();
        emit backendChanged();
    }
};

// Owns a Platform made of fakes and keeps typed pointers to them.
class FakePlatform final {
public:
    FakePlatform();

    Platform& platform() { return *m_platform; }
    operator Platform&() { return *m_platform; }

    // One 1440 × 900 monitor (display id 1, output "DP-1") with a 25-point panel.
    void addStandardMonitor();

    FakeScreens* screens;
    FakeWindowList* windowList;
    FakeCapture* capture;
    FakeDesktopPictures* desktopPictures;
    FakeDisplayModes* displayModes;
    FakeWindowControl* windowControl;
    FakeItemNames* itemNames;
    FakeAppearance* appearance;
    FakeLoginItems* loginItems;
    FakeDesktopIcons* desktopIcons;
    FakeDesktopSupport* desktopSupport;
    FakePanelScan* panelScan;

private:
    std::unique_ptr<Platform> m_platform;
};
