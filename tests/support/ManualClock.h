#ifndef TESTS_SUPPORT_MANUALCLOCK_H
#define TESTS_SUPPORT_MANUALCLOCK_H

#include <ctime>

#include "zelutil/ZelClock.h"

// Replaces ZelClock for the life of the object with a clock that moves only when told; a
// wait or a pause moves it by the time waited.
class ManualClock {
public:
    explicit ManualClock(time_t iStart = 1000000) {
        s_now = iStart;
        ZelClock::SetSource(&Read);
        ZelClock::SetSleeper(&Sleep);
        s_ms = 0;
        ZelClock::SetMsSource(&ReadMs);
        ZelClock::SetPauser(&Pause);
    }
    ~ManualClock() {
        ZelClock::SetSource(nullptr);
        ZelClock::SetSleeper(nullptr);
        ZelClock::SetMsSource(nullptr);
        ZelClock::SetPauser(nullptr);
    }
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;

    static void Advance(time_t iSeconds) { s_now += iSeconds; }
    static time_t Now() { return s_now; }

private:
    static time_t Read() { return s_now; }
    static void Sleep(unsigned int iSeconds) { s_now += iSeconds; }
    // Milliseconds run on from the seconds; a pause carries whole seconds into them.
    static long long ReadMs() { return static_cast<long long>(s_now) * 1000 + s_ms; }
    static void Pause(unsigned int iMilliseconds) {
        s_ms += iMilliseconds;
        s_now += s_ms / 1000;
        s_ms %= 1000;
    }
    static inline time_t s_now = 0;
    static inline long long s_ms = 0;
};

#endif
