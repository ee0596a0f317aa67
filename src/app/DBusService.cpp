// Messages are handled by hand (a virtual object) so that a bad value gets an error reply that
// says what was wrong, which Qt's generated property setters cannot send.
#include "DBusService.h"

#include "AppLogging.h"
#include "RemoteControl.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QTimer>

namespace {
const QString kPropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kInvalidArgs = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
const QString kUnknownInterface = QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface");
const QString kUnknownProperty = QStringLiteral("org.freedesktop.DBus.Error.UnknownProperty");
const QString kUnknownMethod = QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod");

// D-Bus gives arrays inside a variant to Qt as a QDBusArgument; the model wants plain values.
QVariant plainValue(const QVariant& value)
{
    if (value.canConvert<QDBusArgument>()) {
        const QDBusArgument argument = value.value<QDBusArgument>();
        if (argument.currentSignature() == QLatin1String("as"))
            return qdbus_cast<QStringList>(argument);
    }
    return value;
}

} // namespace

DBusService::DBusService(RemoteControl& control, QObject* parent)
    : QDBusVirtualObject(parent), m_control(control)
{
    connect(&m_control, &RemoteControl::propertiesChanged, this, &DBusService::announce);
}

void DBusService::registerOnSessionBus()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        qCInfo(lcDBus, "Quillet: no D-Bus session bus; the D-Bus service is not offered");
        return;
    }
    if (!bus.registerVirtualObject(QString::fromLatin1(objectPath), this)) {
        qCWarning(lcDBus, "Quillet: cannot export %s: %s", objectPath,
                  qUtf8Printable(bus.lastError().message()));
        return;
    }
    // RequestName with DBUS_NAME_FLAG_DO_NOT_QUEUE (4), answered later: the UI thread does not
    // wait for the bus.
    const QDBusMessage request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    auto* watcher = new QDBusPendingCallWatcher(
        bus.asyncCall(QDBusMessage(request) << QString::fromLatin1(serviceName) << 4u), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [](QDBusPendingCallWatcher* call) {
        const QDBusPendingReply<uint> reply = *call;
        // 1: primary owner, 4: already ours.
        if (reply.isError() || (reply.value() != 1 && reply.value() != 4))
            qCWarning(lcDBus, "Quillet: the D-Bus name %s is taken%s%s", serviceName,
                      reply.isError() ? ": " : "",
                      reply.isError() ? qUtf8Printable(reply.error().message()) : "");
        else
            qCDebug(lcDBus, "owns %s", serviceName);
        call->deleteLater();
    });
}

QString DBusService::introspect(const QString& path) const
{
    if (path != QLatin1String(objectPath))
        return {};
    // Qt adds the standard interfaces (Introspectable, Properties, Peer) itself.
    return QStringLiteral(R"(  <interface name="%1">
    <property name="Enabled" type="b" access="readwrite">
      <annotation name="org.freedesktop.DBus.Property.EmitsChangedSignal" value="true"/>
    </property>
    <property name="DesktopIconsHidden" type="b" access="readwrite"/>
    <property name="Background" type="s" access="readwrite"/>
    <property name="BackgroundColor" type="s" access="readwrite"/>
    <property name="MenuBarCover" type="s" access="readwrite"/>
    <property name="HiddenItemLabels" type="as" access="readwrite"/>
    <method name="Quit"/>
    <method name="ShowWindow"/>
  </interface>
)")
        .arg(QLatin1String(interfaceName));
}

bool DBusService::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    if (message.type() != QDBusMessage::MethodCallMessage)
        return false;
    qCDebug(lcDBus, "%s.%s from %s", qUtf8Printable(message.interface()),
            qUtf8Printable(message.member()), qUtf8Printable(message.service()));
    if (message.interface() == kPropertiesInterface)
        return handleProperties(message, connection);
    if (!message.interface().isEmpty() && message.interface() != QLatin1String(interfaceName))
        return false;
    if (message.member() == QLatin1String("ShowWindow") && message.signature().isEmpty()) {
        connection.send(message.createReply());
        m_control.showWindow();
        return true;
    }
    if (message.member() == QLatin1String("Quit") && message.signature().isEmpty()) {
        // The reply goes out before the quit sequence takes the event loop down.
        connection.send(message.createReply());
        QTimer::singleShot(0, &m_control, [this] { m_control.quit(); });
        return true;
    }
    connection.send(
        message.createErrorReply(kUnknownMethod, QStringLiteral("no method %1(%2) on %3")
                                                     .arg(message.member(), message.signature(),
                                                          QLatin1String(interfaceName))));
    return true;
}

bool DBusService::handleProperties(const QDBusMessage& message, const QDBusConnection& connection)
{
    const QList<QVariant> arguments = message.arguments();
    const QString member = message.member();
    const QString interface = arguments.isEmpty() ? QString() : arguments.first().toString();
    const auto reply = [&](const QDBusMessage& answer) {
        connection.send(answer);
        return true;
    };
    // An empty interface name means "any interface", as the Properties interface allows.
    if (!interface.isEmpty() && interface != QLatin1String(interfaceName))
        return reply(message.createErrorReply(
            kUnknownInterface, QStringLiteral("no interface %1 here").arg(interface)));

    if (member == QLatin1String("GetAll") && message.signature() == QLatin1String("s")) {
        QVariantMap all = m_control.properties();
        return reply(message.createReply(QVariant::fromValue(all)));
    }
    if (member == QLatin1String("Get") && message.signature() == QLatin1String("ss")) {
        const QString name = arguments.at(1).toString();
        const QVariantMap all = m_control.properties();
        if (!all.contains(name))
            return reply(message.createErrorReply(
                kUnknownProperty, QStringLiteral("no property named \"%1\"").arg(name)));
        return reply(message.createReply(QVariant::fromValue(QDBusVariant(all.value(name)))));
    }
    if (member == QLatin1String("Set") && message.signature() == QLatin1String("ssv")) {
        const QString name = arguments.at(1).toString();
        if (!RemoteControl::propertyNames().contains(name))
            return reply(message.createErrorReply(
                kUnknownProperty, QStringLiteral("no property named \"%1\"").arg(name)));
        const QVariant value = plainValue(arguments.at(2).value<QDBusVariant>().variant());
        const QString error = m_control.writeProperty(name, value);
        if (!error.isEmpty())
            return reply(message.createErrorReply(kInvalidArgs, error));
        return reply(message.createReply());
    }
    return reply(message.createErrorReply(
        kUnknownMethod, QStringLiteral("no method %1(%2) on %3")
                            .arg(member, message.signature(), kPropertiesInterface)));
}

void DBusService::announce(const QVariantMap& changed)
{
    QDBusMessage signal = QDBusMessage::createSignal(
        QString::fromLatin1(objectPath), kPropertiesInterface, QStringLiteral("PropertiesChanged"));
    signal << QString::fromLatin1(interfaceName) << changed << QStringList();
    QDBusConnection::sessionBus().send(signal);
}
