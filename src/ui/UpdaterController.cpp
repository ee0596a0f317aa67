// Feed download with QNetworkAccessManager; never blocks the interface.
#include "UpdaterController.h"

#include "core/UpdateFeed.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QVersionNumber>

#ifndef QUILLET_UPDATE_FEED
#define QUILLET_UPDATE_FEED ""
#endif
#ifndef QUILLET_VERSION
#define QUILLET_VERSION "0.0.0"
#endif

UpdaterController::UpdaterController(QUrl feed, QObject* parent)
    : QObject(parent), m_feed(std::move(feed)), m_network(new QNetworkAccessManager(this))
{
    if (m_feed.isEmpty()) {
        const QByteArray fromEnv = qgetenv("QUILLET_UPDATE_FEED_URL");
        m_feed = QUrl(QString::fromUtf8(fromEnv.isEmpty() ? QByteArray(QUILLET_UPDATE_FEED) : fromEnv));
    }
}

UpdaterController& UpdaterController::shared()
{
    static auto* updater = new UpdaterController();
    return *updater;
}

void UpdaterController::checkForUpdates(QWidget* dialogParent)
{
    QPointer<QWidget> parent = dialogParent;
    auto report = [this, parent](bool newer, const QString& message, const QUrl& link) {
        m_busy = false;
        emit finished(newer, message, link);
        if (!parent)
            return;
        QString text = message;
        if (newer && link.isValid())
            text += QStringLiteral("<br><a href=\"%1\">%1</a>").arg(link.toString().toHtmlEscaped());
        QMessageBox box(QMessageBox::Information, tr("Check for Updates"), text, QMessageBox::Ok,
                        parent);
        box.setTextFormat(Qt::RichText);
        box.setTextInteractionFlags(Qt::TextBrowserInteraction);
        box.exec();
    };
    if (m_busy)
        return;
    if (!m_feed.isValid() || m_feed.isEmpty()) {
        report(false, tr("No update feed is configured for this build."), {});
        return;
    }
    m_busy = true;
    QNetworkRequest request(m_feed);
    request.setTransferTimeout(15000);
    QNetworkReply* reply = m_network->get(request);
    connect(reply, &QNetworkReply::finished, this, [reply, report] {
        reply->deleteLater();
        if (reply->error() != QNetworkReply::NoError) {
            report(false, tr("Could not check for updates: %1").arg(reply->errorString()), {});
            return;
        }
        QString error;
        const auto newest = UpdateFeed::newestRelease(reply->readAll(), &error);
        if (!newest) {
            report(false, error, {});
            return;
        }
        const auto verdict = UpdateFeed::compare(QVersionNumber::fromString(QStringLiteral(QUILLET_VERSION)), *newest);
        report(verdict.newer, verdict.message, newest->link);
    });
}
