#include "zelutil/ZelClock.h"

#include <unistd.h>

#include <atomic>

namespace {
time_t SystemNow() {
    return time(nullptr);
}
std::atomic<ZelClock::Source> g_ClockSource{&SystemNow};
void SystemSleep(unsigned int iSeconds) {
    sleep(iSeconds);
}
std::atomic<ZelClock::Sleeper> g_Sleeper{&SystemSleep};
}  // namespace

time_t ZelClock::Now() {
    return g_ClockSource.load(std::memory_order_relaxed)();
}

void ZelClock::SetSource(Source iSource) {
    g_ClockSource.store(iSource ? iSource : &SystemNow, std::memory_order_relaxed);
}

void ZelClock::Sleep(unsigned int iSeconds) {
    g_Sleeper.load(std::memory_order_relaxed)(iSeconds);
}

void ZelClock::SetSleeper(Sleeper iSleeper) {
    g_Sleeper.store(iSleeper ? iSleeper : &SystemSleep, std::memory_order_relaxed);
}
