#include "support/Mac.h"

#include <cstdio>

#include "LSWConfig4/unix/Adapter.h"

bool MacOf(const char* iIfName, unsigned char* oMac) {
    char text[ZEL_MAC_ADDR_STRING_SIZE];
    if (!GetMACAddrString(iIfName, text))
        return false;
    unsigned v[6];
    if (sscanf(text, "%x:%x:%x:%x:%x:%x", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]) != 6)
        return false;
    for (int i = 0; i < 6; ++i)
        oMac[i] = static_cast<unsigned char>(v[i]);
    return true;
}

std::string MacText(const unsigned char* iMac) {
    char t[ZEL_MAC_ADDR_STRING_SIZE];
    snprintf(t, sizeof(t), "%02x:%02x:%02x:%02x:%02x:%02x", iMac[0], iMac[1], iMac[2], iMac[3],
             iMac[4], iMac[5]);
    return t;
}
