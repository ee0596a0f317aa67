// Launch at login through an XDG autostart entry.
#pragma once

#include "LoginItems.h"

class AutostartLoginItems final : public LoginItems {
public:
    // `entryPath` defaults to `$XDG_CONFIG_HOME/autostart/quillet.desktop`; `program` is the
    // command the entry starts (defaults to this executable).
    explicit AutostartLoginItems(QString entryPath = {}, QString program = {});

    Status status() const override;
    bool registerItem(QString* error) override;
    bool unregisterItem(QString* error) override;

    QString entryPath() const { return m_entryPath; }

private:
    QString m_entryPath;
    QString m_program;
};
