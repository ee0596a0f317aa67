// Xfce's settings daemon (xfconfd) on the session bus: every channel (xfce4-desktop,
// xfce4-panel, …) is read and written through its org.xfce.Xfconf interface, one short message
// per property rather than a process per property, each bounded in case the daemon hangs.
#pragma once

#include <QDBusMessage>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <atomic>
#include <chrono>
#include <functional>

class QObject;

namespace Xfconf {

inline const QString service = QStringLiteral("org.xfce.Xfconf");
inline const QString path = QStringLiteral("/org/xfce/Xfconf");
inline const QString interface = QStringLiteral("org.xfce.Xfconf");
// A daemon that has not answered by then is taken as gone.
constexpr int callTimeoutMs = 2000;

// A client of the daemon that remembers when it last went unanswered: for a few seconds after a
// call got no reply, its calls fail at once as unreachable. The memory is atomic, so one client
// may be used from any thread; it must outlive the answers of its asynchronous calls.
class Client final {
public:
    // Calls `method` and waits for the answer (at most `timeoutMs`); errors go to the log.
    QDBusMessage call(const QString& method, const QVariantList& arguments,
                      int timeoutMs = callTimeoutMs);
    // Calls `method` and hands the answer (or the error, after at most callTimeoutMs) to `done`
    // on `context`'s thread; nothing is called once `context` is gone.
    void callAsync(QObject* context, const QString& method, const QVariantList& arguments,
                   std::function<void(const QDBusMessage&)> done);

private:
    bool seemsHung() const;
    void note(const QDBusMessage& reply);

    std::atomic<std::chrono::steady_clock::rep> m_hungUntil{0};
};

// The program's own client, shared by the desktop's settings backends.
QDBusMessage call(const QString& method, const QVariantList& arguments);
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
