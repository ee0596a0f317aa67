// Desktops that keep their desktop picture in GSettings and draw it themselves: MATE (caja draws
// org.mate.background), GNOME on X11 (org.gnome.desktop.background, with its light/dark pair) and
// Cinnamon (org.cinnamon.desktop.background). One backend, a key table per desktop.
//
// The settings are read and written with the `gsettings` and `dconf` tools rather than through
// libgio, which would add to the program's start-up for every desktop. The keys of one picture of
// ours go in one `dconf load` of the folder: one change, drawn once. Written a key at a time,
// each key was a redraw of its own: Cinnamon's settings daemon replaced the root pixmap several
// times per picture, and after quick changes Cinnamon's compositor could stay on an earlier
// picture, or black, while the root pixmap held the last. What the user had is read with
// `dconf`, which alone tells a key the user never set from one set to its default, and is
// written back with `dconf write` (the exact text read) or `dconf reset` (unset again).
#pragma once

#include "platform/CommandOutput.h"
#include "platform/DesktopIconsBackend.h"
#include "platform/DesktopPictures.h"
#include "platform/DesktopRecordFile.h"
#include "platform/GVariantText.h"

#include <QElapsedTimer>
#include <QHash>
#include <QJsonObject>
#include <QMutex>
#include <QObject>

struct GSettingsDesktopKeys {
    // The desktop as users name it, and the record's file name ("desktop-<record>.json").
    QString desktop;
    QString record;
    // The background schema and its dconf folder.
    QString schema;
    QString folder;
    // The picture: a plain path, or a file:// URI; a second key for the dark appearance where
    // the desktop has one (it gets the same picture: the program chooses light or dark itself).
    QString pictureKey;
    QString darkPictureKey;
    bool pictureIsUri = false;
    // Values every picture of ours needs (full opacity, no slideshow, …): key ("sub/key" for a
    // key of the child schema in the folder below), GVariant text.
    QList<std::pair<QString, QString>> fixedValues;
    // The desktop's icon switches (a dconf folder and keys, each at its last value in
    // iconValues hides the icons); empty where the desktop keeps no icon setting that leaves
    // its picture alone.
    QString iconFolder;
    QStringList iconKeys;
    // The least time between two picture changes (0: none). Cinnamon's compositor blends each
    // new root pixmap in over 1.5 s; one replaced again before that ended could stay on the
    // screen (an earlier picture, or black) while the root held the last.
    int changeGapMs = 0;
    // Every value an icon switch may hold (GVariant text as dconf prints it), the one that hides
    // last; and where this desktop's icon style numbers start, apart from every other desktop's.
    QStringList iconValues{QStringLiteral("true"), QStringLiteral("false")};
    int iconStyleBase = 1000;

    // Every key a picture of ours may change: what the record holds.
    QStringList recordedKeys() const;

    static const GSettingsDesktopKeys& mate();
    static const GSettingsDesktopKeys& gnome();
    static const GSettingsDesktopKeys& cinnamon();
};

// One picture for the whole screen, as these desktops keep it: the same picture on every
// monitor is shown zoomed; different pictures (the tinted strip only on the panel's monitor) are
// composed into one image of the whole screen, shown spanned.
class GSettingsDesktopPictures final : public DesktopPictures {
public:
    GSettingsDesktopPictures(const GSettingsDesktopKeys& keys, const QString& recordDir,
                             CommandOutput& tools);

    const GSettingsDesktopKeys& keys() const { return m_keys; }

    std::optional<QString> desktopPicture(const ScreenInfo& screen) const override;
    QImage snapshotDesktopPicture(const ScreenInfo& screen) override;
    // Every recorded key of the background schema, as the user had it (or unset), once for all
    // monitors; each monitor joins the record.
    bool rememberDesktop(const ScreenInfo& screen) override;
    bool holdsRecord(const ScreenInfo& screen) const override;
    // The keys go back at the first monitor restored (there is one picture for all of them);
    // the record goes with them.
    PictureRestore restoreDesktop(const ScreenInfo& screen) override;
    bool otherDesktopRecordPending() const override { return m_file.othersPending(); }
    bool setDesktopPicture(const ScreenInfo& screen, const QString& path) override;
    // A composed picture is drawn for the monitors' layout.
    bool redrawAfterScreenChange() const override { return true; }

private:
    static QString monitorKey(const ScreenInfo& screen);
    // The keys the user has set, as dconf prints them; none when dconf cannot be read.
    std::optional<QHash<QString, QString>> userValues() const;
    // The values ("key" or "sub/key", GVariant text) that differ from what this run wrote last,
    // in one change; true when nothing needed writing.
    bool write(const QList<std::pair<QString, QString>>& values);
    QString composeSpanned();

    const GSettingsDesktopKeys& m_keys;
    CommandOutput& m_tools;
    DesktopRecordFile m_file;
    // {"keys": {key: GVariant text, or null when unset}, "monitors": [output names]}
    QJsonObject m_record;
    // What each monitor is to show now: its frame and the picture.
    QHash<QString, std::pair<QRectF, QString>> m_shown;
    // What this run wrote last, so an unchanged key is not written (and redrawn) again.
    QHash<QString, QString> m_written;
    QString m_lastComposed;
    // When this run last changed the keys.
    QElapsedTimer m_lastChange;
    int m_composedSeq = 0;
    mutable QMutex m_lock;
};

// The desktop's icon switches as one style number: each key is unset or one of its values (a
// digit, 0 for unset, first key lowest), offset so that it is never taken for another desktop's
// style. No key set at all is "no style", so that giving it back unsets every key again.
class GSettingsDesktopIcons final : public QObject, public DesktopIconsBackend {
    Q_OBJECT
public:
    GSettingsDesktopIcons(const GSettingsDesktopKeys& keys, CommandOutput& tools);

    Style hiddenStyle() const override;
    Style shownStyle() const override { return Style(); }
    void readStyle(std::function<void(ReadResult)> done) override;
    void writeStyle(Style style, std::function<void(bool written)> done) override;
    // caja and nemo-desktop apply their icon switches live: nothing to restart.
    void restartDesktop(std::function<void()> ready) override { ready(); }

    // The style for what dconf printed of the icon folder; none when unreadable.
    ReadResult styleOf(const QByteArray& dump) const;

private:
    void writeNext(QStringList commands, std::function<void(bool)> done);

    const GSettingsDesktopKeys& m_keys;
    CommandOutput& m_tools;
};
