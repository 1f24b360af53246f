// One status poll as the wizard makes it every half second: the model's getInitializeStatus,
// through the facade, a fresh worker that enumerates the adapters, and the poll exchange, to
// the response object. A cellsim controller answers on the far side of a test bed of one veth
// pair (scripts/bench-road). The adapter enumeration alone is timed beside it.
//   bench_road_status [--polls=N] [benchmark flags]
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/LSWConfigMgr.h"
#include "LSWConfig4/unix/Adapter.h"
#include "RoadBench.h"
#include "support/CellsimProcess.h"
#include "support/QuietTracer.h"

namespace {

const unsigned int kTimeout = 3;

void Report(benchmark::State& ioState, const std::vector<double>& iMicros) {
    ioState.counters["median_us"] = road::Median(iMicros);
    ioState.counters["p99_us"] = road::Quantile(iMicros, 0.99);
    ioState.counters["max_us"] = road::Quantile(iMicros, 1.0);
}

void BM_StatusPoll(benchmark::State& state) {
    NetnsBed bed;
    if (!road::Bed(state, bed))
        return;
    CellsimProcess sim(CELLSIM_BINARY, bed.ctl, "ctl0",
                       "[cellsim]\ninterface = ctl0\n" +
                           road::Controller("POLL-1", "02:ce:50:00:00:01", "POLL", true,
                                            "steps = SubmitLicense:Complete "
                                            "SetUserPassword:InProgress\n"));
    if (!sim.WaitReady(60000)) {
        state.SkipWithError(("cellsim did not start: " + sim.Stderr()).c_str());
        return;
    }
    std::vector<std::shared_ptr<IlswArray>> arrays;
    std::string message;
    if (_GetArrays(arrays, 11, message, "", false, kTimeout, "") != 0 || arrays.size() != 1) {
        state.SkipWithError(("discovery did not find the controller: " + message).c_str());
        return;
    }
    std::shared_ptr<IlswController> controller = arrays[0]->getController(0);

    std::vector<double> micros;
    micros.reserve(static_cast<size_t>(state.max_iterations));
    for (auto _ : state) {
        std::shared_ptr<IlswConfigurationStatusResponse> response;
        auto start = std::chrono::steady_clock::now();
        ApiResult r = controller->getInitializeStatus(response);
        std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        if (r.resultCode != 0 || !response || response->getConfigurationStepList().size() != 2) {
            state.SkipWithError(("poll failed: " + r.resultMsg).c_str());
            break;
        }
        state.SetIterationTime(took.count());
        micros.push_back(took.count() * 1e6);
    }
    Report(state, micros);
}

// What every poll spends on finding the host's adapters before it sends anything.
void BM_AdapterEnumeration(benchmark::State& state) {
    std::vector<double> micros;
    micros.reserve(static_cast<size_t>(state.max_iterations));
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        CZelAdapter* all = CZelAdapter::GetAll();
        CZelAdapter::FreeList(all);
        std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        if (!all) {
            state.SkipWithError("no adapters");
            break;
        }
        state.SetIterationTime(took.count());
        micros.push_back(took.count() * 1e6);
    }
    Report(state, micros);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    long polls = 200;
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--polls=", 8) == 0) {
            polls = strtol(argv[i] + 8, nullptr, 10);
        } else {
            fprintf(stderr, "unknown argument %s\n", argv[i]);
            return 2;
        }
    }
    if (polls < 1)
        polls = 1;
    QuietTracer();
    benchmark::RegisterBenchmark("StatusPoll", BM_StatusPoll)
        ->Iterations(polls)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("AdapterEnumeration", BM_AdapterEnumeration)
        ->Iterations(polls)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
