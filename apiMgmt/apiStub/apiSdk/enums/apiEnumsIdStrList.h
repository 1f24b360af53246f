#ifndef APIMGMT_APISTUB_APISDK_ENUMS_APIENUMSIDSTRLIST_H
#define APIMGMT_APISTUB_APISDK_ENUMS_APIENUMSIDSTRLIST_H

#include <string>
#include <vector>

#include "apiMgmt/apiStub/apiSdk/enums/apiEnumTypes.h"
#include "apiMgmt/apiStub/base/apiObjects/types/enumIdStrItem.h"

#define m_ENUM_IDSTRLIST_VAR(x) g##x##IdStrList
#define m_ENUM_COUNT_VAR(x) g##x##Count
#define m_ENUM_TYPE_VAR_UNKNOWN(x) x##_UnKnownOrInvalid

// The enumeration tables: for each type a table of rows in the enumeration's order and its
// count. A type whose rows the API manager's schema supplies has no rows here.
class APIEnumsIDStrList {
public:
#define m_API_DECLARE_TABLE(x, ...)                    \
    static const ENUMIDStrItem* const g##x##IdStrList; \
    static const int g##x##Count;
    API_ENUM_TYPES_WITH_ROWS(m_API_DECLARE_TABLE)
    API_ENUM_TYPES_WITHOUT_ROWS(m_API_DECLARE_TABLE)
#undef m_API_DECLARE_TABLE

    // The comparison texts of the list filters' item types.
    static const ENUMIDStrItem* const gSCFilterTypeEnumIdStrList;
    static const int gSCFilterTypeEnumCount;

    // The id of the first row whose id equals a numeric text or whose text equals it without
    // regard to case; iUnknown when none does or the text is empty.
    static int GetEnumVal(const ENUMIDStrItem* iTable, int iCount, const std::string& iText,
                          int iUnknown);
    // The row GetEnumVal would answer with, or null.
    static const ENUMIDStrItem* Match(const ENUMIDStrItem* iTable, int iCount,
                                      const std::string& iText);
    // The row with that id, or null.
    static const ENUMIDStrItem* FindById(const ENUMIDStrItem* iTable, int iCount, int iId);
    static void SetEnumVal(const ENUMIDStrItem* iTable, int iCount, int iValue, std::string& oText);
    static void SetEnumMaskValInStringVec(const ENUMIDStrItem* iTable, int iCount,
                                          const std::vector<int>& iValues,
                                          std::vector<std::string>& oTexts);
    static void SetEnumXmlStr(const char* iType, const ENUMIDStrItem* iTable, int iCount,
                              int iValue, std::string& oText);
    static void SetEnumMaskXmlStr(const char* iType, const ENUMIDStrItem* iTable, int iCount,
                                  const std::vector<int>& iValues, std::string& oText);

    template <typename T>
    static void GetEnumMaskValVec(const ENUMIDStrItem* iTable, int iCount,
                                  const std::vector<std::string>& iTexts, std::vector<T>& oValues) {
        for (const std::string& text : iTexts) {
            if (text.empty()) {
                continue;
            }
            if (const ENUMIDStrItem* row = Match(iTable, iCount, text)) {
                oValues.push_back(static_cast<T>(row->idVal));
            }
        }
    }

    template <typename T>
    static std::vector<int> ToIds(const std::vector<T>& iValues) {
        return std::vector<int>(iValues.begin(), iValues.end());
    }
};

#define m_API_ENUM_TABLE(type) \
    APIEnumsIDStrList::m_ENUM_IDSTRLIST_VAR(type), APIEnumsIDStrList::m_ENUM_COUNT_VAR(type)

#define m_GET_ENUMVAL(type, text)                                                   \
    static_cast<type>(APIEnumsIDStrList::GetEnumVal(m_API_ENUM_TABLE(type), (text), \
                                                    m_ENUM_TYPE_VAR_UNKNOWN(type)))
#define m_SET_ENUMVAL(type, value, text) \
    APIEnumsIDStrList::SetEnumVal(m_API_ENUM_TABLE(type), static_cast<int>(value), (text))
#define m_GET_ENUMMASK_VAL_VEC(type, texts, values) \
    APIEnumsIDStrList::GetEnumMaskValVec(m_API_ENUM_TABLE(type), (texts), (values))
#define m_SET_ENUMMASK_VAL_IN_STRING_VEC(type, values, texts)            \
    APIEnumsIDStrList::SetEnumMaskValInStringVec(m_API_ENUM_TABLE(type), \
                                                 APIEnumsIDStrList::ToIds(values), (texts))
#define m_SET_ENUM_XML_STR(type, value, text) \
    APIEnumsIDStrList::SetEnumXmlStr(#type, m_API_ENUM_TABLE(type), static_cast<int>(value), (text))
#define m_SET_ENUMMASK_XML_STR(type, values, text)                      \
    APIEnumsIDStrList::SetEnumMaskXmlStr(#type, m_API_ENUM_TABLE(type), \
                                         APIEnumsIDStrList::ToIds(values), (text))

#endif
