// Xfce's settings daemon (xfconfd) on the session bus: every channel (xfce4-desktop,
// xfce4-panel, …) is read and written through its org.xfce.Xfconf interface, one short message
// per property rather than a process per property, each bounded in case the daemon hangs.
#pragma once

#include <QDBusMessage>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <functional>

class QObject;

namespace Xfconf {

inline const QString service = QStringLiteral("org.xfce.Xfconf");
inline const QString path = QStringLiteral("/org/xfce/Xfconf");
inline const QString interface = QStringLiteral("org.xfce.Xfconf");
// A daemon that has not answered by then is taken as gone.
constexpr int callTimeoutMs = 2000;

// Calls `method` and waits for the answer (at most callTimeoutMs); errors go to the log. For a
// few seconds after a call went unanswered, calls fail at once as unreachable.
QDBusMessage call(const QString& method, const QVariantList& arguments);
// Calls `method` and hands the answer (or the error, after at most callTimeoutMs) to `done` on
// `context`'s thread; nothing is called once `context` is gone.
void callAsync(QObject* context, const QString& method, const QVariantList& arguments,
               std::function<void(const QDBusMessage&)> done);

bool succeeded(const QDBusMessage& reply);
// The daemon did not answer at all (gone, hung, no bus), as opposed to answering with an error
// of its own such as "no such property".
bool unreachable(const QDBusMessage& reply);
// The daemon answered that the property does not exist.
bool notFound(const QDBusMessage& reply);
// Whether the daemon's name is on the session bus.
bool running();

// A value with every D-Bus variant wrapper taken off.
QVariant unwrap(QVariant value);

} // namespace Xfconf
