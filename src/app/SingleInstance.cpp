// Per-user local socket carrying one "reopen" line.
#include "SingleInstance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <unistd.h>

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

QString SingleInstance::socketPath()
{
    QString dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (dir.isEmpty())
        dir = QDir::tempPath();
    return dir + QStringLiteral("/quillet-%1.socket").arg(::getuid());
}

bool SingleInstance::forwardToRunningInstance()
{
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(500))
        return false;
    socket.write("reopen\n");
    socket.waitForBytesWritten(500);
    // Wait for the running instance to take the request before exiting.
    socket.waitForReadyRead(1000);
    return true;
}

bool SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // A socket left by a crashed run answers nobody: remove it.
    QLocalServer::removeServer(socketPath());
    if (!m_server->listen(socketPath())) {
        qWarning("Quillet: cannot listen on %s: %s", qUtf8Printable(socketPath()),
                 qUtf8Printable(m_server->errorString()));
        return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* client = m_server->nextPendingConnection()) {
            connect(client, &QLocalSocket::readyRead, this, [this, client] {
                if (client->readAll().startsWith("reopen")) {
                    emit reopenRequested();
                    client->write("ok\n");
                    client->flush();
                }
                client->disconnectFromServer();
            });
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
        }
    });
    return true;
}
