// The panel cover on a real X server: the time from toggling an item to the new masks being on
// screen, with cached captures of one and of two 3840 × 2160 monitors (the model runs on fake
// monitors laid over the X screen, the mask windows are real); and the capture of one monitor
// through our backend beside a bare MIT-SHM GetImage of the panel strip. Run it through
// bench/cover.sh, which starts a 7680 × 2160 test desktop.
#include "FakePlatform.h"
#include "FakeScheduler.h"
#include "TestDirs.h"
#include "core/AppModel.h"
#include "core/DefaultsStore.h"
#include "platform/x11/PlatformFactory.h"
#include "platform/x11/X11Capture.h"
#include "platform/x11/X11Connection.h"
#include "ui/MaskWindow.h"
#include "ui/MaskWindowPresenter.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QWindow>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>

namespace {

constexpr int monitorW = 3840;
constexpr int monitorH = 2160;
constexpr int panelH = 32;

// Waits until every mask window is exposed, lets it paint, and makes sure the X server has
// handled everything that was sent.
void waitForMasks(const MaskWindowPresenter& masks)
{
    for (;;) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        bool exposed = true;
        for (MaskWindow* window : masks.menuBarWindows())
            exposed = exposed && window->windowHandle() && window->windowHandle()->isExposed();
        if (exposed)
            break;
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    xcb_connection_t* c = X11::connection();
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
}

void toggleToMasks(benchmark::State& state)
{
    const int monitors = int(state.range(0));
    TestDirs dirs;
    FakePlatform fake;
    for (int m = 0; m < monitors; ++m) {
        ScreenInfo screen;
        screen.displayId = quint32(m + 1);
        screen.outputName = QStringLiteral("DP-%1").arg(m + 1);
        screen.frame = QRectF(m * monitorW, 0, monitorW, monitorH);
        screen.visibleFrame = QRectF(m * monitorW, 0, monitorW, monitorH - panelH);
        fake.screens->list.append(screen);
        QImage capture(monitorW, monitorH, QImage::Format_RGB32);
        capture.fill(QColor(20, 60, 120));
        QPainter p(&capture);
        p.fillRect(0, 0, monitorW, panelH, QColor(240, 240, 240));
        for (int i = 0; i < 12; ++i) {
            const int x = monitorW - 600 + i * 40;
            p.fillRect(x, 5, 22, 22, QColor::fromHsv(i * 25, 200, 220));
            WindowListEntry icon;
            icon.layer = 25;
            icon.number = quint32(100 * (m + 1) + i);
            icon.bounds = QRectF(m * monitorW + x, 0, 22, panelH);
            icon.ownerName = QStringLiteral("app%1").arg(icon.number);
            fake.windowList->entries.append(icon);
        }
        fake.capture->images.insert(screen.displayId.value(), capture);
    }
    FakeScheduler scheduler;
    DefaultsStore store(dirs.defaultsPath());
    AppModel model({fake, store, scheduler, {dirs.resourceDir()}});
    MaskWindowPresenter masks;
    model.overlays().setPresenter(&masks);
    model.setMenuBarCover(MenuBarCover::items);
    scheduler.advance(std::chrono::milliseconds(400));
    waitForMasks(masks);

    const quint32 id = 105;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        model.toggleItem(id);
        waitForMasks(masks);
        state.SetIterationTime(double(timer.nsecsElapsed()) / 1e9);
    }
    state.counters["masks"] = double(masks.menuBarWindows().size());
    state.counters["captures"] = double(fake.capture->captures);
    model.overlays().setPresenter(nullptr);
}
BENCHMARK(toggleToMasks)->Arg(1)->Arg(2)->UseManualTime()->Unit(benchmark::kMillisecond);

// A whole monitor through the backend: GetImage over MIT-SHM and the copy into an opaque image.
void captureDisplay(benchmark::State& state)
{
    std::unique_ptr<Platform> platform = createPlatform();
    const QList<ScreenInfo> screens = platform->screens().screens();
    if (screens.isEmpty() || !screens.first().displayId) {
        state.SkipWithError("no monitor with a display id");
        return;
    }
    QSize size;
    for (auto _ : state) {
        const QImage image = platform->capture().captureDisplay(*screens.first().displayId);
        size = image.size();
    }
    state.SetLabel(QStringLiteral("%1x%2").arg(size.width()).arg(size.height()).toStdString());
}
BENCHMARK(captureDisplay)->Iterations(10)->Unit(benchmark::kMillisecond);

// A 1920 × 1080 and a 3840 × 2160 area of the root window through the backend, as the capture
// of a monitor of that size.
void captureMonitorArea(benchmark::State& state)
{
    X11Capture capture;
    const QRect area(0, 0, int(state.range(0)), int(state.range(1)));
    for (auto _ : state)
        benchmark::DoNotOptimize(capture.captureRootRect(area));
    state.counters["shm"] = capture.usesSharedMemory() ? 1 : 0;
}
BENCHMARK(captureMonitorArea)
    ->Args({1920, 1080})
    ->Args({3840, 2160})
    ->Args({7680, 2160})
    ->Unit(benchmark::kMillisecond);

// The panel strip alone through the backend.
void captureStrip(benchmark::State& state)
{
    X11Capture capture;
    const QRect strip(0, 0, int(state.range(0)), panelH);
    for (auto _ : state)
        benchmark::DoNotOptimize(capture.captureRootRect(strip));
    state.counters["shm"] = capture.usesSharedMemory() ? 1 : 0;
}
BENCHMARK(captureStrip)->Arg(1920)->Arg(3840)->Unit(benchmark::kMicrosecond);

// The floor: a bare MIT-SHM GetImage of the same strip, no conversion.
void rawShmStrip(benchmark::State& state)
{
    xcb_connection_t* c = X11::connection();
    const int width = int(state.range(0));
    const std::size_t bytes = std::size_t(width) * panelH * 4;
    const int id = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    void* address = shmat(id, nullptr, 0);
    const xcb_shm_seg_t segment = xcb_generate_id(c);
    xcb_shm_attach(c, segment, std::uint32_t(id), 0);
    shmctl(id, IPC_RMID, nullptr);
    for (auto _ : state) {
        std::free(xcb_shm_get_image_reply(c,
                                          xcb_shm_get_image(c, X11::rootWindow(), 0, 0,
                                                            std::uint16_t(width), panelH, ~0u,
                                                            XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0),
                                          nullptr));
        benchmark::DoNotOptimize(address);
    }
    xcb_shm_detach(c, segment);
    xcb_flush(c);
    shmdt(address);
}
BENCHMARK(rawShmStrip)->Arg(1920)->Arg(3840)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication app(argc, argv);
    if (!X11::connection()) {
        std::fprintf(stderr, "bench_cover needs an X display\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
