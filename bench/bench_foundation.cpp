// Throughput of the foundation's hot paths: appending to strings, splitting them into
// tokens, and computing axis grids.
#include <benchmark/benchmark.h>

#include <cmath>
#include <string>

#include <kalvo/foundation/KRange.h>
#include <kalvo/foundation/KString.h>

namespace {

void KStringAppendChars(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        KString s;
        for (int i = 0; i < n; ++i) s.append('x');
        benchmark::DoNotOptimize(s.c_str());
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.SetBytesProcessed(state.iterations() * n);
}
BENCHMARK(KStringAppendChars)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);

// The same appends into std::string, as the yardstick in the same run.
void StdStringAppendChars(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        std::string s;
        for (int i = 0; i < n; ++i) s.push_back('x');
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(StdStringAppendChars)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);

// A clipboard-style text: rows of "%f,%f\n" appended one by one.
void KStringAppendRows(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    KString::setIncrement(4096);
    for (auto _ : state) {
        KString out;
        KString row;
        for (int i = 0; i < rows; ++i) {
            row.format("%f,%f\n", i * 0.001, i * 0.5);
            out << row;
        }
        benchmark::DoNotOptimize(out.c_str());
        state.counters["bytes_per_text"] = out.length();
    }
    KString::setIncrement(256);
    state.SetItemsProcessed(state.iterations() * rows);
}
BENCHMARK(KStringAppendRows)->Arg(10000)->Arg(100000);

KString csvLine(int fields) {
    KString line;
    KString cell;
    for (int i = 0; i < fields; ++i) {
        if (i > 0) line << ',';
        line << cell.format("%d.%03d", i * 7, i % 1000);
    }
    return line;
}

// Reading every field of a line through token(n, delim), as a caller walking columns does.
void KStringTokenByChar(benchmark::State& state) {
    const int fields = static_cast<int>(state.range(0));
    const KString line = csvLine(fields);
    for (auto _ : state) {
        size_t total = 0;
        for (int i = 0; i < fields; ++i) total += line.token(i, ',').length();
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * fields);
    state.SetBytesProcessed(state.iterations() * line.length());
}
BENCHMARK(KStringTokenByChar)->Arg(8)->Arg(64)->Arg(512);

void KStringTokenBySet(benchmark::State& state) {
    const int fields = static_cast<int>(state.range(0));
    KString line = csvLine(fields);
    line.replace(',', ';');
    const KString delims(", \t;|");
    for (auto _ : state) {
        size_t total = 0;
        for (int i = 0; i < fields; ++i) total += line.token(i, delims).length();
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * fields);
}
BENCHMARK(KStringTokenBySet)->Arg(8)->Arg(64)->Arg(512);

// Grid computation over spans of every magnitude, snapped and unsnapped, and time spans.
void KRangeComputeGrid(benchmark::State& state) {
    const bool unitized = state.range(0) != 0;
    double spans[64];
    for (int i = 0; i < 64; ++i) spans[i] = unitized ? 30.0 * (1 << (i % 24)) : 1.37e-15 * std::pow(10.0, i * 0.5);
    size_t i = 0;
    for (auto _ : state) {
        KRange r(-0.3 * spans[i & 63], spans[i & 63]);
        r.setUnitized(unitized);
        r.computeGrid((i & 1) != 0);
        benchmark::DoNotOptimize(r.getGrid());
        ++i;
    }
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(unitized ? "time spans" : "spans 1e-15 to 1e16");
}
BENCHMARK(KRangeComputeGrid)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
