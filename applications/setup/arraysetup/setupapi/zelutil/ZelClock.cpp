#include "zelutil/ZelClock.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {
time_t SystemNow() {
    return time(nullptr);
}
std::atomic<ZelClock::Source> g_ClockSource{&SystemNow};
void SystemSleep(unsigned int iSeconds) {
    sleep(iSeconds);
}
std::atomic<ZelClock::Sleeper> g_Sleeper{&SystemSleep};
long long SteadyMs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}
std::atomic<ZelClock::MsSource> g_MsSource{&SteadyMs};
void SystemPause(unsigned int iMilliseconds) {
    timespec wait{static_cast<time_t>(iMilliseconds / 1000),
                  static_cast<long>(iMilliseconds % 1000) * 1000000L};
    while (nanosleep(&wait, &wait) != 0 && errno == EINTR) {
    }
}
std::atomic<ZelClock::Pauser> g_Pauser{&SystemPause};
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

long long ZelClock::NowMs() {
    return g_MsSource.load(std::memory_order_relaxed)();
}

void ZelClock::SetMsSource(MsSource iSource) {
    g_MsSource.store(iSource ? iSource : &SteadyMs, std::memory_order_relaxed);
}

void ZelClock::Pause(unsigned int iMilliseconds) {
    g_Pauser.load(std::memory_order_relaxed)(iMilliseconds);
}

void ZelClock::SetPauser(Pauser iPauser) {
    g_Pauser.store(iPauser ? iPauser : &SystemPause, std::memory_order_relaxed);
}
