// The desktop backends chosen at run time, and the facades the rest of the program holds.
#include "X11DesktopSession.h"

#include "GSettingsDesktop.h"
#include "PcmanfmDesktopPictures.h"
#include "RootWindowDesktopPictures.h"
#include "X11Connection.h"
#include "X11DesktopProgram.h"
#include "X11RandR.h"
#include "X11Replies.h"
#include "XfceDesktopIcons.h"
#include "XfceDesktopPictures.h"
#include "platform/GnomeExtensionIcons.h"
#include "platform/PlatformLogging.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <chrono>

using namespace std::chrono_literals;

namespace {

const QString kXfdesktopName = QStringLiteral("org.xfce.xfdesktop");
const QString kXfconfName = QStringLiteral("org.xfce.Xfconf");
// A restarted xfdesktop (our own restart for the icon style, the session's after a crash) is
// back on the bus within a few seconds, and has drawn its desktop a few seconds later.
constexpr std::chrono::milliseconds kXfdesktopReturnsWithin = 4s;
constexpr std::chrono::milliseconds kXfdesktopDrawsWithin = 10s;

qint64 monotonicMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Pictures go to whichever backend is in charge when they are set; a record is put back by the
// backend that made it, the other one too where that cannot harm the desktop.
class FollowingPictures final : public DesktopPictures {
public:
    explicit FollowingPictures(X11DesktopSession& session) : m_session(session) {}

    std::optional<QString> desktopPicture(const ScreenInfo& screen) const override
    {
        return settled().desktopPicture(screen);
    }
    QImage snapshotDesktopPicture(const ScreenInfo& screen) override
    {
        return settled().snapshotDesktopPicture(screen);
    }
    bool rememberDesktop(const ScreenInfo& screen) override
    {
        return settled().rememberDesktop(screen);
    }
    bool holdsRecord(const ScreenInfo& screen) const override
    {
        return active().holdsRecord(screen);
    }
    PictureRestore restoreDesktop(const ScreenInfo& screen) override
    {
        PictureRestore outcome = settled().restoreDesktop(screen);
        qCDebug(lcX11, "%s: pictures put back: %d", qUtf8Printable(screen.outputName),
                int(outcome));
        // A record left with the backend that was in charge before (the root's picture, while
        // no desktop program covers the root).
        DesktopPictures* other = m_session.otherPictures();
        if (!other || !other->holdsRecord(screen))
            return outcome;
        if (!m_session.otherMayRestore()) {
            // The monitor is not back as the user had it until that backend has put back its
            // part: the picture entry waits with that record.
            return outcome == PictureRestore::restored ? PictureRestore::failed : outcome;
        }
        const PictureRestore second = other->restoreDesktop(screen);
        if (second == PictureRestore::failed || outcome == PictureRestore::nothingHeld)
            outcome = second;
        return outcome;
    }
    bool otherDesktopRecordPending() const override
    {
        DesktopPictures* other = m_session.otherPictures();
        return active().otherDesktopRecordPending() && !(other && m_session.otherMayRestore());
    }
    bool setDesktopPicture(const ScreenInfo& screen, const QString& path) override
    {
        return settled().setDesktopPicture(screen, path);
    }
    bool redrawAfterScreenChange() const override { return active().redrawAfterScreenChange(); }
    QString restoreLimitation() const override { return active().restoreLimitation(); }

private:
    DesktopPictures& active() const { return m_session.activePictures(); }
    // The backend in charge once a desktop program that is restarting is back.
    DesktopPictures& settled() const
    {
        m_session.awaitXfdesktopReturn();
        return active();
    }
    X11DesktopSession& m_session;
};

// Icon commands go to the desktop's icon setting where there is one; elsewhere they change
// nothing and say so (a read finds nothing, a write fails), which the window explains.
class FollowingIcons final : public DesktopIconsBackend {
public:
    explicit FollowingIcons(X11DesktopSession& session) : m_session(session) {}

    // The styles of the icon setting in charge (each desktop counts its own way).
    Style hiddenStyle() const override
    {
        auto* icons = m_session.activeIcons();
        return icons ? icons->hiddenStyle() : 0;
    }
    Style shownStyle() const override
    {
        auto* icons = m_session.activeIcons();
        return icons ? icons->shownStyle() : 2;
    }
    void readStyle(std::function<void(ReadResult)> done) override
    {
        if (auto* icons = m_session.activeIcons())
            icons->readStyle(std::move(done));
        else
            done(ReadResult());
    }
    void writeStyle(Style style, std::function<void(bool)> done) override
    {
        if (auto* icons = m_session.activeIcons())
            icons->writeStyle(style, std::move(done));
        else
            done(false);
    }
    void restartDesktop(std::function<void()> ready) override
    {
        if (auto* icons = m_session.activeIcons())
            icons->restartDesktop(std::move(ready));
        else
            ready();
    }

private:
    X11DesktopSession& m_session;
};

QString windowManagerName()
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return {};
    const xcb_window_t root = X11::rootWindow();
    const xcb_atom_t check = X11::atom("_NET_SUPPORTING_WM_CHECK");
    X11::Reply<xcb_get_property_reply_t> owner(xcb_get_property_reply(
        c, xcb_get_property(c, 0, root, check, XCB_ATOM_WINDOW, 0, 1), nullptr));
    if (!owner || xcb_get_property_value_length(owner.get()) < 4)
        return {};
    const xcb_window_t wm = *static_cast<xcb_window_t*>(xcb_get_property_value(owner.get()));
    X11::Reply<xcb_get_property_reply_t> name(xcb_get_property_reply(
        c, xcb_get_property(c, 0, wm, X11::atom("_NET_WM_NAME"), X11::atom("UTF8_STRING"), 0, 64),
        nullptr));
    if (!name)
        return {};
    return QString::fromUtf8(static_cast<const char*>(xcb_get_property_value(name.get())),
                             xcb_get_property_value_length(name.get()));
}

const QString kGnomeShell = QStringLiteral("GNOME Shell");

// Whether `pid` is the process of GNOME Shell's extension `uuid` (installed for the system or
// for the user), as its command line names the extension's folder.
bool isExtensionProcess(qint64 pid, const QString& uuid)
{
    QFile file(QStringLiteral("/proc/%1/cmdline").arg(pid));
    if (pid <= 0 || !file.open(QIODevice::ReadOnly))
        return false;
    return file.read(4096).contains(("/gnome-shell/extensions/" + uuid + '/').toUtf8());
}

// Whether GNOME Shell runs its extension `uuid` now (state 1, "enabled"). Asked on the search
// thread, bounded: the extension's windows follow a second or two after it is switched on.
bool extensionEnabled(const QString& uuid)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.gnome.Shell"), QStringLiteral("/org/gnome/Shell"),
        QStringLiteral("org.gnome.Shell.Extensions"), QStringLiteral("GetExtensionInfo"));
    call << uuid;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 1000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return false;
    const QVariantMap info = qdbus_cast<QVariantMap>(reply.arguments().constFirst());
    return info.value(QStringLiteral("state")).toDouble() == 1.0;
}

} // namespace

X11DesktopSession::X11DesktopSession(const QString& recordDir)
    : m_xfcePictures(std::make_unique<XfceDesktopPictures>(recordDir)),
      m_rootPictures(std::make_unique<RootWindowDesktopPictures>(recordDir)),
      m_pcmanfmPictures(std::make_unique<PcmanfmDesktopPictures>(recordDir)),
      m_pcmanfmQtPictures(std::make_unique<PcmanfmDesktopPictures>(
          recordDir, Pcmanfm::systemLink(PcmanfmDialect::lxqt()), PcmanfmDialect::lxqt())),
      m_xfceIcons(std::make_unique<XfceDesktopIcons>()),
      m_settingsTools(std::make_unique<QtCommandOutput>())
{
    // Each keeps its own record (one left by a crash is put back once its desktop runs again).
    for (const auto* keys : {&GSettingsDesktopKeys::mate(), &GSettingsDesktopKeys::gnome(),
                             &GSettingsDesktopKeys::cinnamon()})
        m_gsettingsPictures.push_back(
            std::make_unique<GSettingsDesktopPictures>(*keys, recordDir, *m_settingsTools));
    m_mateIcons =
        std::make_unique<GSettingsDesktopIcons>(GSettingsDesktopKeys::mate(), *m_settingsTools);
    m_nemoIcons =
        std::make_unique<GSettingsDesktopIcons>(GSettingsDesktopKeys::cinnamon(), *m_settingsTools);
    m_gnomeExtensionIcons = std::make_unique<GnomeExtensionIcons>(
        GnomeExtensionIcons::desktopIconsUuid(), recordDir, *m_settingsTools);
    // The icons stay within reach while the shell starts the extension again ("Hide" may follow
    // "Show" at once); the next look confirms it.
    m_gnomeExtensionIcons->onSwitchedOn([this] {
        m_extensionIcons = true;
        scheduleCheck();
    });
    // Whether xfdesktop and xfconf run is asked once, by the first search (a bus call that waits
    // on the bus daemon); from then on only the owner changes count.
    m_busWatch.setConnection(QDBusConnection::sessionBus());
    m_busWatch.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_busWatch.addWatchedService(kXfdesktopName);
    m_busWatch.addWatchedService(kXfconfName);
    connect(&m_busWatch, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& name, const QString&, const QString& newOwner) {
                m_busHeard = true;
                if (name == kXfdesktopName) {
                    m_xfdesktop = !newOwner.isEmpty();
                    if (!m_xfdesktop && m_backend == Backend::xfce)
                        m_xfdesktopLostAt = monotonicMs();
                } else if (name == kXfconfName)
                    m_xfconf = !newOwner.isEmpty();
                scheduleCheck();
            });

    // A desktop program that restarts goes away and comes back within about a second: the
    // backend is chosen once things have been quiet for a moment.
    m_settle.setSingleShot(true);
    m_settle.setInterval(800ms);
    connect(&m_settle, &QTimer::timeout, this, &X11DesktopSession::check);
    // Desktop windows of programs that announce nothing on the bus and are not in the client
    // list are still noticed, a few seconds late.
    m_poll.setInterval(5s);
    connect(&m_poll, &QTimer::timeout, this, &X11DesktopSession::check);
    m_poll.start();
    if (QCoreApplication::instance())
        QCoreApplication::instance()->installNativeEventFilter(this);
    m_searchThread.setObjectName(QStringLiteral("desktop search"));
    m_searchContext = new QObject;
    m_searchContext->moveToThread(&m_searchThread);
    connect(&m_searchThread, &QThread::finished, m_searchContext, &QObject::deleteLater);
    m_searchThread.start();
    // The first search runs while the window is built; the start-up waits for its answer
    // before showing the window (awaitFirstLook), the picture thread before its first picture.
    check();
}

X11DesktopSession::~X11DesktopSession()
{
    if (QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
    // A search still running ends at its deadline; its answer is then dropped with this object.
    m_searchThread.quit();
    m_searchThread.wait();
}

QString X11DesktopSession::platformName() const
{
    return m_backend == Backend::xfce ? QStringLiteral("x11-xfce") : QStringLiteral("x11");
}

std::unique_ptr<DesktopPictures> X11DesktopSession::makePictures()
{
    return std::make_unique<FollowingPictures>(*this);
}

std::unique_ptr<DesktopIconsBackend> X11DesktopSession::makeIcons()
{
    return std::make_unique<FollowingIcons>(*this);
}

DesktopPictures& X11DesktopSession::activePictures() const
{
    awaitFirstApplied();
    if (m_backend == Backend::xfce)
        return *m_xfcePictures;
    if (auto* gsettings = m_gsettings.load(); m_backend == Backend::gsettings && gsettings)
        return *gsettings;
    if (m_backend == Backend::pcmanfm)
        return *m_pcmanfmPictures;
    if (m_backend == Backend::pcmanfmQt)
        return *m_pcmanfmQtPictures;
    return *m_rootPictures;
}

DesktopPictures* X11DesktopSession::otherPictures() const
{
    awaitFirstApplied();
    // The desktops that keep pictures of their own leave the root's record to the root (while
    // nothing draws over it).
    if (m_backend != Backend::root)
        return m_rootPictures.get();
    return m_xfcePictures.get();
}

bool X11DesktopSession::otherMayRestore() const
{
    awaitFirstApplied();
    // xfdesktop's settings go back only through a running xfdesktop: one that starts later
    // fills in settings of its own for whatever is missing, which the record's restore has to
    // take away again, so written back while it is away they would not stay as the user had
    // them. The root only while no desktop program draws over it.
    if (m_backend == Backend::root)
        return false;
    // pcmanfm keeps a root pixmap of its own, pcmanfm-qt a window over the root: a root picture
    // waits until no desktop program draws.
    if (m_backend == Backend::pcmanfm || m_backend == Backend::pcmanfmQt)
        return false;
    return !m_desktopDrawn.load();
}

DesktopIconsBackend* X11DesktopSession::activeIcons() const
{
    return iconsFor(m_backend, m_gsettings.load(), m_desktopDrawn.load());
}

DesktopIconsBackend* X11DesktopSession::iconsFor(Backend backend,
                                                 GSettingsDesktopPictures* gsettings,
                                                 bool programDraws) const
{
    // caja and nemo-desktop keep their icon switches in GSettings (Cinnamon alone draws no
    // icons); GNOME Shell draws no desktop icons, unless its desktop icons extension runs (or
    // is off because of this program).
    if (backend == Backend::gsettings) {
        const GSettingsDesktopKeys* keys = gsettings ? &gsettings->keys() : nullptr;
        if (keys == &GSettingsDesktopKeys::gnome())
            return m_extensionIcons || m_gnomeExtensionIcons->holdsRecord()
                       ? m_gnomeExtensionIcons.get()
                       : nullptr;
        if (keys == &GSettingsDesktopKeys::cinnamon())
            return programDraws ? m_nemoIcons.get() : nullptr;
        return keys == &GSettingsDesktopKeys::mate() ? m_mateIcons.get() : nullptr;
    }
    // pcmanfm has no setting that hides its icons; pcmanfm-qt reads its own only when it starts.
    if (backend == Backend::pcmanfm || backend == Backend::pcmanfmQt)
        return nullptr;
    // xfdesktop keeps its icon style in xfconf, which outlives xfdesktop itself.
    return (m_xfdesktop || m_xfconf) ? m_xfceIcons.get() : nullptr;
}

GSettingsDesktopPictures* X11DesktopSession::gsettingsDesktop(const QString& program,
                                                              const QString& windowManager) const
{
    auto find = [this](const GSettingsDesktopKeys& keys) {
        for (const auto& pictures : m_gsettingsPictures) {
            if (&pictures->keys() == &keys)
                return pictures.get();
        }
        return static_cast<GSettingsDesktopPictures*>(nullptr);
    };
    if (program == QLatin1String("caja"))
        return find(GSettingsDesktopKeys::mate());
    if (program == QLatin1String("nemo-desktop"))
        return find(GSettingsDesktopKeys::cinnamon());
    if (!program.isEmpty())
        return nullptr;
    // GNOME Shell and Cinnamon draw the background themselves, with no desktop window.
    const QStringList current =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    if (current.contains(QLatin1String("X-Cinnamon"), Qt::CaseInsensitive))
        return find(GSettingsDesktopKeys::cinnamon());
    if (current.contains(QLatin1String("GNOME"), Qt::CaseInsensitive) ||
        windowManager == kGnomeShell)
        return find(GSettingsDesktopKeys::gnome());
    return nullptr;
}

bool X11DesktopSession::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
        return false;
    const auto* property = reinterpret_cast<const xcb_property_notify_event_t*>(event);
    // Window managers rewrite the client list when a window (a desktop window too) comes or
    // goes; desktop programs announce their picture through the root pixmap.
    if (property->window == X11::rootWindow() && (property->atom == X11::atom("_NET_CLIENT_LIST") ||
                                                  property->atom == X11::atom("_XROOTPMAP_ID")))
        scheduleCheck();
    return false;
}

void X11DesktopSession::scheduleCheck()
{
    m_settle.start();
}

QString X11DesktopSession::desktopName(const QString& program, const QString& windowManager) const
{
    // The session's own name first, as desktop entries use it (XDG_CURRENT_DESKTOP).
    static const QList<std::pair<QString, QString>> sessions{
        {QStringLiteral("XFCE"), QStringLiteral("Xfce")},
        {QStringLiteral("MATE"), QStringLiteral("MATE")},
        {QStringLiteral("X-Cinnamon"), QStringLiteral("Cinnamon")},
        {QStringLiteral("GNOME"), QStringLiteral("GNOME")},
        {QStringLiteral("LXDE"), QStringLiteral("LXDE")},
        {QStringLiteral("LXQt"), QStringLiteral("LXQt")},
        {QStringLiteral("KDE"), QStringLiteral("KDE Plasma")}};
    const QStringList current =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    for (const QString& part : current) {
        for (const auto& [key, name] : sessions) {
            if (part.compare(key, Qt::CaseInsensitive) == 0)
                return name;
        }
    }
    static const QList<std::pair<QString, QString>> programs{
        {QStringLiteral("xfdesktop"), QStringLiteral("Xfce")},
        {QStringLiteral("caja"), QStringLiteral("MATE")},
        {QStringLiteral("nemo-desktop"), QStringLiteral("Cinnamon")},
        {QStringLiteral("pcmanfm"), QStringLiteral("LXDE")},
        {QStringLiteral("pcmanfm-qt"), QStringLiteral("LXQt")}};
    for (const auto& [key, name] : programs) {
        if (program == key)
            return name;
    }
    // Else the window manager, by the desktop it belongs to where it has one.
    const QString& wm = windowManager;
    if (wm.compare(QLatin1String("Xfwm4"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("Xfce");
    if (wm.compare(QLatin1String("Marco"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("MATE");
    return wm.isEmpty() ? QStringLiteral("this desktop") : wm;
}

X11DesktopSession::Found X11DesktopSession::findDesktopProgram(bool askBus)
{
    auto program = X11::desktopProgram(X11::connection(), X11::rootWindow());
    // A desktop program with a window per monitor (pcmanfm) covers no more than one of them.
    for (const X11::RandrMonitor& monitor : X11::randrMonitors()) {
        if (program)
            break;
        program = X11::desktopProgramCovering(X11::connection(), X11::rootWindow(), monitor.rect);
    }
    // pcmanfm keeps a desktop window per monitor: which of them its command line reaches.
    QStringList pcmanfmMonitors;
    if (program && program->name == QLatin1String("pcmanfm"))
        pcmanfmMonitors = Pcmanfm::monitorsDrawnBy(program->pid);
    const bool qtColour = program && program->name == PcmanfmDialect::lxqt().program &&
                          Pcmanfm::qtShowsColour(program->pid);
    const QString windowManager = windowManagerName();
    // The desktop icons extension's windows are see-through: GNOME Shell still draws the
    // background under them, from its own settings.
    const QString uuid = GnomeExtensionIcons::desktopIconsUuid();
    const bool extensionWindow =
        program && windowManager == kGnomeShell && isExtensionProcess(program->pid, uuid);
    if (extensionWindow)
        program.reset();
    const bool extensionIcons =
        extensionWindow || (windowManager == kGnomeShell && extensionEnabled(uuid));
    Found found{program, pcmanfmMonitors, qtColour, windowManager, extensionIcons, {}, {}};
    if (askBus) {
        found.xfdesktopOnBus = XfceDesktopIcons::isRunning();
        found.xfconfOnBus = XfceDesktopIcons::settingsReachable();
    }
    return found;
}

void X11DesktopSession::check()
{
    if (m_searching) {
        m_searchAgain = true;
        return;
    }
    m_searching = true;
    QMetaObject::invokeMethod(m_searchContext, [this, askBus = !m_firstTaken] {
        Found found = findDesktopProgram(askBus);
        {
            const std::lock_guard lock(m_answerMutex);
            m_answer = std::move(found);
        }
        m_answerChanged.notify_all();
        QMetaObject::invokeMethod(this, &X11DesktopSession::takeAnswer);
    });
}

void X11DesktopSession::takeAnswer()
{
    std::optional<Found> found;
    {
        const std::lock_guard lock(m_answerMutex);
        found = std::exchange(m_answer, std::nullopt);
    }
    // Already taken by awaitFirstLook.
    if (!found)
        return;
    m_searching = false;
    m_firstTaken = true;
    if (!m_busHeard) {
        m_xfdesktop = found->xfdesktopOnBus.value_or(m_xfdesktop);
        m_xfconf = found->xfconfOnBus.value_or(m_xfconf);
    }
    apply(*found);
    {
        const std::lock_guard lock(m_answerMutex);
        m_firstApplied = true;
    }
    m_answerChanged.notify_all();
    if (std::exchange(m_searchAgain, false))
        check();
}

void X11DesktopSession::awaitFirstLook()
{
    if (m_firstTaken)
        return;
    {
        std::unique_lock lock(m_answerMutex);
        // The search's own replies are bounded; this only guards against a search thread that
        // never gets to run.
        m_answerChanged.wait_for(lock, 5s, [this] { return m_firstApplied || m_answer; });
    }
    takeAnswer();
}

void X11DesktopSession::awaitFirstApplied() const
{
    // The interface thread applies the answer itself rather than wait for its own queue.
    if (QThread::currentThread() == thread()) {
        const_cast<X11DesktopSession*>(this)->awaitFirstLook();
        return;
    }
    std::unique_lock lock(m_answerMutex);
    m_answerChanged.wait_for(lock, 5s, [this] { return m_firstApplied; });
}

void X11DesktopSession::awaitXfdesktopReturn() const
{
    // A wait here on the interface thread would hold up the very answer it waits for.
    if (QThread::currentThread() == thread() || m_xfdesktopLostAt.load() == 0)
        return;
    const qint64 started = monotonicMs();
    for (;;) {
        const qint64 lost = m_xfdesktopLostAt.load();
        const qint64 away = monotonicMs() - lost;
        if (lost == 0 || away > kXfdesktopDrawsWithin.count() ||
            (away > kXfdesktopReturnsWithin.count() && !XfceDesktopIcons::isRunning())) {
            qCDebug(lcX11, "pictures waited %lld ms for xfdesktop (%s)", monotonicMs() - started,
                    lost == 0 ? "back" : "still away");
            return;
        }
        QThread::msleep(50);
    }
}

void X11DesktopSession::apply(const Found& found)
{
    m_extensionIcons = found.extensionIcons;
    const std::optional<X11::DesktopProgram>& program = found.program;
    // xfdesktop takes pictures once it has drawn its desktop window: one still loading can
    // crash when its settings change. Until then the backend stays as it was.
    Backend backend = m_xfdesktop ? Backend::xfce : Backend::root;
    if (backend == Backend::xfce && !program) {
        backend = m_backend;
        m_settle.start();
    }
    // pcmanfm takes pictures through its own command line; caja, nemo, GNOME and Cinnamon
    // through their GSettings keys.
    GSettingsDesktopPictures* gsettings = nullptr;
    if (backend == Backend::root && program && program->name == QLatin1String("pcmanfm"))
        backend = Backend::pcmanfm;
    else if (backend == Backend::root && program && program->name == PcmanfmDialect::lxqt().program)
        backend = Backend::pcmanfmQt;
    else if (backend == Backend::root)
        gsettings = gsettingsDesktop(program ? program->name : QString(), found.windowManager);
    if (gsettings)
        backend = Backend::gsettings;
    // xfdesktop and pcmanfm draw the desktop through their own settings: each is the backend,
    // not an obstacle. caja and nemo still count as drawing over the root.
    const QString drawnBy =
        (backend == Backend::root || backend == Backend::gsettings) && program
            ? (program->name.isEmpty() ? QStringLiteral("a desktop program") : program->name)
            : QString();
    State state;
    state.desktop = desktopName(program ? program->name : QString(), found.windowManager);
    state.drawnBy = drawnBy;
    // A desktop that draws from GSettings, or pcmanfm, takes its pictures there; pcmanfm-qt
    // only while it shows a picture.
    state.pictures =
        backend == Backend::pcmanfmQt
            ? !found.pcmanfmQtColour
            : drawnBy.isEmpty() || backend == Backend::gsettings || backend == Backend::pcmanfm;
    if (backend == Backend::pcmanfmQt && found.pcmanfmQtColour)
        state.picturesGap = QStringLiteral(
            "pcmanfm-qt shows a plain colour, and once it shows a picture nothing but its own "
            "desktop preferences bring the colour back; with a picture of your own chosen there, "
            "Quillet can change it");
    else if (!state.pictures)
        state.picturesGap = QStringLiteral("%1 draws the desktop, and Quillet cannot give it a "
                                           "picture yet")
                                .arg(drawnBy);
    if (backend == Backend::pcmanfm) {
        // pcmanfm's command line hands a picture to its first monitor only; it reads the other
        // monitors' settings only when it starts.
        const QStringList& drawn = found.pcmanfmMonitors;
        if (drawn.size() > 1)
            state.picturesLimit = QStringLiteral("pcmanfm takes a new picture for its first "
                                                 "monitor (%1) only, the other monitors keep "
                                                 "their own")
                                      .arg(drawn.first());
    }
    state.icons = iconsFor(backend, gsettings, !drawnBy.isEmpty()) != nullptr;
    const bool gnomeShell = found.windowManager == kGnomeShell;
    if (!state.icons && backend == Backend::pcmanfm)
        state.iconsGap = QStringLiteral("pcmanfm has no setting that hides its desktop icons and "
                                        "keeps the picture");
    else if (!state.icons && backend == Backend::pcmanfmQt)
        state.iconsGap = QStringLiteral("pcmanfm-qt reads its setting that hides desktop icons "
                                        "only when it starts, and takes no command for it");
    else if (!state.icons && !drawnBy.isEmpty())
        state.iconsGap = QStringLiteral("%1 draws the desktop icons, and Quillet cannot hide them "
                                        "there yet")
                             .arg(drawnBy);
    else if (!state.icons)
        state.iconsGap = gnomeShell ? QStringLiteral("GNOME Shell draws no desktop icons")
                                    : QStringLiteral("no program draws icons on this desktop");

    // GNOME Shell and Cinnamon draw their panels on their own stage: no panel window shows
    // where they are (GNOME's top bar has no notification area either).
    if (gsettings && &gsettings->keys() != &GSettingsDesktopKeys::mate())
        state.coverGap = QStringLiteral("%1 draws its panels itself, and Quillet finds no panel "
                                        "window to cover")
                             .arg(gnomeShell ? kGnomeShell : gsettings->keys().desktop);

    const qint64 pid = program ? program->pid : 0;
    const bool switched = backend != m_backend || pid != m_programPid ||
                          gsettings != m_gsettings.load() || state.pictures != m_state.pictures ||
                          state.icons != m_state.icons;
    // The desktop before the backend: the picture thread reads the backend, then the desktop.
    if (gsettings)
        m_gsettings = gsettings;
    m_backend = backend;
    if (backend == Backend::xfce)
        m_xfdesktopLostAt = 0;
    m_programPid = pid;
    if (state != m_state) {
        m_state = state;
        m_desktopDrawn = !state.drawnBy.isEmpty();
        emit stateChanged();
    }
    if (switched) {
        qCInfo(lcX11, "desktop: %s (%s backend%s)", qUtf8Printable(m_state.desktop),
               backend == Backend::xfce        ? "xfdesktop"
               : backend == Backend::gsettings ? "GSettings"
               : backend == Backend::pcmanfm   ? "pcmanfm"
               : backend == Backend::pcmanfmQt ? "pcmanfm-qt"
                                               : "root window",
               drawnBy.isEmpty() ? "" : qUtf8Printable(QStringLiteral(", drawn by ") + drawnBy));
        emit backendChanged();
    }
}
