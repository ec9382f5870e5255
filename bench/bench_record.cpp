// Record ingest and trace statistics. Each measurement of the library stands beside a plain
// loop that does the same memory work with standard containers, so the ratio says what the
// record costs on top of moving the bytes.
//
// Targets: feeding 10 million rows of 8 traces through setDomainValue, setTraceValue and
// commit at 50 million trace samples per second or more; minimum, maximum and RMS over 10
// million samples at 500 million samples per second or more.

#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include <kalvo/record/KRecord.h>
#include <kalvo/record/KRecordConsumer.h>

namespace {

constexpr int kRows = 10'000'000;
constexpr int kTraces = 8;
constexpr int kSamples = 10'000'000;

void reportRows(benchmark::State& state, std::int64_t rows) {
    state.SetItemsProcessed(state.iterations() * rows * kTraces);  // trace samples
    state.counters["rows/s"] = benchmark::Counter(static_cast<double>(state.iterations() * rows),
                                                  benchmark::Counter::kIsRate);
}

void BM_IngestRecord(benchmark::State& state) {
    for (auto _ : state) {
        KRecord record;
        record.create(kTraces, 0, 1024);
        for (int i = 0; i < kRows; ++i) {
            record.setDomainValue(i * 1e-4);
            for (int t = 0; t < kTraces; ++t) record.setTraceValue(t, i + t);
            record.commit();
        }
        benchmark::DoNotOptimize(record.getXData());
    }
    reportRows(state, kRows);
}
BENCHMARK(BM_IngestRecord)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// The same rows fed through the consumer interface, as an acquisition that knows only the
// interface does: one virtual call per value.
void BM_IngestThroughConsumer(benchmark::State& state) {
    for (auto _ : state) {
        KRecord record;
        record.create(kTraces, 0, 1024);
        KRecordConsumer& consumer = record;
        for (int i = 0; i < kRows; ++i) {
            consumer.setDomainValue(i * 1e-4);
            for (int t = 0; t < kTraces; ++t) consumer.setTraceValue(t, i + t);
            record.commit();
        }
        benchmark::DoNotOptimize(record.getXData());
    }
    reportRows(state, kRows);
}
BENCHMARK(BM_IngestThroughConsumer)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Baseline: nine std::vector<double> grown by push_back.
void BM_IngestPlainVectors(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::vector<double>> columns(kTraces + 1);
        for (int i = 0; i < kRows; ++i) {
            columns[0].push_back(i * 1e-4);
            for (int t = 0; t < kTraces; ++t) columns[static_cast<size_t>(t) + 1].push_back(i + t);
        }
        benchmark::DoNotOptimize(columns.data());
    }
    reportRows(state, kRows);
}
BENCHMARK(BM_IngestPlainVectors)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// One trace of kSamples samples: a sine with a few non-finite samples in it.
const KRecord& statisticsRecord() {
    static KRecord record = [] {
        KRecord r;
        r.create(1, kSamples, 1024);
        for (int i = 0; i < kSamples; ++i) {
            r.setDomainValue(i);
            r.setTraceValue(0, i % 100000 == 5 ? NAN : std::sin(i * 0.001));
            r.commit();
        }
        r.selectTrace(0);
        return r;
    }();
    return record;
}

void BM_MinValue(benchmark::State& state) {
    const KRecord& record = statisticsRecord();
    for (auto _ : state) benchmark::DoNotOptimize(record.getMinValue(0, 0));
    state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(BM_MinValue)->Unit(benchmark::kMillisecond);

void BM_MaxValue(benchmark::State& state) {
    const KRecord& record = statisticsRecord();
    for (auto _ : state) benchmark::DoNotOptimize(record.getMaxValue(0, 0));
    state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(BM_MaxValue)->Unit(benchmark::kMillisecond);

void BM_RMSValue(benchmark::State& state) {
    const KRecord::Trace& trace = *statisticsRecord().getTrace(0);
    for (auto _ : state) benchmark::DoNotOptimize(trace.getRMSValue(0, kSamples));
    state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(BM_RMSValue)->Unit(benchmark::kMillisecond);

// Baseline: a plain summing loop over the same samples (memory bandwidth).
void BM_PlainSum(benchmark::State& state) {
    const double* y = statisticsRecord().getTrace(0)->getData();
    for (auto _ : state) {
        double sum = 0.0;
        for (int i = 0; i < kSamples; ++i) sum += y[i];
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(BM_PlainSum)->Unit(benchmark::kMillisecond);

// Pasting delimited text: 200 000 rows of a sample number and four values.
void BM_PasteRawData(benchmark::State& state) {
    constexpr int rows = 200'000;
    std::string text = "n,IA,IB,IC,VA\n";
    char line[128];
    for (int i = 0; i < rows; ++i) {
        std::snprintf(line, sizeof line, "%d,%.6f,%.6f,%.6f,%.3f\n", i, std::sin(i * 0.01),
                      std::sin(i * 0.01 + 2.1), std::sin(i * 0.01 + 4.2), 1e3 * std::cos(i * 0.01));
        text += line;
    }
    for (auto _ : state) {
        KRecord record;
        benchmark::DoNotOptimize(record.pasteRawData(text.data(), static_cast<int>(text.size())));
    }
    state.SetItemsProcessed(state.iterations() * (rows + 1));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_PasteRawData)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
