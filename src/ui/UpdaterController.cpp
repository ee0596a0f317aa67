// Feed download through the network plugin, parsing on a worker thread; never blocks the
// interface. What the server sends is bounded in size and never interpreted as markup.
#include "UpdaterController.h"

#include "FeedDownloader.h"
#include "core/UpdateFeed.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QMessageBox>
#include <QPluginLoader>
#include <QPointer>
#include <QPromise>
#include <QPushButton>
#include <QThreadPool>
#include <QVersionNumber>
#include <memory>
#include <utility>

#ifndef QUILLET_UPDATE_FEED
#define QUILLET_UPDATE_FEED ""
#endif
#ifndef QUILLET_PLUGIN_DIR
#define QUILLET_PLUGIN_DIR ""
#endif
#ifndef QUILLET_PLUGIN_SUBDIR
#define QUILLET_PLUGIN_SUBDIR "lib/quillet/plugins"
#endif
#ifndef QUILLET_VERSION
#define QUILLET_VERSION "0.0.0"
#endif

namespace {

struct Parsed {
    std::optional<UpdateFeed::Release> newest;
    QString error;
};

// Server texts (the reason phrase is inside Qt's error string) can be long and hold anything.
QString shortened(const QString& text)
{
    constexpr qsizetype kMaxChars = 300;
    QString plain = text;
    for (QChar& c : plain) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    return plain.size() > kMaxChars ? plain.left(kMaxChars) + QChar(0x2026) : plain;
}

// The download plugin, loaded at the first check and kept for the rest of the run. Looked up in
// QUILLET_PLUGIN_DIR when set, beside the executable in the build tree, then where it is
// installed: beside the program's own prefix (a package installs elsewhere than the build's
// prefix), and under the build's prefix.
FeedDownloader* loaded = nullptr;
QObject* loadedObject = nullptr;

FeedDownloader* feedDownloader(QString* whyNot)
{
    if (loaded)
        return loaded;
    const QString fileName = QStringLiteral("feed-download.so");
    const QString exeDir = QCoreApplication::applicationDirPath();
    QStringList dirs{exeDir + QStringLiteral("/lib/quillet"),
                     exeDir + QStringLiteral("/../" QUILLET_PLUGIN_SUBDIR),
                     QStringLiteral(QUILLET_PLUGIN_DIR)};
    if (const QString fromEnv = qEnvironmentVariable("QUILLET_PLUGIN_DIR"); !fromEnv.isEmpty())
        dirs.prepend(fromEnv);
    QStringList problems;
    for (const QString& dir : std::as_const(dirs)) {
        const QString path = dir + u'/' + fileName;
        if (dir.isEmpty() || !QFileInfo::exists(path))
            continue;
        // The library stays loaded when the loader goes: it only names it.
        QPluginLoader loader(path);
        if (auto* downloader = qobject_cast<FeedDownloader*>(loader.instance())) {
            // The plugin's object, and the network manager it made, go before the application
            // does: the manager's connection thread must end while the event loops still exist.
            // The library itself stays mapped.
            qAddPostRoutine([] {
                if (QObject* object = std::exchange(loadedObject, nullptr))
                    delete object;
                loaded = nullptr;
            });
            loadedObject = loader.instance();
            return loaded = downloader;
        }
        problems.append(loader.errorString());
    }
    if (problems.isEmpty())
        problems.append(
            QStringLiteral("%1 is in none of %2").arg(fileName, dirs.join(QStringLiteral(", "))));
    *whyNot = problems.join(QStringLiteral("; "));
    return nullptr;
}

} // namespace

UpdaterController::UpdaterController(QUrl feed, QObject* parent)
    : QObject(parent), m_feed(std::move(feed))
{
    if (m_feed.isEmpty()) {
        const QByteArray fromEnv = qgetenv("QUILLET_UPDATE_FEED_URL");
        m_feed =
            QUrl(QString::fromUtf8(fromEnv.isEmpty() ? QByteArray(QUILLET_UPDATE_FEED) : fromEnv));
    }
}

UpdaterController& UpdaterController::shared()
{
    static auto* updater = new UpdaterController();
    return *updater;
}

QMessageBox* UpdaterController::createDialog(bool newer, const QString& message, const QUrl& link,
                                             QWidget* parent)
{
    auto* box = new QMessageBox(QMessageBox::Information, tr("Check for Updates"), message,
                                QMessageBox::Ok, parent);
    box->setTextFormat(Qt::PlainText);
    if (newer && UpdateFeed::isSafeLink(link)) {
        box->setInformativeText(link.toString());
        QPushButton* open = box->addButton(tr("Open Download Page"), QMessageBox::AcceptRole);
        const QUrl target = link;
        QObject::connect(open, &QPushButton::clicked, box, [target] {
            // Checked again at the moment of opening: nothing but https reaches the opener.
            if (UpdateFeed::isSafeLink(target))
                QDesktopServices::openUrl(target);
        });
    }
    return box;
}

void UpdaterController::report(bool newer, const QString& message, const QUrl& link)
{
    m_busy = false;
    emit finished(newer, message, UpdateFeed::isSafeLink(link) ? link : QUrl());
}

void UpdaterController::checkForUpdates(QWidget* dialogParent)
{
    if (m_busy)
        return;
    QPointer<QWidget> parent = dialogParent;
    // The dialog is shown once per check, by the check that the parent started.
    auto showDialog = std::make_shared<QMetaObject::Connection>();
    if (dialogParent) {
        *showDialog =
            connect(this, &UpdaterController::finished, this,
                    [parent, showDialog](bool newer, const QString& message, const QUrl& link) {
                        QObject::disconnect(*showDialog);
                        if (!parent)
                            return;
                        QMessageBox* box = createDialog(newer, message, link, parent);
                        box->setAttribute(Qt::WA_DeleteOnClose);
                        box->open();
                    });
    }
    if (!m_feed.isValid() || m_feed.isEmpty()) {
        report(false, tr("No update feed is configured for this build."), {});
        return;
    }
    QString whyNot;
    FeedDownloader* downloader = feedDownloader(&whyNot);
    if (!downloader) {
        report(false, tr("Could not check for updates: %1").arg(shortened(whyNot)), {});
        return;
    }
    m_busy = true;
    constexpr int kTransferTimeoutMs = 15000;
    downloader->fetch(m_feed, UpdateFeed::kMaxFeedBytes, kTransferTimeoutMs, this,
                      [this](const FeedDownloader::Result& result) { parseFeed(result); });
}

void UpdaterController::parseFeed(const FeedDownloader::Result& result)
{
    if (result.outcome == FeedDownloader::Result::Outcome::tooLarge) {
        report(false,
               tr("The update feed is larger than %1 KB and was not read.")
                   .arg(UpdateFeed::kMaxFeedBytes / 1024),
               {});
        return;
    }
    if (result.outcome == FeedDownloader::Result::Outcome::failed) {
        report(false, tr("Could not check for updates: %1").arg(shortened(result.error)), {});
        return;
    }
    // Parsing a large document takes a moment: off the interface thread.
    auto promise = std::make_shared<QPromise<Parsed>>();
    auto* watcher = new QFutureWatcher<Parsed>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        watcher->deleteLater();
        const Parsed parsed = watcher->result();
        if (!parsed.newest) {
            report(false, shortened(parsed.error), {});
            return;
        }
        const auto verdict = UpdateFeed::compare(
            QVersionNumber::fromString(QStringLiteral(QUILLET_VERSION)), *parsed.newest);
        report(verdict.newer, verdict.message, parsed.newest->link);
    });
    watcher->setFuture(promise->future());
    QThreadPool::globalInstance()->start([promise, bytes = result.body] {
        promise->start();
        Parsed parsed;
        parsed.newest = UpdateFeed::newestRelease(bytes, &parsed.error);
        promise->addResult(parsed);
        promise->finish();
    });
}
