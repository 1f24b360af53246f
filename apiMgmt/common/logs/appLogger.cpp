#include "apiMgmt/common/logs/appLogger.h"

#include <sstream>
#include <vector>

#include "apiMgmt/common/logs/logTask.h"

int APPLogger::logLevel = LOGLevel_Warning;
unsigned int APPLogger::logModuleMask = 0xFF;
bool APPLogger::headerInclude = false;
std::atomic<LOGTask*> APPLogger::pLogTask{nullptr};

const LogModuleStruct APPLogger::logModuleEnums[] = {
    {LOGModule_All, LOG_SELECT_ALL},
    {LOGModule_ApiMgr, LOG_CAT_APIMGR},
    {LOGModule_ScObj, LOG_CAT_SC},
    {LOGModule_Task, LOG_CAT_TASK},
    {LOGModule_InCmd, LOG_CAT_IN_CMD},
    {LOGModule_InXml, LOG_CAT_IN_XML},
    {LOGModule_OutXml, LOG_CAT_OUT_XML},
    {LOGModule_Cache, LOG_CAT_CACHE},
    {LOGModule_Privilege, LOG_CAT_PRIVILEGE},
};
const int APPLogger::logModuleEnumCount = 9;

APPLogger::~APPLogger() {
    delete pLogTask.exchange(nullptr);
}

bool APPLogger::SetLogTask(LOGTask* iTask) {
    if (iTask == nullptr || GetLogTask() != nullptr) {
        return false;
    }
    if (!iTask->StartTask()) {
        return false;
    }
    pLogTask.store(iTask, std::memory_order_release);
    return true;
}

void APPLogger::DoLog(LOGLevel iLevel, const char* iFile, const char* iFunction, int iLine,
                      const std::string& iCategory, const std::string& iMessage) {
    LOGTask* task = GetLogTask();
    if (task != nullptr) {
        task->AddLogMsg(LOGMsg(iLevel, headerInclude, iFile ? iFile : "",
                               iFunction ? iFunction : "", iLine, iCategory, iMessage));
    }
}

const char* APPLogger::GetLogLevelAsString(LOGLevel iLevel) {
    switch (iLevel) {
        case LOGLevel_Emerg:
            return "Emergency";
        case LOGLevel_Alert:
            return "Alert";
        case LOGLevel_Critical:
            return "Critical";
        case LOGLevel_Error:
            return "Error";
        case LOGLevel_Warning:
            return "Warning";
        case LOGLevel_Notice:
            return "Notice";
        case LOGLevel_Debug:
            return "Debug";
        default:
            return "Info";
    }
}

bool APPLogger::CheckCategory(const std::string& iCategory) {
    unsigned int module = 0xFF;
    for (int i = 0; i < logModuleEnumCount; ++i) {
        if (STRINGUtil::Comparecase(logModuleEnums[i].description, iCategory) == 0) {
            module = logModuleEnums[i].logModule;
            break;
        }
    }
    return (module & logModuleMask) != 0;
}

std::string APPLogger::GetLogModuleString() {
    std::string out;
    for (int i = 1; i < logModuleEnumCount; ++i) {
        if ((logModuleEnums[i].logModule & logModuleMask) != 0) {
            // The separator goes by the row, not by what was printed before it.
            if (i != 1) {
                out += " | ";
            }
            out += logModuleEnums[i].description;
        }
    }
    return out;
}

std::string APPLogger::GetLogModuleDefinitionString() {
    std::string out = "Valid values are:\n";
    for (int i = 0; i < logModuleEnumCount; ++i) {
        out += " " + std::to_string(i) + ". " + logModuleEnums[i].description + "\n";
    }
    return out + "Enable multiple modules- example: 1|2|5\n";
}

void APPLogger::SetLogModuleFromString(const std::string& iText) {
    if (iText.empty()) {
        return;
    }
    std::vector<std::string> tokens;
    STRINGUtil::SplitString(iText, "|", tokens, 0);
    if (tokens.empty()) {
        return;
    }
    unsigned int mask = 0;
    for (const std::string& token : tokens) {
        int number = 0;
        if (!token.empty()) {
            std::istringstream in(token);
            in >> number;
            if (in.fail()) {
                number = 0;
            }
        }
        if (number == 0) {
            mask = 0xFF;
            break;
        }
        mask |= 1u << ((static_cast<unsigned int>(number) - 1) & 31);
    }
    logModuleMask = mask;
}
