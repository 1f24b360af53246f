#ifndef ZELUTIL_ZELCLOCK_H
#define ZELUTIL_ZELCLOCK_H

#include <ctime>

// The one clock of the layer-2 side: every wait, deadline and age is measured with
// ZelClock::Now(), so a test can step time instead of sleeping through it.
class ZelClock {
public:
    using Source = time_t (*)();

    // Whole seconds, as time() gives them.
    static time_t Now();

    // Replaces the source; nullptr restores the system clock.
    static void SetSource(Source iSource);

    using Sleeper = void (*)(unsigned int iSeconds);

    // Waits whole seconds, as sleep() does.
    static void Sleep(unsigned int iSeconds);

    // Replaces the wait; nullptr restores the real one.
    static void SetSleeper(Sleeper iSleeper);

    // Milliseconds of a steady clock, for pacing within a second; only differences count.
    using MsSource = long long (*)();
    static long long NowMs();
    static void SetMsSource(MsSource iSource);

    // Waits a number of milliseconds.
    using Pauser = void (*)(unsigned int iMilliseconds);
    static void Pause(unsigned int iMilliseconds);
    static void SetPauser(Pauser iPauser);
};

#endif
