// Icon colour: the uncached computation for decoded icons of typical sizes, and the cached
// lookup every later entry of the same application costs.

#include "catalogue/IconProcessor.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

using namespace valimbra;

namespace {

// An icon as themes draw them: a rounded, gradient-filled tile with transparent corners and a
// glyph in the middle.
QImage makeIcon(int size, QImage::Format format) {
    QImage icon(size, size, QImage::Format_ARGB32_Premultiplied);
    icon.fill(Qt::transparent);
    QPainter p(&icon);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient tile(0, 0, size, size);
    tile.setColorAt(0, QColor(40, 120, 220));
    tile.setColorAt(1, QColor(20, 60, 140));
    QPainterPath shape;
    const qreal inset = size / 16.0;
    shape.addRoundedRect(QRectF(inset, inset, size - 2 * inset, size - 2 * inset), size / 5.0,
                         size / 5.0);
    p.fillPath(shape, tile);
    p.setBrush(QColor(250, 250, 250));
    p.setPen(Qt::NoPen);
    p.drawEllipse(QRectF(size * 0.3, size * 0.3, size * 0.4, size * 0.4));
    p.end();
    return icon.convertToFormat(format);
}

// Args: icon size, 0 = premultiplied ARGB (what Qt paints), 1 = straight ARGB (what PNG decodes).
QImage::Format formatArg(int64_t arg) {
    return arg == 0 ? QImage::Format_ARGB32_Premultiplied : QImage::Format_ARGB32;
}

void BM_ComputeColour(benchmark::State& state) {
    const QImage icon = makeIcon(int(state.range(0)), formatArg(state.range(1)));
    for (auto _ : state)
        benchmark::DoNotOptimize(IconProcessor::computeColor(icon));
}
BENCHMARK(BM_ComputeColour)
    ->ArgNames({"size", "straightAlpha"})
    ->ArgsProduct({{128, 512}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

// A first request through the cache: lookup miss, computation, store.
void BM_FirstRequest(benchmark::State& state) {
    const QImage icon = makeIcon(int(state.range(0)), QImage::Format_ARGB32_Premultiplied);
    std::vector<QString> ids;
    for (int i = 0; i < 4096; ++i)
        ids.push_back(QStringLiteral("org.example.App%1").arg(i));
    auto processor = std::make_unique<IconProcessor>();
    std::size_t next = 0;
    for (auto _ : state) {
        if (next == ids.size()) {
            state.PauseTiming();
            processor = std::make_unique<IconProcessor>();
            next = 0;
            state.ResumeTiming();
        }
        benchmark::DoNotOptimize(processor->dominantColor(icon, ids[next++]));
    }
}
BENCHMARK(BM_FirstRequest)->ArgName("size")->Arg(128)->Arg(512)->Unit(benchmark::kMicrosecond);

// Every later request for a known application, with 200 applications cached.
void BM_CachedLookup(benchmark::State& state) {
    const QImage icon = makeIcon(128, QImage::Format_ARGB32_Premultiplied);
    IconProcessor processor;
    std::vector<QString> ids;
    for (int i = 0; i < 200; ++i) {
        ids.push_back(QStringLiteral("org.example.App%1").arg(i));
        processor.dominantColor(icon, ids.back());
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(processor.dominantColor(icon, ids[next]));
        next = next + 1 == ids.size() ? 0 : next + 1;
    }
}
BENCHMARK(BM_CachedLookup)->Unit(benchmark::kNanosecond);

} // namespace

BENCHMARK_MAIN();
