// Desktop pictures on Xfce: xfdesktop's per-monitor, per-workspace settings in xfconf, keyed by
// the RandR output name.
#pragma once

#include "platform/DesktopPictures.h"

#include <QHash>
#include <QStringList>

class XfceDesktopPictures final : public DesktopPictures {
public:
    // What every workspace showed before the first change is also kept in `workspaceFile`, so
    // that the run after a crash can still give each workspace its own picture and style back.
    explicit XfceDesktopPictures(QString workspaceFile);

    // The picture xfdesktop shows on the monitor now: the current workspace's (or the shared
    // one in single-workspace mode).
    std::optional<QString> desktopPicture(const ScreenInfo& screen) const override;
    // Sets the picture, zoomed to fill, on every workspace of the monitor, so that switching
    // workspaces never shows another picture. When the picture is the answer to the last
    // desktopPicture() question, every workspace gets its own picture and style back instead.
    bool setDesktopPicture(const ScreenInfo& screen, const QString& path) override;
    // xfdesktop keeps a readable path, which is the better original.
    QImage snapshotDesktopPicture(const ScreenInfo&) override { return {}; }

private:
    struct Workspace {
        std::optional<QString> picture;
        std::optional<QString> style;
    };
    struct Monitor {
        // The answer desktopPicture() gave: the one picture that means "put everything back".
        // Another workspace's picture may well be one the user chose to show everywhere.
        std::optional<QString> shown;
        QHash<int, Workspace> workspaces;
    };

    static QString monitorPrefix(const ScreenInfo& screen);
    // Workspaces 0 … n−1 of the window manager, plus any the settings already name.
    QList<int> workspaces(const QString& prefix) const;
    static bool show(const QString& prefix, int workspace, const QString& path, int style);
    void saveWorkspaces() const;

    QString m_workspaceFile;

    // Per monitor settings prefix: what it and each of its workspaces showed when last asked.
    mutable QHash<QString, Monitor> m_before;
};
