#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_TYPES_DATETIMEOBJECT_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_TYPES_DATETIMEOBJECT_H

#include <ctime>
#include <string>

#include "apiMgmt/common/utils/apiTypes.h"

#define DATETIME_FORMATSTR "%m/%d/%Y %I:%M:%S %p"
#define ALT_DATETIME_FORMATSTR "%m/%d/%Y-%H:%M:%S"
#define BUF_SIZE 256

// A moment in seconds since the epoch, read and written in local time; 0 is no value.
class DATETimeObject {
public:
    explicit DATETimeObject(int64 iSeconds = 0) : timeElapsedInSec(iSeconds) {}
    // Read by DATETIME_FORMATSTR, else by ALT_DATETIME_FORMATSTR; what reads by neither is 0.
    explicit DATETimeObject(const std::string& iText);
    // An empty format means DATETIME_FORMATSTR.
    DATETimeObject(const std::string& iText, const std::string& iFormat);

    int64 GetTimeElapsedInSec() const { return timeElapsedInSec; }
    void SetTimeElapsedInSec(int64 iSeconds) { timeElapsedInSec = iSeconds; }
    void AddTimeInSeconds(int64 iSeconds) { timeElapsedInSec += iSeconds; }
    int64 Compare(const DATETimeObject& iOther) const {
        return timeElapsedInSec - iOther.timeElapsedInSec;
    }

    std::string ToString() const { return FormatAs(DATETIME_FORMATSTR); }
    std::string FormatAs(const std::string& iFormat) const;
    // False when the value has no local time (out of the calendar's range).
    bool GetAsTMStruct(struct tm& oTm) const;

    int GetYear() const;
    int GetMonth() const;
    int GetDay() const;
    int GetHour() const;
    int GetMinute() const;
    int GetSecond() const;
    int GetMinutesElapsedOfTheDay() const;

private:
    static bool ParseWith(const std::string& iText, const char* iFormat, int64& oSeconds);

    int64 timeElapsedInSec;
};

#endif
