// One Quillet per user: a second launch asks the running one to reopen its main window.
#pragma once

#include <QObject>

class QLocalServer;

class SingleInstance final : public QObject {
    Q_OBJECT
public:
    explicit SingleInstance(QObject* parent = nullptr);

    // The per-user socket, in $XDG_RUNTIME_DIR (or the temporary folder, named by user id).
    static QString socketPath();
    // True when another instance answered and was asked to reopen: this process should exit.
    bool forwardToRunningInstance();
    // Becomes the running instance.
    bool listen();

signals:
    void reopenRequested();

private:
    QLocalServer* m_server = nullptr;
};
