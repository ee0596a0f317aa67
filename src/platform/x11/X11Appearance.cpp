// The sources are read afresh at every question; changes arrive as the portal's SettingChanged
// signal and as property changes of the XSETTINGS manager's window.
#include "X11Appearance.h"

#include "X11Connection.h"
#include "XSettings.h"
#include "platform/AppearanceRule.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QFileInfo>
#include <QProcess>
#include <cstdlib>
#include <memory>
#include <utility>

namespace {

const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kPortalSettings = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString kColorScheme = QStringLiteral("color-scheme");
const QByteArray kThemeName = QByteArrayLiteral("Net/ThemeName");

// The portal wraps the value in one or two variants depending on its version.
std::optional<quint32> unwrapScheme(QVariant value)
{
    while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    bool ok = false;
    const quint32 scheme = value.toUInt(&ok);
    return ok ? std::optional<quint32>(scheme) : std::nullopt;
}

QDBusMessage portalCall()
{
    QDBusMessage call = QDBusMessage::createMethodCall(kPortalService, kPortalPath, kPortalSettings,
                                                       QStringLiteral("Read"));
    call << kAppearanceGroup << kColorScheme;
    return call;
}

std::optional<quint32> portalScheme(const QDBusMessage& reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return std::nullopt;
    return unwrapScheme(reply.arguments().constFirst());
}

constexpr int kAnswerMs = 1000;
const QString kGsettings = QStringLiteral("/usr/bin/gsettings");

const QStringList& gnomeSchemeArguments()
{
    static const QStringList arguments{QStringLiteral("get"),
                                       QStringLiteral("org.gnome.desktop.interface"), kColorScheme};
    return arguments;
}

// gsettings prints the value quoted: 'prefer-dark'.
std::optional<QString> gnomeScheme(QProcess& process)
{
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    QString value = QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    if (value.size() >= 2 && value.startsWith(u'\'') && value.endsWith(u'\''))
        value = value.mid(1, value.size() - 2);
    return value;
}

std::optional<QString> gnomeColorScheme()
{
    if (!QFileInfo(kGsettings).isExecutable())
        return std::nullopt;
    QProcess process;
    process.start(kGsettings, gnomeSchemeArguments());
    if (!process.waitForFinished(kAnswerMs)) {
        process.kill();
        process.waitForFinished(500);
        return std::nullopt;
    }
    return gnomeScheme(process);
}

// The GNOME preference is asked only where the sources before it leave the answer open.
bool needsGnomeScheme(const AppearanceRule::Sources& sources)
{
    if (sources.portalColorScheme == 1u || sources.portalColorScheme == 2u)
        return false;
    return !sources.themeName ||
           !sources.themeName->contains(QLatin1String("dark"), Qt::CaseInsensitive);
}

} // namespace

X11Appearance::X11Appearance()
{
    m_coalesce.setSingleShot(true);
    m_coalesce.setInterval(50);
    connect(&m_coalesce, &QTimer::timeout, this, &Appearance::appearanceChanged);
    QDBusConnection::sessionBus().connect(
        QString(), kPortalPath, kPortalSettings, QStringLiteral("SettingChanged"), this,
        SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    m_themeName =
        XSettings::stringSetting(XSettings::currentBlob(), kThemeName).value_or(QString());
    watchSettingsOwner();
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11Appearance::~X11Appearance()
{
    if (QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool X11Appearance::isDark() const
{
    AppearanceRule::Sources sources;
    sources.portalColorScheme =
        portalScheme(QDBusConnection::sessionBus().call(portalCall(), QDBus::Block, kAnswerMs));
    sources.themeName = XSettings::stringSetting(XSettings::currentBlob(), kThemeName);
    if (needsGnomeScheme(sources))
        sources.gnomeColorScheme = gnomeColorScheme();
    return AppearanceRule::isDark(sources);
}

bool X11Appearance::quickGuessDark() const
{
    AppearanceRule::Sources sources;
    sources.themeName = m_themeName;
    return AppearanceRule::isDark(sources);
}

void X11Appearance::queryDark(QObject* context, std::function<void(bool)> done)
{
    // The same sources in the same order as isDark(), each answer awaited through the event loop.
    auto* portal = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(portalCall(), kAnswerMs), context);
    connect(portal, &QDBusPendingCallWatcher::finished, context,
            [portal, context, done = std::move(done)] {
                portal->deleteLater();
                AppearanceRule::Sources sources;
                sources.portalColorScheme = portalScheme(portal->reply());
                sources.themeName = XSettings::stringSetting(XSettings::currentBlob(), kThemeName);
                if (!needsGnomeScheme(sources) || !QFileInfo(kGsettings).isExecutable()) {
                    done(AppearanceRule::isDark(sources));
                    return;
                }
                auto* process = new QProcess(context);
                auto answered = std::make_shared<bool>(false);
                auto answer = [process, sources, done, answered](bool finished) mutable {
                    if (std::exchange(*answered, true))
                        return;
                    if (finished)
                        sources.gnomeColorScheme = gnomeScheme(*process);
                    process->deleteLater();
                    done(AppearanceRule::isDark(sources));
                };
                connect(process, &QProcess::finished, context,
                        [answer]() mutable { answer(true); });
                connect(process, &QProcess::errorOccurred, context,
                        [answer](QProcess::ProcessError) mutable { answer(false); });
                QTimer::singleShot(kAnswerMs, process, [process, answer]() mutable {
                    process->kill();
                    answer(false);
                });
                process->start(kGsettings, gnomeSchemeArguments());
            });
}

void X11Appearance::portalSettingChanged(const QString& group, const QString& key,
                                         const QDBusVariant&)
{
    if (group == kAppearanceGroup && key == kColorScheme)
        m_coalesce.start();
}

void X11Appearance::watchSettingsOwner()
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return;
    const xcb_window_t window = XSettings::ownerWindow();
    if (window == m_settingsOwner)
        return;
    m_settingsOwner = window;
    if (window != XCB_WINDOW_NONE) {
        const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(c, window, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(c);
    }
}

void X11Appearance::themeMayHaveChanged()
{
    watchSettingsOwner();
    const QString theme =
        XSettings::stringSetting(XSettings::currentBlob(), kThemeName).value_or(QString());
    // Other settings (fonts, cursor) change the same property; only the theme matters here.
    if (theme != m_themeName) {
        m_themeName = theme;
        m_coalesce.start();
    }
}

bool X11Appearance::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const uint8_t type = event->response_type & 0x7f;
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto* notify = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (notify->window == m_settingsOwner && notify->atom == X11::atom("_XSETTINGS_SETTINGS"))
            QMetaObject::invokeMethod(this, &X11Appearance::themeMayHaveChanged,
                                      Qt::QueuedConnection);
    } else if (type == XCB_DESTROY_NOTIFY) {
        const auto* notify = reinterpret_cast<const xcb_destroy_notify_event_t*>(event);
        if (notify->window == m_settingsOwner)
            QMetaObject::invokeMethod(this, &X11Appearance::themeMayHaveChanged,
                                      Qt::QueuedConnection);
    } else if (type == XCB_CLIENT_MESSAGE) {
        // A settings manager that starts announces itself with MANAGER on the root window.
        const auto* notify = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (notify->type == X11::atom("MANAGER") &&
            notify->data.data32[1] == X11::atom("_XSETTINGS_S0"))
            QMetaObject::invokeMethod(this, &X11Appearance::themeMayHaveChanged,
                                      Qt::QueuedConnection);
    }
    return false;
}
