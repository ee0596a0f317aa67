// A private temporary HOME with XDG config, data and runtime folders for one test.
#pragma once

#include <QString>
#include <QTemporaryDir>

class TestDirs final {
public:
    // Points HOME and the XDG variables of this process into a fresh temporary folder.
    TestDirs();
    ~TestDirs();

    QString root() const { return m_dir.path(); }
    QString configHome() const { return m_dir.path() + QStringLiteral("/config"); }
    QString dataHome() const { return m_dir.path() + QStringLiteral("/data"); }
    QString defaultsPath() const { return configHome() + QStringLiteral("/Quillet/defaults.json"); }
    // A folder with Light.png and Dark.png, as the program's resources.
    QString resourceDir() const { return m_dir.path() + QStringLiteral("/resources"); }

private:
    QTemporaryDir m_dir;
};
