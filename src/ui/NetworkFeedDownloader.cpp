// What the server sends is read only up to the limit; a larger answer is dropped unread.
#include "NetworkFeedDownloader.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <memory>

void NetworkFeedDownloader::fetch(const QUrl& url, qint64 maxBytes, int timeoutMs, QObject* context,
                                  std::function<void(const Result&)> done)
{
    if (!m_network)
        m_network = new QNetworkAccessManager(this);
    QNetworkRequest request(url);
    request.setTransferTimeout(timeoutMs);
    QNetworkReply* reply = m_network->get(request);
    auto result = std::make_shared<Result>();
    connect(reply, &QNetworkReply::readyRead, reply, [reply, result, maxBytes] {
        if (result->outcome == Result::Outcome::tooLarge)
            return;
        result->body.append(reply->read(maxBytes + 1 - result->body.size()));
        if (result->body.size() > maxBytes) {
            result->outcome = Result::Outcome::tooLarge;
            result->body.clear();
            reply->abort();
        }
    });
    connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    connect(reply, &QNetworkReply::finished, context, [reply, result, maxBytes, done] {
        if (result->outcome != Result::Outcome::tooLarge) {
            if (reply->error() != QNetworkReply::NoError) {
                result->outcome = Result::Outcome::failed;
                result->error = reply->errorString();
            } else {
                result->outcome = Result::Outcome::received;
                result->body.append(reply->read(maxBytes + 1 - result->body.size()));
            }
        }
        done(*result);
    });
    // Without a context any more nobody waits for the answer.
    connect(context, &QObject::destroyed, reply, &QNetworkReply::abort);
}
