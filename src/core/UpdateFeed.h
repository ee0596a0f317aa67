// The update feed: an RSS document whose items carry a version and a download link.
//   <rss><channel><item><title>Quillet 1.2</title><version>1.2.0</version>
//   <link>https://…</link></item></channel></rss>
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QVersionNumber>
#include <optional>

namespace UpdateFeed {

struct Release {
    QVersionNumber version;
    QString title;
    QUrl link;
};

// The newest release listed, or nothing (with `error` set) when the feed cannot be read.
std::optional<Release> newestRelease(const QByteArray& xml, QString* error);

// The user-facing verdict for the running version.
struct Verdict {
    bool newer = false;
    QString message;
};
Verdict compare(const QVersionNumber& running, const Release& newest);

} // namespace UpdateFeed
