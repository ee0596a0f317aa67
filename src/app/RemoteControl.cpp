// Requests from outside, checked and passed on to the model and the preferences.
#include "RemoteControl.h"

#include "AppLogging.h"
#include "core/AppModel.h"
#include "core/Codecs.h"
#include "core/Preferences.h"

#include <QRegularExpression>
#include <algorithm>

namespace {
const QString kEnabled = QStringLiteral("Enabled");
const QString kDesktopIconsHidden = QStringLiteral("DesktopIconsHidden");
const QString kBackground = QStringLiteral("Background");
const QString kBackgroundColor = QStringLiteral("BackgroundColor");
const QString kMenuBarCover = QStringLiteral("MenuBarCover");
const QString kHiddenItemLabels = QStringLiteral("HiddenItemLabels");

QString onOff(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QStringList sorted(const QSet<QString>& set)
{
    QStringList list(set.cbegin(), set.cend());
    list.sort();
    return list;
}

template <typename Enum, typename Values> QString choices(const Values& values)
{
    QStringList names;
    for (Enum value : values)
        names.append(QLatin1Char('"') + rawValue(value) + QLatin1Char('"'));
    return names.join(QStringLiteral(", "));
}

// Type names as D-Bus users know them.
QString typeName(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return QStringLiteral("boolean");
    case QMetaType::QString:
        return QStringLiteral("string");
    case QMetaType::QStringList:
        return QStringLiteral("list of strings");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
        return QStringLiteral("number");
    default:
        return QString::fromLatin1(value.typeName());
    }
}

QString quoted(const QStringList& labels)
{
    QStringList parts;
    for (const QString& label : labels)
        parts.append(QLatin1Char('"') + label + QLatin1Char('"'));
    return parts.isEmpty() ? QStringLiteral("none") : parts.join(QStringLiteral(", "));
}
} // namespace

RemoteControl::RemoteControl(AppModel& model, Preferences& preferences,
                             std::function<void()> showWindow, std::function<void()> quit,
                             QObject* parent)
    : QObject(parent), m_model(model), m_preferences(preferences),
      m_showWindow(std::move(showWindow)), m_quit(std::move(quit)), m_published(properties())
{
    // Changes made from the window, the tray menu or outside are announced alike.
    connect(&m_model, &AppModel::published, this, [this](AppModel::Field field) {
        switch (field) {
        case AppModel::Field::enabled:
        case AppModel::Field::desktopIconsHidden:
        case AppModel::Field::background:
        case AppModel::Field::backgroundColor:
        case AppModel::Field::menuBarCover:
        case AppModel::Field::selectedItemIDs:
            publishChanges();
            break;
        default:
            break;
        }
    });
}

const QStringList& RemoteControl::propertyNames()
{
    static const QStringList names{kEnabled,         kDesktopIconsHidden, kBackground,
                                   kBackgroundColor, kMenuBarCover,       kHiddenItemLabels};
    return names;
}

QVariantMap RemoteControl::properties() const
{
    return {
        {kEnabled, m_model.enabled()},
        {kDesktopIconsHidden, m_model.desktopIconsHidden()},
        {kBackground, rawValue(m_model.background())},
        {kBackgroundColor, Codecs::hex(m_model.backgroundColor())},
        {kMenuBarCover, rawValue(m_model.menuBarCover())},
        {kHiddenItemLabels, sorted(m_model.hiddenLabels())},
    };
}

void RemoteControl::publishChanges()
{
    const QVariantMap now = properties();
    QVariantMap changed;
    for (auto it = now.cbegin(); it != now.cend(); ++it) {
        if (m_published.value(it.key()) != it.value())
            changed.insert(it.key(), it.value());
    }
    m_published = now;
    if (!changed.isEmpty())
        emit propertiesChanged(changed);
}

QString RemoteControl::writeProperty(const QString& name, const QVariant& value)
{
    const auto expect = [&](QMetaType::Type type, const char* wanted) -> QString {
        if (value.typeId() == type)
            return {};
        return QStringLiteral("%1 takes a %2, not a %3")
            .arg(name, QLatin1String(wanted), typeName(value));
    };
    QString error;
    if (name == kEnabled) {
        if ((error = expect(QMetaType::Bool, "boolean")).isEmpty())
            setEnabled(value.toBool());
    } else if (name == kDesktopIconsHidden) {
        if ((error = expect(QMetaType::Bool, "boolean")).isEmpty())
            m_model.setDesktopIconsHidden(value.toBool());
    } else if (name == kBackground) {
        if ((error = expect(QMetaType::QString, "string")).isEmpty()) {
            if (const auto background = desktopBackgroundFromRaw(value.toString()))
                m_model.setBackground(*background);
            else
                error =
                    QStringLiteral("unknown background \"%1\"; choose one of %2")
                        .arg(value.toString(), choices<DesktopBackground>(allDesktopBackgrounds));
        }
    } else if (name == kBackgroundColor) {
        if ((error = expect(QMetaType::QString, "string")).isEmpty()) {
            static const QRegularExpression rgb(QStringLiteral("^#[0-9A-Fa-f]{6}$"));
            if (rgb.match(value.toString()).hasMatch())
                m_model.setBackgroundColor(Codecs::colorFromHex(value.toString()));
            else
                error = QStringLiteral("malformed colour \"%1\"; write it as #RRGGBB, for "
                                       "example #1E90FF")
                            .arg(value.toString());
        }
    } else if (name == kMenuBarCover) {
        if ((error = expect(QMetaType::QString, "string")).isEmpty()) {
            if (const auto cover = menuBarCoverFromRaw(value.toString()))
                m_model.setMenuBarCover(*cover);
            else
                error = QStringLiteral("unknown panel cover \"%1\"; choose one of %2")
                            .arg(value.toString(), choices<MenuBarCover>(allMenuBarCovers));
        }
    } else if (name == kHiddenItemLabels) {
        if ((error = expect(QMetaType::QStringList, "list of strings")).isEmpty())
            error = setHiddenItemLabels(value.toStringList());
    } else {
        error = QStringLiteral("no property named \"%1\"").arg(name);
    }
    if (!error.isEmpty())
        qCDebug(lcApp, "refused %s: %s", qUtf8Printable(name), qUtf8Printable(error));
    return error;
}

QString RemoteControl::setHiddenItemLabels(const QStringList& labels)
{
    const auto unmatched = [this, &labels] {
        QStringList missing;
        for (const QString& label : labels) {
            const auto& items = m_model.menuBarItems();
            if (std::none_of(items.cbegin(), items.cend(),
                             [&label](const MenuBarItem& item) { return item.label == label; }))
                missing.append(label);
        }
        return missing;
    };
    // The panel may have changed since it was last looked at: look again, as the window's
    // rescan button does, before calling a label unknown.
    if (!unmatched().isEmpty())
        m_model.refreshMenuBarItems();
    if (const QStringList missing = unmatched(); !missing.isEmpty()) {
        QStringList present;
        for (const MenuBarItem& item : m_model.menuBarItems())
            present.append(item.label);
        return QStringLiteral("no panel item is labelled %1; the items now are %2")
            .arg(quoted(missing), quoted(present));
    }
    // Each difference is one click on the item's switch in the window. Labels of items that
    // are not in the panel now stay as they are, as they do in the window.
    const QSet<QString> wanted(labels.cbegin(), labels.cend());
    const QList<MenuBarItem> items = m_model.menuBarItems();
    for (const MenuBarItem& item : items) {
        if (wanted.contains(item.label) != m_model.hiddenLabels().contains(item.label))
            m_model.toggleItem(item.id);
    }
    return {};
}

void RemoteControl::setEnabled(bool enabled)
{
    m_model.setEnabled(enabled);
}

void RemoteControl::toggle()
{
    // The tray menu's "Enabled" entry does the same.
    m_model.setEnabled(!m_model.enabled());
}

void RemoteControl::showWindow()
{
    if (m_showWindow)
        m_showWindow();
}

void RemoteControl::quit()
{
    if (m_quit)
        m_quit();
}

bool RemoteControl::handleRequest(const QString& request, QStringList& lines)
{
    if (request == QLatin1String("reopen") || request == QLatin1String("show"))
        showWindow();
    else if (request == QLatin1String("enable"))
        setEnabled(true);
    else if (request == QLatin1String("disable"))
        setEnabled(false);
    else if (request == QLatin1String("toggle"))
        toggle();
    else if (request == QLatin1String("status"))
        lines = statusLines();
    else if (request == QLatin1String("quit"))
        // After the answer has gone out: the sender then waits for this process to end.
        QMetaObject::invokeMethod(this, &RemoteControl::quit, Qt::QueuedConnection);
    else {
        lines = {QStringLiteral("unknown request \"%1\"").arg(request)};
        return false;
    }
    return true;
}

QStringList RemoteControl::statusLines() const
{
    const auto picture = [](const std::optional<QString>& path) {
        return path.value_or(QString());
    };
    return {
        QStringLiteral("enabled: ") + onOff(m_model.enabled()),
        QStringLiteral("desktop-icons-hidden: ") + onOff(m_model.desktopIconsHidden()),
        QStringLiteral("background: ") + rawValue(m_model.background()),
        QStringLiteral("background-color: ") + Codecs::hex(m_model.backgroundColor()),
        QStringLiteral("light-picture: ") + picture(m_model.lightWallpaperURL()),
        QStringLiteral("dark-picture: ") + picture(m_model.darkWallpaperURL()),
        QStringLiteral("menu-bar-cover: ") + rawValue(m_model.menuBarCover()),
        // For reading; the D-Bus property HiddenItemLabels gives the exact list to scripts.
        QStringLiteral("hidden-item-labels: ") +
            sorted(m_model.hiddenLabels()).join(QStringLiteral(", ")),
        QStringLiteral("restore-on-launch: ") + onOff(m_preferences.restoreOnLaunch()),
        QStringLiteral("show-in-dock: ") + onOff(m_preferences.showInDock()),
        QStringLiteral("show-in-menu-bar: ") + onOff(m_preferences.showInMenuBar()),
        QStringLiteral("launch-at-login: ") + onOff(m_preferences.launchAtLogin()),
    };
}
