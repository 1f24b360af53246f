#include "apiMgmt/common/utils/generalUtils.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

int64_t GENERALUtils::CelsiusToFahrenheit(int64_t iValue) {
    return iValue * 9 / 5 + 32;
}

int64_t GENERALUtils::FahrenheitToCelsius(int64_t iValue) {
    return (iValue * 5 - 160) / 9;
}

timeval* GENERALUtils::GetDuration(const timeval* iStart, timeval* ioEnd) {
    timeval* result = static_cast<timeval*>(malloc(sizeof(timeval)));
    if (result == nullptr) {
        fprintf(stderr, "GENERALUtils::GetDuration: out of memory\n");
        exit(EXIT_FAILURE);
    }
    if (ioEnd->tv_usec < iStart->tv_usec) {
        ioEnd->tv_sec -= 1;
        ioEnd->tv_usec += 1000000;
    }
    result->tv_sec = ioEnd->tv_sec - iStart->tv_sec;
    result->tv_usec = ioEnd->tv_usec - iStart->tv_usec;
    return result;
}

void GENERALUtils::GetAge(const timeval& iStart, timeval& oResult) {
    timeval now;
    gettimeofday(&now, nullptr);
    timeval* age = GetDuration(&iStart, &now);
    oResult = *age;
    free(age);
}

void GENERALUtils::DisplayTimeStats(const char*, const timeval*, const timeval*) {}

const GPBComEndpoint& GENERALUtils::GetEndpoint(APIEndpoint iEndpoint) {
    static const GPBComEndpoint endpoints[] = {
        GPBComEndpoint::CreateLocalEndpoint(APIMGR_DOMAIN_SOCKET, 900, 0x500000),
        GPBComEndpoint::CreateLocalEndpoint(MCSHIM_DOMAIN_SOCKET, 900, 0x200000),
        GPBComEndpoint::CreateLocalEndpoint(SNMPSUBAGENT_DOMAIN_SOCKET, 900, 0x200000),
    };
    switch (iEndpoint) {
        case Endpoint_APIManager:
        case Endpoint_MCShim:
        case Endpoint_SNMPSubagent:
            return endpoints[iEndpoint];
    }
    throw std::invalid_argument("GENERALUtils::GetEndpoint: unknown endpoint");
}
