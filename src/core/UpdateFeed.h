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

// A feed is a few kilobytes; anything far larger is refused unread.
constexpr qsizetype kMaxFeedBytes = qsizetype(1) << 20;

// Only an https address with a host may be shown as a link or opened.
bool isSafeLink(const QUrl& link);

struct Release {
    QVersionNumber version;
    QString title;
    // Empty unless the feed gave an https address (see isSafeLink).
    QUrl link;
};

// The newest release listed, or nothing (with `error` set) when the feed cannot be read or is
// larger than kMaxFeedBytes.
std::optional<Release> newestRelease(const QByteArray& xml, QString* error);

// The user-facing verdict for the running version.
struct Verdict {
    bool newer = false;
    QString message;
};
Verdict compare(const QVersionNumber& running, const Release& newest);

} // namespace UpdateFeed
