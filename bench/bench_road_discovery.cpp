// Discovery runs one thread per adapter, so over many adapters it should take about as long as
// over one. In a test bed of 8 veth pairs (scripts/bench-road) a cellsim with a pair of its own
// answers behind each controller-side interface; this program times _GetArrays (timeout 3)
// with all 8 wizard-side interfaces in its namespace, and with 7 of them moved out to the
// other namespace, in the same run, and holds the ratio to 1.1.
//   bench_road_discovery [--runs=N] [benchmark flags]
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "LSWConfig4/LSWConfigMgr.h"
#include "RoadBench.h"
#include "support/CellsimProcess.h"
#include "support/QuietTracer.h"

namespace {

const unsigned int kTimeout = 3;
const int kAdapters = 8;
const double kMostRatio = 1.1;

double g_median[kAdapters + 1] = {};

std::string Operstate(const std::string& iIfName) {
    std::ifstream in("/sys/class/net/" + iIfName + "/operstate");
    std::string state;
    std::getline(in, state);
    return state;
}

bool Run(const std::string& iCommand) {
    return system(iCommand.c_str()) == 0;
}

// Leaves wiz0..wiz<iPresent - 1> in this namespace, up and running, and parks the others in
// the controllers' namespace, where no program of ours looks at them.
bool KeepAdapters(const NetnsBed& iBed, int iPresent) {
    for (int i = 1; i < kAdapters; ++i) {
        const std::string name = "wiz" + std::to_string(i);
        const bool here = !Operstate(name).empty();
        if (i >= iPresent && here && !Run("ip link set " + name + " netns " + iBed.ctl))
            return false;
        if (i < iPresent && !here &&
            !Run("ip -n " + iBed.ctl + " link set " + name + " netns " + iBed.wiz +
                 " && ip link set " + name + " up"))
            return false;
    }
    // Carrier comes a moment after the link is set up.
    for (int tries = 0; tries < 100; ++tries) {
        bool all = true;
        for (int i = 0; i < iPresent; ++i)
            all = all && Operstate("wiz" + std::to_string(i)) == "up";
        if (all)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

void BM_Discovery(benchmark::State& state) {
    const int adapters = static_cast<int>(state.range(0));
    NetnsBed bed;
    if (!road::Bed(state, bed))
        return;
    if (bed.pairs < kAdapters) {
        state.SkipWithError("needs a test bed of 8 veth pairs");
        return;
    }
    // A pair of controllers of its own behind each interface, so more adapters bring more
    // answers to take in too.
    std::vector<std::unique_ptr<CellsimProcess>> sims;
    for (int i = 0; i < kAdapters; ++i)
        sims.push_back(std::make_unique<CellsimProcess>(
            CELLSIM_BINARY, bed.ctl, "ctl" + std::to_string(i),
            road::Pairs(1, 0x70 + i, "BENCH" + std::to_string(i))));
    for (auto& sim : sims)
        if (!sim->WaitReady(60000)) {
            state.SkipWithError(("cellsim did not start: " + sim->Stderr()).c_str());
            return;
        }
    if (!KeepAdapters(bed, adapters)) {
        state.SkipWithError("could not move the interfaces");
        return;
    }

    std::vector<double> seconds;
    unsigned int controllers = 0;
    for (auto _ : state) {
        state.PauseTiming();
        road::AtSecondStart();
        state.ResumeTiming();
        std::vector<std::shared_ptr<IlswArray>> arrays;
        std::string message;
        auto start = std::chrono::steady_clock::now();
        long code = _GetArrays(arrays, 11, message, "", false, kTimeout, "");
        std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(took.count());
        seconds.push_back(took.count());
        controllers = road::ControllersIn(arrays);
        if (code != 0 || arrays.size() != static_cast<size_t>(adapters) ||
            controllers != 2u * static_cast<unsigned int>(adapters)) {
            state.SkipWithError(("discovery found " + std::to_string(arrays.size()) +
                                 " arrays, code " + std::to_string(code) + " " + message)
                                    .c_str());
            break;
        }
    }
    KeepAdapters(bed, kAdapters);
    g_median[adapters] = road::Median(seconds);
    state.counters["median_s"] = g_median[adapters];
    state.counters["controllers"] = controllers;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    long runs = 3;
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--runs=", 7) == 0) {
            runs = strtol(argv[i] + 7, nullptr, 10);
        } else {
            fprintf(stderr, "unknown argument %s\n", argv[i]);
            return 2;
        }
    }
    if (runs < 1)
        runs = 1;
    QuietTracer();
    for (int adapters : {kAdapters, 1})
        benchmark::RegisterBenchmark("Discovery", BM_Discovery)
            ->Arg(adapters)
            ->ArgName("adapters")
            ->Iterations(runs)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    if (g_median[1] <= 0 || g_median[kAdapters] <= 0) {
        fprintf(stderr, "discovery: no figures\n");
        return 1;
    }
    const double ratio = g_median[kAdapters] / g_median[1];
    printf(
        "discovery over %d adapters: %.3f s, over 1 adapter: %.3f s, ratio %.3f (at most "
        "%.2f): %s\n",
        kAdapters, g_median[kAdapters], g_median[1], ratio, kMostRatio,
        ratio <= kMostRatio ? "ok" : "TOO SLOW");
    return ratio <= kMostRatio ? 0 : 1;
}
