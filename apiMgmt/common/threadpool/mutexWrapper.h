#ifndef APIMGMT_COMMON_THREADPOOL_MUTEXWRAPPER_H
#define APIMGMT_COMMON_THREADPOOL_MUTEXWRAPPER_H

#include <pthread.h>

// One POSIX mutex; the results of the calls are passed through unchanged.
class MUTEXWrapper {
public:
    // iName is only a label for the reader; null attributes give the platform's default mutex.
    MUTEXWrapper(const char* iName = nullptr, const pthread_mutexattr_t* iAttr = nullptr);
    virtual ~MUTEXWrapper();
    MUTEXWrapper(const MUTEXWrapper&) = delete;
    MUTEXWrapper& operator=(const MUTEXWrapper&) = delete;

    int Acquire() { return pthread_mutex_lock(&lock); }
    int TryAcquire() { return pthread_mutex_trylock(&lock); }
    int Release() { return pthread_mutex_unlock(&lock); }
    pthread_mutex_t& getPThreadMutex() { return lock; }

private:
    pthread_mutex_t lock;
};

#endif
