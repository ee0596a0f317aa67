// Cost of the window work on a real X server: one enumeration of the window list, and one
// arrangement (left and right half in turn, so that every run really moves the window). Run it
// through bench/windows.sh, which opens the sample windows.
#include "core/WindowMover.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"

#include <QGuiApplication>
#include <benchmark/benchmark.h>

namespace {

Platform* g_platform = nullptr;

void windows(benchmark::State& state)
{
    qsizetype count = 0;
    for (auto _ : state)
        count = WindowMover::windows(*g_platform).size();
    state.counters["windows"] = double(count);
}
BENCHMARK(windows)->Unit(benchmark::kMillisecond);

void arrange(benchmark::State& state)
{
    const quint64 window = qEnvironmentVariable("QUILLET_BENCH_WINDOW").toULongLong(nullptr, 0);
    if (!window) {
        state.SkipWithError("QUILLET_BENCH_WINDOW names no window");
        return;
    }
    bool left = true;
    for (auto _ : state) {
        WindowMover::arrange(*g_platform, window,
                             left ? WindowArrangement::leftHalf : WindowArrangement::rightHalf);
        left = !left;
    }
}
BENCHMARK(arrange)->Unit(benchmark::kMillisecond)->Iterations(40);

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    std::unique_ptr<Platform> platform = createPlatform();
    if (!platform->windowControl().canControlWindows()) {
        std::fprintf(stderr, "bench_windows needs an X display with an EWMH window manager\n");
        return 1;
    }
    g_platform = platform.get();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
