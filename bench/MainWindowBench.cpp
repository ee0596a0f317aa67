// Cost of the main window's panel on the fake platform: building it, reacting to a mode switch
// (tiles marked, centre cells rebuilt, whole panel redrawn), and one frame of scrolling the
// resolution strip with its faded edges. Run offscreen:
//   QT_QPA_PLATFORM=offscreen build/bench/bench_main_window
#include "FakeApp.h"
#include "ui/ContentView.h"
#include "ui/ResolutionStrip.h"

#include <QApplication>
#include <QImage>
#include <QScrollBar>
#include <benchmark/benchmark.h>

namespace {

// A 3840 × 2160 display with twelve modes and ten windows to list.
struct Setup : FakeApp {
    Setup()
    {
        QList<PlatformDisplayMode> modes;
        for (int i = 0; i < 12; ++i) {
            const qint64 w = 3840 - i * 240;
            const qint64 h = 2160 - i * 135;
            modes.append({100 + i, w, h, w, h, 60.0, true});
        }
        fake.displayModes->modes.insert(1, modes);
        fake.displayModes->current.insert(1, 100);
        for (int i = 0; i < 10; ++i)
            fake.windowControl->list.append({quint64(200 + i), QStringLiteral("App %1").arg(i),
                                             QStringLiteral("Document %1").arg(i)});
        makeModel();
    }
};

void buildPanel(benchmark::State& state)
{
    Setup setup;
    for (auto _ : state) {
        ContentView view(*setup.model);
        view.adjustSize();
        benchmark::DoNotOptimize(view.panelWidth());
    }
}
BENCHMARK(buildPanel)->Unit(benchmark::kMillisecond);

void modeSwitchRedraw(benchmark::State& state)
{
    Setup setup;
    ContentView view(*setup.model);
    view.adjustSize();
    QImage frame(view.size(), QImage::Format_ARGB32_Premultiplied);
    const QList<DisplayMode> modes = setup.model->modes();
    int step = 0;
    for (auto _ : state) {
        setup.model->apply(modes.at(step % 2 ? 0 : 4));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        view.render(&frame);
        ++step;
    }
}
BENCHMARK(modeSwitchRedraw)->Unit(benchmark::kMillisecond);

void stripScrollFrame(benchmark::State& state)
{
    Setup setup;
    ContentView view(*setup.model);
    view.adjustSize();
    ResolutionStrip* strip = view.resolutionStrip();
    QImage frame(strip->size(), QImage::Format_ARGB32_Premultiplied);
    QScrollBar* bar = strip->horizontalScrollBar();
    int step = 0;
    for (auto _ : state) {
        bar->setValue((step * 37) % std::max(1, bar->maximum()));
        strip->render(&frame);
        ++step;
    }
}
BENCHMARK(stripScrollFrame)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
