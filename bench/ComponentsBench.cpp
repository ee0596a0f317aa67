// Cost of the interface pieces that repaint or read files while the user works: one frame of a
// drag on the colour picker, a whole picker, and a desktop picture read for a thumbnail (first
// time and again). Run offscreen: QT_QPA_PLATFORM=offscreen build/bench/bench_components
#include "ui/components/ColorPickerPopover.h"
#include "ui/components/MiniScreen.h"
#include "ui/components/SatBriPad.h"

#include <QApplication>
#include <QDateTime>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

QString g_picture;

// A frame of a drag: the state changes, the colour is written out and the pad repaints.
void padDragFrame(benchmark::State& state)
{
    RgbColor color{0.2, 0.4, 0.6, 1.0};
    ColorPickerPopover picker({[&] { return color; }, [&](const RgbColor& c) { color = c; }});
    SatBriPad* pad = picker.satBriPad();
    QImage frame(pad->size(), QImage::Format_ARGB32_Premultiplied);
    int step = 0;
    for (auto _ : state) {
        picker.setHsb(picker.hue(), (step % 100) / 100.0, 1.0 - (step % 70) / 70.0);
        pad->render(&frame);
        ++step;
    }
}
BENCHMARK(padDragFrame)->Unit(benchmark::kMicrosecond);

void wholePicker(benchmark::State& state)
{
    RgbColor color{0.2, 0.4, 0.6, 1.0};
    ColorPickerPopover picker({[&] { return color; }, [&](const RgbColor& c) { color = c; }});
    QImage frame(picker.size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state)
        picker.render(&frame);
}
BENCHMARK(wholePicker)->Unit(benchmark::kMicrosecond);

// A 4000 × 3000 JPEG read for the first time: the file is touched each round so the cache misses.
void readPictureFirstTime(benchmark::State& state)
{
    static int touches = 0;
    for (auto _ : state) {
        state.PauseTiming();
        QFile file(g_picture);
        if (!file.open(QIODevice::Append) ||
            !file.setFileTime(QDateTime::currentDateTime().addSecs(++touches),
                              QFileDevice::FileModificationTime)) {
            state.SkipWithError("cannot touch the picture");
            break;
        }
        state.ResumeTiming();
        benchmark::DoNotOptimize(MiniScreen::readThumbnail(g_picture));
    }
}
BENCHMARK(readPictureFirstTime)->Unit(benchmark::kMillisecond);

void readPictureAgain(benchmark::State& state)
{
    MiniScreen::readThumbnail(g_picture);
    for (auto _ : state)
        benchmark::DoNotOptimize(MiniScreen::readThumbnail(g_picture));
}
BENCHMARK(readPictureAgain)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QTemporaryDir dir;
    g_picture = dir.filePath(QStringLiteral("large.jpg"));
    QImage large(4000, 3000, QImage::Format_RGB32);
    QPainter painter(&large);
    QLinearGradient gradient(0, 0, 4000, 3000);
    gradient.setColorAt(0, QColor(40, 30, 90));
    gradient.setColorAt(1, QColor(230, 120, 80));
    painter.fillRect(large.rect(), gradient);
    painter.end();
    large.save(g_picture, "JPG", 90);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
