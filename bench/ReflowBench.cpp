// Cost of rebuilding the panel from a capture: the reflowed piece and the background column for
// a 1920-point monitor with a 32-point panel at scale 1 (a 1920 × 32 piece) and at scale 2 (a
// 3840 × 64 piece). Items spread over the whole panel so the piece spans it; every third hidden.
#include "core/BarReflow.h"

#include <QGuiApplication>
#include <QPainter>
#include <benchmark/benchmark.h>

namespace {

struct Setup {
    QImage full;
    ScreenInfo screen;
    QList<MenuBarItem> items;
    QSet<quint32> hidden;
};

Setup makeSetup(double scale)
{
    Setup s;
    s.screen.displayId = 1;
    s.screen.frame = QRectF(0, 0, 1920, 1080);
    s.screen.visibleFrame = QRectF(0, 0, 1920, 1048);
    s.full = QImage(int(1920 * scale), int(1080 * scale), QImage::Format_RGB32);
    s.full.fill(QColor(20, 60, 120));
    QPainter p(&s.full);
    p.fillRect(QRectF(0, 0, s.full.width(), 32 * scale), QColor(40, 40, 48));
    for (quint32 i = 0; i < 24; ++i) {
        const double x = 8 + i * 80.0;
        s.items.append({i + 1, QStringLiteral("app"), QRectF(x, 1048 + 5, 22, 22),
                        QStringLiteral("app %1").arg(i)});
        p.fillRect(QRectF(x * scale, 5 * scale, 22 * scale, 22 * scale),
                   QColor::fromHsv(int(i * 15), 200, 230));
        if (i % 3 == 0)
            s.hidden.insert(i + 1);
    }
    return s;
}

void reflow(benchmark::State& state)
{
    const Setup s = makeSetup(double(state.range(0)));
    QSize size;
    for (auto _ : state) {
        const auto piece = BarReflow::reflow(s.full, s.screen, s.items, s.hidden, 32);
        size = piece->image.size();
        benchmark::DoNotOptimize(piece);
    }
    state.SetLabel(
        QStringLiteral("piece %1x%2").arg(size.width()).arg(size.height()).toStdString());
}
BENCHMARK(reflow)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

void emptyColumn(benchmark::State& state)
{
    const Setup s = makeSetup(double(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(BarReflow::emptyColumn(s.full, s.screen, s.items, 32));
}
BENCHMARK(emptyColumn)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    // QPainter on images needs no display; the offscreen platform keeps it headless.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
