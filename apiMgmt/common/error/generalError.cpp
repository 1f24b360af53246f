#include "apiMgmt/common/error/generalError.h"

#include "apiMgmt/common/utils/stringUtil.h"

GENERALError::GENERALError(const char* iFile, int iLine, const std::string& iMessage)
    : GENERALError(iFile, iLine, iMessage, std::string()) {}

GENERALError::GENERALError(const char* iFile, int iLine, const std::string& iMessage,
                           const std::string& iDetail)
    : std::runtime_error(iMessage),
      message(iMessage),
      filename(iFile ? iFile : ""),
      lineNumber(iLine),
      msgId(0),
      detailMsg(iDetail) {}

GENERALError::GENERALError(const std::string& iMessage, const char* iFile, int iLine,
                           unsigned int iMsgId, const char* iArgFormat, ...)
    : GENERALError(iFile, iLine, iMessage) {
    msgId = iMsgId;
    va_list args;
    va_start(args, iArgFormat);
    SaveArgList(iArgFormat, args);
    va_end(args);
}

void GENERALError::SaveArgList(const char* iArgFormat, va_list iArgs) {
    if (iArgFormat == nullptr) {
        return;
    }
    std::string text = STRINGUtil::FormatStr(iArgFormat, iArgs);
    msgArgs.clear();
    if (text.empty() || text.back() != '|') {
        text += '|';
    }
    STRINGUtil::SplitString(text, '|', msgArgs);
}

std::string GENERALError::GetLogMessage() const {
    return detailMsg.empty() ? message : detailMsg;
}
