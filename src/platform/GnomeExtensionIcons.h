// Desktop icons that a GNOME Shell extension draws (Desktop Icons NG, "ding@rastersoft.com",
// which Debian ships and many GNOME users turn on).
//
// Hidden by switching the extension off, through GNOME Shell's own org.gnome.shell
// disabled-extensions key. The extension's settings hide only its special icons (home, trash,
// drives), never the files of the Desktop folder; an entry in disabled-extensions stops all of
// them, works whether the user or the session turned the extension on (that key takes
// precedence over both), and changes one key only, where the shell's DisableExtension call also
// rewrites enabled-extensions. The shell stops the extension's desktop windows when the key
// changes and starts them again when the entry goes.
//
// What the key held is recorded ("icons-<name>.json" in the support folder) before it is
// changed, so that a crash still gives it back at the next launch. Putting it back writes the
// exact text the user had (or unsets it again) while the key is as this program left it; a key
// the user changed meanwhile keeps their change, and only the entry added here leaves it.
#pragma once

#include "platform/CommandOutput.h"
#include "platform/DesktopIconsBackend.h"
#include "platform/DesktopRecordFile.h"

#include <QJsonObject>
#include <QObject>

class GnomeExtensionIcons final : public QObject, public DesktopIconsBackend {
public:
    // The desktop icons extension Debian ships.
    static QString desktopIconsUuid() { return QStringLiteral("ding@rastersoft.com"); }
    // Where GNOME Shell keeps the extensions it leaves off.
    static QString disabledKey() { return QStringLiteral("/org/gnome/shell/disabled-extensions"); }
    // The hidden style: never one of another desktop's (xfdesktop counts from 0, caja's switches
    // from 1000).
    static constexpr int kHiddenStyle = 2000;

    GnomeExtensionIcons(QString uuid, const QString& recordDir, CommandOutput& tools);

    // True while the extension is off because of this program (in this run or one that ended
    // without switching it back on).
    bool holdsRecord() const { return !m_record.isEmpty(); }
    // Called when this program has switched the extension on again: GNOME Shell starts it
    // now, before a look at the desktop can have seen it run.
    void onSwitchedOn(std::function<void()> switchedOn) { m_switchedOn = std::move(switchedOn); }

    Style hiddenStyle() const override { return kHiddenStyle; }
    Style shownStyle() const override { return Style(); }
    // Hidden when the extension is in disabled-extensions.
    void readStyle(std::function<void(ReadResult)> done) override;
    void writeStyle(Style style, std::function<void(bool written)> done) override;
    // GNOME Shell follows the key itself.
    void restartDesktop(std::function<void()> ready) override { ready(); }

private:
    // The key's text as dconf prints it: empty when nobody set it; none when dconf failed.
    void readKey(std::function<void(std::optional<QString>)> done);
    void hide(const QString& current, std::function<void(bool)> done);
    void show(const QString& current, std::function<void(bool)> done);
    // `dconf write` of `text`, or `dconf reset` for an empty one.
    void writeKey(const QString& text, std::function<void(bool)> done);
    void dropRecord();

    QString m_uuid;
    CommandOutput& m_tools;
    DesktopRecordFile m_file;
    // {"before": the key's text, or null when it was unset, "written": what this program wrote}
    QJsonObject m_record;
    std::function<void()> m_switchedOn;
};
