#include "apiMgmt/common/logs/logTask.h"

#include <syslog.h>
#include <time.h>

#include <cerrno>
#include <exception>

#include "apiMgmt/common/threadpool/mutexWrapper.h"
#include "apiMgmt/common/threadpool/scopedMutex.h"
#include "apiMgmt/common/threadpool/threadWrapper.h"

// What the task and its thread share. Either may outlive the other; the last one frees it.
struct LOGTaskQueue {
    explicit LOGTaskQueue(BASELogger* ipLogger) : pLoggerImpl(ipLogger) {
        pthread_condattr_t attr;
        pthread_condattr_init(&attr);
        pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
        pthread_cond_init(&pthread_cond, &attr);
        pthread_condattr_destroy(&attr);
    }
    ~LOGTaskQueue() { pthread_cond_destroy(&pthread_cond); }

    LOGMsg GetNextLogMsg() {
        SCOPEDMutex hold(reqQMutex);
        while (logList.empty()) {
            pthread_cond_wait(&pthread_cond, &reqQMutex.getPThreadMutex());
        }
        LOGMsg msg = logList.front();
        logList.erase(logList.begin());
        return msg;
    }

    std::vector<LOGMsg> logList;
    MUTEXWrapper reqQMutex;
    pthread_cond_t pthread_cond;
    std::unique_ptr<BASELogger> pLoggerImpl;
    bool threadStarted = false;
    bool threadEnded = false;
};

LOGTask::LOGTask(BASELogger* ipLogger) : queue(std::make_shared<LOGTaskQueue>(ipLogger)) {}

LOGTask::~LOGTask() {
    StopTask();
    // A thread that has ended leaves the sink to us, so it goes with the task; a sink still busy
    // goes with its thread.
    std::unique_ptr<BASELogger> sink;
    queue->reqQMutex.Acquire();
    if (queue->threadEnded || !queue->threadStarted) {
        sink = std::move(queue->pLoggerImpl);
    }
    queue->reqQMutex.Release();
}

BASELogger* LOGTask::GetLoggerImpl() const {
    return queue->pLoggerImpl.get();
}

bool LOGTask::StartTask() {
    if (pTaskThread != nullptr) {
        return true;
    }
    pTaskThread = new THREADWrapper();
    LOGTaskArg* arg = new LOGTaskArg{this, new std::shared_ptr<LOGTaskQueue>(queue)};
    int code = pTaskThread->Run("Logging Task", ThreadRoutine, arg);
    if (code != 0) {
        delete static_cast<std::shared_ptr<LOGTaskQueue>*>(arg->pArgs);
        delete arg;
        syslog(LOG_ERR, "Failed to create LOGTask thread, error code (%d).", code);
        return false;
    }
    SCOPEDMutex hold(queue->reqQMutex);
    queue->threadStarted = true;
    return true;
}

void LOGTask::StopTask() {
    if (pTaskThread == nullptr) {
        return;
    }
    AddLogMsg(LOGMsg(LOG_TASK_EXIT, "LOGTask", "stopping logTask"));
    {
        // Two seconds are the whole of the flush; a sink still busy then finishes on its own.
        timespec deadline;
        clock_gettime(CLOCK_MONOTONIC, &deadline);
        deadline.tv_sec += 2;
        SCOPEDMutex hold(queue->reqQMutex);
        while (!queue->threadEnded) {
            if (pthread_cond_timedwait(&queue->pthread_cond, &queue->reqQMutex.getPThreadMutex(),
                                       &deadline) == ETIMEDOUT) {
                break;
            }
        }
    }
    delete pTaskThread;
    pTaskThread = nullptr;
}

void LOGTask::AddLogMsg(const LOGMsg& iMsg) {
    if (queue->pLoggerImpl == nullptr || pTaskThread == nullptr) {
        return;
    }
    SCOPEDMutex hold(queue->reqQMutex);
    queue->logList.push_back(iMsg);
    pthread_cond_broadcast(&queue->pthread_cond);
}

void* LOGTask::ThreadRoutine(void* ipArg) {
    LOGTaskArg* arg = static_cast<LOGTaskArg*>(ipArg);
    if (arg == nullptr) {
        return nullptr;
    }
    std::unique_ptr<std::shared_ptr<LOGTaskQueue>> held(
        static_cast<std::shared_ptr<LOGTaskQueue>*>(arg->pArgs));
    bool noTask = arg->pLogTask == nullptr;
    delete arg;
    if (noTask || !held) {
        return nullptr;
    }
    std::shared_ptr<LOGTaskQueue> queue = *held;
    held.reset();
    for (;;) {
        LOGMsg msg = queue->GetNextLogMsg();
        if (msg.level == LOG_TASK_EXIT) {
            break;
        }
        try {
            if (queue->pLoggerImpl) {
                queue->pLoggerImpl->DoLog(msg);
            }
        } catch (const std::exception&) {
            // A sink that fails loses its line, never the thread.
        }
    }
    SCOPEDMutex hold(queue->reqQMutex);
    queue->threadEnded = true;
    pthread_cond_broadcast(&queue->pthread_cond);
    return nullptr;
}
