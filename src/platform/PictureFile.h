// Reading the user's picture files the way the desktop shows them.
#pragma once

#include "core/ProblemLog.h"

#include <QImage>
#include <QImageReader>
#include <QString>
#include <algorithm>
#include <cmath>

namespace PictureFile {

// Empty, cut off, not a picture, gone, or too large to decode: the caller falls back to the
// colour; the user hears once which file and why.
inline void reportUnreadable(const QString& path, const QImageReader& reader)
{
    ProblemLog::reportOnce(
        QStringLiteral("picture ") + path,
        QStringLiteral("picture file %1 cannot be shown (%2)").arg(path, reader.errorString()));
}

// The whole picture, upright as its orientation tag asks, one pixel per unit: the desktop shows a
// file by its pixels, so an "@2x" in its name (which Qt reads as a device pixel ratio) must not
// halve it when drawn. Camera photos often exceed Qt's default 128 MB guard on decoded images, so
// the guard is raised to what a large panorama needs.
inline QImage read(const QString& path)
{
    static const bool raised = [] {
        if (QImageReader::allocationLimit() < 1024)
            QImageReader::setAllocationLimit(1024);
        return true;
    }();
    Q_UNUSED(raised);
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QImage image = reader.read();
    if (image.isNull()) {
        reportUnreadable(path, reader);
        return image;
    }
    image.setDevicePixelRatio(1.0);
    return image;
}

// The picture scaled, keeping its proportions, to the smallest size that fills `size` (not
// cropped), upright. Large photos are decoded at a reduced size where the format allows it (a
// JPEG at 1/2, 1/4 or 1/8 of its size) and brought down to the target by area averaging, so
// thin lines stay whole and a 24-megapixel photo never lives in memory at full size.
inline QImage readToFill(const QString& path, QSize size)
{
    if (size.isEmpty())
        return {};
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QSize stored = reader.size();
    // The reader scales before it turns the picture upright.
    const bool turned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    QSize upright = turned ? stored.transposed() : stored;
    if (upright.isEmpty()) {
        // A format that cannot tell its size before decoding.
        const QImage whole = read(path);
        if (whole.isNull())
            return {};
        stored = upright = whole.size();
        const double s = std::max(double(size.width()) / upright.width(),
                                  double(size.height()) / upright.height());
        const QSize target(std::max(size.width(), int(std::lround(upright.width() * s))),
                           std::max(size.height(), int(std::lround(upright.height() * s))));
        return whole.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    const double s =
        std::max(double(size.width()) / upright.width(), double(size.height()) / upright.height());
    const QSize target(std::max(size.width(), int(std::lround(upright.width() * s))),
                       std::max(size.height(), int(std::lround(upright.height() * s))));
    if (s < 1.0) {
        reader.setScaledSize(turned ? target.transposed() : target);
        // The JPEG reader's careful decode and smooth reduction, not its fast one.
        reader.setQuality(100);
    }
    static const bool raised = [] {
        if (QImageReader::allocationLimit() < 1024)
            QImageReader::setAllocationLimit(1024);
        return true;
    }();
    Q_UNUSED(raised);
    QImage image = reader.read();
    if (image.isNull()) {
        reportUnreadable(path, reader);
        return {};
    }
    image.setDevicePixelRatio(1.0);
    if (image.size() != target)
        image = image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return image;
}

} // namespace PictureFile
