// Desktop pictures on any X11 desktop without a desktop program: one picture per monitor,
// composed into the root window's background pixmap, announced through _XROOTPMAP_ID and
// ESETROOT_PMAP_ID so that other programs (and the next setter) find it.
#pragma once

#include "platform/DesktopPictures.h"
#include "platform/DesktopRecordFile.h"

#include <QJsonObject>

class RootWindowDesktopPictures final : public DesktopPictures {
public:
    // The record of every monitor's picture, and the pictures themselves, are kept in
    // `recordDir`.
    explicit RootWindowDesktopPictures(const QString& recordDir);

    // The root pixmap keeps no file name.
    std::optional<QString> desktopPicture(const ScreenInfo&) const override { return {}; }
    QImage snapshotDesktopPicture(const ScreenInfo& screen) override
    {
        return rootPixmapPart(screen);
    }

    // The monitor's part of the root pixmap; where the root has no pixmap (a plain
    // `xsetroot -solid` root) its colour, read where no window covers it; where neither can
    // be read, the fact that X's own background is the best that can be put back.
    bool rememberDesktop(const ScreenInfo& screen) override;
    bool holdsRecord(const ScreenInfo& screen) const override;
    PictureRestore restoreDesktop(const ScreenInfo& screen) override;
    bool otherDesktopRecordPending() const override { return m_file.othersPending(); }

    // Draws the picture zoomed to fill the monitor's rectangle of the root pixmap; the other
    // monitors keep what they show.
    bool setDesktopPicture(const ScreenInfo& screen, const QString& path) override;
    // The pixmap has the size of the root it was drawn for: a resolution switch shows its
    // corner unless it is drawn again.
    bool redrawAfterScreenChange() const override { return true; }
    QString restoreLimitation() const override { return m_limitation; }
    // The desktop program that refused the last write (it draws the desktop over the root);
    // empty when the last write reached the root.
    QString drawnBy() const { return m_drawnBy; }

    // The monitor's rectangle of the current root pixmap; null when there is none.
    static QImage rootPixmapPart(const ScreenInfo& screen);

private:
    QString recordKey(const ScreenInfo& screen) const;
    // The colour a monitor without a picture is filled with when its neighbour gets one.
    std::optional<quint32> rememberedSolid() const;

    DesktopRecordFile m_file;
    // {"<output>": {"picture": "<file>"} | {"solid": pixel} | {"unknown": true}}
    QJsonObject m_record;
    QString m_limitation;
    QString m_drawnBy;
};
