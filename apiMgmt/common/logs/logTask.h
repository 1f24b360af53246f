#ifndef APIMGMT_COMMON_LOGS_LOGTASK_H
#define APIMGMT_COMMON_LOGS_LOGTASK_H

#include <memory>
#include <string>
#include <vector>

#include "apiMgmt/common/logs/appLogger.h"

#define LOG_TASK_EXIT (-1000)

// One queued log line, copied by value.
struct LOGMsg {
    LOGMsg() = default;
    LOGMsg(int iLevel, const std::string& iCategory, const std::string& iMessage)
        : level(iLevel), category(iCategory), message(iMessage) {}
    LOGMsg(int iLevel, bool iIncludeHeader, const std::string& iFileName,
           const std::string& iFnName, int iLineNo, const std::string& iCategory,
           const std::string& iMessage)
        : level(iLevel),
          includeHeader(iIncludeHeader),
          fileName(iFileName),
          fnName(iFnName),
          lineNo(iLineNo),
          category(iCategory),
          message(iMessage) {}

    int level = LOGLevel_Debug;
    bool includeHeader = false;
    std::string fileName;
    std::string fnName;
    int lineNo = 0;
    std::string category;
    std::string message;
};

// The sink the log task hands each line to, on the task's thread.
class BASELogger {
public:
    virtual ~BASELogger() = default;
    virtual void DoLog(const LOGMsg& iMsg) = 0;
};

class THREADWrapper;
struct LOGTaskQueue;

struct LOGTaskArg {
    LOGTask* pLogTask;
    void* pArgs;
};

// Queues lines from any thread and writes them to its sink on one thread of its own, so no
// caller waits on the sink. The queue and the sink live as long as either the task or its
// thread does: a sink still busy when the task is destroyed finishes on memory that is alive.
class LOGTask {
public:
    explicit LOGTask(BASELogger* ipLogger);
    virtual ~LOGTask();
    LOGTask(const LOGTask&) = delete;
    LOGTask& operator=(const LOGTask&) = delete;

    BASELogger* GetLoggerImpl() const;
    bool StartTask();
    // Queues the exit line and waits up to two seconds for the lines ahead of it to be written.
    void StopTask();
    void AddLogMsg(const LOGMsg& iMsg);
    static void* ThreadRoutine(void* ipArg);

private:
    std::shared_ptr<LOGTaskQueue> queue;
    THREADWrapper* pTaskThread = nullptr;
};

#endif
