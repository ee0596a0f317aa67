// Tinted desktop pictures: render + JPEG encode of a monitor-sized picture from photos of several
// sizes, the same job done by ImageMagick's convert for comparison, and the top-strip sampling.
// Prints figures; asserts nothing. bench/wallpaper.sh runs the two single-shot modes below in
// their own processes to compare CPU time, peak memory and the pictures themselves:
//   bench_wallpaper --make-photo W H OUT.jpg        writes the photo-like test picture
//   bench_wallpaper --render-once IN OUT.jpg W H P  one tinted W×H picture under a P-pixel panel
#include "core/DefaultsStore.h"
#include "core/WallpaperController.h"
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

// One panel along the top of the monitor.
class PanelOnTop final : public WindowList {
public:
    explicit PanelOnTop(double height) : m_height(height) {}
    QList<WindowListEntry> onScreenWindows() const override
    {
        WindowListEntry panel;
        panel.layer = 24;
        panel.bounds = QRectF(0, 0, 1920, m_height);
        return {panel};
    }

private:
    double m_height;
};

Platform::Parts partsWithPanel(double height)
{
    Platform::Parts parts;
    parts.windowList = std::make_unique<PanelOnTop>(height);
    return parts;
}

struct Controller {
    Platform platform{partsWithPanel(24)};
    DefaultsStore defaults{workDir().path() + QStringLiteral("/defaults.json")};
    WallpaperController wallpaper{platform, defaults};
};

// The photo-like picture, written where the caller asks.
int makePhoto(int width, int height, const QString& out)
{
    const QString made = basePicture(width, height);
    QFile::remove(out);
    return QFile::copy(made, out) ? 0 : 1;
}

// One tinted picture from IN, as the program renders it when the choice is made.
int renderOnce(const QString& in, const QString& out, int width, int height, double panel)
{
    Platform platform{partsWithPanel(panel)};
    DefaultsStore defaults{workDir().path() + QStringLiteral("/defaults.json")};
    WallpaperController wallpaper{platform, defaults};
    wallpaper.show({DesktopBackground::image, {}, in, std::nullopt});
    ScreenInfo screen = fullHdScreen();
    screen.frame = QRectF(0, 0, width, height);
    const auto tinted = wallpaper.renderTinted(screen, 1);
    if (!tinted)
        return 1;
    QFile::remove(out);
    return QFile::rename(*tinted, out) ? 0 : 1;
}

void renderTinted(benchmark::State& state)
{
    const Sizes base = kBases[state.range(0)];
    const QString photo = basePicture(base.width, base.height);
    if (PictureFile::read(photo).isNull()) {
        state.SkipWithError("the base picture cannot be read");
        return;
    }
    const ScreenInfo screen = fullHdScreen();
    for (auto _ : state) {
        // A new choice each time, so the photo is decoded every time, as when it is chosen.
        Controller c;
        c.wallpaper.show({DesktopBackground::image, {}, photo, std::nullopt});
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

// The same job with one ImageMagick command: decode, resize to fill, the strip in the average
// colour of the resized picture's own top rows, crop to the monitor, paint the strip, encode
// JPEG 92.
QStringList imageMagickArguments(const QString& input, const QString& output, int stripRows,
                                 int sampledRows)
{
    return {input,
            QStringLiteral("-resize"),
            QStringLiteral("1920x1080^"),
            QStringLiteral("("),
            QStringLiteral("+clone"),
            QStringLiteral("-crop"),
            QStringLiteral("x%1+0+0").arg(sampledRows),
            QStringLiteral("+repage"),
            QStringLiteral("-scale"),
            QStringLiteral("1x1!"),
            QStringLiteral("-scale"),
            QStringLiteral("1920x%1!").arg(stripRows),
            QStringLiteral("-write"),
            QStringLiteral("mpr:strip"),
            QStringLiteral("+delete"),
            QStringLiteral(")"),
            QStringLiteral("-gravity"),
            QStringLiteral("center"),
            QStringLiteral("-extent"),
            QStringLiteral("1920x1080"),
            QStringLiteral("mpr:strip"),
            QStringLiteral("-gravity"),
            QStringLiteral("north"),
            QStringLiteral("-composite"),
            QStringLiteral("-quality"),
            QStringLiteral("92"),
            output};
}

void imageMagickTinted(benchmark::State& state)
{
    const Sizes base = kBases[state.range(0)];
    const QString input = basePicture(base.width, base.height);
    const QString output = workDir().path() + QStringLiteral("/convert-out.jpg");
    // The fill height decides how many rows 2 % of the picture are.
    const double fillHeight = std::max(1080.0, 1920.0 * base.height / base.width);
    const QStringList arguments =
        imageMagickArguments(input, output, 24, std::max(1, int(0.0222 * fillHeight)));
    for (auto _ : state) {
        if (QProcess::execute(QStringLiteral("/usr/bin/convert"), arguments) != 0) {
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

int main(int argc, char** argv)
{
    const QStringList args = [&] {
        QStringList list;
        for (int i = 1; i < argc; ++i)
            list << QString::fromLocal8Bit(argv[i]);
        return list;
    }();
    if (args.size() == 4 && args[0] == QLatin1String("--make-photo"))
        return makePhoto(args[1].toInt(), args[2].toInt(), args[3]);
    if (args.size() == 6 && args[0] == QLatin1String("--render-once"))
        return renderOnce(args[1], args[2], args[3].toInt(), args[4].toInt(), args[5].toDouble());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
