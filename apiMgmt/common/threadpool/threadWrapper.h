#ifndef APIMGMT_COMMON_THREADPOOL_THREADWRAPPER_H
#define APIMGMT_COMMON_THREADPOOL_THREADWRAPPER_H

#include <pthread.h>

#include <string>

typedef void* (*PTHREAD_TASK_ROUTINE)(void*);

// Starts one named, detached thread in its life. Whoever must wait for the thread's end
// arranges that itself: the wrapper neither joins nor cancels.
class THREADWrapper {
public:
    THREADWrapper() = default;
    virtual ~THREADWrapper() = default;
    THREADWrapper(const THREADWrapper&) = delete;
    THREADWrapper& operator=(const THREADWrapper&) = delete;

    // 0 when started (or started before), -1 without a routine, else pthread_create's code.
    int Run(const std::string& iName, PTHREAD_TASK_ROUTINE iRoutine, void* iArg);
    pthread_t GetTaskIdentifier() const { return pthread_thread; }
    std::string GetName() const { return taskName; }

private:
    pthread_t pthread_thread = 0;
    std::string taskName;
};

#endif
