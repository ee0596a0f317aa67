// Puts the chosen desktop picture on every monitor, keeps a record of the user's own pictures so
// that they can be put back (also after a crash), and renders the picture with a tinted strip
// under a covered panel.
#pragma once

#include "DesktopBackground.h"
#include "RgbColor.h"

#include <QHash>
#include <QImage>
#include <QObject>
#include <QString>
#include <optional>

class DefaultsStore;
class Platform;
class WindowList;
struct ScreenInfo;

class WallpaperController final : public QObject {
    Q_OBJECT
public:
    WallpaperController(Platform& platform, DefaultsStore& defaults, QObject* parent = nullptr);

    // Picture locations are plain absolute paths.
    DesktopBackground mode = DesktopBackground::keep;
    RgbColor color;
    std::optional<QString> lightURL;
    std::optional<QString> darkURL;
    // The user's own picture per display id; kept equal to the stored record.
    QHash<quint32, QString> originals;
    bool applied = false;
    bool barTintActive = false;
    qint64 tintSeq = 0;
    QHash<quint32, QString> lastTinted;
    qint64 colorSeq = 0;
    std::optional<QString> lastColorURL;

    // Shows the current choice on every monitor.
    void apply();
    // The one picture the untinted path sets on every monitor.
    std::optional<QString> targetURL();
    // Writes a fresh 256 × 256 picture of the colour and removes the previous one.
    std::optional<QString> renderSolidColor(const RgbColor& fill);
    // Whether the file is one of ours or one of the user's chosen pictures.
    bool isStagedURL(const QString& path) const;
    // `$XDG_DATA_HOME/Quillet`, created (mode 0700) on every call.
    static QString supportDir();

    // --- the user's own pictures ---
    void captureOriginalsIfNeeded();
    std::optional<QString> snapshotWallpaper(const ScreenInfo& screen, quint32 id);
    void persistOriginals();
    static QHash<quint32, QString> loadOriginals(const DefaultsStore& defaults);
    // Puts every recorded picture back and forgets the record.
    void restore();

    // --- the tinted strip under a covered panel ---
    std::optional<QString> renderTinted(const ScreenInfo& screen, quint32 id);
    // Height of the top panel in points; 24 when there is none.
    static double menuBarHeight(const WindowList& windows);
    // Mean colour of the top `fraction` of the image, about 80 columns per row.
    static std::optional<RgbColor> averageTop(const QImage& image, double fraction);

private:
    // The light or dark picture, whichever the appearance asks for, else the other one.
    std::optional<QString> pictureForAppearance() const;
    void appearanceChanged();

    Platform& m_platform;
    DefaultsStore& m_defaults;
    // The appearance read once at the start of a tinted apply.
    std::optional<bool> m_darkForThisApply;
};
