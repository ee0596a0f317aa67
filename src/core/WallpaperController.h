// Puts the chosen desktop picture on every monitor, keeps a record of the user's own pictures so
// that they can be put back (also after a crash), and renders the picture with a tinted strip
// under a covered panel.
//
// The pictures are read, rendered, written and handed to the desktop on a thread of their own
// (a picture at 4K takes the better part of a second, and a desktop that does not answer holds a
// call for seconds): the interface thread only notes what is wanted. A pass over the pictures
// works from what the interface thread wanted when it asked (choice, monitors, cover) and reads
// the panels and the appearance itself. Passes run one after another, and one not yet begun gives
// way to a newer one.
#pragma once

#include "DesktopBackground.h"
#include "RgbColor.h"
#include "platform/Screens.h"
#include "platform/WindowList.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QImage>
#include <QMutex>
#include <QObject>
#include <QSize>
#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class DefaultsStore;
class Platform;
class TaskQueue;

// What the user chose for the desktop. Picture locations are plain absolute paths.
struct WallpaperChoice {
    DesktopBackground mode = DesktopBackground::keep;
    RgbColor color;
    std::optional<QString> lightURL;
    std::optional<QString> darkURL;
    bool operator==(const WallpaperChoice&) const = default;
};

// One pass over the pictures: what the interface thread wanted when it asked, and what the pass
// read for itself.
struct PicturePass {
    enum class Kind { show, putBack };
    Kind kind = Kind::putBack;
    WallpaperChoice choice;
    bool barTint = false;
    QList<ScreenInfo> screens;
    // Read by the pass: the windows on screen, front to back (the panels among them), and
    // whether the desktop looks dark.
    QList<WindowListEntry> windows;
    bool dark = false;
    // Says picturesShown when done.
    bool announce = false;
    // Not begun before then: a desktop program that is still laying itself out for new monitors
    // may crash when its settings change.
    QDeadlineTimer notBefore;
};

class WallpaperController final : public QObject {
    Q_OBJECT
public:
    // `work` runs the passes (null: on the caller's thread, as the tests have it).
    WallpaperController(Platform& platform, DefaultsStore& defaults, TaskQueue* work = nullptr,
                        QObject* parent = nullptr);
    ~WallpaperController() override;

    // --- what the model asks for ---
    // The master switch is on and the desktop is to show this choice, from now on (shown again
    // even when it is the same choice, which renders fresh files).
    void show(const WallpaperChoice& choice);
    // The panel is covered (or no longer): the tinted pictures go up or down, but only while a
    // choice is shown. With the switch off nothing of ours goes on the desktop.
    void setBarTintActive(bool active);
    // Puts the user's own pictures back and shows nothing of ours until the next show(). Each
    // record is dropped only for the monitors it really put back; a monitor switched off keeps
    // its entries until it returns.
    void restore();
    // Whether every pass asked for so far has run.
    bool idle() const;
    // Runs `done` on the interface thread once the passes asked for so far have run.
    void afterPending(QObject* context, std::function<void()> done);

    // --- what it did (read from the interface thread once idle) ---
    const WallpaperChoice& choice() const { return m_choice; }
    bool showing() const { return m_showing; }
    bool barTintActive() const { return m_barTintActive; }
    // True from the first change of the pictures until they are put back.
    bool applied() const { return m_applied.load(); }
    // The user's own picture per display id; kept equal to the stored record.
    const QHash<quint32, QString>& originals() const { return m_originals; }
    qint64 tintSeq() const { return m_tintSeq; }
    const QHash<quint32, QString>& lastTinted() const { return m_lastTinted; }
    qint64 colorSeq() const { return m_colorSeq; }
    std::optional<QString> lastColorURL() const { return m_lastColorURL; }

    // The one picture the untinted path sets on every monitor.
    std::optional<QString> targetURL();
    // Writes a fresh 256 × 256 picture of the colour and removes the previous one.
    std::optional<QString> renderSolidColor(const RgbColor& fill);
    // Whether the file is one of ours or one of the user's chosen pictures.
    bool isStagedURL(const QString& path) const;
    // `$XDG_DATA_HOME/Quillet`, created (mode 0700) on every call.
    static QString supportDir();

    // --- the user's own pictures ---
    // Records the picture of every monitor that has no entry yet.
    void captureOriginalsIfNeeded(const QList<ScreenInfo>& screens);
    std::optional<QString> snapshotWallpaper(const ScreenInfo& screen, quint32 id);
    void persistOriginals();
    void persistOriginalsIfChanged(const QHash<quint32, QString>& before);
    static QHash<quint32, QString> loadOriginals(const DefaultsStore& defaults);

    // --- the tinted strip under a covered panel ---
    std::optional<QString> renderTinted(const ScreenInfo& screen, quint32 id);
    // Height of the top panel in points; 24 when there is none.
    static double menuBarHeight(const QList<WindowListEntry>& windows);
    // Height of the top panel of this monitor in points; none when the monitor has no panel
    // along its top edge (a monitor without a panel has no bar, so no strip).
    static std::optional<double> topPanelHeight(const QList<WindowListEntry>& windows,
                                                const ScreenInfo& screen,
                                                const QList<ScreenInfo>& screens);
    // Mean colour of the top `fraction` of the image, about 80 columns per row.
    static std::optional<RgbColor> averageTop(const QImage& image, double fraction);

signals:
    // Said once per run when a restore could not put back exactly what the desktop showed.
    void restoreNotice(const QString& text);
    // The pictures asked for by show() or by a change of the cover are on the desktop (or could
    // not be put there).
    void picturesShown();
    // A pass has ended (whatever it did).
    void passEnded();

private:
    // Asks for a pass over the pictures; the latest one asked for wins over one not yet begun.
    void request(PicturePass::Kind kind, bool announce = false);
    // What the interface thread wants now.
    PicturePass passFor(PicturePass::Kind kind, bool announce) const;
    // On the worker: one pass.
    void run(const PicturePass& pass);
    // Shows the current choice on every monitor.
    void apply();
    // Puts back what the records describe, monitor by monitor.
    void putBack();
    // The light or dark picture, whichever the appearance asks for, else the other one.
    std::optional<QString> pictureForAppearance() const;
    // The picture scaled to fill `size` (not cropped), decoded once per path and size for as
    // long as the choice stands.
    static QString decodedKey(const QString& path, QSize size);
    QImage pictureToFill(const QString& path, QSize size);
    void appearanceChanged();
    void screensChanged();

    Platform& m_platform;
    DefaultsStore& m_defaults;
    std::unique_ptr<TaskQueue> m_inline;
    TaskQueue& m_work;

    // What the interface thread wants.
    WallpaperChoice m_choice;
    bool m_showing = false;
    bool m_barTintActive = false;
    QDeadlineTimer m_screensSettle;

    // The next pass, while one is queued and not yet begun.
    QMutex m_nextMutex;
    std::optional<PicturePass> m_next;

    // From here on, the worker's: touched only by passes (and by tests once idle).
    PicturePass m_pass;
    std::atomic<bool> m_applied = false;
    QHash<quint32, QString> m_originals;
    qint64 m_tintSeq = 0;
    QHash<quint32, QString> m_lastTinted;
    qint64 m_colorSeq = 0;
    std::optional<QString> m_lastColorURL;
    // Pictures of ours this pass replaced, removed when the next pass begins.
    QStringList m_retired;

    QHash<QString, QImage> m_decoded;
    bool m_noticeGiven = false;
};
