#ifndef BENCH_ROADBENCH_H
#define BENCH_ROADBENCH_H

// What the benchmarks of the whole layer-2 road share: the test bed they run in
// (scripts/bench-road), cellsim configurations made up on the spot, and the process's figures.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "LSWConfig4/LSWConfigAPI.h"
#include "support/NetnsPeer.h"

namespace road {

// The bed, or the benchmark is skipped with the reason.
inline bool Bed(benchmark::State& ioState, NetnsBed& oBed) {
    std::string why;
    if (NetnsBed::FromEnvironment(oBed, why))
        return true;
    ioState.SkipWithError(why.c_str());
    return false;
}

// One controller's section.
inline std::string Controller(const std::string& iName, const std::string& iMac,
                              const std::string& iTag, bool iPrimary, const std::string& iMore) {
    return "[controller " + iName + "]\nmac = " + iMac + "\nserial = " + iName +
           "\nservice_tag = " + iTag + "\nprimary = " + (iPrimary ? "true" : "false") +
           "\ncanister = " + (iPrimary ? "1" : "2") + "\n" + iMore + "\n";
}

// iPairs pairs, pair p with the service tag iTag-p and the MACs 02:ce:<iGroup>:00:p:01/02.
inline std::string Pairs(int iPairs, int iGroup, const std::string& iTag,
                         const std::string& iMore = "") {
    std::string ini = "[cellsim]\ninterface = ctl0\n";
    for (int p = 0; p < iPairs; ++p) {
        char mac[2][18];
        for (int c = 0; c < 2; ++c)
            snprintf(mac[c], sizeof(mac[c]), "02:ce:%02x:00:%02x:%02x", iGroup & 0xFF, p & 0xFF,
                     c + 1);
        const std::string tag = iTag + "-" + std::to_string(p);
        ini += Controller(tag + "a", mac[0], tag, true, iMore);
        ini += Controller(tag + "b", mac[1], tag, false, iMore);
    }
    return ini;
}

inline unsigned int ControllersIn(const std::vector<std::shared_ptr<IlswArray>>& iArrays) {
    unsigned int n = 0;
    for (const auto& a : iArrays)
        n += a ? a->getControllerCount() : 0;
    return n;
}

// The process's peak resident set so far, in KiB.
inline long PeakRssKb() {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// Waits until the wall clock's second has just turned. Discovery counts its timeout in whole
// seconds of time(), so where a run starts within a second moves its end by up to a whole
// timeout; runs that start at the same phase compare the work, not the rounding.
inline void AtSecondStart() {
    const time_t now = time(nullptr);
    while (time(nullptr) == now)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

inline double Median(std::vector<double> iValues) {
    if (iValues.empty())
        return 0;
    std::sort(iValues.begin(), iValues.end());
    return iValues[iValues.size() / 2];
}

inline double Quantile(std::vector<double> iValues, double iQ) {
    if (iValues.empty())
        return 0;
    std::sort(iValues.begin(), iValues.end());
    size_t i = static_cast<size_t>(iQ * static_cast<double>(iValues.size() - 1) + 0.5);
    return iValues[std::min(i, iValues.size() - 1)];
}

}  // namespace road

#endif
