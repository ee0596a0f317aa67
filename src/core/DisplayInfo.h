// One attached display and one of the modes it offers.
#pragma once

#include <QHashFunctions>
#include <QString>
#include <QtGlobal>

struct DisplayInfo {
    quint32 id = 0;
    QString name;
    bool isMain = false;

    bool operator==(const DisplayInfo&) const = default;
};

struct DisplayMode {
    qint32 id = 0;
    qint64 width = 0;
    qint64 height = 0;
    qint64 pixelWidth = 0;
    qint64 pixelHeight = 0;
    double refresh = 0.0;

    // Two modes are the same mode exactly when their ids match, whatever else they hold.
    bool operator==(const DisplayMode& other) const { return id == other.id; }
};

inline size_t qHash(const DisplayMode& mode, size_t seed = 0) noexcept
{
    return qHash(mode.id, seed);
}
