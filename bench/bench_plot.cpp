// Plots and their calculated quantities.
//
// BM_SlidingPhasors takes the one-cycle phasors of 12 channels of 10 million samples (50 Hz
// at 4 kHz: 80 samples a cycle) into a record of their real and imaginary parts, again and
// again into the same record (as a view that follows its data does); beside it, in the same
// run, BM_OnePass reads every sample once (a plain summing loop: one pass of memory over the
// samples). x_pass is how many such passes the phasors take; the target is 3 or less.
// BM_ReadWriteTwo does the phasors' memory work the simple way (each sample read, two results
// written), and x_rw is the phasors over that.
// first_ms is the first transform, into a new record whose 1.9 GB the operating system
// hands out page by page; BM_FreshWrite writes as much new memory once, the simple way, and
// first_x_fresh is the first transform over that. in_MB is the record's samples, out_MB the
// peak memory the phasors took on top.
//
// BM_PlayStep is one step of a playing plot frame (1920x1080): the aperture, two cycles
// between the markers, moves on and the frame paints what changed: the time graph of the
// six channels with its markers, and the impedance plane with the AG locus. full_ms is a
// repaint of the whole frame, the simple way; the target for a step is under 16 ms.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <vector>

#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/host/headless/KCanvas.h>
#include <kalvo/plot/KImpedancePanel.h>
#include <kalvo/plot/KMhoCharacteristic.h>
#include <kalvo/plot/KPlotFrame.h>
#include <kalvo/record/KImpedanceTransform.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/record/KSlidingPhasorTransform.h>

#include "BenchMemory.h"

namespace {

constexpr double PI = 3.14159265358979323846;
constexpr double RATE = 4000.0;

// channels traces of n samples: three-phase voltages and currents (a fault at the middle),
// as many sets as the channels need, at 50 Hz.
std::unique_ptr<KRecord> threePhase(int channels, int n) {
    auto record = std::make_unique<KRecord>();
    record->create(channels, 0, 1024);
    KRecord::Trace& domain = record->getDomain();
    domain.ensureCapacity(n);
    domain.setCountUnset(n);
    double* x = domain.getData();
    for (int i = 0; i < n; ++i) x[i] = (i - n / 2) / RATE;
    const char* names[6] = {"VA", "VB", "VC", "IA", "IB", "IC"};
    for (int t = 0; t < channels; ++t) {
        KRecord::Trace* trace = record->getTrace(t);
        trace->setName(names[t % 6]);
        trace->setUnits(t % 6 < 3 ? "kV" : "A");
        trace->ensureCapacity(n);
        trace->setCountUnset(n);
        double* y = trace->getData();
        const double phase = -2 * PI / 3 * (t % 3);
        const bool current = t % 6 >= 3;
        for (int i = 0; i < n; ++i) {
            const bool fault = i >= n / 2 && t % 3 == 0;
            const double amplitude = current ? (fault ? 3000 : 400) : (fault ? 30 : 107);
            y[i] = amplitude *
                   std::cos(2 * PI * 50 * x[i] + phase - (current ? (fault ? 1.4 : 0.3) : 0.0));
        }
    }
    record->setProperty(KRecord::LINE_FREQUENCY, "50");
    record->setTriggerValue(0.0);
    return record;
}

constexpr int CHANNELS = 12;
constexpr int SAMPLES = 10'000'000;

struct PhasorScene {
    std::unique_ptr<KRecord> record;
    double inputBytes = 0;
    static PhasorScene& get() {
        static PhasorScene s = [] {
            PhasorScene scene;
            resetPeakMemory();
            const double before = peakMemory();
            scene.record = threePhase(CHANNELS, SAMPLES);
            scene.inputBytes = peakMemory() - before;
            return scene;
        }();
        return s;
    }
};

double onePassSeconds = 0;
double readWriteSeconds = 0;
double freshWriteSeconds = 0;

void BM_OnePass(benchmark::State& state) {
    const KRecord& record = *PhasorScene::get().record;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        double sum = 0;
        for (int t = 0; t < CHANNELS; ++t) {
            const double* y = record.getTrace(t)->getData();
            for (int i = 0; i < SAMPLES; ++i) sum += y[i];
        }
        benchmark::DoNotOptimize(sum);
        onePassSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(CHANNELS) * SAMPLES * 8);
}
BENCHMARK(BM_OnePass)->Unit(benchmark::kMillisecond);

// The memory work of the phasors done the simple way: every sample read once and two
// results written for it into memory that was written before.
void BM_ReadWriteTwo(benchmark::State& state) {
    const KRecord& record = *PhasorScene::get().record;
    std::vector<double> a(SAMPLES), b(SAMPLES);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        for (int t = 0; t < CHANNELS; ++t) {
            const double* y = record.getTrace(t)->getData();
            for (int i = 0; i < SAMPLES; ++i) {
                a[i] = y[i] * 0.5;
                b[i] = y[i] * 0.25;
            }
            benchmark::DoNotOptimize(a.data());
            benchmark::DoNotOptimize(b.data());
        }
        readWriteSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
}
BENCHMARK(BM_ReadWriteTwo)->Unit(benchmark::kMillisecond);

// What the memory of the phasors costs the first time: writing as many doubles into new
// memory once (two per sample of each channel), the operating system giving it page by page.
void BM_FreshWrite(benchmark::State& state) {
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        for (int t = 0; t < 2 * CHANNELS; ++t) {
            std::unique_ptr<double[]> out(new double[SAMPLES]);
            for (int i = 0; i < SAMPLES; ++i) out[i] = i;
            benchmark::DoNotOptimize(out.get());
        }
        freshWriteSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
}
BENCHMARK(BM_FreshWrite)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_SlidingPhasors(benchmark::State& state) {
    PhasorScene& scene = PhasorScene::get();
    std::vector<int> traces;
    for (int t = 0; t < CHANNELS; ++t) traces.push_back(t);
    KSlidingPhasorTransform transform;
    double seconds = 0, extra = 0;
    // The first transform into a new record takes its memory; the timed ones reuse it, as a
    // view that follows the data does.
    resetPeakMemory();
    const double before = peakMemory();
    const auto start = std::chrono::steady_clock::now();
    KRecord phasors;
    transform.transformTraces(*scene.record, traces, phasors);
    const double first =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    extra = peakMemory() - before;
    for (auto _ : state) {
        const auto again = std::chrono::steady_clock::now();
        transform.transformTraces(*scene.record, traces, phasors);
        benchmark::DoNotOptimize(phasors.getTrace(0)->getData());
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - again).count();
    }
    state.counters["first_ms"] = first * 1e3;
    if (freshWriteSeconds > 0) state.counters["first_x_fresh"] = first / freshWriteSeconds;
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(CHANNELS) * SAMPLES);
    if (onePassSeconds > 0) state.counters["x_pass"] = seconds / onePassSeconds;
    if (readWriteSeconds > 0) state.counters["x_rw"] = seconds / readWriteSeconds;
    state.counters["in_MB"] = scene.inputBytes / (1 << 20);
    state.counters["out_MB"] = extra / (1 << 20);
}
BENCHMARK(BM_SlidingPhasors)->Unit(benchmark::kMillisecond)->Iterations(3);

// A playing frame of the impedance plane over six channels of n samples.
struct PlayScene {
    int samples = 0;
    std::unique_ptr<KRecord> record;
    std::unique_ptr<KCanvas> canvas;
    KPlotFrame* frame = nullptr;

    void build(int n) {
        canvas.reset();
        record = threePhase(6, n);
        samples = n;
        canvas = std::make_unique<KCanvas>(1920, 1080);
        frame = new KPlotFrame();
        canvas->setRoot(frame);
        auto* plane = new KImpedancePanel();
        frame->create(plane);
        frame->addRecord(record.get());
        KImpedanceTransform transform;
        auto z = std::make_shared<KRecord>();
        transform.transform(record.get(), *z, 0, n, false, false);
        plane->addLocus(z, "AG");
        plane->addCharacteristic(new KMhoCharacteristic(40, 80));
        KGraphFrame* graph = frame->getGraphFrame();
        graph->toggleMarkers();
        graph->setMarkerXPosition(-0.05);
        graph->setMarkerOPosition(-0.01);
        canvas->layout();
        canvas->pumpTasks();
        plane->resetZoom();
        frame->setPlaySpeed(40);
        canvas->paint();
        frame->play(true);
    }
    static PlayScene& get(int n) {
        static PlayScene s;
        if (s.samples != n) s.build(n);
        return s;
    }
};

void BM_PlayStep(benchmark::State& state) {
    PlayScene& s = PlayScene::get(static_cast<int>(state.range(0)));
    double stepping = 0, painting = 0;
    for (auto _ : state) {
        // At the record's end it starts over.
        if (!s.frame->isPlaying()) {
            s.frame->rewind();
            s.frame->play(true);
        }
        const auto start = std::chrono::steady_clock::now();
        s.canvas->advanceTime(KPlotFrame::PLAY_INTERVAL_MS);
        const auto stepped = std::chrono::steady_clock::now();
        s.canvas->update();
        stepping += std::chrono::duration<double>(stepped - start).count();
        painting +=
            std::chrono::duration<double>(std::chrono::steady_clock::now() - stepped).count();
    }
    state.counters["step_ms"] = stepping * 1e3 / static_cast<double>(state.iterations());
    state.counters["paint_ms"] = painting * 1e3 / static_cast<double>(state.iterations());
    const auto start = std::chrono::steady_clock::now();
    s.canvas->paint();
    state.counters["full_ms"] =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() * 1e3;
}
BENCHMARK(BM_PlayStep)->Arg(1'000'000)->Arg(10'000'000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
