// Downloads the update feed. The implementation is a plugin that brings Qt's network module
// with it, loaded when the first check runs, so that a launch does not pay for the module.
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QtPlugin>
#include <functional>

class FeedDownloader {
public:
    struct Result {
        enum class Outcome { received, tooLarge, failed };
        Outcome outcome = Outcome::failed;
        QByteArray body;
        // Why it failed, as the network reports it.
        QString error;
    };

    virtual ~FeedDownloader() = default;
    // Gets `url`, giving up after `timeoutMs` without progress or once more than `maxBytes`
    // have come. `done` runs once, on this thread, unless `context` is gone by then.
    virtual void fetch(const QUrl& url, qint64 maxBytes, int timeoutMs, QObject* context,
                       std::function<void(const Result&)> done) = 0;
};

#define QUILLET_FEED_DOWNLOADER_IID "io.github.quillet.FeedDownloader/1.0"
Q_DECLARE_INTERFACE(FeedDownloader, QUILLET_FEED_DOWNLOADER_IID)
