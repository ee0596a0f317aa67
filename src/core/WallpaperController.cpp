// Desktop pictures per monitor: the solid colour, the light/dark pictures, the record of the
// user's own pictures and the tinted strip under a covered panel.
#include "WallpaperController.h"

#include "CoreLogging.h"
#include "DefaultsStore.h"
#include "ProblemLog.h"
#include "TaskQueue.h"
#include "platform/Geometry.h"
#include "platform/PictureFile.h"
#include "platform/Platform.h"
#include "platform/SupportFolder.h"

#include <QBuffer>
#include <QColorSpace>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageWriter>
#include <QJsonObject>
#include <QPainter>
#include <QSaveFile>
#include <QThread>
#include <algorithm>
#include <cmath>

namespace {

// How long xfdesktop takes to lay itself out for new monitors, with room to spare.
constexpr std::chrono::milliseconds kScreensSettle{1500};

const QString kSolidColorPrefix = QStringLiteral("quillet-color-");
const QString kTintedPrefix = QStringLiteral("tinted-");

// Creates the folder (and its parents) when it is missing; the folder itself is private.
bool writeFile(const QString& path, const QByteArray& bytes)
{
    // Written whole or not at all: a full disk must not leave a cut-off picture for the desktop.
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && writeAll(file, bytes) &&
        file.commit()) {
        ProblemLog::clear(QFileInfo(path).absolutePath());
        return true;
    }
    ProblemLog::reportOnce(
        QFileInfo(path).absolutePath(),
        QStringLiteral("cannot write pictures to the folder %1 (%2); the desktop "
                       "keeps its current picture")
            .arg(QFileInfo(path).absolutePath(), file.errorString()));
    return false;
}

// Whether the file holds exactly these bytes.
bool holds(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.size() == bytes.size() && file.readAll() == bytes;
}

QByteArray encode(const QImage& image, const char* format, int quality = -1)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    if (!writer.write(image))
        return {};
    return bytes;
}

// The path with "." and ".." removed and symbolic links followed; a path that does not exist is
// only cleaned.
QString resolvedPath(const QString& path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

// Decimal text of an unsigned 32-bit number, with an optional leading plus sign.
std::optional<quint32> parseDisplayId(QStringView text)
{
    if (text.startsWith(u'+'))
        text = text.mid(1);
    if (text.isEmpty())
        return std::nullopt;
    quint64 value = 0;
    for (QChar c : text) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
        value = value * 10 + quint64(c.unicode() - u'0');
        if (value > 0xFFFFFFFFull)
            return std::nullopt;
    }
    return quint32(value);
}

QString inSupportDir(const QString& fileName)
{
    return WallpaperController::supportDir() + u'/' + fileName;
}

} // namespace

WallpaperController::WallpaperController(Platform& platform, DefaultsStore& defaults,
                                         TaskQueue* work, QObject* parent)
    : QObject(parent), m_platform(platform), m_defaults(defaults),
      m_inline(work ? nullptr : std::make_unique<InlineTaskQueue>()),
      m_work(work ? *work : *m_inline)
{
    m_originals = loadOriginals(m_defaults);
    connect(&m_platform.appearance(), &Appearance::appearanceChanged, this,
            &WallpaperController::appearanceChanged);
    connect(&m_platform.screens(), &Screens::screensChanged, this,
            &WallpaperController::screensChanged);
}

WallpaperController::~WallpaperController() = default;

void WallpaperController::show(const WallpaperChoice& choice)
{
    m_choice = choice;
    m_showing = true;
    request(PicturePass::Kind::show, /*announce=*/true);
}

void WallpaperController::setBarTintActive(bool active)
{
    if (active == m_barTintActive)
        return;
    m_barTintActive = active;
    // The panel is read again once the strip under it has changed.
    if (m_showing)
        request(PicturePass::Kind::show, /*announce=*/true);
}

void WallpaperController::restore()
{
    m_showing = false;
    request(PicturePass::Kind::putBack);
}

void WallpaperController::appearanceChanged()
{
    // Only the light/dark choice depends on the appearance. What is wanted decides, not what a
    // pass has done so far: the first pass may not have run yet.
    if (m_showing && m_choice.mode == DesktopBackground::image)
        request(PicturePass::Kind::show);
}

void WallpaperController::screensChanged()
{
    // With the pictures shown, new sizes need new tinted pictures, a root picture must be drawn
    // again for the new root, and a monitor that came back shows the choice too. Otherwise a
    // monitor that was off when its pictures went back gets them now. Either way not while the
    // desktop program lays itself out for the new monitors (on its own thread only: the tests'
    // passes run at once).
    if (!m_inline)
        m_screensSettle = QDeadlineTimer(kScreensSettle);
    request(m_showing ? PicturePass::Kind::show : PicturePass::Kind::putBack);
}

bool WallpaperController::idle() const
{
    return m_work.idle();
}

void WallpaperController::afterPending(QObject* context, std::function<void()> done)
{
    m_work.post([] {}, context, std::move(done));
}

PicturePass WallpaperController::passFor(PicturePass::Kind kind, bool announce) const
{
    PicturePass pass;
    pass.kind = kind;
    pass.choice = m_choice;
    pass.barTint = m_barTintActive;
    pass.announce = announce;
    pass.screens = m_platform.screens().screens();
    pass.notBefore = m_screensSettle;
    return pass;
}

void WallpaperController::request(PicturePass::Kind kind, bool announce)
{
    PicturePass pass = passFor(kind, announce);
    {
        const QMutexLocker lock(&m_nextMutex);
        const bool queued = m_next.has_value();
        // A pass not yet begun gives way: the desktop only needs to end up as asked last.
        if (queued)
            pass.announce = pass.announce || m_next->announce;
        m_next = std::move(pass);
        if (queued)
            return;
    }
    auto announced = std::make_shared<bool>(false);
    m_work.post(
        [this, announced] {
            PicturePass next;
            {
                const QMutexLocker lock(&m_nextMutex);
                if (!m_next)
                    return;
                next = std::move(*m_next);
                m_next.reset();
            }
            *announced = next.announce;
            if (const qint64 wait = next.notBefore.remainingTime(); wait > 0)
                QThread::msleep(quint64(wait));
            run(next);
        },
        this,
        [this, announced] {
            if (*announced)
                emit picturesShown();
            emit passEnded();
        });
}

void WallpaperController::run(const PicturePass& pass)
{
    // Pictures are decoded once per choice: a file changed behind its back shows with a new one.
    if (pass.choice != m_pass.choice)
        m_decoded.clear();
    m_pass = pass;
    if (pass.kind == PicturePass::Kind::show) {
        // Read here rather than when asked: the window list waits on the X server, and the
        // appearance may take a bus call and a child process (once per pass, not per monitor).
        m_pass.windows = m_platform.windowList().onScreenWindows();
        if (pass.choice.mode == DesktopBackground::image)
            m_pass.dark = m_platform.appearance().isDark();
    }
    if (pass.kind == PicturePass::Kind::putBack)
        putBack();
    else
        apply();
    // The decoded pictures serve only the tinted strip: without a cover they are memory for
    // nothing (tens of megabytes at 4K).
    if (!pass.barTint)
        m_decoded.clear();
}

void WallpaperController::apply()
{
    if (m_pass.choice.mode == DesktopBackground::keep && !m_pass.barTint) {
        putBack();
        return;
    }
    const QHash<quint32, QString> heldBefore = m_originals;
    captureOriginalsIfNeeded(m_pass.screens);
    m_applied = true;

    // No monitor changes before the desktop's own record of it is on disk.
    DesktopPictures& pictures = m_platform.desktopPictures();
    QList<ScreenInfo> screens;
    for (const ScreenInfo& screen : std::as_const(m_pass.screens)) {
        if (pictures.rememberDesktop(screen)) {
            screens.append(screen);
        } else if (screen.displayId && !heldBefore.contains(*screen.displayId)) {
            // A monitor the desktop keeps to itself (a desktop program draws it) will not
            // change: a picture recorded for it just now would wait for a restore forever.
            m_originals.remove(*screen.displayId);
        }
    }
    persistOriginalsIfChanged(heldBefore);
    if (!m_pass.barTint) {
        const std::optional<QString> target = targetURL();
        if (!target)
            return;
        for (const ScreenInfo& screen : std::as_const(screens)) {
            if (!pictures.setDesktopPicture(screen, *target))
                qCDebug(lcWallpaper, "%s: cannot show %s", qUtf8Printable(screen.outputName),
                        qUtf8Printable(*target));
        }
        return;
    }
    for (const ScreenInfo& screen : std::as_const(screens)) {
        if (!screen.displayId)
            continue;
        if (const auto tinted = renderTinted(screen, *screen.displayId);
            tinted && !pictures.setDesktopPicture(screen, *tinted))
            qCDebug(lcWallpaper, "%s: cannot show %s", qUtf8Printable(screen.outputName),
                    qUtf8Printable(*tinted));
    }
}

void WallpaperController::putBack()
{
    DesktopPictures& pictures = m_platform.desktopPictures();
    const bool otherDesktopsRecord = pictures.otherDesktopRecordPending();
    const QHash<quint32, QString> before = m_originals;
    for (const ScreenInfo& screen : std::as_const(m_pass.screens)) {
        const PictureRestore outcome = pictures.restoreDesktop(screen);
        if (!screen.displayId)
            continue;
        const quint32 id = *screen.displayId;
        const auto original = m_originals.constFind(id);
        if (original == m_originals.constEnd())
            continue;
        switch (outcome) {
        case PictureRestore::restored:
            m_originals.remove(id);
            break;
        case PictureRestore::failed:
            break;
        case PictureRestore::nothingHeld:
            // No monitor changes before the desktop's own record of it is on disk, so one that
            // no record describes shows nothing of ours: its entry was left by a kill between
            // the two records (and may be a snapshot of another desktop program's root, which
            // put on this desktop would replace every workspace's picture). Made while another
            // desktop program ran, it waits for that program.
            if (!otherDesktopsRecord)
                m_originals.remove(id);
            break;
        }
        // At once: a crash before the next monitor must not leave an entry whose exact record
        // is already gone (its picture alone would flatten every workspace).
        if (!m_originals.contains(id))
            persistOriginals();
    }
    persistOriginalsIfChanged(before);
    m_applied = false;
    m_decoded.clear();
    if (const QString limitation = pictures.restoreLimitation();
        !limitation.isEmpty() && !m_noticeGiven) {
        m_noticeGiven = true;
        emit restoreNotice(limitation);
    }
}

std::optional<QString> WallpaperController::pictureForAppearance() const
{
    const auto& [light, darkPicture] = std::pair(m_pass.choice.lightURL, m_pass.choice.darkURL);
    if (m_pass.dark)
        return darkPicture ? darkPicture : light;
    return light ? light : darkPicture;
}

std::optional<QString> WallpaperController::targetURL()
{
    switch (m_pass.choice.mode) {
    case DesktopBackground::keep:
        return std::nullopt;
    case DesktopBackground::color:
        return renderSolidColor(m_pass.choice.color);
    case DesktopBackground::image:
        return pictureForAppearance();
    }
    return std::nullopt;
}

std::optional<QString> WallpaperController::renderSolidColor(const RgbColor& fill)
{
    QImage image(256, 256, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return std::nullopt;
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.fillRect(image.rect(), fill.toQColor());
    }
    const QByteArray png = encode(image, "png");
    if (png.isEmpty())
        return std::nullopt;
    // The same picture keeps its file: a new name would make the desktop load it again.
    if (m_lastColorURL && holds(*m_lastColorURL, png))
        return m_lastColorURL;

    ++m_colorSeq;
    const QString path =
        inSupportDir(kSolidColorPrefix + QString::number(m_colorSeq) + QStringLiteral(".png"));
    if (!writeFile(path, png))
        return std::nullopt;
    // The desktop caches pictures by location: the old file goes only once the new one exists.
    if (m_lastColorURL)
        QFile::remove(*m_lastColorURL);
    m_lastColorURL = path;
    return path;
}

bool WallpaperController::isStagedURL(const QString& path) const
{
    const QString name = QFileInfo(path).fileName();
    if (name == QLatin1String("quillet-background.png") || name.startsWith(kSolidColorPrefix) ||
        name.startsWith(kTintedPrefix))
        return true;
    const QString resolved = resolvedPath(path);
    for (const auto& chosen : {m_pass.choice.lightURL, m_pass.choice.darkURL}) {
        if (chosen && resolvedPath(*chosen) == resolved)
            return true;
    }
    return false;
}

QString WallpaperController::supportDir()
{
    return SupportFolder::path();
}

// --- the user's own pictures -----------------------------------------------------------------

void WallpaperController::captureOriginalsIfNeeded(const QList<ScreenInfo>& screens)
{
    // An entry already held (also one left by an earlier run, or one of a monitor that was off
    // when the pictures went back) is never replaced: the monitor may show our own picture now.
    const QHash<quint32, QString> before = m_originals;
    for (const ScreenInfo& screen : screens) {
        if (!screen.displayId || m_originals.contains(*screen.displayId))
            continue;
        const quint32 id = *screen.displayId;
        if (const auto snapshot = snapshotWallpaper(screen, id)) {
            m_originals.insert(id, *snapshot);
            continue;
        }
        const std::optional<QString> current = m_platform.desktopPictures().desktopPicture(screen);
        if (!current || current->isEmpty())
            continue;
        if (isStagedURL(*current))
            continue;
        if (QFileInfo(*current).fileName() == QLatin1String("DefaultDesktop.heic"))
            continue;
        m_originals.insert(id, *current);
    }
    persistOriginalsIfChanged(before);
}

void WallpaperController::persistOriginalsIfChanged(const QHash<quint32, QString>& before)
{
    // An empty record still removes a stored one the loader could not read.
    if (m_originals != before ||
        (m_originals.isEmpty() && !m_defaults.rawValue(StoredKeys::originalURLs).isUndefined()))
        persistOriginals();
}

std::optional<QString> WallpaperController::snapshotWallpaper(const ScreenInfo& screen, quint32 id)
{
    if (!m_platform.capture().canCaptureScreen())
        return std::nullopt;
    const QImage image = m_platform.desktopPictures().snapshotDesktopPicture(screen);
    if (image.isNull())
        return std::nullopt;
    // The fastest deflate level (quality 80 gives zlib level 1): the file is ours alone and read
    // back once, and the default level took some hundreds of milliseconds more at 4K.
    const QByteArray png = encode(image, "png", 80);
    if (png.isEmpty())
        return std::nullopt;
    const QString path =
        inSupportDir(QStringLiteral("original-") + QString::number(id) + QStringLiteral(".png"));
    if (!writeFile(path, png))
        return std::nullopt;
    // The tinted picture starts from this snapshot: no need to decode it again.
    m_decoded.insert(decodedKey(path, image.size()), image);
    return path;
}

void WallpaperController::persistOriginals()
{
    if (m_originals.isEmpty()) {
        m_defaults.remove(StoredKeys::originalURLs);
        return;
    }
    QJsonObject record;
    for (auto it = m_originals.constBegin(); it != m_originals.constEnd(); ++it)
        record.insert(QString::number(it.key()), it.value());
    m_defaults.setValue(StoredKeys::originalURLs, record);
}

QHash<quint32, QString> WallpaperController::loadOriginals(const DefaultsStore& defaults)
{
    const QJsonValue stored = defaults.rawValue(StoredKeys::originalURLs);
    if (!stored.isObject())
        return {};
    const QJsonObject record = stored.toObject();
    // One value that is not text makes the whole record unreadable.
    for (auto it = record.constBegin(); it != record.constEnd(); ++it) {
        if (!it.value().isString())
            return {};
    }
    QHash<quint32, QString> result;
    for (auto it = record.constBegin(); it != record.constEnd(); ++it) {
        if (const auto id = parseDisplayId(it.key()))
            result.insert(*id, it.value().toString());
    }
    return result;
}

// --- the tinted strip under a covered panel ---------------------------------------------------

QString WallpaperController::decodedKey(const QString& path, QSize size)
{
    return path + u'\n' + QString::number(size.width()) + u'x' + QString::number(size.height());
}

QImage WallpaperController::pictureToFill(const QString& path, QSize size)
{
    const QString key = decodedKey(path, size);
    if (const auto found = m_decoded.constFind(key); found != m_decoded.constEnd())
        return *found;
    const QImage picture = PictureFile::readToFill(path, size);
    // One picture per monitor size is all a choice needs; a stale one is never reused.
    if (m_decoded.size() > 8)
        m_decoded.clear();
    m_decoded.insert(key, picture);
    return picture;
}

std::optional<QString> WallpaperController::renderTinted(const ScreenInfo& screen, quint32 id)
{
    const double scale = std::min(screen.backingScale, 2.0);
    // std::round takes halves away from zero.
    const double width = std::round(screen.frame.width() * scale);
    const double height = std::round(screen.frame.height() * scale);
    if (width < 1 || height < 1)
        return std::nullopt;
    // Beyond what an image can hold; drawing would fail anyway.
    if (width > 32767 || height > 32767)
        return std::nullopt;
    const QSize size{int(width), int(height)};

    // The base picture already scaled to fill the monitor, centred when drawn: the overflow on
    // one axis is cut off equally on both sides.
    const WallpaperChoice& choice = m_pass.choice;
    QImage base;
    switch (choice.mode) {
    case DesktopBackground::keep:
        if (const auto found = m_originals.constFind(id); found != m_originals.constEnd())
            base = pictureToFill(*found, size);
        break;
    case DesktopBackground::color:
        break;
    case DesktopBackground::image:
        if (const auto picture = pictureForAppearance())
            base = pictureToFill(*picture, size);
        break;
    }

    QImage canvas(size, QImage::Format_RGB32);
    if (canvas.isNull())
        return std::nullopt;
    QPainter painter(&canvas);
    if (base.isNull()) {
        canvas.fill(choice.color.toQColor());
    } else {
        const QPoint origin(int(std::lround((width - base.width()) / 2)),
                            int(std::lround((height - base.height()) / 2)));
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(origin, base);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }

    // Only a monitor with a panel along its top has a bar to blend with.
    if (const auto barHeight = topPanelHeight(m_pass.windows, screen, m_pass.screens)) {
        const double frameHeight = screen.frame.height();
        RgbColor stripColor = choice.color;
        if (choice.mode != DesktopBackground::color && !base.isNull()) {
            double fraction = frameHeight >= 1 ? *barHeight / frameHeight : *barHeight;
            fraction = std::max(fraction, 0.02);
            stripColor = averageTop(base, fraction).value_or(choice.color);
        }
        // The strip keeps the screen's own proportion.
        const double stripHeight = *barHeight / std::max(frameHeight, 1.0) * height;
        painter.fillRect(QRectF(0, 0, width, stripHeight), stripColor.toQColor());
    }
    painter.end();

    const QByteArray jpeg = encode(canvas, "jpeg", 92);
    if (jpeg.isEmpty())
        return std::nullopt;
    const auto previous = m_lastTinted.constFind(id);
    if (previous != m_lastTinted.constEnd() && holds(*previous, jpeg))
        return *previous;
    ++m_tintSeq;
    const QString path = inSupportDir(kTintedPrefix + QString::number(id) + u'-' +
                                      QString::number(m_tintSeq) + QStringLiteral(".jpg"));
    if (!writeFile(path, jpeg))
        return std::nullopt;
    if (previous != m_lastTinted.constEnd())
        QFile::remove(*previous);
    m_lastTinted.insert(id, path);
    return path;
}

std::optional<double> WallpaperController::topPanelHeight(const QList<WindowListEntry>& windows,
                                                          const ScreenInfo& screen,
                                                          const QList<ScreenInfo>& screens)
{
    // Window bounds are in global top-left coordinates, screen frames bottom-left: the primary
    // monitor (frame origin at 0, 0) converts between them.
    const auto primary = Geometry::primaryScreen(screens);
    const QRectF frame =
        Geometry::flipped(screen.frame, primary ? primary->frame.height() : screen.frame.height());
    const double top = frame.y();
    const double left = frame.x();
    const double right = frame.right();
    for (const WindowListEntry& entry : windows) {
        const QRectF& b = entry.bounds;
        // A vertical panel that starts at the top (wider than high only for horizontal panels)
        // is not the bar.
        if (entry.layer != WindowLayer::panel || b.height() <= 0 || b.width() <= b.height())
            continue;
        const double overlap = std::min(right, b.right()) - std::max(left, b.left());
        if (std::abs(b.y() - top) <= 1.0 && overlap > 0)
            return b.height();
    }
    return std::nullopt;
}

std::optional<RgbColor> WallpaperController::averageTop(const QImage& image, double fraction)
{
    if (image.isNull())
        return std::nullopt;
    const int w = image.width();
    const int h = image.height();
    if (w < 1 || h < 1)
        return std::nullopt;
    // Rows below the picture cannot be read; at least one row always is.
    const double wanted = std::floor(fraction * h);
    const int rows = wanted >= h ? h : std::max(1, int(wanted));
    const int step = w < 80 ? 1 : w / 80;

    // Only the sampled strip is converted: non-premultiplied, so transparent pixels keep
    // their colour, and in sRGB.
    QImage strip = image.copy(0, 0, w, rows).convertToFormat(QImage::Format_ARGB32);
    if (strip.colorSpace().isValid() && strip.colorSpace() != QColorSpace(QColorSpace::SRgb))
        strip.convertToColorSpace(QColorSpace(QColorSpace::SRgb));
    if (strip.isNull())
        return std::nullopt;

    double red = 0, green = 0, blue = 0;
    qint64 count = 0;
    for (int y = 0; y < rows; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(strip.constScanLine(y));
        for (int x = 0; x < w; x += step) {
            const QRgb px = line[x];
            red += qRed(px);
            green += qGreen(px);
            blue += qBlue(px);
            ++count;
        }
    }
    if (count == 0)
        return std::nullopt;
    const double n = double(count) * 255.0;
    return RgbColor{red / n, green / n, blue / n, 1.0};
}
