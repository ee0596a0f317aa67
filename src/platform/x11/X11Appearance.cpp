// The sources are read afresh at every question; changes arrive as the portal's SettingChanged
// signal and as property changes of the XSETTINGS manager's window.
#include "X11Appearance.h"

#include "X11Connection.h"
#include "XSettings.h"
#include "platform/AppearanceRule.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>
#include <QProcess>
#include <cstdlib>

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

std::optional<quint32> portalColorScheme()
{
    QDBusMessage call = QDBusMessage::createMethodCall(kPortalService, kPortalPath, kPortalSettings,
                                                       QStringLiteral("Read"));
    call << kAppearanceGroup << kColorScheme;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 1000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return std::nullopt;
    return unwrapScheme(reply.arguments().constFirst());
}

std::optional<QString> gnomeColorScheme()
{
    const QString gsettings = QStringLiteral("/usr/bin/gsettings");
    if (!QFileInfo(gsettings).isExecutable())
        return std::nullopt;
    QProcess process;
    process.start(gsettings, {QStringLiteral("get"), QStringLiteral("org.gnome.desktop.interface"),
                              kColorScheme});
    if (!process.waitForFinished(1000)) {
        process.kill();
        process.waitForFinished(500);
        return std::nullopt;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    // Printed as a quoted string: 'prefer-dark'.
    QString value = QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    if (value.size() >= 2 && value.startsWith(u'\'') && value.endsWith(u'\''))
        value = value.mid(1, value.size() - 2);
    return value;
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
    sources.portalColorScheme = portalColorScheme();
    if (sources.portalColorScheme != 1u && sources.portalColorScheme != 2u) {
        sources.themeName = XSettings::stringSetting(XSettings::currentBlob(), kThemeName);
        if (!sources.themeName ||
            !sources.themeName->contains(QLatin1String("dark"), Qt::CaseInsensitive))
            sources.gnomeColorScheme = gnomeColorScheme();
    }
    return AppearanceRule::isDark(sources);
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
