// xfdesktop's settings in the xfce4-desktop channel, read and written through the xfconf
// daemon's own D-Bus service:
// /backdrop/screen0/monitor<output>/workspace<n>/{last-image,image-style}.
#include "XfceDesktopPictures.h"

#include "X11Connection.h"
#include "platform/PlatformLogging.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSet>
#include <algorithm>
#include <cstdlib>

namespace {

const QString kService = QStringLiteral("org.xfce.Xfconf");
const QString kPath = QStringLiteral("/org/xfce/Xfconf");
const QString kInterface = QStringLiteral("org.xfce.Xfconf");
const QString kChannel = QStringLiteral("xfce4-desktop");
// xfdesktop's "Zoomed": scaled to fill the monitor, cut off equally on both sides.
const int kStyleZoomed = 5;
// A colour drag changes the picture many times a second: each call is a short message to the
// daemon (well under a millisecond) rather than a process per property, bounded in case the
// daemon hangs.
const int kCallTimeoutMs = 2000;
// The key of the record that keeps what desktopPicture() answered for a monitor.
const QString kShown = QStringLiteral("shown");

QDBusMessage call(const QString& method, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
    message.setArguments(arguments);
    QDBusMessage reply = QDBusConnection::sessionBus().call(message, QDBus::Block, kCallTimeoutMs);
    if (reply.type() == QDBusMessage::ErrorMessage)
        qCDebug(lcXfce, "xfconf %s %s: %s", qUtf8Printable(method),
                qUtf8Printable(arguments.value(1).toString()), qUtf8Printable(reply.errorMessage()));
    return reply;
}

// A stored value as text ("5", "true", a path), or nothing when the property does not exist.
std::optional<QString> property(const QString& name)
{
    const QDBusMessage reply = call(QStringLiteral("GetProperty"), {kChannel, name});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return std::nullopt;
    QVariant value = reply.arguments().constFirst();
    if (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    return value.toString();
}

// Creates the property where xfdesktop has not written it yet.
bool setProperty(const QString& name, const QVariant& value)
{
    const QDBusMessage reply = call(QStringLiteral("SetProperty"),
                                    {kChannel, name, QVariant::fromValue(QDBusVariant(value))});
    return reply.type() == QDBusMessage::ReplyMessage;
}

// The names of every property under a prefix.
QStringList propertyNames(const QString& prefix)
{
    const QDBusMessage reply = call(QStringLiteral("GetAllProperties"), {kChannel, prefix});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    QStringList names;
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    argument.beginMap();
    while (!argument.atEnd()) {
        QString key;
        QDBusVariant value;
        argument.beginMapEntry();
        argument >> key >> value;
        argument.endMapEntry();
        names.append(key);
    }
    argument.endMap();
    return names;
}

// A CARDINAL property of the root window, as the window manager publishes it.
std::optional<quint32> rootCardinal(const char* name)
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return std::nullopt;
    xcb_get_property_reply_t* reply = xcb_get_property_reply(
        c, xcb_get_property(c, 0, X11::rootWindow(), X11::atom(name), XCB_ATOM_CARDINAL, 0, 1),
        nullptr);
    std::optional<quint32> result;
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply) >= 4)
        result = *static_cast<quint32*>(xcb_get_property_value(reply));
    std::free(reply);
    return result;
}

QJsonValue toJson(const std::optional<QString>& value)
{
    return value ? QJsonValue(*value) : QJsonValue();
}

std::optional<QString> fromJson(const QJsonValue& value)
{
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

} // namespace

// The file holds {"<monitor prefix>": {"shown": …, "<workspace>": {"picture": …, "style": …}}},
// null for an answer or a property that did not exist; an unreadable file holds nothing.
XfceDesktopPictures::XfceDesktopPictures(QString workspaceFile)
    : m_workspaceFile(std::move(workspaceFile))
{
    QFile file(m_workspaceFile);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QJsonObject monitors = QJsonDocument::fromJson(file.readAll()).object();
    for (auto monitor = monitors.begin(); monitor != monitors.end(); ++monitor) {
        const QJsonObject saved = monitor.value().toObject();
        Monitor& record = m_before[monitor.key()];
        record.shown = fromJson(saved.value(kShown));
        for (auto w = saved.begin(); w != saved.end(); ++w) {
            bool number = false;
            const int workspace = w.key().toInt(&number);
            if (!number)
                continue;
            const QJsonObject state = w.value().toObject();
            record.workspaces.insert(workspace, {fromJson(state.value(QStringLiteral("picture"))),
                                                 fromJson(state.value(QStringLiteral("style")))});
        }
    }
}

void XfceDesktopPictures::saveWorkspaces() const
{
    QJsonObject monitors;
    for (auto monitor = m_before.cbegin(); monitor != m_before.cend(); ++monitor) {
        QJsonObject saved{{kShown, toJson(monitor->shown)}};
        for (auto w = monitor->workspaces.cbegin(); w != monitor->workspaces.cend(); ++w)
            saved.insert(QString::number(w.key()),
                         QJsonObject{{QStringLiteral("picture"), toJson(w->picture)},
                                     {QStringLiteral("style"), toJson(w->style)}});
        monitors.insert(monitor.key(), saved);
    }
    if (monitors.isEmpty()) {
        QFile::remove(m_workspaceFile);
        return;
    }
    QSaveFile file(m_workspaceFile);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(monitors).toJson(QJsonDocument::Compact));
        file.commit();
    }
}

QString XfceDesktopPictures::monitorPrefix(const ScreenInfo& screen)
{
    return QStringLiteral("/backdrop/screen0/monitor") + screen.outputName;
}

QList<int> XfceDesktopPictures::workspaces(const QString& prefix) const
{
    QSet<int> found;
    const int count =
        int(std::clamp<quint32>(rootCardinal("_NET_NUMBER_OF_DESKTOPS").value_or(1), 1, 64));
    for (int i = 0; i < count; ++i)
        found.insert(i);
    const QRegularExpression workspace(QRegularExpression::escape(prefix) +
                                       QStringLiteral("/workspace(\\d+)/"));
    for (const QString& name : propertyNames(prefix)) {
        if (const auto match = workspace.match(name); match.hasMatch())
            found.insert(match.captured(1).toInt());
    }
    QList<int> result(found.begin(), found.end());
    std::sort(result.begin(), result.end());
    return result;
}

std::optional<QString> XfceDesktopPictures::desktopPicture(const ScreenInfo& screen) const
{
    if (screen.outputName.isEmpty())
        return std::nullopt;
    int workspace = int(rootCardinal("_NET_CURRENT_DESKTOP").value_or(0));
    if (property(QStringLiteral("/backdrop/single-workspace-mode")) == QLatin1String("true"))
        workspace = property(QStringLiteral("/backdrop/single-workspace-number"))
                        .value_or(QString())
                        .toInt();
    const QString prefix = monitorPrefix(screen);
    // The program asks for the picture just before its first change: what every workspace
    // shows now is what it gets back.
    Monitor& record = m_before[prefix];
    record = {};
    for (int w : workspaces(prefix)) {
        const QString base = prefix + QStringLiteral("/workspace%1/").arg(w);
        record.workspaces.insert(w, {property(base + QStringLiteral("last-image")),
                                     property(base + QStringLiteral("image-style"))});
    }
    auto path = property(prefix + QStringLiteral("/workspace%1/last-image").arg(workspace));
    if (!path && workspace != 0)
        path = property(prefix + QStringLiteral("/workspace0/last-image"));
    if (path && !path->isEmpty())
        record.shown = *path;
    saveWorkspaces();
    return record.shown;
}

bool XfceDesktopPictures::setDesktopPicture(const ScreenInfo& screen, const QString& path)
{
    if (screen.outputName.isEmpty())
        return false;
    const QString prefix = monitorPrefix(screen);
    const QList<int> all = workspaces(prefix);

    // Putting back the picture the monitor showed when last asked puts back what every workspace
    // had then, picture and style, as the user left them.
    if (const auto saved = m_before.constFind(prefix); saved != m_before.constEnd()) {
        if (saved->shown == path) {
            const QHash<int, Workspace> before = saved->workspaces;
            m_before.remove(prefix);
            saveWorkspaces();
            bool ok = true;
            for (int workspace : all) {
                const Workspace w = before.value(workspace);
                ok = show(prefix, workspace, w.picture.value_or(path),
                          w.style ? w.style->toInt() : kStyleZoomed) &&
                     ok;
            }
            return ok;
        }
    }

    bool ok = true;
    for (int workspace : all)
        ok = show(prefix, workspace, path, kStyleZoomed) && ok;
    return ok;
}

bool XfceDesktopPictures::show(const QString& prefix, int workspace, const QString& path, int style)
{
    const QString base = prefix + QStringLiteral("/workspace%1/").arg(workspace);
    // The style first, so xfdesktop never shows the new picture in the old style.
    const bool styled = setProperty(base + QStringLiteral("image-style"), style);
    return setProperty(base + QStringLiteral("last-image"), path) && styled;
}
