// One Quillet per user. The running instance holds a lock and listens on a local socket, both in
// a folder only this user can have made; a later launch asks it to reopen its main window, and a
// command line sends it one command and waits for the answer.
#pragma once

#include <QObject>
#include <QStringList>
#include <functional>

class QSocketNotifier;

class SingleInstance final : public QObject {
    Q_OBJECT
public:
    // What the running instance answers to one request.
    struct Answer {
        bool done = true;
        // Printed by the sender on standard output when done, on standard error otherwise.
        QStringList lines;
    };
    using Handler = std::function<Answer(const QString& request)>;

    explicit SingleInstance(QObject* parent = nullptr);
    ~SingleInstance() override;

    // The private folder holding the lock and the socket, made (mode 0700) when missing.
    // In order: $XDG_RUNTIME_DIR/quillet, <temp>/quillet-<uid>, $XDG_CACHE_HOME/quillet-<uid>.
    // A candidate that is a symbolic link, not a folder or another user's is passed over, so
    // nobody else can answer for Quillet or keep it from starting. Empty when none is usable.
    static QString folder(QString* whyNot = nullptr);

    // Takes the lock when no instance holds it: this process is then the running instance.
    // The kernel drops the lock when the process ends, however it ends.
    bool tryLock();
    // Listens for requests (after tryLock), replacing a socket file a crashed run left behind.
    bool listen();
    void setHandler(Handler handler) { m_handler = std::move(handler); }

    // Sends one request to the running instance, waiting up to `timeoutMs` for it to accept.
    // Returns nullopt-like {done = false, lines = reason} when no instance answered.
    static Answer send(const QString& request, int timeoutMs, bool* reached = nullptr);
    // True while some process holds the lock.
    static bool isRunning();

private:
    class Client;
    void acceptClients();
    void stopListening();

    int m_lockFd = -1;
    // The listening socket and its path, while this instance takes requests.
    int m_serverFd = -1;
    QByteArray m_socketPath;
    QSocketNotifier* m_serverNotifier = nullptr;
    Handler m_handler;
};
