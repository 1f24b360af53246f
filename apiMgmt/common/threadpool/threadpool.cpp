#include "apiMgmt/common/error/generalError.h"
#include "apiMgmt/common/logs/appLogger.h"
#include "apiMgmt/common/threadpool/mutexWrapper.h"
#include "apiMgmt/common/threadpool/scopedMutex.h"
#include "apiMgmt/common/threadpool/threadWrapper.h"
#include "apiMgmt/common/utils/stringUtil.h"

#define LOG_CATEGORY "ApiMgmtBaseTask"

MUTEXWrapper::MUTEXWrapper(const char*, const pthread_mutexattr_t* iAttr) {
    pthread_mutex_init(&lock, iAttr);
}

MUTEXWrapper::~MUTEXWrapper() {
    pthread_mutex_destroy(&lock);
}

SCOPEDMutex::SCOPEDMutex(MUTEXWrapper& iMutex) : mutex(iMutex) {
    int code = mutex.Acquire();
    if (code != 0) {
        // The location readers of the log have always seen for this failure.
        throw GENERALError(
            "apiMgmt/common/threadpool/scopedMutex.h", 16,
            STRINGUtil::FormatStr("Error acquiring scoped mutex, error code[%d]", code));
    }
}

int THREADWrapper::Run(const std::string& iName, PTHREAD_TASK_ROUTINE iRoutine, void* iArg) {
    if (pthread_thread != 0) {
        return 0;
    }
    if (iRoutine == nullptr) {
        m_LOG_WARNING(LOG_CATEGORY, "invalid thread handler specified");
        return -1;
    }
    taskName = iName;
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
    int code = pthread_create(&pthread_thread, &attr, iRoutine, iArg);
    pthread_attr_destroy(&attr);
    if (code == 0) {
        if (!taskName.empty()) {
            // Linux keeps 15 characters of a thread's name.
            pthread_setname_np(pthread_thread, taskName.substr(0, 15).c_str());
        }
    } else {
        pthread_thread = 0;
        m_LOG_WARNING(LOG_CATEGORY, "Failed to create the thread(%s), error code (%d).",
                      taskName.c_str(), code);
    }
    return code;
}
