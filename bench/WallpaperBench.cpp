// Tinted desktop pictures: render + JPEG encode of a monitor-sized picture from photos of several
// sizes, the same job done by ImageMagick's convert for comparison, and the top-strip sampling.
// Prints figures; asserts nothing.
#include "DefaultsStore.h"
#include "WallpaperController.h"
#include "platform/PictureFile.h"
#include "platform/Platform.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

struct Sizes {
    int width;
    int height;
};
constexpr Sizes kBases[] = {{1920, 1080}, {3840, 2160}, {6000, 4000}};

// A private data folder for the rendered files and the base photos, made once.
QTemporaryDir& workDir()
{
    static QTemporaryDir dir;
    static const bool pointed = [] {
        qputenv("XDG_DATA_HOME", QFile::encodeName(dir.path()));
        return true;
    }();
    Q_UNUSED(pointed);
    return dir;
}

// A photo-like picture (gradients and shapes, so JPEG has real work), saved as JPEG.
QString basePicture(int width, int height)
{
    const QString path =
        workDir().path() + QStringLiteral("/base-%1x%2.jpg").arg(width).arg(height);
    if (QFile::exists(path))
        return path;
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, height);
    sky.setColorAt(0, QColor(70, 130, 200));
    sky.setColorAt(1, QColor(240, 200, 150));
    painter.fillRect(image.rect(), sky);
    for (int i = 0; i < 200; ++i) {
        painter.setBrush(QColor::fromHsv((i * 37) % 360, 120, 200, 160));
        painter.drawEllipse(QPointF((i * 7919) % width, (i * 104729) % height), width / 30.0,
                            height / 25.0);
    }
    painter.end();
    image.save(path, "JPEG", 90);
    return path;
}

ScreenInfo fullHdScreen()
{
    ScreenInfo screen;
    screen.displayId = 1;
    screen.outputName = QStringLiteral("DP-1");
    screen.frame = QRectF(0, 0, 1920, 1080);
    screen.backingScale = 1;
    return screen;
}

struct Controller {
    Platform platform{Platform::Parts{}};
    DefaultsStore defaults{workDir().path() + QStringLiteral("/defaults.json")};
    WallpaperController wallpaper{platform, defaults};
};

void renderTinted(benchmark::State& state)
{
    const Sizes base = kBases[state.range(0)];
    Controller c;
    c.wallpaper.mode = DesktopBackground::image;
    c.wallpaper.lightURL = basePicture(base.width, base.height);
    if (PictureFile::read(*c.wallpaper.lightURL).isNull()) {
        state.SkipWithError("the base picture cannot be read");
        return;
    }
    const ScreenInfo screen = fullHdScreen();
    for (auto _ : state) {
        if (!c.wallpaper.renderTinted(screen, 1)) {
            state.SkipWithError("rendering failed");
            break;
        }
    }
    state.SetLabel(QStringLiteral("base %1x%2 -> 1920x1080 JPEG 92")
                       .arg(base.width)
                       .arg(base.height)
                       .toStdString());
}

// The same job with ImageMagick: decode, resize to fill, crop to the monitor, paint the strip,
// encode JPEG 92. The strip colour is given, so its sampling is not counted for it.
void imageMagickTinted(benchmark::State& state)
{
    const Sizes base = kBases[state.range(0)];
    const QString input = basePicture(base.width, base.height);
    const QString output = workDir().path() + QStringLiteral("/convert-out.jpg");
    const QStringList arguments{input,
                                QStringLiteral("-resize"),
                                QStringLiteral("1920x1080^"),
                                QStringLiteral("-gravity"),
                                QStringLiteral("center"),
                                QStringLiteral("-extent"),
                                QStringLiteral("1920x1080"),
                                QStringLiteral("-fill"),
                                QStringLiteral("#4682C8"),
                                QStringLiteral("-draw"),
                                QStringLiteral("rectangle 0,0 1919,23"),
                                QStringLiteral("-quality"),
                                QStringLiteral("92"),
                                output};
    for (auto _ : state) {
        if (QProcess::execute(QStringLiteral("convert"), arguments) != 0) {
            state.SkipWithError("convert failed or is not installed");
            break;
        }
    }
    state.SetLabel(
        QStringLiteral("convert base %1x%2").arg(base.width).arg(base.height).toStdString());
}

void jpegEncode(benchmark::State& state)
{
    QImage image(basePicture(1920, 1080));
    image = image.convertToFormat(QImage::Format_RGB32);
    for (auto _ : state) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter writer(&buffer, "jpeg");
        writer.setQuality(92);
        writer.write(image);
        benchmark::DoNotOptimize(bytes);
    }
    state.SetLabel("1920x1080 JPEG 92, encode only");
}

void averageTop(benchmark::State& state)
{
    const Sizes base = state.range(0) < 3 ? kBases[state.range(0)] : Sizes{8000, 5333};
    const QImage image = PictureFile::read(basePicture(base.width, base.height));
    for (auto _ : state)
        benchmark::DoNotOptimize(WallpaperController::averageTop(image, 24.0 / 1080));
    state.SetLabel(
        QStringLiteral("%1x%2, top 24/1080").arg(base.width).arg(base.height).toStdString());
}

} // namespace

BENCHMARK(renderTinted)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(imageMagickTinted)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(jpegEncode)->Unit(benchmark::kMillisecond);
BENCHMARK(averageTop)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
