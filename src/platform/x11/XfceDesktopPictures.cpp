// xfdesktop's settings in the xfce4-desktop channel, read and written through the xfconf
// daemon's own D-Bus service:
// /backdrop/screen0/monitor<output>/workspace<n>/{last-image,image-style,rgba1,…}.
#include "XfceDesktopPictures.h"

#include "RootWindowDesktopPictures.h"
#include "X11Connection.h"
#include "X11Replies.h"
#include "XfconfClient.h"
#include "platform/PlatformLogging.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>
#include <QThread>
#include <algorithm>
#include <unistd.h>

namespace {

const QString kChannel = QStringLiteral("xfce4-desktop");
// xfdesktop's "Zoomed": scaled to fill the monitor, cut off equally on both sides.
const int kStyleZoomed = 5;
const QString kImageStyle = QStringLiteral("image-style");
const QString kLastImage = QStringLiteral("last-image");
const QString kCycleEnable = QStringLiteral("backdrop-cycle-enable");

// A setting's value with its D-Bus type, so that it can be written back exactly: {"t", "v"}.
QJsonValue toTyped(const QVariant& raw)
{
    const QVariant value = Xfconf::unwrap(raw);
    auto typed = [](const char* type, const QJsonValue& v) {
        return QJsonObject{{QStringLiteral("t"), QLatin1String(type)}, {QStringLiteral("v"), v}};
    };
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        const auto argument = value.value<QDBusArgument>();
        if (argument.currentType() != QDBusArgument::ArrayType)
            return {};
        QJsonArray items;
        argument.beginArray();
        while (!argument.atEnd()) {
            QDBusVariant item;
            argument >> item;
            items.append(toTyped(item.variant()));
        }
        argument.endArray();
        return typed("av", items);
    }
    switch (value.typeId()) {
    case QMetaType::QVariantList: {
        QJsonArray items;
        for (const QVariant& item : value.toList())
            items.append(toTyped(item));
        return typed("av", items);
    }
    case QMetaType::Bool:
        return typed("b", value.toBool());
    case QMetaType::Int:
        return typed("i", value.toInt());
    case QMetaType::UInt:
        return typed("u", double(value.toUInt()));
    case QMetaType::Short:
        return typed("n", value.toInt());
    case QMetaType::UShort:
        return typed("q", value.toInt());
    case QMetaType::UChar:
        return typed("y", value.toInt());
    case QMetaType::LongLong:
        return typed("x", QString::number(value.toLongLong()));
    case QMetaType::ULongLong:
        return typed("t", QString::number(value.toULongLong()));
    case QMetaType::Double:
        return typed("d", value.toDouble());
    case QMetaType::QString:
        return typed("s", value.toString());
    default:
        return {};
    }
}

std::optional<QVariant> fromTyped(const QJsonValue& stored)
{
    const QJsonObject object = stored.toObject();
    const QString type = object.value(QStringLiteral("t")).toString();
    const QJsonValue v = object.value(QStringLiteral("v"));
    if (type == QLatin1String("av")) {
        QVariantList items;
        for (const QJsonValue& item : v.toArray()) {
            const auto value = fromTyped(item);
            if (!value)
                return std::nullopt;
            items.append(*value);
        }
        return QVariant(items);
    }
    if (type == QLatin1String("b"))
        return QVariant(v.toBool());
    if (type == QLatin1String("i"))
        return QVariant(v.toInt());
    if (type == QLatin1String("u"))
        return QVariant(uint(v.toDouble()));
    if (type == QLatin1String("n"))
        return QVariant::fromValue(short(v.toInt()));
    if (type == QLatin1String("q"))
        return QVariant::fromValue(ushort(v.toInt()));
    if (type == QLatin1String("y"))
        return QVariant::fromValue(uchar(v.toInt()));
    if (type == QLatin1String("x"))
        return QVariant(v.toString().toLongLong());
    if (type == QLatin1String("t"))
        return QVariant(v.toString().toULongLong());
    if (type == QLatin1String("d"))
        return QVariant(v.toDouble());
    if (type == QLatin1String("s"))
        return QVariant(v.toString());
    return std::nullopt;
}

// Every setting under a prefix, by full name; nothing when the daemon cannot be reached.
std::optional<QVariantMap> allProperties(const QString& prefix)
{
    const QDBusMessage reply = Xfconf::call(QStringLiteral("GetAllProperties"), {kChannel, prefix});
    if (!Xfconf::succeeded(reply))
        return Xfconf::unreachable(reply) ? std::nullopt : std::optional(QVariantMap());
    QVariantMap result;
    if (reply.arguments().isEmpty())
        return result;
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    argument.beginMap();
    while (!argument.atEnd()) {
        QString key;
        QDBusVariant value;
        argument.beginMapEntry();
        argument >> key >> value;
        argument.endMapEntry();
        result.insert(key, value.variant());
    }
    argument.endMap();
    return result;
}

std::optional<QString> property(const QString& name)
{
    const QDBusMessage reply = Xfconf::call(QStringLiteral("GetProperty"), {kChannel, name});
    if (!Xfconf::succeeded(reply) || reply.arguments().isEmpty())
        return std::nullopt;
    const QVariant value = Xfconf::unwrap(reply.arguments().constFirst());
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    return value.toString();
}

bool setProperty(const QString& name, const QVariant& value)
{
    return Xfconf::succeeded(Xfconf::call(
        QStringLiteral("SetProperty"), {kChannel, name, QVariant::fromValue(QDBusVariant(value))}));
}

bool resetProperty(const QString& name)
{
    return Xfconf::succeeded(
        Xfconf::call(QStringLiteral("ResetProperty"), {kChannel, name, false}));
}

// A CARDINAL property of the root window, as the window manager publishes it.
std::optional<quint32> rootCardinal(const char* name)
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return std::nullopt;
    X11::Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, X11::rootWindow(), X11::atom(name), XCB_ATOM_CARDINAL, 0, 1),
        nullptr));
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) >= 4)
        return *static_cast<quint32*>(xcb_get_property_value(reply.get()));
    return std::nullopt;
}

QString workspacePrefix(const QString& monitor, int workspace)
{
    return monitor + QStringLiteral("/workspace%1/").arg(workspace);
}

// The order in which a workspace's settings go back: style and colours before the picture, so
// xfdesktop never draws the picture in our style, and the slideshow last, once its picture is
// back.
int restoreRank(const QString& setting)
{
    if (setting == kLastImage)
        return 1;
    if (setting.startsWith(QLatin1String("backdrop-cycle")))
        return 2;
    return 0;
}

// How long a new xfdesktop is left alone, at least, and at most.
constexpr double kDesktopStartSeconds = 1.5;
constexpr int kDesktopStartWaitMs = 6000;

// Seconds since the process started; nothing when it is gone.
std::optional<double> processAge(uint pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    QFile uptime(QStringLiteral("/proc/uptime"));
    if (!stat.open(QIODevice::ReadOnly) || !uptime.open(QIODevice::ReadOnly))
        return std::nullopt;
    // The fields after the command name (which may hold spaces) start with the state; the start
    // time, in clock ticks after boot, is the 22nd field of the line.
    const QByteArray line = stat.readAll();
    const qsizetype end = line.lastIndexOf(')');
    const QList<QByteArray> fields = line.mid(end + 2).split(' ');
    constexpr int kStartTimeAfterName = 22 - 3;
    if (end < 0 || fields.size() <= kStartTimeAfterName)
        return std::nullopt;
    bool ok = false;
    const double started =
        fields.at(kStartTimeAfterName).toDouble(&ok) / double(sysconf(_SC_CLK_TCK));
    const double now = uptime.readAll().split(' ').constFirst().toDouble();
    return ok ? std::optional(now - started) : std::nullopt;
}

// Whether the root window names a pixmap that exists: xfdesktop publishes its drawing there
// once it has drawn the desktop.
bool rootPixmapLive()
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return true;
    X11::Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(c,
                               xcb_get_property(c, 0, X11::rootWindow(), X11::atom("_XROOTPMAP_ID"),
                                                XCB_ATOM_PIXMAP, 0, 1),
                               nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return false;
    const auto pixmap = *static_cast<xcb_pixmap_t*>(xcb_get_property_value(reply.get()));
    X11::Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, pixmap), nullptr));
    return geometry != nullptr;
}

// xfdesktop does not survive a change of its pictures while it still loads its first ones: it
// frees a picture loader that is still reading. One that has just started (the session brought
// it back after a crash, the user restarted it) is left alone until it has run a moment and
// drawn the desktop, for a few seconds at most.
void waitWhileDesktopStarts()
{
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    if (!bus)
        return;
    const QDeadlineTimer limit(kDesktopStartWaitMs);
    while (!limit.hasExpired()) {
        const QDBusReply<uint> pid = bus->servicePid(QStringLiteral("org.xfce.xfdesktop"));
        if (!pid.isValid())
            return;
        const std::optional<double> age = processAge(pid.value());
        if (!age || (*age >= kDesktopStartSeconds && rootPixmapLive()))
            return;
        QThread::msleep(100);
    }
}

} // namespace

XfceDesktopPictures::XfceDesktopPictures(const QString& recordDir)
    : m_file(recordDir, QStringLiteral("xfce")), m_record(m_file.load())
{
}

QString XfceDesktopPictures::monitorPrefix(const ScreenInfo& screen)
{
    return QStringLiteral("/backdrop/screen0/monitor") + screen.outputName;
}

QList<int> XfceDesktopPictures::workspaces(const QStringList& propertyNames, const QString& prefix)
{
    QSet<int> found;
    const int count =
        int(std::clamp<quint32>(rootCardinal("_NET_NUMBER_OF_DESKTOPS").value_or(1), 1, 64));
    for (int i = 0; i < count; ++i)
        found.insert(i);
    const QRegularExpression workspace(QRegularExpression::escape(prefix) +
                                       QStringLiteral("/workspace(\\d+)/"));
    for (const QString& name : propertyNames) {
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
    auto path = property(workspacePrefix(prefix, workspace) + kLastImage);
    if (!path && workspace != 0)
        path = property(workspacePrefix(prefix, 0) + kLastImage);
    if (!path || path->isEmpty())
        return std::nullopt;
    return path;
}

QImage XfceDesktopPictures::snapshotDesktopPicture(const ScreenInfo& screen)
{
    return RootWindowDesktopPictures::rootPixmapPart(screen);
}

bool XfceDesktopPictures::holdsRecord(const ScreenInfo& screen) const
{
    return !screen.outputName.isEmpty() && m_record.contains(screen.outputName);
}

bool XfceDesktopPictures::rememberDesktop(const ScreenInfo& screen)
{
    if (screen.outputName.isEmpty())
        return false;
    if (holdsRecord(screen))
        return true;
    const QString prefix = monitorPrefix(screen);
    const auto current = allProperties(prefix);
    if (!current)
        return false;
    QJsonObject monitor;
    for (int w : workspaces(current->keys(), prefix))
        monitor.insert(QString::number(w), QJsonObject());
    for (auto it = current->cbegin(); it != current->cend(); ++it) {
        static const QRegularExpression setting(QStringLiteral("/workspace(\\d+)/([^/]+)$"));
        const auto match = setting.match(it.key());
        const QJsonValue typed = toTyped(it.value());
        if (!match.hasMatch() || typed.isUndefined())
            continue;
        QJsonObject workspace = monitor.value(match.captured(1)).toObject();
        workspace.insert(match.captured(2), typed);
        monitor.insert(match.captured(1), workspace);
    }
    m_record.insert(screen.outputName, monitor);
    if (!m_file.save(m_record)) {
        m_record.remove(screen.outputName);
        return false;
    }
    return true;
}

PictureRestore XfceDesktopPictures::restoreDesktop(const ScreenInfo& screen)
{
    if (!holdsRecord(screen))
        return PictureRestore::nothingHeld;
    waitWhileDesktopStarts();
    const QString prefix = monitorPrefix(screen);
    QJsonObject monitor = m_record.value(screen.outputName).toObject();
    const QStringList order = monitor.keys();
    for (const QString& number : order) {
        const QString base = workspacePrefix(prefix, number.toInt());
        const auto now = allProperties(base.chopped(1));
        if (!now)
            return PictureRestore::failed;
        const QJsonObject saved = monitor.value(number).toObject();
        // Settings made since (the style of a workspace that had none, say) go away again.
        for (auto it = now->cbegin(); it != now->cend(); ++it) {
            const QString setting = it.key().mid(base.size());
            if (it.key().startsWith(base) && !setting.contains(u'/') && !saved.contains(setting) &&
                !resetProperty(it.key()))
                return PictureRestore::failed;
        }
        QStringList settings = saved.keys();
        std::stable_sort(settings.begin(), settings.end(), [](const QString& a, const QString& b) {
            return restoreRank(a) < restoreRank(b);
        });
        for (const QString& setting : settings) {
            const auto value = fromTyped(saved.value(setting));
            if (value && !setProperty(base + setting, *value))
                return PictureRestore::failed;
        }
        // This workspace is back: a crash from here on must not set it again from an older
        // state, nor lose the workspaces still to come.
        monitor.remove(number);
        if (monitor.isEmpty())
            m_record.remove(screen.outputName);
        else
            m_record.insert(screen.outputName, monitor);
        m_file.save(m_record);
    }
    m_record.remove(screen.outputName);
    m_file.save(m_record);
    return PictureRestore::restored;
}

bool XfceDesktopPictures::setDesktopPicture(const ScreenInfo& screen, const QString& path)
{
    if (!holdsRecord(screen))
        return false;
    const QString prefix = monitorPrefix(screen);
    QJsonObject monitor = m_record.value(screen.outputName).toObject();
    const auto current = allProperties(prefix);
    if (!current)
        return false;
    const QList<int> all = workspaces(current->keys(), prefix);
    // A workspace added since the record was made is remembered before it changes.
    bool grown = false;
    for (int workspace : all) {
        const QString number = QString::number(workspace);
        if (monitor.contains(number))
            continue;
        const QString base = workspacePrefix(prefix, workspace);
        QJsonObject saved;
        for (auto it = current->cbegin(); it != current->cend(); ++it) {
            const QString setting = it.key().mid(base.size());
            const QJsonValue typed = toTyped(it.value());
            if (it.key().startsWith(base) && !setting.contains(u'/') && !typed.isUndefined())
                saved.insert(setting, typed);
        }
        monitor.insert(number, saved);
        grown = true;
    }
    if (grown) {
        m_record.insert(screen.outputName, monitor);
        if (!m_file.save(m_record))
            return false;
    }
    waitWhileDesktopStarts();
    // Only what differs is written: each write makes xfdesktop load the workspace's picture
    // again, and the same picture asked for twice is a needless reload.
    const auto differs = [&current](const QString& name, const QVariant& wanted) {
        const auto now = current->constFind(name);
        return now == current->constEnd() || *now != wanted;
    };
    for (int workspace : all) {
        const QString base = workspacePrefix(prefix, workspace);
        const QJsonObject saved = monitor.value(QString::number(workspace)).toObject();
        const auto cycling = fromTyped(saved.value(kCycleEnable));
        if (cycling && cycling->toBool() && differs(base + kCycleEnable, false) &&
            !setProperty(base + kCycleEnable, false))
            return false;
        // The style first, so xfdesktop never shows the new picture in the old style.
        if (differs(base + kImageStyle, kStyleZoomed) &&
            !setProperty(base + kImageStyle, kStyleZoomed))
            return false;
        if (differs(base + kLastImage, path) && !setProperty(base + kLastImage, path))
            return false;
    }
    return true;
}
