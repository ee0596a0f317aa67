// The miniature desktop.
#include "MiniScreen.h"

#include "Look.h"

#include <QCache>
#include <QDateTime>
#include <QFileInfo>
#include <QImageReader>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

MiniScreen::MiniScreen(const Background& background, Bar bar, bool icons, QWidget* parent)
    : QWidget(parent), m_background(background), m_bar(bar), m_icons(icons)
{
    loadImage();
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

    QImageReader reader(path);
    reader.setAutoTransform(true);
    // A thumbnail needs few pixels, even on a dense screen: decode large pictures at a reduced
    // size where the format can, and shrink the rest after reading.
    constexpr int largest = 512;
    const QSize full = reader.size();
    if (full.isValid() && (full.width() > largest || full.height() > largest))
        reader.setScaledSize(full.scaled(largest, largest, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (image.width() > largest || image.height() > largest)
        image = image.scaled(largest, largest, Qt::KeepAspectRatio, Qt::SmoothTransformation);
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
