// xfconf-query with fixed argument vectors, no shell: the xfce4-desktop channel's
// /backdrop/screen0/monitor<output>/workspace<n>/{last-image,image-style}.
#include "XfceDesktopPictures.h"

#include "X11Connection.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <algorithm>
#include <cstdlib>

namespace {

const QString kXfconfQuery = QStringLiteral("/usr/bin/xfconf-query");
const QString kChannel = QStringLiteral("xfce4-desktop");
// xfdesktop's "Zoomed": scaled to fill the monitor, cut off equally on both sides.
const QString kStyleZoomed = QStringLiteral("5");

// Output of a successful run, or nothing.
std::optional<QString> xfconf(const QStringList& arguments)
{
    QProcess process;
    process.start(kXfconfQuery, QStringList{QStringLiteral("-c"), kChannel} + arguments);
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(1000);
        return std::nullopt;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
}

std::optional<QString> property(const QString& name)
{
    return xfconf({QStringLiteral("-p"), name});
}

bool setProperty(const QString& name, const QString& type, const QString& value)
{
    // -n creates the property where xfdesktop has not written it yet.
    return xfconf({QStringLiteral("-p"), name, QStringLiteral("-n"), QStringLiteral("-t"), type,
                   QStringLiteral("-s"), value})
        .has_value();
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

} // namespace

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
    if (const auto listing = xfconf({QStringLiteral("-l")})) {
        const QRegularExpression workspace(QRegularExpression::escape(prefix) +
                                           QStringLiteral("/workspace(\\d+)/"));
        for (auto it = workspace.globalMatch(*listing); it.hasNext();)
            found.insert(it.next().captured(1).toInt());
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
    QHash<int, Workspace>& record = m_before[prefix];
    record.clear();
    for (int w : workspaces(prefix)) {
        const QString base = prefix + QStringLiteral("/workspace%1/").arg(w);
        record.insert(w, {property(base + QStringLiteral("last-image")),
                          property(base + QStringLiteral("image-style"))});
    }
    auto path = property(prefix + QStringLiteral("/workspace%1/last-image").arg(workspace));
    if (!path && workspace != 0)
        path = property(prefix + QStringLiteral("/workspace0/last-image"));
    if (!path || path->isEmpty())
        return std::nullopt;
    return path;
}

bool XfceDesktopPictures::setDesktopPicture(const ScreenInfo& screen, const QString& path)
{
    if (screen.outputName.isEmpty())
        return false;
    const QString prefix = monitorPrefix(screen);
    const QList<int> all = workspaces(prefix);

    // Putting back a picture the monitor showed when last asked puts back what every workspace
    // had then, picture and style, as the user left them.
    if (const auto saved = m_before.constFind(prefix); saved != m_before.constEnd()) {
        const bool restoring = std::any_of(saved->cbegin(), saved->cend(),
                                           [&](const Workspace& w) { return w.picture == path; });
        if (restoring) {
            const QHash<int, Workspace> before = *saved;
            m_before.remove(prefix);
            bool ok = true;
            for (int workspace : all) {
                const Workspace w = before.value(workspace);
                ok = show(prefix, workspace, w.picture.value_or(path),
                          w.style.value_or(kStyleZoomed)) &&
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

bool XfceDesktopPictures::show(const QString& prefix, int workspace, const QString& path,
                               const QString& style)
{
    const QString base = prefix + QStringLiteral("/workspace%1/").arg(workspace);
    // The style first, so xfdesktop never shows the new picture in the old style.
    const bool styled =
        setProperty(base + QStringLiteral("image-style"), QStringLiteral("int"), style);
    return setProperty(base + QStringLiteral("last-image"), QStringLiteral("string"), path) &&
           styled;
}
