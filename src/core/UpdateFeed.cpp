// Update feed reading with QXmlStreamReader.
#include "UpdateFeed.h"

#include <QXmlStreamReader>

namespace UpdateFeed {

bool isSafeLink(const QUrl& link)
{
    return link.isValid() && link.scheme() == QLatin1String("https") && !link.host().isEmpty();
}

std::optional<Release> newestRelease(const QByteArray& xml, QString* error)
{
    if (xml.size() > kMaxFeedBytes) {
        if (error)
            *error = QStringLiteral("The update feed is larger than %1 KB and was not read.")
                         .arg(kMaxFeedBytes / 1024);
        return std::nullopt;
    }
    QXmlStreamReader reader(xml);
    std::optional<Release> newest;
    Release current;
    bool inItem = false;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            const auto name = reader.name();
            if (name == QLatin1String("item")) {
                inItem = true;
                current = Release{};
            } else if (inItem && name == QLatin1String("version")) {
                current.version = QVersionNumber::fromString(reader.readElementText().trimmed());
            } else if (inItem && name == QLatin1String("title")) {
                current.title = reader.readElementText().trimmed();
            } else if (inItem && name == QLatin1String("link")) {
                const QUrl link(reader.readElementText().trimmed(), QUrl::StrictMode);
                current.link = isSafeLink(link) ? link : QUrl();
            }
        } else if (reader.isEndElement() && reader.name() == QLatin1String("item")) {
            inItem = false;
            if (!current.version.isNull() && (!newest || current.version > newest->version))
                newest = current;
        }
    }
    if (reader.hasError()) {
        if (error)
            *error =
                QStringLiteral("The update feed could not be read: %1.").arg(reader.errorString());
        return std::nullopt;
    }
    if (!newest && error)
        *error = QStringLiteral("The update feed lists no release.");
    return newest;
}

Verdict compare(const QVersionNumber& running, const Release& newest)
{
    if (newest.version > running)
        return {true, QStringLiteral("Quillet %1 is available (you have %2).")
                          .arg(newest.version.toString(), running.toString())};
    return {false, QStringLiteral("Quillet %1 is up to date.").arg(running.toString())};
}

} // namespace UpdateFeed
