// Time graphs of large records: repainting a 1920x1080 graph frame, a zoom step, a pan step and a marker
// drag step, each drawn by pixel column (the summary of each column's samples) and, in the
// same run, by drawing every sample. x_every is how many times longer the frame takes when
// every sample is drawn: the gain of drawing by column.
//
// Memory: record_MB is the peak the record itself took, frame_extra_MB what the graph frame
// took on top of it (curves share their record's samples; only their min/max summaries are
// their own), and x_record the whole over the record alone.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <vector>

#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/host/headless/KCanvas.h>
#include <kalvo/record/KRecord.h>

#include "BenchMemory.h"

namespace {

constexpr int WIDTH = 1920, HEIGHT = 1080;

// A frame of a record: curves channels of samples each, 60 Hz sines with noise at 10 kHz,
// three channels to a graph.
struct Scene {
    int curves = 0;
    long samples = 0;
    std::unique_ptr<KRecord> record;
    std::unique_ptr<KCanvas> canvas;
    KGraphFrame* frame = nullptr;
    double recordBytes = 0, frameBytes = 0;

    void build(int c, long n) {
        canvas.reset();
        record.reset();
        curves = c;
        samples = n;
        resetPeakMemory();
        double before = peakMemory();
        record = std::make_unique<KRecord>();
        record->create(c, 0, 1024);
        const char* units[] = {"A", "kV", "V", "Hz"};
        KRecord::Trace& domain = record->getDomain();
        domain.ensureCapacity(static_cast<int>(n));
        domain.setCountUnset(static_cast<int>(n));
        double* x = domain.getData();
        for (long i = 0; i < n; ++i) x[i] = i * 1e-4;
        unsigned noise = 12345;
        for (int t = 0; t < c; ++t) {
            KRecord::Trace* trace = record->getTrace(t);
            trace->setName(("C" + std::to_string(t + 1)).c_str());
            trace->setUnits(units[(t / 3) % 4]);
            trace->ensureCapacity(static_cast<int>(n));
            trace->setCountUnset(static_cast<int>(n));
            double* y = trace->getData();
            for (long i = 0; i < n; ++i) {
                noise = noise * 1103515245u + 12345u;
                y[i] = 100.0 * std::sin(2 * M_PI * 60.0 * x[i] + t) + (noise >> 16) % 1000 / 100.0;
            }
        }
        recordBytes = peakMemory() - before;
        resetPeakMemory();
        before = peakMemory();
        canvas = std::make_unique<KCanvas>(WIDTH, HEIGHT);
        frame = new KGraphFrame(true);
        canvas->setRoot(frame);
        frame->create();
        frame->addRecord(record.get());
        canvas->layout();
        canvas->pumpTasks();
        canvas->paint();
        frameBytes = peakMemory() - before;
    }

    void setEverySample(bool every) {
        std::vector<KGraphPanel*> graphs;
        frame->getGraphList(graphs);
        for (KGraphPanel* g : graphs) g->setEverySample(every);
    }
};

Scene& scene(int curves, long samples) {
    static Scene s;
    if (s.curves != curves || s.samples != samples) s.build(curves, samples);
    s.setEverySample(false);
    return s;
}

double seconds(void (*step)(Scene&), Scene& s) {
    const auto start = std::chrono::steady_clock::now();
    step(s);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void repaint(Scene& s) { s.canvas->paint(); }

// Zooms the active graph in and out again, a step each time; only what changed is painted.
void zoomStep(Scene& s) {
    static bool in = true;
    KComponent::setFocus(s.frame->getActiveGraph());
    s.canvas->keyPress(in ? '+' : '-');
    in = !in;
    s.canvas->pumpTasks();
    s.canvas->update();
}

// Pans the time axis by a grid step with its arrow keys, right and left again in turn, as
// holding an arrow key does; the graphs are zoomed in five steps first (1/32 of the record
// in view), so that each column still summarises a few hundred samples.
void panStep(Scene& s) {
    static bool right = true;
    KComponent::setFocus(s.frame->getAxis());
    s.canvas->keyPress(right ? KEvent::VK_RIGHT : KEvent::VK_LEFT);
    right = !right;
    s.canvas->pumpTasks();
    s.canvas->update();
}

// Moves marker X on the axis by a pixel, back and forth, as a drag does.
void markerStep(Scene& s) {
    static int offset = 0;
    KGraphAxis* axis = s.frame->getAxis();
    const CPoint at = axis->getLocationOnCanvas();
    offset = offset == 0 ? 1 : 0;
    s.canvas->mouseDrag(CPoint(at.x + axis->toLogicalX(axis->getMarkerXPosition()) + (offset ? 1 : -1), at.y + 5));
    s.canvas->update();
}

void report(benchmark::State& state, Scene& s, void (*step)(Scene&)) {
    // The same step, every sample drawn, once beside the timed ones.
    s.setEverySample(true);
    const double every = seconds(step, s);
    s.setEverySample(false);
    const double fast = seconds(step, s);
    state.counters["every_sample_ms"] = every * 1e3;
    state.counters["x_every"] = every / fast;
    state.counters["record_MB"] = s.recordBytes / (1 << 20);
    state.counters["frame_extra_MB"] = s.frameBytes / (1 << 20);
    state.counters["x_record"] = (s.recordBytes + s.frameBytes) / s.recordBytes;
}

void BM_Repaint(benchmark::State& state) {
    Scene& s = scene(static_cast<int>(state.range(0)), state.range(1));
    for (auto _ : state) repaint(s);
    report(state, s, repaint);
}

void BM_ZoomStep(benchmark::State& state) {
    Scene& s = scene(static_cast<int>(state.range(0)), state.range(1));
    for (auto _ : state) zoomStep(s);
    report(state, s, zoomStep);
}

void BM_PanStep(benchmark::State& state) {
    Scene& s = scene(static_cast<int>(state.range(0)), state.range(1));
    KComponent::setFocus(s.frame->getActiveGraph());
    for (int i = 0; i < 5; ++i) s.canvas->keyPress('+');
    s.canvas->pumpTasks();
    s.canvas->paint();
    for (auto _ : state) panStep(s);
    report(state, s, panStep);
    s.frame->resetZoomX();
}

void BM_MarkerDrag(benchmark::State& state) {
    Scene& s = scene(static_cast<int>(state.range(0)), state.range(1));
    if (!s.frame->getAxis()->isMarkerXEnabled()) {
        s.frame->toggleMarkers();
        double lo, hi;
        s.frame->getAxis()->getRange(lo, hi);
        s.frame->setMarkerXPosition((lo + hi) / 2);
        s.canvas->paint();
        const CPoint at = s.frame->getAxis()->getLocationOnCanvas();
        s.canvas->mousePress(CPoint(at.x + s.frame->getAxis()->toLogicalX((lo + hi) / 2), at.y + 5));
    }
    for (auto _ : state) markerStep(s);
    report(state, s, markerStep);
}

}  // namespace

// By record, so that each record is made once: 12 curves of 1 M and of 10 M samples, 2 of
// 100 M.
#define K_GRAPH_BENCHMARKS(curves, samples)                                              \
    BENCHMARK(BM_Repaint)->Args({curves, samples})->Unit(benchmark::kMillisecond);    \
    BENCHMARK(BM_ZoomStep)->Args({curves, samples})->Unit(benchmark::kMillisecond);   \
    BENCHMARK(BM_PanStep)->Args({curves, samples})->Unit(benchmark::kMillisecond);    \
    BENCHMARK(BM_MarkerDrag)->Args({curves, samples})->Unit(benchmark::kMillisecond)
K_GRAPH_BENCHMARKS(12, 1000000);
K_GRAPH_BENCHMARKS(12, 10000000);
K_GRAPH_BENCHMARKS(2, 100000000);

BENCHMARK_MAIN();
