// The kalvo command on a 1 GB BINARY record that the benchmark writes first (8 analog and 16
// status channels at 4 kHz, about 41 million samples): info, events and export of two
// channels. Each runs as a process of its own; peak_MB is its peak resident memory, which
// must stay under 64 MB whatever the record's size, for these commands read the data file
// once, a block at a time. Beside it, in the same run: the time to read the file once in
// large pieces (x_plain_read is the command's time over it) and the peak memory of a command
// that reads nothing (kalvo --version).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

extern char** environ;

namespace {

constexpr uint64_t FILE_BYTES = uint64_t{1} << 30;
constexpr int ANALOGS = 8, STATUS = 16;
constexpr size_t RECORD = 4 + 4 + 2 * ANALOGS + 2 * ((STATUS + 15) / 16);

// The record's files, written once per run and removed at exit.
struct Record {
    std::filesystem::path folder, cfg, dat;
    uint64_t samples = FILE_BYTES / RECORD;

    Record() {
        folder = std::filesystem::temp_directory_path() /
                 ("kalvo_bench_command_" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        cfg = folder / "large.cfg";
        dat = folder / "large.dat";
        std::string c = "BENCH,LARGE,1999\n24,8A,16D\n";
        for (int k = 1; k <= ANALOGS; ++k)
            c += std::to_string(k) + ",A" + std::to_string(k) + ",A,,V,0.01,0,0,-32767,32767,1,1,S\n";
        for (int k = 1; k <= STATUS; ++k) c += std::to_string(k) + ",S" + std::to_string(k) + ",,,0\n";
        c += "50\n1\n4000," + std::to_string(samples) +
             "\n01/01/2024,00:00:00.000000\n01/01/2024,00:00:01.000000\nBINARY\n1\n";
        FILE* f = fopen(cfg.c_str(), "wb");
        fwrite(c.data(), 1, c.size(), f);
        fclose(f);
        // Samples in pieces of 64 K records: a sine on each analog channel and status
        // channels that change now and then.
        f = fopen(dat.c_str(), "wb");
        std::vector<unsigned char> piece(RECORD * 65536);
        for (uint64_t first = 0; first < samples; first += 65536) {
            const uint64_t n = std::min<uint64_t>(65536, samples - first);
            for (uint64_t i = 0; i < n; ++i) {
                unsigned char* r = piece.data() + i * RECORD;
                const uint32_t number = static_cast<uint32_t>(first + i + 1);
                const uint32_t stamp = static_cast<uint32_t>((first + i) * 250);
                std::memcpy(r, &number, 4);
                std::memcpy(r + 4, &stamp, 4);
                for (int k = 0; k < ANALOGS; ++k) {
                    const int16_t v = static_cast<int16_t>(
                        20000 * std::sin(0.0785 * static_cast<double>(first + i) + k));
                    std::memcpy(r + 8 + 2 * k, &v, 2);
                }
                const uint16_t bits = static_cast<uint16_t>(((first + i) / 40000) % 7 == 0 ? 0x0101 : 0);
                std::memcpy(r + 8 + 2 * ANALOGS, &bits, 2);
            }
            fwrite(piece.data(), 1, n * RECORD, f);
        }
        fclose(f);
    }
    ~Record() { std::filesystem::remove_all(folder); }
};

const Record& record() {
    static Record r;
    return r;
}

// Runs the command with its output thrown away; returns seconds and the peak resident
// memory in bytes.
double run(const std::vector<std::string>& args, double& peak) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    std::vector<char*> argv{const_cast<char*>(KALVO_COMMAND)};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const auto t0 = std::chrono::steady_clock::now();
    pid_t pid;
    if (posix_spawn(&pid, KALVO_COMMAND, &actions, nullptr, argv.data(), environ) != 0) return -1;
    int status = 0;
    struct rusage usage;
    wait4(pid, &status, 0, &usage);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    posix_spawn_file_actions_destroy(&actions);
    peak = static_cast<double>(usage.ru_maxrss) * 1024;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? seconds : -1;
}

// Seconds to read the data file once in 4 MB pieces: the least a pass over it costs.
double plainRead() {
    std::unique_ptr<char[]> buffer(new char[4 << 20]);
    const auto t0 = std::chrono::steady_clock::now();
    const int fd = open(record().dat.c_str(), O_RDONLY);
    while (read(fd, buffer.get(), 4 << 20) > 0) {
    }
    close(fd);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

void command(benchmark::State& state, std::vector<std::string> args) {
    args.insert(args.begin() + 1, record().cfg.string());
    const double reference = plainRead();
    double idle = 0;
    run({"--version"}, idle);
    double peak = 0;
    for (auto _ : state) {
        const double seconds = run(args, peak);
        if (seconds < 0) {
            state.SkipWithError("the command failed");
            return;
        }
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * FILE_BYTES));
    state.counters["peak_MB"] = peak / (1 << 20);
    state.counters["idle_peak_MB"] = idle / (1 << 20);
    state.counters["plain_read_ms"] = reference * 1e3;
    state.counters["x_plain_read"] = benchmark::Counter(
        reference, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    if (peak >= 64.0 * (1 << 20)) state.SkipWithError("more than 64 MB");
}

}  // namespace

BENCHMARK_CAPTURE(command, info, std::vector<std::string>{"info"})
    ->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(command, events, std::vector<std::string>{"events"})
    ->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(command, export_two_channels,
                  std::vector<std::string>{"export", "--channels", "A1,S1"})
    ->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
