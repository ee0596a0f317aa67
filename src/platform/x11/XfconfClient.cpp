#include "XfconfClient.h"

#include "platform/PlatformLogging.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QMetaObject>

namespace Xfconf {

namespace {

// A daemon that just let a call time out is taken as hung for a while: the calls in that time
// fail at once instead of each waiting out its own time-out (a quit makes a dozen of them, and
// the session's end does not wait that long). Any answer of the daemon's ends it.
constexpr std::chrono::milliseconds hungFor{5000};

std::chrono::steady_clock::rep now()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

QDBusMessage methodCall(const QString& method, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return message;
}

QDBusMessage hungReply(const QDBusMessage& request)
{
    return request.createErrorReply(QDBusError::NoReply,
                                    QStringLiteral("xfconfd did not answer a moment ago"));
}

Client& programClient()
{
    static Client client;
    return client;
}

} // namespace

bool Client::seemsHung() const
{
    return now() < m_hungUntil.load();
}

void Client::note(const QDBusMessage& reply)
{
    if (reply.type() == QDBusMessage::ErrorMessage &&
        reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NoReply")) {
        m_hungUntil.store(
            now() +
            std::chrono::duration_cast<std::chrono::steady_clock::duration>(hungFor).count());
    } else if (!unreachable(reply)) {
        m_hungUntil.store(0);
    }
}

QDBusMessage Client::call(const QString& method, const QVariantList& arguments, int timeoutMs)
{
    const QDBusMessage request = methodCall(method, arguments);
    QDBusMessage reply = seemsHung()
                             ? hungReply(request)
                             : QDBusConnection::sessionBus().call(request, QDBus::Block, timeoutMs);
    note(reply);
    if (reply.type() == QDBusMessage::ErrorMessage)
        qCDebug(lcXfce, "xfconf %s %s: %s", qUtf8Printable(method),
                qUtf8Printable(arguments.value(1).toString()),
                qUtf8Printable(reply.errorMessage()));
    return reply;
}

void Client::callAsync(QObject* context, const QString& method, const QVariantList& arguments,
                       std::function<void(const QDBusMessage&)> done)
{
    const QDBusMessage request = methodCall(method, arguments);
    if (seemsHung()) {
        // Answered later all the same, as a real answer would be.
        QMetaObject::invokeMethod(
            context, [reply = hungReply(request), done = std::move(done)] { done(reply); },
            Qt::QueuedConnection);
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(request, callTimeoutMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [this, watcher, done = std::move(done)] {
                         watcher->deleteLater();
                         note(watcher->reply());
                         done(watcher->reply());
                     });
}

QDBusMessage call(const QString& method, const QVariantList& arguments)
{
    return programClient().call(method, arguments);
}

void callAsync(QObject* context, const QString& method, const QVariantList& arguments,
               std::function<void(const QDBusMessage&)> done)
{
    programClient().callAsync(context, method, arguments, std::move(done));
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
