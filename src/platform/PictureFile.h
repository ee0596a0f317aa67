// Reading the user's picture files the way the desktop shows them.
#pragma once

#include "ProblemLog.h"

#include <QImage>
#include <QImageReader>
#include <QString>

namespace PictureFile {

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
        // Empty, cut off, not a picture, gone, or too large to decode: the caller falls back to
        // the colour; the user hears once which file and why.
        ProblemLog::reportOnce(
            QStringLiteral("picture ") + path,
            QStringLiteral("picture file %1 cannot be shown (%2)").arg(path, reader.errorString()));
        return image;
    }
    image.setDevicePixelRatio(1.0);
    return image;
}

} // namespace PictureFile
