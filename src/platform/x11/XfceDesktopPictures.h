// Desktop pictures on Xfce: xfdesktop's per-monitor, per-workspace settings in xfconf, keyed by
// the RandR output name.
#pragma once

#include "platform/DesktopPictures.h"
#include "platform/DesktopRecordFile.h"

#include <QJsonObject>

class XfceDesktopPictures final : public DesktopPictures {
public:
    // The record of every monitor's workspaces is kept in `recordDir`.
    explicit XfceDesktopPictures(const QString& recordDir);

    // The picture file of the monitor's current workspace (or of the shared one in
    // single-workspace mode).
    std::optional<QString> desktopPicture(const ScreenInfo& screen) const override;
    // What xfdesktop draws now: it publishes its drawing as the root pixmap.
    QImage snapshotDesktopPicture(const ScreenInfo& screen) override;

    // Every setting of every workspace of the monitor, with its type: picture, style, colours,
    // colour style, slideshow; a setting that does not exist is remembered as absent.
    bool rememberDesktop(const ScreenInfo& screen) override;
    bool holdsRecord(const ScreenInfo& screen) const override;
    // Workspace by workspace: settings created since are removed, the others set back to their
    // type and value; each workspace leaves the record once all of its settings are back.
    PictureRestore restoreDesktop(const ScreenInfo& screen) override;
    bool otherDesktopRecordPending() const override { return m_file.othersPending(); }

    // The picture, zoomed to fill, on every workspace of the monitor, with the workspace's
    // slideshow paused (xfdesktop would otherwise cycle through the program's own folder).
    bool setDesktopPicture(const ScreenInfo& screen, const QString& path) override;

private:
    static QString monitorPrefix(const ScreenInfo& screen);
    // Workspaces 0 … n−1 of the window manager, plus any the settings already name.
    static QList<int> workspaces(const QStringList& propertyNames, const QString& prefix);

    DesktopRecordFile m_file;
    // {"<output>": {"<workspace>": {"<setting>": {"t": D-Bus type, "v": value}}}}
    QJsonObject m_record;
};
