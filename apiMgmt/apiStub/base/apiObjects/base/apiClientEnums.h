#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_APICLIENTENUMS_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_APICLIENTENUMS_H

// The enumerations and tables the client's road reads, with the conversion macros.

#include <string>

#include "apiMgmt/common/error/errorStateEnum.h"
#include "apiMgmt/common/utils/stringUtil.h"

struct ENUMIDStrItem {
    int idVal;
    std::string strVal;
    std::string displayStr;
    std::string GetXmlStr() const;
};

enum UserPrivilegeEnum {
    UserPrivilegeEnum_Admin = 1,
    UserPrivilegeEnum_VolumeManager = 2,
    UserPrivilegeEnum_Reporter = 3,
    UserPrivilegeEnum_UnKnownOrInvalid = 999
};

enum ObjectReturnEncodeEnum {
    ObjectReturnEncodeEnum_Xml = 1,
    ObjectReturnEncodeEnum_Csv = 2,
    ObjectReturnEncodeEnum_UnKnownOrInvalid = 999
};

enum StorageCellOperationModeEnum {
    StorageCellOperationModeEnum_Normal = 1,
    StorageCellOperationModeEnum_Maintenance = 2,
    StorageCellOperationModeEnum_Install = 3,
    StorageCellOperationModeEnum_PreProduction = 4,
    StorageCellOperationModeEnum_UnKnownOrInvalid = 999
};

#define m_ENUM_IDSTRLIST_VAR(x) g##x##IdStrList
#define m_ENUM_COUNT_VAR(x) g##x##Count
#define m_ENUM_TYPE_VAR_UNKNOWN(x) x##_UnKnownOrInvalid

class APIEnumsIDStrList {
public:
    static const ENUMIDStrItem m_ENUM_IDSTRLIST_VAR(ErrorStateEnum)[];
    static const int m_ENUM_COUNT_VAR(ErrorStateEnum);
    static const ENUMIDStrItem m_ENUM_IDSTRLIST_VAR(UserPrivilegeEnum)[];
    static const int m_ENUM_COUNT_VAR(UserPrivilegeEnum);
    static const ENUMIDStrItem m_ENUM_IDSTRLIST_VAR(ObjectReturnEncodeEnum)[];
    static const int m_ENUM_COUNT_VAR(ObjectReturnEncodeEnum);
    static const ENUMIDStrItem m_ENUM_IDSTRLIST_VAR(StorageCellOperationModeEnum)[];
    static const int m_ENUM_COUNT_VAR(StorageCellOperationModeEnum);

    // The id of the first row matching the text, by number when numeric or by its text
    // without regard to case; iUnknown when none does.
    static int Lookup(const ENUMIDStrItem* iRows, int iCount, const std::string& iText,
                      int iUnknown);
    // The text of the first row with that id, or null.
    static const std::string* TextOf(const ENUMIDStrItem* iRows, int iCount, int iId);
};

#define m_GET_ENUMVAL(type, text)                                                                \
    static_cast<type>(APIEnumsIDStrList::Lookup(APIEnumsIDStrList::m_ENUM_IDSTRLIST_VAR(type),   \
                                                APIEnumsIDStrList::m_ENUM_COUNT_VAR(type), text, \
                                                m_ENUM_TYPE_VAR_UNKNOWN(type)))

#define m_SET_ENUMVAL(type, value, text)                                         \
    do {                                                                         \
        const std::string* found_ = APIEnumsIDStrList::TextOf(                   \
            APIEnumsIDStrList::m_ENUM_IDSTRLIST_VAR(type),                       \
            APIEnumsIDStrList::m_ENUM_COUNT_VAR(type), static_cast<int>(value)); \
        if (found_)                                                              \
            (text) = *found_;                                                    \
    } while (0)

#endif
