// "Check for Updates…": reads the update feed in the background and tells the user.
#pragma once

#include "FeedDownloader.h"

#include <QObject>
#include <QUrl>

class QMessageBox;
class QWidget;

class UpdaterController final : public QObject {
    Q_OBJECT
public:
    // `feed` empty: QUILLET_UPDATE_FEED_URL from the environment, else the built-in feed.
    explicit UpdaterController(QUrl feed = {}, QObject* parent = nullptr);

    static UpdaterController& shared();

    QUrl feedUrl() const { return m_feed; }
    // Starts a check; the answer comes as `finished` and, with a dialog parent, in a message box.
    void checkForUpdates(QWidget* dialogParent = nullptr);

    // The answer as shown: everything from the network as plain text; a download button only
    // for an https link, which is the only kind it opens.
    static QMessageBox* createDialog(bool newer, const QString& message, const QUrl& link,
                                     QWidget* parent);

signals:
    void finished(bool newer, const QString& message, const QUrl& link);

private:
    void parseFeed(const FeedDownloader::Result& result);
    void report(bool newer, const QString& message, const QUrl& link);

    QUrl m_feed;
    bool m_busy = false;
};
