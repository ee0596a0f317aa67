// The feed download over Qt's network module, built as the plugin the updater loads.
#pragma once

#include "FeedDownloader.h"

#include <QObject>

class QNetworkAccessManager;

class NetworkFeedDownloader final : public QObject, public FeedDownloader {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QUILLET_FEED_DOWNLOADER_IID)
    Q_INTERFACES(FeedDownloader)
public:
    void fetch(const QUrl& url, qint64 maxBytes, int timeoutMs, QObject* context,
               std::function<void(const Result&)> done) override;

private:
    QNetworkAccessManager* m_network = nullptr;
};
