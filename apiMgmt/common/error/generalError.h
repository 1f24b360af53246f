#ifndef APIMGMT_COMMON_ERROR_GENERALERROR_H
#define APIMGMT_COMMON_ERROR_GENERALERROR_H

#include <cstdarg>
#include <stdexcept>
#include <string>
#include <vector>

// The general failure of the common library: where it was raised, what happened, and the
// arguments of a localised message.
class GENERALError : public std::runtime_error {
public:
    GENERALError(const char* iFile, int iLine, const std::string& iMessage);
    GENERALError(const char* iFile, int iLine, const std::string& iMessage,
                 const std::string& iDetail);
    // iArgFormat such as "%s|%lld" saves one argument per "|"-separated placeholder.
    GENERALError(const std::string& iMessage, const char* iFile, int iLine, unsigned int iMsgId,
                 const char* iArgFormat, ...);

    virtual std::string GetLogMessage() const;

    const std::string& GetMessage() const { return message; }
    const std::string& GetFileName() const { return filename; }
    int GetLineNumber() const { return lineNumber; }
    unsigned int GetMsgId() const { return msgId; }
    const std::string& GetDetailMsg() const { return detailMsg; }
    const std::vector<std::string>& GetMsgArgs() const { return msgArgs; }

protected:
    void SaveArgList(const char* iArgFormat, va_list iArgs);

    std::string message;
    std::string filename;
    int lineNumber;
    unsigned int msgId;
    std::string detailMsg;
    std::vector<std::string> msgArgs;
};

#endif
