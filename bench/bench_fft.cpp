// Our FFT against FFTW 3 (double, in place; ESTIMATE, MEASURE and scalar ESTIMATE|NO_SIMD
// plans) and KissFFT (single precision), length by length in one run, with a ratio table
// at the end. Each library's set-up (plan, configuration, our rotation tables) happens
// before timing; every timed iteration is one complex forward transform.
//
// In-place transforms feed their output back in, so values grow without bound and end as
// infinities; vector arithmetic runs at the same speed on them, and both in-place
// libraries see the same data.

#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <kiss_fft.h>

#include <kalvo/kalvo.h>

#include <array>
#include <complex>
#include <cstdio>
#include <ctime>
#include <map>
#include <random>
#include <vector>

namespace {

enum Library { kKalvo, kFftwEstimate, kFftwMeasure, kFftwScalar, kKissFloat, kLibraryCount };

const char* const kLibraryNames[kLibraryCount] = {"kalvo", "fftw_estimate", "fftw_measure",
                                                  "fftw_scalar", "kissfft_float"};

const int kLengths[] = {64, 256, 1000, 1024, 3840, 4096, 65536, 100000, 1 << 20, 10007};

// Nanoseconds per transform of the last run of each benchmark, for the ratio table.
std::map<int, std::array<double, kLibraryCount>> nsPerTransform;

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

// Runs the timed loop and records the time per transform; references also report how
// long ours takes relative to them (x_kalvo: our time / theirs).
template <class Transform>
void timeTransforms(benchmark::State& state, int n, Library library, Transform&& transform) {
    const double start = threadCpuNs();
    for (auto _ : state) {
        transform();
        benchmark::ClobberMemory();
    }
    const double ns = (threadCpuNs() - start) / static_cast<double>(state.iterations());
    auto& row = nsPerTransform.try_emplace(n).first->second;
    row[library] = ns;
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
    if (library != kKalvo && row[kKalvo] > 0) state.counters["x_kalvo"] = row[kKalvo] / ns;
}

void benchKalvo(benchmark::State& state, int n) {
    std::vector<double> re = randomValues(n), im = randomValues(n);
    const int dims[] = {n};
    fftns(1, dims, re.data(), im.data(), -1, 0.0);  // builds the tables for this length
    timeTransforms(state, n, kKalvo, [&] {
        if (fftns(1, dims, re.data(), im.data(), -1, 0.0) != 0) state.SkipWithError("fftns");
    });
}

void benchFftw(benchmark::State& state, int n, Library library, unsigned flags) {
    fftw_complex* data = fftw_alloc_complex(static_cast<size_t>(n));
    // MEASURE overwrites the array while planning, so the data go in afterwards.
    fftw_plan plan = fftw_plan_dft_1d(n, data, data, FFTW_FORWARD, flags);
    const std::vector<double> values = randomValues(2 * static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        data[i][0] = values[2 * i];
        data[i][1] = values[2 * i + 1];
    }
    timeTransforms(state, n, library, [&] { fftw_execute(plan); });
    fftw_destroy_plan(plan);
    fftw_free(data);
}

// KissFFT works out of place (its in-place call copies through a temporary), so it
// transforms the same input every time.
void benchKiss(benchmark::State& state, int n) {
    kiss_fft_cfg cfg = kiss_fft_alloc(n, 0, nullptr, nullptr);
    const std::vector<double> values = randomValues(2 * static_cast<size_t>(n));
    std::vector<kiss_fft_cpx> in(n), out(n);
    for (int i = 0; i < n; ++i) {
        in[i].r = static_cast<float>(values[2 * i]);
        in[i].i = static_cast<float>(values[2 * i + 1]);
    }
    timeTransforms(state, n, kKissFloat, [&] { kiss_fft(cfg, in.data(), out.data()); });
    kiss_fft_free(cfg);
}

bool onlyTwoThreeFive(int n) {
    for (int p : {2, 3, 5})
        while (n % p == 0) n /= p;
    return n == 1;
}

void printRatioTable() {
    std::printf(
        "\nProcessor time per complex transform (ns) and our time relative to each reference\n"
        "(kissfft: single precision float, out of place; all others double, in place).\n"
        "Targets for lengths of factors 2, 3, 5: x scalar <= 1.5, x estimate <= 3, "
        "x kiss <= 1.\n\n");
    std::printf("%8s %12s %12s %12s %12s %12s | %8s %8s %8s %8s  %s\n", "length", "kalvo",
                "fftw_est", "fftw_meas", "fftw_scalar", "kiss_float", "x_scalar", "x_est", "x_meas",
                "x_kiss", "targets");
    for (int n : kLengths) {
        const auto it = nsPerTransform.find(n);
        if (it == nsPerTransform.end()) continue;
        const auto& t = it->second;
        const double xScalar = t[kKalvo] / t[kFftwScalar];
        const double xEstimate = t[kKalvo] / t[kFftwEstimate];
        const double xMeasure = t[kKalvo] / t[kFftwMeasure];
        const double xKiss = t[kKalvo] / t[kKissFloat];
        const char* verdict = "n/a (prime factor > 5)";
        if (onlyTwoThreeFive(n))
            verdict = (xScalar <= 1.5 && xEstimate <= 3.0 && xKiss <= 1.0) ? "met" : "MISSED";
        std::printf("%8d %12.0f %12.0f %12.0f %12.0f %12.0f | %8.2f %8.2f %8.2f %8.2f  %s\n", n,
                    t[kKalvo], t[kFftwEstimate], t[kFftwMeasure], t[kFftwScalar], t[kKissFloat],
                    xScalar, xEstimate, xMeasure, xKiss, verdict);
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (int n : kLengths) {
        const std::string suffix = "/" + std::to_string(n);
        benchmark::RegisterBenchmark(("kalvo" + suffix).c_str(), benchKalvo, n);
        benchmark::RegisterBenchmark(("fftw_estimate" + suffix).c_str(), benchFftw, n,
                                     kFftwEstimate, FFTW_ESTIMATE);
        benchmark::RegisterBenchmark(("fftw_measure" + suffix).c_str(), benchFftw, n, kFftwMeasure,
                                     FFTW_MEASURE);
        benchmark::RegisterBenchmark(("fftw_scalar" + suffix).c_str(), benchFftw, n, kFftwScalar,
                                     FFTW_ESTIMATE | FFTW_NO_SIMD);
        benchmark::RegisterBenchmark(("kissfft_float" + suffix).c_str(), benchKiss, n);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printRatioTable();
    fftFreeScratch();
    fftw_cleanup();
    return 0;
}
