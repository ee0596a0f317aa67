// Cost of the display work on a real X server: the screen list, the resolutions offered for the
// main display, and one switch with its restore. Run it through bench/displays.sh, which starts
// the test desktop and times the same switch done with the xrandr command beside it.
#include "core/DisplayController.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"

#include <QGuiApplication>
#include <benchmark/benchmark.h>

namespace {

Platform* g_platform = nullptr;

void screens(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(g_platform->screens().screens());
}
BENCHMARK(screens)->Unit(benchmark::kMicrosecond);

void availableModes(benchmark::State& state)
{
    DisplayController controller(g_platform->displayModes(), g_platform->screens());
    const quint32 main = g_platform->displayModes().mainDisplay();
    qint64 count = 0;
    for (auto _ : state)
        count = controller.availableModes(main).size();
    state.counters["modes"] = double(count);
}
BENCHMARK(availableModes)->Unit(benchmark::kMicrosecond);

// The smallest offered mode and back to the start-up one, as the reset action does it; on two
// monitors each switch re-places the neighbour in the same transaction.
void switchAndRestore(benchmark::State& state)
{
    DisplayController controller(g_platform->displayModes(), g_platform->screens());
    const quint32 main = g_platform->displayModes().mainDisplay();
    const QList<DisplayMode> modes = controller.availableModes(main);
    if (modes.isEmpty()) {
        state.SkipWithError("no display modes");
        return;
    }
    for (auto _ : state) {
        controller.switchMode(main, modes.last().id);
        controller.restore(main);
    }
    controller.restoreAll();
}
BENCHMARK(switchAndRestore)->Unit(benchmark::kMillisecond)->Iterations(20);

// What quitting does: every display back to its start-up mode and place (nothing to change).
void restoreAllUnchanged(benchmark::State& state)
{
    DisplayController controller(g_platform->displayModes(), g_platform->screens());
    for (auto _ : state)
        controller.restoreAll();
    state.counters["displays"] = double(controller.originalModes().size());
}
BENCHMARK(restoreAllUnchanged)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    std::unique_ptr<Platform> platform = createPlatform();
    if (platform->name() == QLatin1String("degraded")) {
        std::fprintf(stderr, "bench_displays needs an X display\n");
        return 1;
    }
    g_platform = platform.get();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
