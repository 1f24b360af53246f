#include "apiMgmt/apiStub/base/apiObjects/types/dateTimeObject.h"

#include <exception>

#include "apiMgmt/common/logs/appLogger.h"
#include "apiMgmt/common/utils/stringUtil.h"

DATETimeObject::DATETimeObject(const std::string& iText) : timeElapsedInSec(0) {
    if (!ParseWith(iText, DATETIME_FORMATSTR, timeElapsedInSec)) {
        ParseWith(iText, ALT_DATETIME_FORMATSTR, timeElapsedInSec);
    }
}

DATETimeObject::DATETimeObject(const std::string& iText, const std::string& iFormat)
    : timeElapsedInSec(0) {
    ParseWith(iText, iFormat.empty() ? DATETIME_FORMATSTR : iFormat.c_str(), timeElapsedInSec);
}

bool DATETimeObject::ParseWith(const std::string& iText, const char* iFormat, int64& oSeconds) {
    struct tm fields = {};
    if (iText.empty() || strptime(iText.c_str(), iFormat, &fields) == nullptr) {
        return false;
    }
    fields.tm_isdst = -1;
    time_t seconds = mktime(&fields);
    if (seconds == static_cast<time_t>(-1)) {
        return false;
    }
    oSeconds = seconds;
    return true;
}

bool DATETimeObject::GetAsTMStruct(struct tm& oTm) const {
    time_t seconds = static_cast<time_t>(timeElapsedInSec);
    return localtime_r(&seconds, &oTm) != nullptr;
}

std::string DATETimeObject::FormatAs(const std::string& iFormat) const {
    if (timeElapsedInSec == 0 || iFormat.empty()) {
        return std::string();
    }
    try {
        struct tm fields;
        if (!GetAsTMStruct(fields)) {
            return std::string();
        }
        char buffer[BUF_SIZE];
        size_t length = strftime(buffer, sizeof buffer, iFormat.c_str(), &fields);
        if (length == 0) {
            return std::string();
        }
        std::string text(buffer, length);
        STRINGUtil::ReplaceAll(text, "  ", " ");
        return text;
    } catch (const std::exception& e) {
        m_LOG_ERROR(LOG_CAT_SC, "Exception formatting datetime: %s", e.what());
    }
    return std::string();
}

namespace {

struct tm LocalFields(const DATETimeObject& iTime) {
    struct tm fields = {};
    iTime.GetAsTMStruct(fields);
    return fields;
}

}  // namespace

int DATETimeObject::GetYear() const {
    return LocalFields(*this).tm_year + 1900;
}
int DATETimeObject::GetMonth() const {
    return LocalFields(*this).tm_mon + 1;
}
int DATETimeObject::GetDay() const {
    return LocalFields(*this).tm_mday;
}
int DATETimeObject::GetHour() const {
    return LocalFields(*this).tm_hour;
}
int DATETimeObject::GetMinute() const {
    return LocalFields(*this).tm_min;
}
int DATETimeObject::GetSecond() const {
    return LocalFields(*this).tm_sec;
}
int DATETimeObject::GetMinutesElapsedOfTheDay() const {
    struct tm fields = LocalFields(*this);
    return fields.tm_hour * 60 + fields.tm_min;
}
