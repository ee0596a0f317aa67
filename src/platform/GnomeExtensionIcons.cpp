// Desktop icons of a GNOME Shell extension, switched off and on through disabled-extensions.
#include "GnomeExtensionIcons.h"

#include "platform/GVariantText.h"
#include "platform/PlatformLogging.h"

namespace {
const QString kDconf = QStringLiteral("/usr/bin/dconf");
const QString kBefore = QStringLiteral("before");
const QString kWritten = QStringLiteral("written");

// The extensions the key's text lists; an unset key lists none. None when unreadable.
std::optional<QStringList> listed(const QString& text)
{
    return text.isEmpty() ? std::optional<QStringList>(QStringList()) : GVariantText::strings(text);
}
} // namespace

GnomeExtensionIcons::GnomeExtensionIcons(QString uuid, const QString& recordDir,
                                         CommandOutput& tools)
    : m_uuid(std::move(uuid)), m_tools(tools),
      m_file(recordDir, QStringLiteral("gnome-extension"), QStringLiteral("icons-")),
      m_record(m_file.load())
{
}

void GnomeExtensionIcons::readKey(std::function<void(std::optional<QString>)> done)
{
    m_tools.runAsync(this, kDconf, {QStringLiteral("read"), disabledKey()},
                     [done = std::move(done)](CommandOutput::Output output) {
                         if (!output)
                             done(std::nullopt);
                         else
                             done(QString::fromUtf8(*output).trimmed());
                     });
}

void GnomeExtensionIcons::readStyle(std::function<void(ReadResult)> done)
{
    readKey([this, done = std::move(done)](std::optional<QString> text) {
        const auto extensions = text ? listed(*text) : std::nullopt;
        if (!extensions)
            done(ReadResult());
        else
            done(extensions->contains(m_uuid) ? Style(kHiddenStyle) : Style());
    });
}

void GnomeExtensionIcons::writeStyle(Style style, std::function<void(bool)> done)
{
    if (style && *style != kHiddenStyle) {
        // Another desktop's style (recorded there): left for that desktop.
        done(false);
        return;
    }
    readKey([this, hidden = style.has_value(),
             done = std::move(done)](std::optional<QString> text) mutable {
        if (!text || !listed(*text)) {
            qCWarning(lcX11, "GNOME Shell's %s could not be read", qUtf8Printable(disabledKey()));
            done(false);
        } else if (hidden) {
            hide(*text, std::move(done));
        } else {
            show(*text, std::move(done));
        }
    });
}

void GnomeExtensionIcons::hide(const QString& current, std::function<void(bool)> done)
{
    QStringList extensions = *listed(current);
    if (extensions.contains(m_uuid)) {
        // Off already: by this program, or by the user, whose setting then stays as it is.
        done(true);
        return;
    }
    extensions.append(m_uuid);
    const QString written = GVariantText::stringArray(extensions);
    // What the user had, on disk before the change: a crash after it still finds it.
    QJsonObject record = m_record;
    if (record.isEmpty())
        record.insert(kBefore, current.isEmpty() ? QJsonValue(QJsonValue::Null) : current);
    record.insert(kWritten, written);
    if (!m_file.save(record)) {
        qCWarning(lcX11, "the desktop icons extension stays on: %s could not be written",
                  qUtf8Printable(m_file.path()));
        done(false);
        return;
    }
    m_record = record;
    writeKey(written, [this, done = std::move(done)](bool ok) {
        // Nothing changed: nothing to put back.
        if (!ok)
            dropRecord();
        done(ok);
    });
}

void GnomeExtensionIcons::show(const QString& current, std::function<void(bool)> done)
{
    QStringList extensions = *listed(current);
    QString wanted;
    if (holdsRecord() && listed(m_record.value(kWritten).toString()) == extensions) {
        // As this program left it: the user's own text again (unset when it was).
        wanted = m_record.value(kBefore).toString();
    } else if (extensions.contains(m_uuid)) {
        // Changed by the user meanwhile (another extension turned off): their change stays,
        // only the entry that hides the icons goes.
        extensions.removeAll(m_uuid);
        wanted = GVariantText::stringArray(extensions);
    } else {
        // The user turned the extension on again themselves.
        dropRecord();
        done(true);
        return;
    }
    writeKey(wanted, [this, done = std::move(done)](bool ok) {
        // A key that could not be put back keeps its record: the next launch tries again.
        if (ok) {
            dropRecord();
            if (m_switchedOn)
                m_switchedOn();
        }
        done(ok);
    });
}

void GnomeExtensionIcons::writeKey(const QString& text, std::function<void(bool)> done)
{
    const QStringList arguments = text.isEmpty()
                                      ? QStringList{QStringLiteral("reset"), disabledKey()}
                                      : QStringList{QStringLiteral("write"), disabledKey(), text};
    m_tools.runAsync(
        this, kDconf, arguments,
        [done = std::move(done)](CommandOutput::Output output) { done(output.has_value()); });
}

void GnomeExtensionIcons::dropRecord()
{
    m_record = QJsonObject();
    m_file.save(m_record);
}
