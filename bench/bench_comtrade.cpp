// Decoding COMTRADE data files against scanning the same bytes in memory (memchr for a byte
// as rare as any in the buffer), for a 100 MB BINARY file and a 100 MB ASCII file of the same
// record shape: 8 analog and 16 status channels. Bytes per second are file bytes. Beside the
// decoding, the whole read into a KRecord (decoding, time line, real values as doubles),
// measured against what the design cannot go below: allocating and writing once, into fresh
// memory, as many doubles as the record holds (x_fresh_doubles is the ratio). peak_MB is the
// most memory the read held at once, from the process's high-water mark reset before it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeReader.h>
#include <kalvo/io/KComtradeWriter.h>
#include <kalvo/record/KRecord.h>

#include "BenchMemory.h"

namespace {

constexpr size_t FILE_BYTES = size_t{100} << 20;

KComtradeFile makeRecord(KComtradeConfig::FileType type) {
    KComtradeFile f;
    f.config.revision = KComtradeConfig::REV_1999;
    f.config.fileType = type;
    for (int c = 0; c < 8; ++c) {
        KComtradeConfig::Analog a;
        a.index = c + 1;
        a.id = "CH";
        a.a = 0.01;
        f.config.analogs.push_back(a);
    }
    for (int c = 0; c < 16; ++c) {
        KComtradeConfig::Digital d;
        d.index = c + 1;
        d.id = "ST";
        f.config.digitals.push_back(d);
    }
    // Samples enough for about FILE_BYTES: measured on a short stretch, then repeated.
    const int64_t probe = 1000;
    f.data.resize(probe, 8, 16);
    for (int64_t i = 0; i < probe; ++i) {
        f.data.timeStamps[i] = static_cast<double>(i * 250);
        for (int c = 0; c < 8; ++c)
            f.data.getAnalogs<double>(c)[i] = std::round(20000 * std::sin(0.0654 * i + c));
        for (int c = 0; c < 16; ++c) f.data.setDigital(c, i, (i / 100 + c) % 3 == 0);
    }
    f.config.rates = {{4000.0, probe}};
    return f;
}

const std::string& dataFile(KComtradeConfig::FileType type, KComtradeConfig& config) {
    static std::string files[2];
    static KComtradeConfig configs[2];
    const int k = type == KComtradeConfig::ASCII ? 0 : 1;
    if (files[k].empty()) {
        KComtradeFile f = makeRecord(type);
        const std::string piece = KComtradeWriter::writeData(f.config, f.data);
        // Renumbering is not needed for decoding speed; the decoder notes the break once.
        while (files[k].size() + piece.size() <= FILE_BYTES) files[k] += piece;
        configs[k] = f.config;
        configs[k].rates = {{4000.0, 0}};
    }
    config = configs[k];
    return files[k];
}

// The byte value that occurs least often in bytes.
int rarestByte(const std::string& bytes) {
    size_t counts[256] = {};
    for (unsigned char c : bytes) ++counts[c];
    int rarest = 0;
    for (int c = 1; c < 256; ++c)
        if (counts[c] < counts[rarest]) rarest = c;
    return rarest;
}

// Counts a rare byte value with memchr, which so runs over the whole buffer in long strides.
size_t scanBytes(const std::string& bytes, int rare) {
    size_t hits = 0;
    const char* p = bytes.data();
    const char* end = p + bytes.size();
    while (const void* hit = memchr(p, rare, static_cast<size_t>(end - p))) {
        ++hits;
        p = static_cast<const char*>(hit) + 1;
    }
    return hits;
}

// Into fresh memory, as a program reading a file has, or into arrays of a previous decode
// (which shows the decoding apart from the kernel's cost of handing out new pages).
void decode(benchmark::State& state, KComtradeConfig::FileType type, bool reuse) {
    KComtradeConfig config;
    const std::string& bytes = dataFile(type, config);
    // The best of a few scans, for the ratio below.
    const int rare = rarestByte(bytes);
    double scanSeconds = 1e9;
    for (int k = 0; k < 5; ++k) {
        const auto t0 = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(scanBytes(bytes, rare));
        scanSeconds =
            std::min(scanSeconds,
                     std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    KComtradeData reused;
    for (auto _ : state) {
        KComtradeData fresh;
        KComtradeData& data = reuse ? reused : fresh;
        KStringArray warnings;
        auto decoder = KComtradeDecoder::create(type);
        decoder->decode(bytes.data(), bytes.size(), config, data, warnings);
        benchmark::DoNotOptimize(data.timeStamps.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
    // Time of one decode over the time of one memchr scan of the same bytes.
    state.counters["x_memchr"] = benchmark::Counter(
        scanSeconds, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Seconds to allocate arrays arrays of n doubles each, write every double once and free them:
// the best of a few runs.
double freshDoublesSeconds(size_t arrays, size_t n) {
    double best = 1e9;
    for (int run = 0; run < 3; ++run) {
        const auto t0 = std::chrono::steady_clock::now();
        std::vector<double*> blocks(arrays);
        for (size_t a = 0; a < arrays; ++a) {
            double* p = static_cast<double*>(std::malloc(n * sizeof(double)));
            for (size_t i = 0; i < n; ++i) p[i] = static_cast<double>(i) * 0.5;
            blocks[a] = p;
        }
        benchmark::DoNotOptimize(blocks.data());
        benchmark::ClobberMemory();
        for (double* p : blocks) std::free(p);
        best = std::min(best,
                        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    return best;
}

void record(benchmark::State& state, KComtradeConfig::FileType type) {
    KComtradeConfig config;
    const std::string& bytes = dataFile(type, config);
    config.rates.back().endSample =
        type == KComtradeConfig::ASCII
            ? std::count(bytes.begin(), bytes.end(), '\n')
            : static_cast<int64_t>(bytes.size() / static_cast<size_t>(config.getRecordSize()));
    const std::string cfg = KComtradeWriter::writeConfig(config);
    const size_t samples = static_cast<size_t>(config.rates.back().endSample);
    const size_t traces = 1 + config.analogs.size() + config.digitals.size();
    const double reference = freshDoublesSeconds(traces, samples);
    double peak = 0;
    for (auto _ : state) {
        resetPeakMemory();
        const double before = peakMemory();
        {
            KComtradeReader reader;
            KRecord r;
            reader.read(cfg, bytes, "bench.cfg", r);
            benchmark::DoNotOptimize(r.getXData());
        }
        peak = std::max(peak, peakMemory() - before);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
    state.counters["x_fresh_doubles"] = benchmark::Counter(
        reference, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["fresh_doubles_ms"] = reference * 1e3;
    state.counters["peak_MB"] = peak / (1 << 20);
    state.counters["doubles_MB"] =
        static_cast<double>(traces * samples * sizeof(double)) / (1 << 20);
}

void scan(benchmark::State& state, KComtradeConfig::FileType type) {
    KComtradeConfig config;
    const std::string& bytes = dataFile(type, config);
    const int rare = rarestByte(bytes);
    for (auto _ : state) benchmark::DoNotOptimize(scanBytes(bytes, rare));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

}  // namespace

BENCHMARK_CAPTURE(scan, binary_memchr, KComtradeConfig::BINARY)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, binary, KComtradeConfig::BINARY, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, binary_reused_arrays, KComtradeConfig::BINARY, true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(record, binary, KComtradeConfig::BINARY)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scan, ascii_memchr, KComtradeConfig::ASCII)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, ascii, KComtradeConfig::ASCII, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, ascii_reused_arrays, KComtradeConfig::ASCII, true)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_CAPTURE(record, ascii, KComtradeConfig::ASCII)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
