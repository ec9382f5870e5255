// The harmonic frame answering a marker move: 12 curves sampled 64 times a cycle, markers X and
// O locked a cycle apart and moved by a sample, through the posted computation (12 spectra,
// the table, the labels) to the repainted frame, as a window shows it. Target: under 2 ms.
//
// In the same run, for comparison: the computation alone (no painting), and painting the
// whole frame afresh. compute_ms and full_paint_ms are those; share_compute is how much of a
// move the computation takes. Times are processor times (the CPU column and the counters).
// Memory: frame_MB is the peak the frame and its record took as they were built, move_KB the
// peak memory the moves took on top of that.
#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>
#include <memory>
#include <string>

#include <kalvo/analysis/KHarmonicFrame.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/host/headless/KCanvas.h>
#include <kalvo/record/KRecord.h>

#include "BenchMemory.h"

namespace {

constexpr int CURVES = 12;
constexpr int PER_CYCLE = 64;
constexpr int CYCLES = 3;
constexpr double STEP = 1.0 / (60.0 * PER_CYCLE);

struct Scene {
    int width = 0, height = 0;
    std::unique_ptr<KRecord> record;
    std::unique_ptr<KCanvas> canvas;
    KHarmonicFrame* frame = nullptr;
    int at = 0;  // marker X's sample
    double frameBytes = 0;  // the peak memory of building the scene

    void build(int w, int h) {
        canvas.reset();
        record.reset();
        resetPeakMemory();
        const double before = peakMemory();
        width = w;
        height = h;
        record = std::make_unique<KRecord>();
        record->create(CURVES, 0, 1024);
        for (int c = 0; c < CURVES; ++c)
            record->setTraceName(c, ("C" + std::to_string(c + 1)).c_str());
        for (int i = 0; i < CYCLES * PER_CYCLE; ++i) {
            const double t = i * STEP;
            record->setDomainValue(t);
            for (int c = 0; c < CURVES; ++c) {
                // A fundamental and some 3rd and 5th, different for each curve.
                record->setTraceValue(c, (100 + c) * std::sin(2 * M_PI * 60 * t + c) +
                                             (5 + c) * std::sin(2 * M_PI * 180 * t) +
                                             3 * std::sin(2 * M_PI * 300 * t + c));
            }
            record->commit();
        }
        canvas = std::make_unique<KCanvas>(w, h);
        frame = new KHarmonicFrame();
        canvas->setRoot(frame);
        frame->create();
        for (int c = 0; c < CURVES; ++c) {
            auto* curve = new KCurve();
            record->selectTrace(c);
            curve->setProducer(record.get());
            frame->addCurve(curve);
        }
        canvas->layout();
        frame->toggleMarkers();
        at = PER_CYCLE / 2;
        frame->setMarkerXPosition(place(at));
        frame->setMarkerOPosition(place(at + PER_CYCLE));
        frame->getAxis()->toggleMarkerLockStep();
        canvas->pumpTasks();
        canvas->layout();
        canvas->paint();
        frameBytes = peakMemory() - before;
    }

    // A hair after sample i: the stretch then starts at i.
    static double place(int i) { return (i + 1e-3) * STEP; }

    // Marker X (and O with it) a sample on, or back.
    void move() {
        at += at == PER_CYCLE / 2 ? 1 : -1;
        frame->setMarkerXPosition(place(at));
    }
};

Scene& scene(int w, int h) {
    static Scene s;
    if (s.width != w || s.height != h) s.build(w, h);
    return s;
}

// Processor time, as the benchmark's own CPU column: the machine may be busy with others.
double processSeconds() {
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return t.tv_sec + t.tv_nsec * 1e-9;
}

template <class F>
double seconds(int repeats, F f) {
    const double start = processSeconds();
    for (int i = 0; i < repeats; ++i) f();
    return (processSeconds() - start) / repeats;
}

void BM_HarmonicMarkerMove(benchmark::State& state) {
    Scene& s = scene(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    resetPeakMemory();
    const double before = peakMemory();
    for (auto _ : state) {
        s.move();
        s.canvas->pumpTasks();
        s.canvas->update();
    }
    const double move = seconds(50, [&] {
        s.move();
        s.canvas->pumpTasks();
        s.canvas->update();
    });
    const double compute = seconds(50, [&] {
        s.move();
        s.canvas->pumpTasks();
    });
    s.canvas->update();
    const double full = seconds(10, [&] { s.canvas->paint(); });
    state.counters["move_KB"] = (peakMemory() - before) / 1024;
    state.counters["frame_MB"] = s.frameBytes / (1024 * 1024);
    state.counters["compute_ms"] = compute * 1e3;
    state.counters["full_paint_ms"] = full * 1e3;
    state.counters["share_compute"] = compute / move;
}

}  // namespace

BENCHMARK(BM_HarmonicMarkerMove)
    ->Args({1280, 800})
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime();

BENCHMARK_MAIN();
