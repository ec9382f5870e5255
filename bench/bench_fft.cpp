// Our FFT against FFTW 3 (double, in place; ESTIMATE, MEASURE and scalar ESTIMATE|NO_SIMD
// plans) and KissFFT (single precision), length by length in one run, with a ratio table
// at the end. Each library's set-up (plan, configuration, our rotation tables) happens
// before timing; every timed iteration is one complex forward transform. Beside the time,
// each benchmark reports the memory its set-up and first transform left allocated.
//
// Three groups of lengths: factors 2, 3 and 5 only (against every reference); primes; and
// lengths with one or two large prime factors. The last two are timed against FFTW's
// ESTIMATE plan only: MEASURE plans take minutes to make for them, and KissFFT transforms
// a prime factor by a butterfly whose work grows with its square.
//
// In-place transforms feed their output back in, so values grow; every kRestoreEvery
// transforms the input is restored, outside the timed part, so that they stay finite
// (arithmetic on infinities and NaN changes the speed of some code). Ours and FFTW see the
// same data.

#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <kiss_fft.h>

#include <kalvo/kalvo.h>

#include <algorithm>
#include <array>
#include <complex>
#include <cstdio>
#include <ctime>
#include <malloc.h>
#include <map>
#include <random>
#include <vector>

namespace {

enum Library { kKalvo, kFftwEstimate, kFftwMeasure, kFftwScalar, kKissFloat, kLibraryCount };

const char* const kLibraryNames[kLibraryCount] = {"kalvo", "fftw_estimate", "fftw_measure",
                                                  "fftw_scalar", "kissfft_float"};

const int kSmoothLengths[] = {64,   256,   512,    1000,   1024,   2048,
                              3840, 4096,  65536, 100000, 393216, 1 << 20};
const int kPrimeLengths[] = {1009, 10007, 100003, 1048573};
// 2*3*5*1009, 64*10007, 1009^2, 1009*1013, 2*524287.
const int kLargeFactorLengths[] = {30270, 640448, 1018081, 1022117, 1048574};

// What each run of a benchmark measured, for the table at the end.
struct Measured {
    std::vector<double> ns;  // processor time per transform, one entry per run
    double setupMB = 0;      // resident memory the set-up and first transform added

    // The median over the runs (--benchmark_repetitions), 0 when there were none.
    double medianNs() const {
        if (ns.empty()) return 0;
        std::vector<double> sorted = ns;
        std::sort(sorted.begin(), sorted.end());
        const size_t h = sorted.size() / 2;
        return sorted.size() % 2 ? sorted[h] : (sorted[h - 1] + sorted[h]) / 2;
    }
};

std::map<int, std::array<Measured, kLibraryCount>> measured;

std::vector<double> randomValues(size_t count) {
    std::mt19937_64 gen(42);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<double> v(count);
    for (double& x : v) x = dist(gen);
    return v;
}

// The machine is shared, so the table compares processor time rather than wall time.
double threadCpuNs() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return 1e9 * static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec);
}

constexpr int kRestoreEvery = 32;

// Runs the timed loop, restoring the input now and then (untimed), and records the time per
// transform; references also report how long ours takes relative to them (x_kalvo: our time
// / theirs).
template <class Transform, class Restore>
void timeTransforms(benchmark::State& state, int n, Library library, Transform&& transform,
                    Restore&& restore) {
    double ns = 0;
    int sinceRestore = 0;
    double start = threadCpuNs();
    for (auto _ : state) {
        transform();
        benchmark::ClobberMemory();
        if (++sinceRestore == kRestoreEvery) {
            ns += threadCpuNs() - start;
            restore();
            sinceRestore = 0;
            start = threadCpuNs();
        }
    }
    ns = (ns + threadCpuNs() - start) / static_cast<double>(state.iterations());
    auto& row = measured[n];
    row[library].ns.push_back(ns);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
    if (library != kKalvo && !row[kKalvo].ns.empty())
        state.counters["x_kalvo"] = row[kKalvo].ns.back() / ns;
}

// Heap memory that a set-up and its first transform leave allocated (tables, plans, our
// scratch), reported in MB. Counted from the allocator rather than from resident pages,
// which memory freed by an earlier benchmark would hide.
template <class SetUp>
void reportSetUpMemory(benchmark::State& state, int n, Library library, SetUp&& setUp) {
    auto allocated = [] {
        const struct mallinfo2 info = mallinfo2();
        return static_cast<double>(info.uordblks + info.hblkhd);
    };
    const double before = allocated();
    setUp();
    const double mb = (allocated() - before) / 1e6;
    state.counters["setup_MB"] = mb;
    measured[n][library].setupMB = mb;
}

void benchKalvo(benchmark::State& state, int n) {
    const std::vector<double> values = randomValues(2 * static_cast<size_t>(n));
    std::vector<double> re(n), im(n);
    auto restore = [&] {
        for (int i = 0; i < n; ++i) {
            re[i] = values[2 * i];
            im[i] = values[2 * i + 1];
        }
    };
    const int dims[] = {n};
    fftFreeScratch();
    // The first transform builds the tables for this length.
    reportSetUpMemory(state, n, kKalvo, [&] { fftns(1, dims, re.data(), im.data(), -1, 0.0); });
    state.counters["scratch_MB"] = static_cast<double>(fftScratchSize()) / 1e6;
    restore();
    timeTransforms(
        state, n, kKalvo,
        [&] {
            if (fftns(1, dims, re.data(), im.data(), -1, 0.0) != 0) state.SkipWithError("fftns");
        },
        restore);
}

void benchFftw(benchmark::State& state, int n, Library library, unsigned flags) {
    fftw_complex* data = fftw_alloc_complex(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) data[i][0] = data[i][1] = 0.0;
    // MEASURE overwrites the array while planning, so the data go in afterwards.
    fftw_plan plan = nullptr;
    reportSetUpMemory(state, n, library, [&] {
        plan = fftw_plan_dft_1d(n, data, data, FFTW_FORWARD, flags);
        fftw_execute(plan);
    });
    const std::vector<double> values = randomValues(2 * static_cast<size_t>(n));
    auto restore = [&] {
        for (int i = 0; i < n; ++i) {
            data[i][0] = values[2 * i];
            data[i][1] = values[2 * i + 1];
        }
    };
    restore();
    timeTransforms(state, n, library, [&] { fftw_execute(plan); }, restore);
    fftw_destroy_plan(plan);
    fftw_free(data);
}

// KissFFT works out of place (its in-place call copies through a temporary), so it
// transforms the same input every time.
void benchKiss(benchmark::State& state, int n) {
    const std::vector<double> values = randomValues(2 * static_cast<size_t>(n));
    std::vector<kiss_fft_cpx> in(n), out(n);
    for (int i = 0; i < n; ++i) {
        in[i].r = static_cast<float>(values[2 * i]);
        in[i].i = static_cast<float>(values[2 * i + 1]);
    }
    kiss_fft_cfg cfg = nullptr;
    reportSetUpMemory(state, n, kKissFloat, [&] {
        cfg = kiss_fft_alloc(n, 0, nullptr, nullptr);
        kiss_fft(cfg, in.data(), out.data());
    });
    timeTransforms(state, n, kKissFloat, [&] { kiss_fft(cfg, in.data(), out.data()); }, [] {});
    kiss_fft_free(cfg);
}

void printGroup(const char* title, const int* lengths, size_t count, bool smooth) {
    std::printf("\n%s\n", title);
    std::printf("%8s %12s %12s", "length", "kalvo", "fftw_est");
    if (smooth) std::printf(" %12s %12s %12s", "fftw_meas", "fftw_scalar", "kiss_float");
    std::printf(" | %8s", "x_est");
    if (smooth) std::printf(" %8s %8s %8s", "x_meas", "x_scalar", "x_kiss");
    std::printf(" | %9s %9s | target x_est <= %s\n", "kalvo_MB", "fftw_MB", smooth ? "1.5" : "10");
    for (size_t i = 0; i < count; ++i) {
        const int n = lengths[i];
        const auto it = measured.find(n);
        if (it == measured.end()) continue;
        const auto& row = it->second;
        const double ours = row[kKalvo].medianNs();
        const double estimate = row[kFftwEstimate].medianNs();
        if (ours == 0 || estimate == 0) continue;
        const double xEstimate = ours / estimate;
        std::printf("%8d %12.0f %12.0f", n, ours, estimate);
        if (smooth)
            for (Library l : {kFftwMeasure, kFftwScalar, kKissFloat})
                std::printf(" %12.0f", row[l].medianNs());
        std::printf(" | %8.2f", xEstimate);
        if (smooth) {
            for (Library l : {kFftwMeasure, kFftwScalar, kKissFloat}) {
                const double theirs = row[l].medianNs();
                std::printf(" %8.2f", theirs > 0 ? ours / theirs : 0.0);
            }
        }
        std::printf(" | %9.2f %9.2f | %s\n", row[kKalvo].setupMB, row[kFftwEstimate].setupMB,
                    xEstimate <= (smooth ? 1.5 : 10.0) ? "met" : "MISSED");
    }
}

void printRatioTable() {
    std::printf(
        "\nProcessor time per complex transform (ns, median of the runs) and our time relative\n"
        "to each reference (kissfft: single precision float, out of place; all others double,\n"
        "in place); heap memory (MB) that the set-up and first transform left allocated, ours\n"
        "(tables and scratch) and FFTW's ESTIMATE plan.\n");
    printGroup("Lengths of factors 2, 3 and 5", kSmoothLengths, std::size(kSmoothLengths), true);
    printGroup("Primes", kPrimeLengths, std::size(kPrimeLengths), false);
    printGroup("Lengths with large prime factors", kLargeFactorLengths,
               std::size(kLargeFactorLengths), false);
}

void registerLength(int n, bool everyReference) {
    auto name = [n](Library l) { return std::string(kLibraryNames[l]) + "/" + std::to_string(n); };
    benchmark::RegisterBenchmark(name(kKalvo).c_str(), benchKalvo, n);
    benchmark::RegisterBenchmark(name(kFftwEstimate).c_str(), benchFftw, n, kFftwEstimate,
                                 FFTW_ESTIMATE);
    if (!everyReference) return;
    benchmark::RegisterBenchmark(name(kFftwMeasure).c_str(), benchFftw, n, kFftwMeasure,
                                 FFTW_MEASURE);
    benchmark::RegisterBenchmark(name(kFftwScalar).c_str(), benchFftw, n, kFftwScalar,
                                 FFTW_ESTIMATE | FFTW_NO_SIMD);
    benchmark::RegisterBenchmark(name(kKissFloat).c_str(), benchKiss, n);
}

}  // namespace

int main(int argc, char** argv) {
    for (int n : kSmoothLengths) registerLength(n, true);
    for (int n : kPrimeLengths) registerLength(n, false);
    for (int n : kLargeFactorLengths) registerLength(n, false);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printRatioTable();
    fftFreeScratch();
    fftw_cleanup();
    return 0;
}
