// The miniature desktop.
#include "MiniScreen.h"

#include "Look.h"

#include <QCache>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

MiniScreen::MiniScreen(const Background& background, Bar bar, bool icons, QWidget* parent)
    : QWidget(parent), m_background(background), m_bar(bar), m_icons(icons)
{
    loadImage();
    Look::whenThemeSymbolsArrive(this, [this] { update(); });
}

void MiniScreen::setBackground(const Background& background)
{
    const bool reload =
        background.kind != m_background.kind || background.path != m_background.path;
    m_background = background;
    if (reload)
        loadImage();
    update();
}

void MiniScreen::setBar(Bar bar)
{
    m_bar = bar;
    update();
}

void MiniScreen::setIcons(bool icons)
{
    m_icons = icons;
    update();
}

void MiniScreen::loadImage()
{
    m_image = QImage();
    if (m_background.kind != Background::Kind::image || !m_background.path)
        return;
    m_image = readThumbnail(*m_background.path);
}

namespace {

// Thumbnails are kept at the freedesktop "large" size (at most 256 × 256): sharp on a 58 × 38
// well even at twice the pixel density.
constexpr int thumbnailSide = 256;

// A small copy shipped beside a picture (the default pictures get theirs at build time):
// "thumbnails/<name>" in the picture's folder, used while it is not older than the picture.
QImage shippedThumbnail(const QFileInfo& picture)
{
    const QFileInfo small(picture.absolutePath() + QStringLiteral("/thumbnails/") +
                          picture.fileName());
    if (!small.exists() || small.lastModified() < picture.lastModified())
        return {};
    // Our thumbnails are PNG: naming the format spares probing every image plugin (and loading
    // their libraries) to recognise the file.
    return QImage(small.absoluteFilePath(), "PNG");
}

// The freedesktop thumbnail cache: $XDG_CACHE_HOME/thumbnails/large/<md5 of the file URI>.png,
// valid while its Thumb::MTime matches the picture; file managers share it.
QString cachedThumbnailPath(const QFileInfo& picture)
{
    const QByteArray uri = QUrl::fromLocalFile(picture.absoluteFilePath()).toEncoded();
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/thumbnails/large/") +
           QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) +
           QStringLiteral(".png");
}

QImage cachedThumbnail(const QFileInfo& picture)
{
    QImageReader reader(cachedThumbnailPath(picture), "PNG");
    if (reader.text(QStringLiteral("Thumb::MTime")) !=
        QString::number(picture.lastModified().toSecsSinceEpoch()))
        return {};
    return reader.read();
}

void storeThumbnail(const QFileInfo& picture, QImage thumbnail)
{
    const QString path = cachedThumbnailPath(picture);
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        return;
    QFile::setPermissions(folder,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    thumbnail.setText(
        QStringLiteral("Thumb::URI"),
        QString::fromLatin1(QUrl::fromLocalFile(picture.absoluteFilePath()).toEncoded()));
    thumbnail.setText(QStringLiteral("Thumb::MTime"),
                      QString::number(picture.lastModified().toSecsSinceEpoch()));
    // Written whole or not at all, readable by this user only.
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && thumbnail.save(&file, "PNG")) {
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        file.commit();
    }
}

} // namespace

QImage MiniScreen::readThumbnail(const QString& path)
{
    // The panel rebuilds its previews often and shows the same few pictures: keep the last ones
    // read, keyed by the file's identity so a replaced file is read again.
    const QFileInfo info(path);
    const QString key = info.absoluteFilePath() + QLatin1Char('\n') +
                        QString::number(info.lastModified().toMSecsSinceEpoch()) +
                        QLatin1Char('\n') + QString::number(info.size());
    // Cost in kilobytes: at most 8 MB of decoded pictures.
    static QCache<QString, QImage> cache(8 * 1024);
    if (const QImage* cached = cache.object(key))
        return *cached;
    if (!info.isFile())
        return {};

    // Decoding a large picture takes tens of milliseconds: a small copy made earlier (at build
    // time, or by an earlier run or a file manager) is used instead.
    QImage image = shippedThumbnail(info);
    if (image.isNull())
        image = cachedThumbnail(info);
    if (image.isNull()) {
        QImageReader reader(path);
        reader.setAutoTransform(true);
        // Decode large pictures at a reduced size where the format can, and shrink the rest
        // after reading.
        const QSize full = reader.size();
        if (full.isValid() && (full.width() > thumbnailSide || full.height() > thumbnailSide))
            reader.setScaledSize(full.scaled(thumbnailSide, thumbnailSide, Qt::KeepAspectRatio));
        image = reader.read();
        if (image.width() > thumbnailSide || image.height() > thumbnailSide)
            image = image.scaled(thumbnailSide, thumbnailSide, Qt::KeepAspectRatio,
                                 Qt::SmoothTransformation);
        if (!image.isNull())
            storeThumbnail(info, image);
    }
    if (!image.isNull())
        cache.insert(key, new QImage(image), std::max<qsizetype>(1, image.sizeInBytes() / 1024));
    return image;
}

QList<QRectF> MiniScreen::statusCircles(Bar bar, double width)
{
    QList<double> offsets;
    if (bar == Bar::items)
        offsets = {6.5, 11.5, 16.5, 21.5, 26.5};
    else if (bar == Bar::gap)
        // The second and third are hidden: the gap they leave shows.
        offsets = {6.5, 21.5, 26.5};
    QList<QRectF> circles;
    for (double offset : offsets)
        circles << QRectF(width - offset, 1.0, circleSize, circleSize);
    return circles;
}

QList<QRectF> MiniScreen::iconRects(double width)
{
    return {QRectF(width - 10, 10, 6, 5), QRectF(width - 10, 19, 6, 5),
            QRectF(width - 10, 28, 6, 5)};
}

QRectF MiniScreen::fillSource(const QSizeF& image, const QSizeF& target)
{
    if (image.isEmpty() || target.isEmpty())
        return {};
    const double scale = std::max(target.width() / image.width(), target.height() / image.height());
    const QSizeF shown(target.width() / scale, target.height() / scale);
    return {(image.width() - shown.width()) / 2.0, (image.height() - shown.height()) / 2.0,
            shown.width(), shown.height()};
}

void MiniScreen::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF frame = rect();
    const double W = frame.width();

    switch (m_background.kind) {
    case Background::Kind::color:
        painter.fillRect(frame, m_background.color.toQColor());
        break;
    case Background::Kind::image:
        if (!m_image.isNull()) {
            painter.drawImage(frame, m_image, fillSource(m_image.size(), frame.size()));
        } else {
            const QColor secondary = Look::secondary(palette());
            painter.fillRect(frame, Look::withOpacity(secondary, 0.25));
            const int size = int(std::round(Look::systemFont(14).pointSizeF() * 4.0 / 3.0));
            painter.drawPixmap(
                QPointF((W - size) / 2.0, (frame.height() - size) / 2.0),
                Look::symbol(QStringLiteral("photo"), size, secondary, devicePixelRatioF()));
        }
        break;
    case Background::Kind::wallpaper: {
        QLinearGradient gradient(frame.topLeft(), frame.bottomLeft());
        gradient.setColorAt(0, QColor::fromRgbF(0.32f, 0.56f, 0.92f));
        gradient.setColorAt(1, QColor::fromRgbF(0.16f, 0.30f, 0.60f));
        painter.fillRect(frame, gradient);
        break;
    }
    }

    painter.setPen(Qt::NoPen);
    if (m_bar != Bar::none)
        painter.fillRect(QRectF(0, 0, W, barHeight), QColor::fromRgbF(1, 1, 1, 0.85f));
    painter.setBrush(Qt::gray);
    for (const QRectF& circle : statusCircles(m_bar, W))
        painter.drawEllipse(circle);
    if (m_icons) {
        painter.setBrush(QColor::fromRgbF(1, 1, 1, 0.90f));
        for (const QRectF& icon : iconRects(W))
            painter.drawRoundedRect(icon, 1, 1);
    }
}
