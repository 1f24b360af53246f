#include "apiMgmt/common/error/apiMethodError.h"

#include "apiMgmt/common/utils/stringUtil.h"

std::string SCResponseStatus::DumpInfo() const {
    std::string out = STRINGUtil::FormatStr(
        "errorCode[%d] extErrorCode[%d] mcErrorId[%u] subsystemId[%u] summary[%s] cause[%s] "
        "resolve[%s]",
        errorCode, extErrorCode, mcErrorId, subsystemId, errorSummaryMsg.c_str(),
        errorCauseMsg.c_str(), errorResolveMsg.c_str());
    for (const std::string& msg : errorMsgs) {
        out += " msg[" + msg + "]";
    }
    return out;
}

std::string SCResponseStatus::GetDetailErrorMsg() const {
    if (errorCode > 0 && !errorMsgs.empty()) {
        return errorMsgs.front();
    }
    return errorSummaryMsg;
}

std::string SCResponseStatus::GetSummaryErrorMsg() const {
    if (errorCode > 0 && errorSummaryMsg.empty() && !errorMsgs.empty()) {
        return errorMsgs.front();
    }
    return errorSummaryMsg;
}

APIMethodError::APIMethodError(ErrorStateEnum iState, const char* iFile, int iLine,
                               const std::string& iMessage)
    : GENERALError(iFile, iLine, iMessage), errStateEnum(iState) {}

APIMethodError::APIMethodError(ErrorStateEnum iState, const char* iFile, int iLine,
                               const std::string& iMessage, const std::string& iDetail)
    : GENERALError(iFile, iLine, iMessage, iDetail), errStateEnum(iState) {}

APIMethodError::APIMethodError(const std::string& iMessage, ErrorStateEnum iState,
                               const char* iFile, int iLine, unsigned int iMsgId,
                               const char* iArgFormat, ...)
    : GENERALError(iFile, iLine, iMessage), errStateEnum(iState) {
    msgId = iMsgId;
    va_list args;
    va_start(args, iArgFormat);
    SaveArgList(iArgFormat, args);
    va_end(args);
}

// A status that carries codes came from the storage cell itself.
APIMethodError::APIMethodError(const SCResponseStatus& iStatus, const char* iFile, int iLine)
    : GENERALError(iFile, iLine, iStatus.GetSummaryErrorMsg(), iStatus.GetDetailErrorMsg()),
      errStateEnum(ErrorStateEnum_StorageCellError),
      errorCode(iStatus.errorCode),
      extErrCode(iStatus.extErrorCode),
      subsystemId(iStatus.subsystemId),
      errorReasonMsg(iStatus.errorCauseMsg) {}

std::string APIMethodError::GetLogMessage() const {
    std::string general = GENERALError::GetLogMessage();
    if (errorCode < 1) {
        return STRINGUtil::FormatStr("Error state[%d], Summary[%s]", static_cast<int>(errStateEnum),
                                     general.c_str());
    }
    return STRINGUtil::FormatStr("Error code[%d], extErrorCode[%u:%d], Summary[%s]", errorCode,
                                 subsystemId, extErrCode, general.c_str());
}

std::ostream& operator<<(std::ostream& ioOut, const APIMethodError& iError) {
    return ioOut << iError.GetLogMessage();
}
