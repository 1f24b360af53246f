#ifndef APIMGMT_COMMON_UTILS_APITYPES_H
#define APIMGMT_COMMON_UTILS_APITYPES_H

#include <cstdint>

// Fixed-width names the API client and the IPC schema share.
typedef int32_t int32;
typedef uint32_t uns32;
typedef int64_t int64;
typedef uint64_t uns64;

#endif
