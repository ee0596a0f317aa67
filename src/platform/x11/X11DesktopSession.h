// Follows the desktop as it runs: which program draws it (xfdesktop, caja, pcmanfm, …, or none,
// where the root window shows), and hands desktop pictures and icons to the backend that fits,
// switching when a desktop program starts late, dies or restarts. Nothing here waits on another
// process on the interface thread: xfdesktop and xfconfd are followed through their bus names'
// owner changes, desktop windows through the root window's client list, both delivered as
// events, and the window tree is searched on a thread of its own.
#pragma once

#include "X11DesktopProgram.h"
#include "platform/DesktopIconsBackend.h"
#include "platform/DesktopPictures.h"
#include "platform/DesktopSupport.h"

#include <QAbstractNativeEventFilter>
#include <QDBusServiceWatcher>
#include <QStringList>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class CommandOutput;
class GnomeExtensionIcons;
class GSettingsDesktopIcons;
class GSettingsDesktopPictures;
struct GSettingsDesktopKeys;
class PcmanfmDesktopPictures;
class RootWindowDesktopPictures;
class XfceDesktopIcons;
class XfceDesktopPictures;

class X11DesktopSession final : public DesktopSupport, public QAbstractNativeEventFilter {
    Q_OBJECT
public:
    // The backends keep their records in `recordDir`.
    explicit X11DesktopSession(const QString& recordDir);
    ~X11DesktopSession() override;

    State state() const override { return m_state; }
    void awaitFirstLook() override;
    // "x11-xfce" while xfdesktop draws the desktop, else "x11".
    QString platformName() const;

    // Facades that always reach the backend in charge now; owned by the caller.
    std::unique_ptr<DesktopPictures> makePictures();
    std::unique_ptr<DesktopIconsBackend> makeIcons();

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    // The backend in charge of pictures now, and the other one.
    DesktopPictures& activePictures() const;
    DesktopPictures* otherPictures() const;
    // Whether the other backend's record can be put back now without harm.
    bool otherMayRestore() const;
    // On the picture thread, before pictures change or go back: while xfdesktop, in charge a
    // moment ago, restarts (our own restart for the icon style, or the session's after a
    // crash), waits until it is back in charge, a few seconds at most. Meanwhile the root
    // window would take the pictures, and xfdesktop's record would wait for the next launch.
    void awaitXfdesktopReturn() const;
    // The icons backend, when the desktop keeps an icon setting the program can change.
    DesktopIconsBackend* activeIcons() const;

private:
    // gsettings: a desktop that draws its picture from GSettings (caja on MATE, GNOME, Cinnamon);
    // pcmanfm: LXDE's pcmanfm, reached through its own command line; pcmanfmQt: LXQt's
    // pcmanfm-qt, the same way.
    enum class Backend { xfce, root, gsettings, pcmanfm, pcmanfmQt };
    void scheduleCheck();
    // Starts a search for the desktop program's window on the search thread (or notes that
    // another is due when one runs); the answer comes back to apply().
    void check();
    // What a search found: the desktop program's window (or none).
    struct Found {
        std::optional<X11::DesktopProgram> program;
        // The monitors pcmanfm draws, its first one first, when pcmanfm is the program.
        QStringList pcmanfmMonitors;
        // Whether pcmanfm-qt, when it is the program, shows its plain colour.
        bool pcmanfmQtColour = false;
        // The window manager's name.
        QString windowManager;
        // GNOME Shell's desktop icons extension draws the icons over the shell's background
        // (its desktop window is set aside, not taken for a desktop program).
        bool extensionIcons = false;
        // Whether xfdesktop and xfconf own their bus names, asked by the first search only
        // (from then on the bus announces every change of owner).
        std::optional<bool> xfdesktopOnBus;
        std::optional<bool> xfconfOnBus;
    };
    // Applies the search's answer, if it has not been taken yet, and starts the next search
    // where one is due.
    void takeAnswer();
    // The picture thread waits (bounded) until the first answer has been applied: until then
    // a picture could go to the root window under a desktop program's window.
    void awaitFirstApplied() const;
    // Chooses the backend for the desktop program found (or none).
    void apply(const Found& found);
    static Found findDesktopProgram(bool askBus);
    // The desktop as the user names it. The window manager's name comes with the search's
    // answer: asking the X server for it here would wait on the interface thread.
    QString desktopName(const QString& program, const QString& windowManager) const;
    // The GSettings desktop in charge for this desktop program (or session); none elsewhere.
    GSettingsDesktopPictures* gsettingsDesktop(const QString& program,
                                               const QString& windowManager) const;
    // `programDraws`: a desktop program (not the desktop itself) draws over the root.
    DesktopIconsBackend* iconsFor(Backend backend, GSettingsDesktopPictures* gsettings,
                                  bool programDraws) const;

    std::unique_ptr<XfceDesktopPictures> m_xfcePictures;
    std::unique_ptr<RootWindowDesktopPictures> m_rootPictures;
    std::unique_ptr<PcmanfmDesktopPictures> m_pcmanfmPictures;
    std::unique_ptr<PcmanfmDesktopPictures> m_pcmanfmQtPictures;
    std::unique_ptr<XfceDesktopIcons> m_xfceIcons;
    std::unique_ptr<CommandOutput> m_settingsTools;
    std::vector<std::unique_ptr<GSettingsDesktopPictures>> m_gsettingsPictures;
    std::unique_ptr<GSettingsDesktopIcons> m_mateIcons;
    std::unique_ptr<GSettingsDesktopIcons> m_nemoIcons;
    std::unique_ptr<GnomeExtensionIcons> m_gnomeExtensionIcons;
    // The last search found the desktop icons extension's window.
    bool m_extensionIcons = false;
    // The GSettings desktop in charge while the backend is gsettings; read by the picture thread.
    std::atomic<GSettingsDesktopPictures*> m_gsettings = nullptr;
    QDBusServiceWatcher m_busWatch;
    QTimer m_settle;
    QTimer m_poll;
    bool m_xfdesktop = false;
    bool m_xfconf = false;
    // Read by the desktop-picture thread as well.
    std::atomic<Backend> m_backend = Backend::root;
    std::atomic<bool> m_desktopDrawn = false;
    // When xfdesktop, in charge then, left the bus (steady clock, ms); 0 once it is back in
    // charge.
    std::atomic<qint64> m_xfdesktopLostAt = 0;
    qint64 m_programPid = 0;
    State m_state;
    // The window tree is read there: a busy X server (a large picture being drawn) or a window
    // manager that hangs then holds up nobody.
    QThread m_searchThread;
    QObject* m_searchContext = nullptr; // lives on the search thread, deleted when it ends
    bool m_searching = false;
    bool m_searchAgain = false;
    // The first answer has been taken (it may be being applied): a look from a listener of
    // that answer's signals waits no more.
    bool m_firstTaken = false;
    // An owner change of xfdesktop's or xfconf's name has been seen: it is newer than the
    // first search's answer.
    bool m_busHeard = false;
    // The search's answer until the interface thread takes it, and whether the first one has
    // been applied; both under m_answerMutex.
    mutable std::mutex m_answerMutex;
    mutable std::condition_variable m_answerChanged;
    std::optional<Found> m_answer;
    bool m_firstApplied = false;
};
