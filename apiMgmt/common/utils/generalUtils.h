#ifndef APIMGMT_COMMON_UTILS_GENERALUTILS_H
#define APIMGMT_COMMON_UTILS_GENERALUTILS_H

#include <sys/time.h>

#include <cstdint>

// Small helpers of the common library: temperatures and time spans.
class GENERALUtils {
public:
    static int64_t CelsiusToFahrenheit(int64_t iValue);
    static int64_t FahrenheitToCelsius(int64_t iValue);

    // A new timeval from malloc holding end - start; the caller frees it. A borrow of a second
    // is taken from ioEnd itself.
    static timeval* GetDuration(const timeval* iStart, timeval* ioEnd);
    // The time from iStart to now.
    static void GetAge(const timeval& iStart, timeval& oResult);
    static void DisplayTimeStats(const char* iLabel, const timeval* iStart, const timeval* iEnd);
};

#endif
