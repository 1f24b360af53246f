#ifndef APIMGMT_COMMON_ERROR_APIMETHODERROR_H
#define APIMGMT_COMMON_ERROR_APIMETHODERROR_H

#include <ostream>
#include <string>
#include <vector>

#include "apiMgmt/common/error/apiLocalizedMsgId.h"
#include "apiMgmt/common/error/errorStateEnum.h"
#include "apiMgmt/common/error/generalError.h"
#include "apiMgmt/common/utils/apiTypes.h"

// What the status of a response said, as the manager reports it.
class SCResponseStatus {
public:
    virtual ~SCResponseStatus() = default;

    std::string DumpInfo() const;
    // The first of the messages when the call failed with some, else the summary.
    std::string GetDetailErrorMsg() const;
    // The summary, or the first message when a failed call left the summary empty.
    std::string GetSummaryErrorMsg() const;

    int32 errorCode = 0;
    int32 extErrorCode = 0;
    uns32 mcErrorId = 0;
    uns32 subsystemId = 0;
    std::vector<std::string> errorMsgs;
    std::string errorSummaryMsg;
    std::string errorCauseMsg;
    std::string errorResolveMsg;
};

// A failure of the API client: the error state and the codes the manager gave.
class APIMethodError : public GENERALError {
public:
    APIMethodError(ErrorStateEnum iState, const char* iFile, int iLine,
                   const std::string& iMessage);
    APIMethodError(ErrorStateEnum iState, const char* iFile, int iLine, const std::string& iMessage,
                   const std::string& iDetail);
    APIMethodError(const std::string& iMessage, ErrorStateEnum iState, const char* iFile, int iLine,
                   unsigned int iMsgId, const char* iArgFormat, ...);
    APIMethodError(const SCResponseStatus& iStatus, const char* iFile, int iLine);

    std::string GetLogMessage() const override;

    ErrorStateEnum GetErrorStateEnum() const { return errStateEnum; }
    int GetErrorCode() const { return errorCode; }
    int GetExtErrorCode() const { return extErrCode; }
    void SetExtErrorCode(int iCode) { extErrCode = iCode; }
    uns32 GetSubsystemId() const { return subsystemId; }
    const std::string& GetErrorReasonMsg() const { return errorReasonMsg; }

protected:
    ErrorStateEnum errStateEnum;
    int errorCode = 0;
    int extErrCode = 0;
    uns32 subsystemId = 0;
    std::string errorReasonMsg;
};

std::ostream& operator<<(std::ostream& ioOut, const APIMethodError& iError);

#endif
