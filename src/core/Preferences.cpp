// Preferences: stored booleans with their effects on taskbar, tray icon and autostart.
#include "Preferences.h"

#include "DefaultsStore.h"
#include "ShellHooks.h"
#include "platform/LoginItems.h"

namespace {
Preferences* g_shared = nullptr;

bool storedBool(const DefaultsStore& defaults, const StoredKey& key)
{
    // Anything but a stored boolean (absent, a string, a list) gives the key's default.
    return defaults.value(key).toBool();
}
} // namespace

Preferences::Preferences(DefaultsStore& defaults, LoginItems& loginItems, ShellHooks* shell)
    : m_restoreOnLaunch(storedBool(defaults, StoredKeys::restoreOnLaunch)),
      m_showInDock(storedBool(defaults, StoredKeys::showInDock)),
      m_showInMenuBar(storedBool(defaults, StoredKeys::showInMenuBar)),
      m_launchAtLogin(storedBool(defaults, StoredKeys::launchAtLogin)), m_defaults(defaults),
      m_loginItems(loginItems), m_shell(shell)
{
}

Preferences& Preferences::shared()
{
    if (!g_shared)
        qFatal("Preferences::shared() was asked for before the application shell made it");
    return *g_shared;
}

void Preferences::setShared(Preferences* preferences)
{
    g_shared = preferences;
}

void Preferences::setRestoreOnLaunch(bool value)
{
    m_restoreOnLaunch = value;
    m_defaults.setBool(StoredKeys::restoreOnLaunch, value);
    emit changed();
}

void Preferences::setShowInDock(bool value)
{
    m_showInDock = value;
    m_defaults.setBool(StoredKeys::showInDock, value);
    applyActivationPolicy();
    emit changed();
}

void Preferences::setShowInMenuBar(bool value)
{
    m_showInMenuBar = value;
    m_defaults.setBool(StoredKeys::showInMenuBar, value);
    if (m_shell)
        m_shell->setStatusItemVisible(value);
    emit changed();
}

void Preferences::setLaunchAtLogin(bool value)
{
    m_launchAtLogin = value;
    m_defaults.setBool(StoredKeys::launchAtLogin, value);
    applyLaunchAtLogin();
    emit changed();
}

void Preferences::apply()
{
    applyActivationPolicy();
    if (m_shell)
        m_shell->setStatusItemVisible(m_showInMenuBar);
    // What the system reports wins: an autostart entry the user removed shows as off.
    setLaunchAtLogin(m_loginItems.status() == LoginItems::Status::enabled);
}

void Preferences::applyActivationPolicy()
{
    if (!m_shell)
        return;
    m_shell->setTaskbarPresence(m_showInDock);
    if (m_showInDock)
        m_shell->bringToFront();
}

void Preferences::applyLaunchAtLogin()
{
    const bool enabled = m_loginItems.status() == LoginItems::Status::enabled;
    if (m_launchAtLogin == enabled)
        return;
    QString error;
    const bool done =
        m_launchAtLogin ? m_loginItems.registerItem(&error) : m_loginItems.unregisterItem(&error);
    if (!done)
        qWarning("Quillet: launch-at-login update failed: %s", qUtf8Printable(error));
}
