#ifndef TESTS_SUPPORT_MANUALCLOCK_H
#define TESTS_SUPPORT_MANUALCLOCK_H

#include <ctime>

#include "zelutil/ZelClock.h"

// Replaces ZelClock for the life of the object with a clock that moves only when told; a
// wait moves it by the time waited.
class ManualClock {
public:
    explicit ManualClock(time_t iStart = 1000000) {
        s_now = iStart;
        ZelClock::SetSource(&Read);
        ZelClock::SetSleeper(&Sleep);
    }
    ~ManualClock() {
        ZelClock::SetSource(nullptr);
        ZelClock::SetSleeper(nullptr);
    }
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;

    static void Advance(time_t iSeconds) { s_now += iSeconds; }
    static time_t Now() { return s_now; }

private:
    static time_t Read() { return s_now; }
    static void Sleep(unsigned int iSeconds) { s_now += iSeconds; }
    static inline time_t s_now = 0;
};

#endif
