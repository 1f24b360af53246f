#ifndef APIMGMT_COMMON_THREADPOOL_SCOPEDMUTEX_H
#define APIMGMT_COMMON_THREADPOOL_SCOPEDMUTEX_H

#include "apiMgmt/common/threadpool/mutexWrapper.h"

// Holds a mutex for a scope; a lock that fails throws GENERALError carrying the code.
class SCOPEDMutex {
public:
    explicit SCOPEDMutex(MUTEXWrapper& iMutex);
    ~SCOPEDMutex() { mutex.Release(); }
    SCOPEDMutex(const SCOPEDMutex&) = delete;
    SCOPEDMutex& operator=(const SCOPEDMutex&) = delete;

private:
    MUTEXWrapper& mutex;
};

#endif
