#ifndef APIMGMT_COMMON_LOGS_APPLOGGER_H
#define APIMGMT_COMMON_LOGS_APPLOGGER_H

#include <atomic>
#include <exception>
#include <string>

#include "apiMgmt/common/utils/stringUtil.h"

enum LOGLevel {
    LOGLevel_Emerg = 1,
    LOGLevel_Alert = 2,
    LOGLevel_Critical = 3,
    LOGLevel_Error = 4,
    LOGLevel_Warning = 5,
    LOGLevel_Notice = 6,
    LOGLevel_Info = 7,
    LOGLevel_Debug = 8,
    LOGLevel_DebugFile = 8,
    LOGLevel_All = 8
};

enum LOGModule {
    LOGModule_SelectAll = 0,
    LOGModule_ApiMgr = 1,
    LOGModule_ScObj = 2,
    LOGModule_Task = 4,
    LOGModule_InCmd = 8,
    LOGModule_InXml = 16,
    LOGModule_OutXml = 32,
    LOGModule_Cache = 64,
    LOGModule_Privilege = 128,
    LOGModule_All = 255
};

struct LogModuleStruct {
    LOGModule logModule;
    const char* description;
};

#define LOG_SELECT_ALL "All"
#define LOG_CAT_APIMGR "APIManager"
#define LOG_CAT_SC "SCObject"
#define LOG_CAT_TASK "SCTask"
#define LOG_CAT_IN_CMD "CmdRecvd"
#define LOG_CAT_IN_XML "CmdXML"
#define LOG_CAT_OUT_XML "RespXML"
#define LOG_CAT_CACHE "Cache"
#define LOG_CAT_PRIVILEGE "UserPrivilege"
#define API_WEBSERVICE "Api WebService"

class LOGTask;

// The process-wide logger: off, at the cost of one pointer test, until a LOGTask is installed.
// Destroying an instance shuts the installed task down.
class APPLogger {
public:
    virtual ~APPLogger();

    static int GetLogLevel() { return logLevel; }
    static void SetLogLevel(int iLevel) { logLevel = iLevel; }
    static bool GetIncludeHeader() { return headerInclude; }
    static void SetIncludeHeader(bool iInclude) { headerInclude = iInclude; }
    static LOGTask* GetLogTask() { return pLogTask.load(std::memory_order_acquire); }
    // Starts and installs iTask; false, and nothing changed, when one is installed already.
    static bool SetLogTask(LOGTask* iTask);

    // Only with a task installed; the log macros see to that.
    static void DoLog(LOGLevel iLevel, const char* iFile, const char* iFunction, int iLine,
                      const std::string& iCategory, const std::string& iMessage);

    static const char* GetLogLevelAsString(LOGLevel iLevel);
    static bool CheckCategory(const std::string& iCategory);
    static std::string GetLogModuleString();
    static std::string GetLogModuleDefinitionString();
    static void SetLogModuleFromString(const std::string& iText);
    static unsigned int GetLogModuleMask() { return logModuleMask; }
    static void SetLogModuleMask(unsigned int iMask) { logModuleMask = iMask; }

    static const LogModuleStruct logModuleEnums[];
    static const int logModuleEnumCount;

private:
    static int logLevel;
    static unsigned int logModuleMask;
    static bool headerInclude;
    static std::atomic<LOGTask*> pLogTask;
};

// Formats and queues one line when a task is installed and the level passes; never throws, and
// formats nothing when the level is off.
#define m_GENERAL_ERROR_IMPL(level, category, ...)                                       \
    do {                                                                                 \
        if (APPLogger::GetLogTask() != nullptr && APPLogger::GetLogLevel() >= (level)) { \
            try {                                                                        \
                APPLogger::DoLog((level), __FILE__, __FUNCTION__, __LINE__, (category),  \
                                 STRINGUtil::FormatStr(__VA_ARGS__));                    \
            } catch (const std::exception&) {                                            \
            }                                                                            \
        }                                                                                \
    } while (0)

#define m_LOG_ITEM(level, category, ...) m_GENERAL_ERROR_IMPL(level, category, __VA_ARGS__)
#define m_LOG_EMERG(category, ...) m_LOG_ITEM(LOGLevel_Emerg, category, __VA_ARGS__)
#define m_LOG_ALERT(category, ...) m_LOG_ITEM(LOGLevel_Alert, category, __VA_ARGS__)
#define m_LOG_CRITICAL(category, ...) m_LOG_ITEM(LOGLevel_Critical, category, __VA_ARGS__)
#define m_LOG_ERROR(category, ...) m_LOG_ITEM(LOGLevel_Error, category, __VA_ARGS__)
#define m_LOG_WARNING(category, ...) m_LOG_ITEM(LOGLevel_Warning, category, __VA_ARGS__)
#define m_LOG_NOTICE(category, ...) m_LOG_ITEM(LOGLevel_Notice, category, __VA_ARGS__)
#define m_LOG_INFO(category, ...) m_LOG_ITEM(LOGLevel_Info, category, __VA_ARGS__)
#define m_LOG_FILEDUMP(category, ...) m_LOG_ITEM(LOGLevel_DebugFile, category, __VA_ARGS__)
#define m_LOG_DEBUG(category, ...)

#endif
