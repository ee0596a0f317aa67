// How xfce4-panel 4.18 shows StatusNotifierItems, as observed on Debian 12:
// - The notification area ("systray" plugin) runs as an external plugin in its own process
//   (wrapper-2.0). That process owns both _NET_SYSTEM_TRAY_S0 and org.kde.StatusNotifierWatcher
//   and shows its contents in a GtkPlug embedded into the panel window.
// - XEmbed icons are X windows inside sockets of that plug. StatusNotifierItems have no window:
//   each is a GtkButton ("push button" in AT-SPI) of the plug, with an empty accessible name.
// - The plug publishes its accessibility tree through the _XEMBED_AT_SPI_PATH property
//   ("<bus name>:<object path>" on the AT-SPI bus); its buttons report screen extents in root
//   coordinates. The overflow arrow is a toggle button, XEmbed sockets are panels or fillers.
// - The buttons are laid out in the order of the plugin's known-items list (xfconf channel
//   xfce4-panel, /plugins/plugin-N/known-items, newest name first), keyed by each item's Id;
//   items of the same Id appear newest first. Items listed in hidden-items are not shown
//   unless the arrow is expanded.
// The buttons carry nothing that names their item, so they are matched to the watcher's items
// by that order (StatusItemOrder); when that is uncertain the icons are listed without names.
//
// The panel's own (in-process) plugins, such as the clock, have no X windows of their own. The
// panel process is itself an application on the AT-SPI bus, named "xfce4-panel": each panel
// window is a "frame" child of the application, whose single child (a "panel") is the panel's
// item box; the item box's children are the plugins in the panel's order (the panel's
// plugin-ids list in xfconf), each with its screen extents. The clock is a plugin whose child
// is a toggle button whose accessible name is the date (it changes daily: no use as a lasting
// name, which hidden items need); an external plugin such as the notification area holds a filler
// that embeds the plug's tree; separators and expanding gaps are plugins without children. The
// plugin's name comes from its type (/plugins/plugin-N in xfconf) and the Name of the type's
// desktop file in xfce4/panel/plugins/ under the data directories.
//
// lxqt-panel 1.2 (a Qt 5 program) publishes its tree only when the accessibility registry
// answered as it started (the bus switched on, or already running for another program). Its
// application holds a "frame" per panel window whose single child holds the
// plugins in the panel's order. Its status-item plugin shows each item as a push button with an
// empty accessible name and the item's tooltip as its description, in the order the items
// registered with the panel's own watcher; its task list's buttons are named after their
// windows. Its tray plugin registers one item of its own per XEmbed icon (see X11TrayIcons).
#include "PanelStatusItems.h"

#include "PanelPluginChoice.h"
#include "StatusItemOrder.h"
#include "XfconfClient.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFile>
#include <QHash>
#include <QStandardPaths>
#include <algorithm>

namespace {

constexpr quint32 pushButtonRole = 43;
constexpr int showingState = 25;
constexpr int maxAccessibleNodes = 400;

const QString accessibleInterface = QStringLiteral("org.a11y.atspi.Accessible");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");

struct Caller {
    int timeoutMs;
    QDeadlineTimer deadline;

    // Sends a call without waiting; calls sent together are answered in parallel.
    QDBusPendingCall start(const QDBusConnection& bus, const QString& service, const QString& path,
                           const QString& interface, const QString& method,
                           const QVariantList& args = {}) const
    {
        if (deadline.hasExpired() || !bus.isConnected())
            return QDBusPendingCall::fromError(QDBusError(QDBusError::Timeout, QString()));
        QDBusMessage m = QDBusMessage::createMethodCall(service, path, interface, method);
        m.setArguments(args);
        return bus.asyncCall(m, timeout());
    }

    // What one call may wait: its own limit, cut short by the scan's deadline.
    int timeout() const
    {
        return std::max(int(std::min<qint64>(timeoutMs, deadline.remainingTime())), 1);
    }

    // The reply's arguments, or nothing on an error or a timeout.
    static QVariantList finish(QDBusPendingCall call)
    {
        call.waitForFinished();
        if (call.isError())
            return {};
        return call.reply().arguments();
    }

    QVariantList call(const QDBusConnection& bus, const QString& service, const QString& path,
                      const QString& interface, const QString& method,
                      const QVariantList& args = {}) const
    {
        return finish(start(bus, service, path, interface, method, args));
    }
};

QVariant unwrap(const QVariant& v)
{
    if (v.userType() == qMetaTypeId<QDBusVariant>())
        return v.value<QDBusVariant>().variant();
    return v;
}

QStringList stringList(const QVariant& value)
{
    const QVariant v = unwrap(value);
    if (v.userType() != qMetaTypeId<QDBusArgument>())
        return v.toStringList();
    // xfconf sends arrays as arrays of variants.
    QStringList result;
    const QDBusArgument arg = v.value<QDBusArgument>();
    if (arg.currentType() != QDBusArgument::ArrayType)
        return result;
    arg.beginArray();
    while (!arg.atEnd()) {
        QDBusVariant element;
        arg >> element;
        result << element.variant().toString();
    }
    arg.endArray();
    return result;
}

QVariantMap variantMap(const QVariant& value)
{
    const QVariant v = unwrap(value);
    if (v.userType() != qMetaTypeId<QDBusArgument>())
        return v.toMap();
    QVariantMap result;
    const QDBusArgument arg = v.value<QDBusArgument>();
    if (arg.currentType() == QDBusArgument::MapType)
        arg >> result;
    return result;
}

// The AT-SPI bus. Its address is asked for once and again only when the connection to it was
// lost (the bus restarted). Scans run one at a time, so the cache needs no lock.
QDBusConnection accessibilityBus(const Caller& caller)
{
    static const QString name = QStringLiteral("quillet-accessibility");
    static QString connectedAddress;
    if (!connectedAddress.isEmpty()) {
        QDBusConnection bus(name);
        if (bus.isConnected())
            return bus;
        QDBusConnection::disconnectFromBus(name);
        connectedAddress.clear();
    }
    const QVariantList reply =
        caller.call(QDBusConnection::sessionBus(), QStringLiteral("org.a11y.Bus"),
                    QStringLiteral("/org/a11y/bus"), QStringLiteral("org.a11y.Bus"),
                    QStringLiteral("GetAddress"));
    const QString address = reply.value(0).toString();
    if (address.isEmpty())
        return QDBusConnection(QString());
    connectedAddress = address;
    return QDBusConnection::connectToBus(address, name);
}

struct AccessibleRef {
    QString bus;
    QString path;
};

QList<AccessibleRef> parseChildren(const QVariantList& reply)
{
    QList<AccessibleRef> result;
    if (reply.isEmpty() || reply.first().userType() != qMetaTypeId<QDBusArgument>())
        return result;
    const QDBusArgument arg = reply.first().value<QDBusArgument>();
    arg.beginArray();
    while (!arg.atEnd()) {
        AccessibleRef child;
        QDBusObjectPath path;
        arg.beginStructure();
        arg >> child.bus >> path;
        arg.endStructure();
        child.path = path.path();
        result.append(child);
    }
    arg.endArray();
    return result;
}

bool parseShowing(const QVariantList& reply)
{
    if (reply.isEmpty())
        return false;
    QList<quint32> words;
    if (reply.first().userType() == qMetaTypeId<QDBusArgument>())
        reply.first().value<QDBusArgument>() >> words;
    else
        words = reply.first().value<QList<quint32>>();
    return !words.isEmpty() && (words.first() & (1u << showingState));
}

std::optional<QRect> parseExtents(const QVariantList& reply)
{
    if (reply.isEmpty() || reply.first().userType() != qMetaTypeId<QDBusArgument>())
        return std::nullopt;
    int x = 0, y = 0, w = 0, h = 0;
    const QDBusArgument arg = reply.first().value<QDBusArgument>();
    arg.beginStructure();
    arg >> x >> y >> w >> h;
    arg.endStructure();
    // Widgets that are not shown report a 1 × 1 rectangle far off screen.
    if (w <= 1 || h <= 1)
        return std::nullopt;
    return QRect(x, y, w, h);
}

quint32 syntheticId(const AccessibleRef& node)
{
    // FNV-1a, so the same object gives the same id in every process.
    quint32 hash = 2166136261u;
    for (const char ch : (node.bus + QLatin1Char(':') + node.path).toUtf8()) {
        hash ^= quint8(ch);
        hash *= 16777619u;
    }
    return hash | 0x80000000u;
}

// The showing push buttons below the given roots, left to right.
QList<StatusIcon> statusButtons(const Caller& caller, const QDBusConnection& bus,
                                const QList<QByteArray>& roots)
{
    QList<AccessibleRef> level;
    for (const QByteArray& root : roots) {
        // "<bus>:<path>"; unique bus names themselves start with a colon.
        const qsizetype split = root.indexOf(":/");
        if (split > 0)
            level.append(
                {QString::fromUtf8(root.left(split)), QString::fromUtf8(root.mid(split + 1))});
    }
    // Breadth first; the calls for one level are sent together.
    QList<StatusIcon> buttons;
    int visited = 0;
    while (!level.isEmpty() && visited < maxAccessibleNodes && !caller.deadline.hasExpired()) {
        visited += int(level.size());
        QList<QDBusPendingCall> roles, kids;
        for (const AccessibleRef& node : std::as_const(level)) {
            roles.append(caller.start(bus, node.bus, node.path, accessibleInterface,
                                      QStringLiteral("GetRole")));
            kids.append(caller.start(bus, node.bus, node.path, accessibleInterface,
                                     QStringLiteral("GetChildren")));
        }
        QList<AccessibleRef> next, found;
        for (qsizetype i = 0; i < level.size(); ++i) {
            const QList<AccessibleRef> children = parseChildren(Caller::finish(kids[i]));
            if (Caller::finish(roles[i]).value(0).toUInt() == pushButtonRole)
                found.append(level[i]);
            else
                next.append(children);
        }
        QList<QDBusPendingCall> states, rects, names, descriptions;
        for (const AccessibleRef& node : std::as_const(found)) {
            states.append(caller.start(bus, node.bus, node.path, accessibleInterface,
                                       QStringLiteral("GetState")));
            names.append(caller.start(bus, node.bus, node.path, propertiesInterface,
                                      QStringLiteral("Get"),
                                      {accessibleInterface, QStringLiteral("Name")}));
            descriptions.append(caller.start(bus, node.bus, node.path, propertiesInterface,
                                             QStringLiteral("Get"),
                                             {accessibleInterface, QStringLiteral("Description")}));
            // Coordinate type 0: screen (root) coordinates.
            rects.append(
                caller.start(bus, node.bus, node.path, QStringLiteral("org.a11y.atspi.Component"),
                             QStringLiteral("GetExtents"), {QVariant::fromValue(quint32(0))}));
        }
        for (qsizetype i = 0; i < found.size(); ++i) {
            const bool showing = parseShowing(Caller::finish(states[i]));
            const std::optional<QRect> rect = parseExtents(Caller::finish(rects[i]));
            // A button with a text of its own (a task list's window, a command) shows no item.
            const bool named = !unwrap(Caller::finish(names[i]).value(0)).toString().isEmpty();
            const QString description = unwrap(Caller::finish(descriptions[i]).value(0)).toString();
            if (showing && rect && !named)
                buttons.append(StatusIcon{syntheticId(found[i]), *rect, 0, {}, description, -1});
        }
        level = next;
    }
    std::stable_sort(buttons.begin(), buttons.end(), [](const StatusIcon& a, const StatusIcon& b) {
        return a.rootRect.x() < b.rootRect.x();
    });
    return buttons;
}

struct RegisteredItem {
    QString id;
    qint64 pid = 0;
    QString title;
    QString toolTipTitle;
};

QString toolTipTitle(const QVariant& value)
{
    // (icon name, icon pixmaps, title, description)
    const QVariant v = unwrap(value);
    if (v.userType() != qMetaTypeId<QDBusArgument>())
        return {};
    const QDBusArgument arg = v.value<QDBusArgument>();
    if (arg.currentSignature() != QLatin1String("(sa(iiay)ss)"))
        return {};
    QString iconName, title, description;
    arg.beginStructure();
    arg >> iconName;
    arg.beginArray();
    while (!arg.atEnd()) {
        int w = 0, h = 0;
        QByteArray pixels;
        arg.beginStructure();
        arg >> w >> h >> pixels;
        arg.endStructure();
    }
    arg.endArray();
    arg >> title >> description;
    arg.endStructure();
    return title;
}

QDBusPendingCall notAsked()
{
    return QDBusPendingCall::fromError(QDBusError(QDBusError::Other, QString()));
}

QDBusPendingCall askBus(const Caller& caller, const QString& method, const QString& name)
{
    return caller.start(QDBusConnection::sessionBus(), QStringLiteral("org.freedesktop.DBus"),
                        QStringLiteral("/org/freedesktop/DBus"),
                        QStringLiteral("org.freedesktop.DBus"), method, {name});
}

// The watcher's items with their process and Id, and with their title and tooltip when
// `withTexts`. An item's Id never changes, so it is remembered by the item's unique bus name
// (which the bus never hands out twice): an item that stops answering keeps its place.
QList<RegisteredItem> registeredItems(const Caller& caller, bool withTexts)
{
    static QHash<QString, QString> idByOwner;
    const QDBusConnection session = QDBusConnection::sessionBus();
    const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    const QVariantList reply = caller.call(
        session, watcher, QStringLiteral("/StatusNotifierWatcher"), propertiesInterface,
        QStringLiteral("Get"), {watcher, QStringLiteral("RegisteredStatusNotifierItems")});
    const QStringList entries = stringList(reply.value(0));

    struct Pending {
        QString service;
        QString path;
        QDBusPendingCall owner;
        QDBusPendingCall pid;
        QString ownerName;
        QDBusPendingCall properties;
    };
    QList<Pending> pending;
    for (const QString& entry : entries) {
        // "service/path", or a bare service with the default path.
        const qsizetype slash = entry.indexOf(QLatin1Char('/'));
        const QString service = slash < 0 ? entry : entry.left(slash);
        pending.append({service,
                        slash < 0 ? QStringLiteral("/StatusNotifierItem") : entry.mid(slash),
                        askBus(caller, QStringLiteral("GetNameOwner"), service),
                        askBus(caller, QStringLiteral("GetConnectionUnixProcessID"), service),
                        QString(), notAsked()});
    }
    QList<qint64> pids;
    for (Pending& p : pending) {
        p.ownerName = Caller::finish(p.owner).value(0).toString();
        pids.append(Caller::finish(p.pid).value(0).toLongLong());
        // Our own item is never asked: what it publishes is known here.
        if (pids.last() == QCoreApplication::applicationPid())
            continue;
        if (withTexts)
            p.properties = caller.start(session, p.service, p.path, propertiesInterface,
                                        QStringLiteral("GetAll"), {itemInterface});
        else if (!idByOwner.contains(p.ownerName))
            p.properties =
                caller.start(session, p.service, p.path, propertiesInterface, QStringLiteral("Get"),
                             {itemInterface, QStringLiteral("Id")});
    }

    QList<RegisteredItem> items;
    QHash<QString, QString> ids;
    for (qsizetype i = 0; i < pending.size(); ++i) {
        const Pending& p = pending[i];
        RegisteredItem item;
        item.pid = pids[i];
        item.id = idByOwner.value(p.ownerName);
        if (item.pid == QCoreApplication::applicationPid()) {
            // Qt's item publishes the application's name as its Id and title.
            item.id = QCoreApplication::applicationName();
            if (withTexts)
                item.title = item.id;
        } else if (withTexts) {
            const QVariantMap properties = variantMap(Caller::finish(p.properties).value(0));
            if (properties.contains(QStringLiteral("Id")))
                item.id = unwrap(properties.value(QStringLiteral("Id"))).toString();
            item.title = unwrap(properties.value(QStringLiteral("Title"))).toString();
            item.toolTipTitle = toolTipTitle(properties.value(QStringLiteral("ToolTip")));
        } else if (item.id.isEmpty()) {
            item.id = unwrap(Caller::finish(p.properties).value(0)).toString();
        }
        if (!p.ownerName.isEmpty() && !item.id.isEmpty())
            ids.insert(p.ownerName, item.id);
        items.append(item);
    }
    // Only items that are still registered are remembered.
    idByOwner = ids;
    return items;
}

// The scan's own xfconf client: it runs on the scan's thread with the scan's short limits, and a
// call of the scan that went unanswered must not make the desktop-picture calls fail at once.
// Its memory of an unanswered call is atomic; scans run one at a time besides.
Xfconf::Client& scanXfconf()
{
    static Xfconf::Client client;
    return client;
}

// The panel's settings below `prefix`, or none when xfconfd does not answer in time.
QVariantMap panelSettings(const Caller& caller, const QString& prefix)
{
    if (caller.deadline.hasExpired())
        return {};
    const QDBusMessage reply =
        scanXfconf().call(QStringLiteral("GetAllProperties"),
                          {QStringLiteral("xfce4-panel"), prefix}, caller.timeout());
    if (!Xfconf::succeeded(reply))
        return {};
    return variantMap(reply.arguments().value(0));
}

struct TrayOrder {
    QStringList known;
    QStringList hidden;
};

// The notification area's known and hidden item names from the panel's settings.
TrayOrder trayOrder(const Caller& caller)
{
    const QVariantMap properties = panelSettings(caller, QStringLiteral("/plugins"));
    QStringList plugins;
    for (auto it = properties.constBegin(); it != properties.constEnd(); ++it) {
        if (unwrap(it.value()).toString() == QLatin1String("systray"))
            plugins << it.key();
    }
    TrayOrder order;
    if (plugins.isEmpty())
        return order;
    // Only one notification area can own the tray; the first configured one is taken.
    std::sort(plugins.begin(), plugins.end());
    order.known = stringList(properties.value(plugins.first() + QStringLiteral("/known-items")));
    order.hidden = stringList(properties.value(plugins.first() + QStringLiteral("/hidden-items")));
    return order;
}

constexpr quint32 frameRole = 23;

struct PanelFrame {
    AccessibleRef itemBox;
    QRect rect;
};

QList<AccessibleRef> childrenOf(const Caller& caller, const QDBusConnection& bus,
                                const AccessibleRef& node)
{
    return parseChildren(
        caller.call(bus, node.bus, node.path, accessibleInterface, QStringLiteral("GetChildren")));
}

QDBusPendingCall startExtents(const Caller& caller, const QDBusConnection& bus,
                              const AccessibleRef& node)
{
    return caller.start(bus, node.bus, node.path, QStringLiteral("org.a11y.atspi.Component"),
                        QStringLiteral("GetExtents"), {QVariant::fromValue(quint32(0))});
}

// The panel applications on the bus: every application named "xfce4-panel", and the one of
// the process `panelPid` when that is not 0.
struct PanelApp {
    AccessibleRef ref;
    qint64 pid = 0;
};

QList<PanelApp> panelApplications(const Caller& caller, const QDBusConnection& bus, qint64 panelPid)
{
    const QList<AccessibleRef> apps =
        childrenOf(caller, bus,
                   {QStringLiteral("org.a11y.atspi.Registry"),
                    QStringLiteral("/org/a11y/atspi/accessible/root")});
    // The bus tells each application's process; our own is never asked anything, as it may be
    // busy and must not wait on itself.
    QList<QDBusPendingCall> pids;
    for (const AccessibleRef& app : apps)
        pids.append(caller.start(bus, QStringLiteral("org.freedesktop.DBus"),
                                 QStringLiteral("/org/freedesktop/DBus"),
                                 QStringLiteral("org.freedesktop.DBus"),
                                 QStringLiteral("GetConnectionUnixProcessID"), {app.bus}));
    QList<PanelApp> others;
    QList<QDBusPendingCall> names;
    QList<PanelApp> panels;
    for (qsizetype i = 0; i < apps.size(); ++i) {
        const QVariantList pid = Caller::finish(pids[i]);
        if (pid.isEmpty() || pid.first().toLongLong() == QCoreApplication::applicationPid())
            continue;
        const PanelApp app{apps[i], pid.first().toLongLong()};
        if (panelPid > 0 && app.pid == panelPid) {
            panels.append(app);
            continue;
        }
        others.append(app);
        names.append(caller.start(bus, apps[i].bus, apps[i].path, propertiesInterface,
                                  QStringLiteral("Get"),
                                  {accessibleInterface, QStringLiteral("Name")}));
    }
    for (qsizetype i = 0; i < others.size(); ++i) {
        if (unwrap(Caller::finish(names[i]).value(0)).toString() == QLatin1String("xfce4-panel"))
            panels.append(others[i]);
    }
    return panels;
}

// The panel window that holds `point`, with its item box.
std::optional<PanelFrame> panelAt(const Caller& caller, const QDBusConnection& bus,
                                  const AccessibleRef& app, const QPoint& point)
{
    const QList<AccessibleRef> frames = childrenOf(caller, bus, app);
    QList<QDBusPendingCall> roles, rects;
    for (const AccessibleRef& f : frames) {
        roles.append(
            caller.start(bus, f.bus, f.path, accessibleInterface, QStringLiteral("GetRole")));
        rects.append(startExtents(caller, bus, f));
    }
    for (qsizetype i = 0; i < frames.size(); ++i) {
        const bool frame = Caller::finish(roles[i]).value(0).toUInt() == frameRole;
        const std::optional<QRect> rect = parseExtents(Caller::finish(rects[i]));
        if (!frame || !rect || !rect->contains(point))
            continue;
        const QList<AccessibleRef> box = childrenOf(caller, bus, frames[i]);
        if (box.size() == 1)
            return PanelFrame{box.first(), *rect};
    }
    return std::nullopt;
}

// The Name of a plugin type's desktop file, or nothing.
QString pluginTypeName(const QString& type)
{
    if (type.isEmpty() || type.contains(QLatin1Char('/')))
        return {};
    QFile file(QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                      QStringLiteral("xfce4/panel/plugins/") + type +
                                          QStringLiteral(".desktop")));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    bool inEntry = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('[')))
            inEntry =
                line == QLatin1String("[Xfce Panel]") || line == QLatin1String("[Desktop Entry]");
        else if (inEntry && line.startsWith(QLatin1String("Name=")))
            return line.mid(5).trimmed();
    }
    return {};
}

// The plugins' names in the order of the one panel with `count` plugins; empty when no single
// panel of the settings has that many.
QStringList pluginNames(const Caller& caller, qsizetype count)
{
    const QVariantMap properties = panelSettings(caller, QStringLiteral("/"));
    QList<QStringList> candidates;
    for (auto it = properties.constBegin(); it != properties.constEnd(); ++it) {
        if (!it.key().startsWith(QLatin1String("/panels/")) ||
            !it.key().endsWith(QLatin1String("/plugin-ids")))
            continue;
        const QStringList ids = stringList(it.value());
        if (ids.size() == count)
            candidates.append(ids);
    }
    QStringList names;
    if (candidates.size() != 1)
        return names;
    for (const QString& id : std::as_const(candidates.first()))
        names << pluginTypeName(
            unwrap(properties.value(QStringLiteral("/plugins/plugin-") + id)).toString());
    return names;
}

} // namespace

namespace PanelStatusItems {

QList<StatusIcon> find(const QList<QByteArray>& accessibleRoots, bool withTexts,
                       std::chrono::milliseconds perCall, const QDeadlineTimer& deadline)
{
    if (accessibleRoots.isEmpty())
        return {};
    const Caller caller{int(perCall.count()), deadline};
    const QDBusConnection bus = accessibilityBus(caller);
    QList<StatusIcon> icons = statusButtons(caller, bus, accessibleRoots);
    if (icons.isEmpty())
        return icons;

    const QList<RegisteredItem> items = registeredItems(caller, withTexts);
    const TrayOrder order = trayOrder(caller);
    QStringList ids;
    for (const RegisteredItem& item : items)
        ids << item.id;
    const QList<qsizetype> shown =
        StatusItemOrder::match(icons.size(), ids, order.known, order.hidden);
    for (qsizetype i = 0; i < shown.size(); ++i) {
        const RegisteredItem& item = items.at(shown[i]);
        icons[i].pid = item.pid;
        icons[i].title = item.title;
        icons[i].toolTipTitle = item.toolTipTitle;
    }
    return icons;
}

QList<StatusIcon> findInPanel(qint64 panelPid, bool withTexts, std::chrono::milliseconds perCall,
                              const QDeadlineTimer& deadline)
{
    const Caller caller{int(perCall.count()), deadline};
    const QDBusConnection bus = accessibilityBus(caller);
    if (!bus.isConnected())
        return {};
    QList<QByteArray> roots;
    for (const PanelApp& app : panelApplications(caller, bus, panelPid)) {
        // xfce4-panel shows its items in a plug of another process, found through the plug.
        if (app.pid == panelPid)
            roots << (app.ref.bus + u':' + app.ref.path).toUtf8();
    }
    QList<StatusIcon> icons = statusButtons(caller, bus, roots);
    if (icons.isEmpty())
        return icons;
    const QList<RegisteredItem> items = registeredItems(caller, withTexts);
    if (items.size() != icons.size())
        return icons;
    // The buttons follow the order of registration; a tooltip that disagrees makes it a guess.
    for (qsizetype i = 0; i < icons.size(); ++i) {
        const QString& shown = icons[i].toolTipTitle;
        if (withTexts && !shown.isEmpty() && shown != items[i].toolTipTitle &&
            shown != items[i].title)
            return icons;
    }
    int hosted = 0;
    for (qsizetype i = 0; i < icons.size(); ++i) {
        icons[i].pid = items[i].pid;
        icons[i].title = items[i].title;
        if (!items[i].toolTipTitle.isEmpty())
            icons[i].toolTipTitle = items[i].toolTipTitle;
        if (items[i].pid == panelPid)
            icons[i].hostedPlace = hosted++;
    }
    return icons;
}

PanelLayout panelLayout(const QRect& trayArea, qint64 panelPid, std::chrono::milliseconds perCall,
                        const QDeadlineTimer& deadline)
{
    PanelLayout layout;
    QList<StatusIcon>& extras = layout.extras;
    if (trayArea.isEmpty())
        return layout;
    const Caller caller{int(perCall.count()), deadline};
    const QDBusConnection bus = accessibilityBus(caller);
    if (!bus.isConnected())
        return layout;
    for (const PanelApp& app : panelApplications(caller, bus, panelPid)) {
        const std::optional<PanelFrame> panel = panelAt(caller, bus, app.ref, trayArea.center());
        if (!panel)
            continue;
        const QList<AccessibleRef> plugins = childrenOf(caller, bus, panel->itemBox);
        QList<QDBusPendingCall> states, rects, kids;
        for (const AccessibleRef& p : plugins) {
            states.append(
                caller.start(bus, p.bus, p.path, accessibleInterface, QStringLiteral("GetState")));
            rects.append(startExtents(caller, bus, p));
            kids.append(caller.start(bus, p.bus, p.path, accessibleInterface,
                                     QStringLiteral("GetChildren")));
        }
        QList<PanelPluginBox> boxes;
        for (qsizetype i = 0; i < plugins.size(); ++i) {
            PanelPluginBox box;
            box.showing = parseShowing(Caller::finish(states[i]));
            box.rect = parseExtents(Caller::finish(rects[i])).value_or(QRect());
            box.hasContent = !parseChildren(Caller::finish(kids[i])).isEmpty();
            boxes.append(box);
        }
        const QList<qsizetype> chosen =
            PanelPluginChoice::rightOfTray(boxes, panel->rect, trayArea);
        const QStringList names =
            chosen.isEmpty() ? QStringList() : pluginNames(caller, boxes.size());
        for (qsizetype i : chosen)
            extras.append(StatusIcon{
                syntheticId(plugins[i]), boxes[i].rect, app.pid, names.value(i), {}, -1});
        // A plugin without widgets (a separator, an expanding gap) shows the panel's background.
        for (const PanelPluginBox& box : std::as_const(boxes)) {
            if (box.showing && !box.hasContent && box.rect.intersects(panel->rect))
                layout.emptyStretches.append(box.rect & panel->rect);
        }
        // Only one notification area is searched for.
        break;
    }
    return layout;
}

} // namespace PanelStatusItems
