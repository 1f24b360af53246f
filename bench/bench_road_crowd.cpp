// A crowded wire: 64 controllers (32 pairs) answer both Hellos on one adapter, all at once.
// Times _GetArrays (timeout 3) in a test bed of one veth pair (scripts/bench-road), checks
// that every controller was found, and reports how long the discovery ran past its timeout and
// the process's peak resident set. --pairs=N plays another number of pairs, for comparison.
//   bench_road_crowd [--runs=N] [--pairs=N] [benchmark flags]
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/LSWConfigMgr.h"
#include "RoadBench.h"
#include "support/CellsimProcess.h"
#include "support/QuietTracer.h"

namespace {

const unsigned int kTimeout = 3;
int g_pairs = 32;

bool g_allFound = false;

void BM_CrowdedDiscovery(benchmark::State& state) {
    NetnsBed bed;
    if (!road::Bed(state, bed))
        return;
    // Sixty-four 2048-bit keys to make before the first answer.
    CellsimProcess sim(CELLSIM_BINARY, bed.ctl, "ctl0", road::Pairs(g_pairs, 0x64, "CROWD"));
    if (!sim.WaitReady(300000)) {
        state.SkipWithError(("cellsim did not start: " + sim.Stderr()).c_str());
        return;
    }
    const long rssBefore = road::PeakRssKb();

    std::vector<double> seconds;
    unsigned int fewest = 2u * static_cast<unsigned int>(g_pairs);
    size_t arrays = 0;
    for (auto _ : state) {
        std::vector<std::shared_ptr<IlswArray>> found;
        std::string message;
        auto start = std::chrono::steady_clock::now();
        long code = _GetArrays(found, 11, message, "", false, kTimeout, "");
        std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(took.count());
        seconds.push_back(took.count());
        if (code != 0) {
            state.SkipWithError(("discovery failed: " + message).c_str());
            return;
        }
        fewest = std::min(fewest, road::ControllersIn(found));
        arrays = found.size();
    }
    g_allFound = fewest == 2u * static_cast<unsigned int>(g_pairs);
    const double median = road::Median(seconds);
    state.counters["controllers"] = fewest;
    state.counters["arrays"] = static_cast<double>(arrays);
    state.counters["median_s"] = median;
    state.counters["beyond_timeout_s"] = median - kTimeout;
    state.counters["peak_rss_kb"] = static_cast<double>(road::PeakRssKb());
    state.counters["rss_before_kb"] = static_cast<double>(rssBefore);
    printf(
        "crowd: %u of %d controllers found in %zu arrays (fewest of all runs), discovery "
        "%.3f s, %.3f s beyond the %u s timeout, peak RSS %ld KiB (%ld KiB before the "
        "first discovery)\n",
        fewest, 2 * g_pairs, arrays, median, median - kTimeout, kTimeout, road::PeakRssKb(),
        rssBefore);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    long runs = 3;
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--runs=", 7) == 0) {
            runs = strtol(argv[i] + 7, nullptr, 10);
        } else if (strncmp(argv[i], "--pairs=", 8) == 0) {
            g_pairs = static_cast<int>(strtol(argv[i] + 8, nullptr, 10));
        } else {
            fprintf(stderr, "unknown argument %s\n", argv[i]);
            return 2;
        }
    }
    if (g_pairs < 1 || g_pairs > 128) {
        fprintf(stderr, "--pairs takes 1 to 128\n");
        return 2;
    }
    QuietTracer();
    const std::string name = "CrowdedDiscovery/controllers:" + std::to_string(2 * g_pairs);
    benchmark::RegisterBenchmark(name.c_str(), BM_CrowdedDiscovery)
        ->Iterations(runs < 1 ? 1 : runs)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return g_allFound ? 0 : 1;
}
