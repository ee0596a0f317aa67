#include "XfconfClient.h"

#include "platform/PlatformLogging.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace Xfconf {

namespace {
QDBusMessage methodCall(const QString& method, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return message;
}
} // namespace

QDBusMessage call(const QString& method, const QVariantList& arguments)
{
    QDBusMessage reply = QDBusConnection::sessionBus().call(methodCall(method, arguments),
                                                            QDBus::Block, callTimeoutMs);
    if (reply.type() == QDBusMessage::ErrorMessage)
        qCDebug(lcXfce, "xfconf %s %s: %s", qUtf8Printable(method),
                qUtf8Printable(arguments.value(1).toString()),
                qUtf8Printable(reply.errorMessage()));
    return reply;
}

void callAsync(QObject* context, const QString& method, const QVariantList& arguments,
               std::function<void(const QDBusMessage&)> done)
{
    auto* watcher = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(methodCall(method, arguments), callTimeoutMs),
        context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [watcher, done = std::move(done)] {
                         watcher->deleteLater();
                         done(watcher->reply());
                     });
}

bool succeeded(const QDBusMessage& reply)
{
    return reply.type() == QDBusMessage::ReplyMessage;
}

bool unreachable(const QDBusMessage& reply)
{
    return reply.type() == QDBusMessage::ErrorMessage &&
           !reply.errorName().startsWith(QLatin1String("org.xfce.Xfconf"));
}

bool notFound(const QDBusMessage& reply)
{
    return reply.errorName() == QLatin1String("org.xfce.Xfconf.Error.PropertyNotFound");
}

bool running()
{
    const QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return bus && bus->isServiceRegistered(service).value();
}

QVariant unwrap(QVariant value)
{
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace Xfconf
