#include "zelutil/ZelClock.h"

#include <atomic>

namespace {
time_t SystemNow() {
    return time(nullptr);
}
std::atomic<ZelClock::Source> g_ClockSource{&SystemNow};
}  // namespace

time_t ZelClock::Now() {
    return g_ClockSource.load(std::memory_order_relaxed)();
}

void ZelClock::SetSource(Source iSource) {
    g_ClockSource.store(iSource ? iSource : &SystemNow, std::memory_order_relaxed);
}
