#ifndef APIMGMT_COMMON_UTILS_GENERALUTILS_H
#define APIMGMT_COMMON_UTILS_GENERALUTILS_H

#include <sys/time.h>

#include <cstdint>

#include "gpbcom/gpbcom.h"

#define APIMGR_DOMAIN_SOCKET "/tmp/apimgr.sock"
#define MCSHIM_DOMAIN_SOCKET "/tmp/mcshim.sock"
#define SNMPSUBAGENT_DOMAIN_SOCKET "/tmp/snmpsubagent.sock"
#define APIMGR_CONF_FILE "/tmp/apps/apimgr.conf"
#define SNMPSUBAGENT_CONF_FILE "/tmp/apps/snmpsubagent.conf"

// The local peers a process of the system may call.
enum APIEndpoint { Endpoint_APIManager = 0, Endpoint_MCShim = 1, Endpoint_SNMPSubagent = 2 };

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

    // The endpoint of a peer; all three are built on the first call. std::invalid_argument for
    // a value outside the table.
    static const GPBComEndpoint& GetEndpoint(APIEndpoint iEndpoint);
};

#endif
