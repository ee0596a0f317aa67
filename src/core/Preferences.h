// The four user preferences: stored on every assignment and applied to the desktop.
#pragma once

#include <QObject>

class DefaultsStore;
class LoginItems;
class ShellHooks;

class Preferences final : public QObject {
    Q_OBJECT
public:
    // `shell` may be null (no shell yet, or a test that does not care).
    Preferences(DefaultsStore& defaults, LoginItems& loginItems, ShellHooks* shell);

    // The instance of the running program: the application shell makes it, with itself as the
    // shell, and installs it here before anything asks for it.
    static Preferences& shared();
    static void setShared(Preferences* preferences);

    bool restoreOnLaunch() const { return m_restoreOnLaunch; }
    bool showInDock() const { return m_showInDock; }
    bool showInMenuBar() const { return m_showInMenuBar; }
    bool launchAtLogin() const { return m_launchAtLogin; }

    // Every assignment stores the value and applies it, also when it does not change.
    void setRestoreOnLaunch(bool value);
    void setShowInDock(bool value);
    void setShowInMenuBar(bool value);
    void setLaunchAtLogin(bool value);

    // Brings the desktop in line with the preferences; once at launch.
    void apply();

signals:
    // After every assignment of any of the four preferences.
    void changed();

private:
    void applyActivationPolicy();
    void applyLaunchAtLogin();

    bool m_restoreOnLaunch;
    bool m_showInDock;
    bool m_showInMenuBar;
    bool m_launchAtLogin;
    DefaultsStore& m_defaults;
    LoginItems& m_loginItems;
    ShellHooks* m_shell;
};
