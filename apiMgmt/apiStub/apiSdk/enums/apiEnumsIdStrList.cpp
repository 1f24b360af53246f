#include "apiMgmt/apiStub/apiSdk/enums/apiEnumsIdStrList.h"

#include <cctype>
#include <climits>
#include <cstdlib>

#include "apiMgmt/common/utils/stringUtil.h"

namespace {

// "InvalidValue" reads "Invalid Value": a word starts at each capital that follows a small
// letter or a digit, or that ends a run of capitals.
std::string Words(const char* iName) {
    std::string out;
    for (size_t i = 0; iName[i] != '\0'; ++i) {
        unsigned char c = static_cast<unsigned char>(iName[i]);
        if (i > 0 && isupper(c)) {
            unsigned char before = static_cast<unsigned char>(iName[i - 1]);
            unsigned char after = static_cast<unsigned char>(iName[i + 1]);
            if (islower(before) || isdigit(before) || (isupper(before) && islower(after))) {
                out += ' ';
            }
        }
        out += static_cast<char>(c);
    }
    return out;
}

#define m_API_ROW(name, value) ENUMIDStrItem(value, #name, Words(#name)),
#define m_API_DEFINE_ROWS(type, rows) const ENUMIDStrItem k##type##Rows[] = {rows(m_API_ROW)};
API_ENUM_TYPES_WITH_ROWS(m_API_DEFINE_ROWS)
#undef m_API_DEFINE_ROWS
#undef m_API_ROW

const ENUMIDStrItem kSCFilterTypeRows[] = {
    {0, "None", "None"},
    {1, "=", "eq"},
    {1, "eq", "eq"},
    {2, "!=", "ne"},
    {2, "ne", "ne"},
    {3, ">", "gt"},
    {3, "gt", "gt"},
    {4, ">=", "ge"},
    {4, "ge", "ge"},
    {5, "<", "lt"},
    {5, "lt", "lt"},
    {6, "<=", "le"},
    {6, "le", "le"},
    {7, "&", "=~"},
    {7, "=~", "=~"},
    {7, "RegexMatch", "=~"},
    {8, "!&", "!=~"},
    {8, "!=~", "!=~"},
    {8, "RegexNotMatch", "!=~"},
};

}  // namespace

#define m_API_DEFINE_TABLE(type, rows)                                                \
    const ENUMIDStrItem* const APIEnumsIDStrList::g##type##IdStrList = k##type##Rows; \
    const int APIEnumsIDStrList::g##type##Count = sizeof(k##type##Rows) / sizeof(ENUMIDStrItem);
API_ENUM_TYPES_WITH_ROWS(m_API_DEFINE_TABLE)
#undef m_API_DEFINE_TABLE

#define m_API_DEFINE_EMPTY_TABLE(type)                                          \
    const ENUMIDStrItem* const APIEnumsIDStrList::g##type##IdStrList = nullptr; \
    const int APIEnumsIDStrList::g##type##Count = 0;
API_ENUM_TYPES_WITHOUT_ROWS(m_API_DEFINE_EMPTY_TABLE)
#undef m_API_DEFINE_EMPTY_TABLE

const ENUMIDStrItem* const APIEnumsIDStrList::gSCFilterTypeEnumIdStrList = kSCFilterTypeRows;
const int APIEnumsIDStrList::gSCFilterTypeEnumCount =
    sizeof(kSCFilterTypeRows) / sizeof(ENUMIDStrItem);

const ENUMIDStrItem* APIEnumsIDStrList::Match(const ENUMIDStrItem* iTable, int iCount,
                                              const std::string& iText) {
    if (iText.empty()) {
        return nullptr;
    }
    bool numeric = STRINGUtil::IsNumeric(iText);
    long long number = 0;
    if (numeric) {
        // A fraction reads as its whole part; a number past int matches no id.
        number = strtoll(iText.c_str(), nullptr, 10);
        if (number < INT_MIN || number > INT_MAX) {
            numeric = false;
        }
    }
    for (int i = 0; i < iCount; ++i) {
        if ((numeric && iTable[i].idVal == number) ||
            STRINGUtil::Comparecase(iTable[i].strVal, iText) == 0) {
            return &iTable[i];
        }
    }
    return nullptr;
}

int APIEnumsIDStrList::GetEnumVal(const ENUMIDStrItem* iTable, int iCount, const std::string& iText,
                                  int iUnknown) {
    const ENUMIDStrItem* row = Match(iTable, iCount, iText);
    return row ? row->idVal : iUnknown;
}

const ENUMIDStrItem* APIEnumsIDStrList::FindById(const ENUMIDStrItem* iTable, int iCount, int iId) {
    for (int i = 0; i < iCount; ++i) {
        if (iTable[i].idVal == iId) {
            return &iTable[i];
        }
    }
    return nullptr;
}

void APIEnumsIDStrList::SetEnumVal(const ENUMIDStrItem* iTable, int iCount, int iValue,
                                   std::string& oText) {
    if (const ENUMIDStrItem* row = FindById(iTable, iCount, iValue)) {
        oText = row->strVal;
    }
}

void APIEnumsIDStrList::SetEnumMaskValInStringVec(const ENUMIDStrItem* iTable, int iCount,
                                                  const std::vector<int>& iValues,
                                                  std::vector<std::string>& oTexts) {
    std::vector<int> seen;
    for (int value : iValues) {
        if (FindById(iTable, iCount, value) == nullptr) {
            continue;
        }
        bool repeated = false;
        for (int earlier : seen) {
            repeated = repeated || earlier == value;
        }
        if (!repeated) {
            seen.push_back(value);
            oTexts.push_back(std::to_string(value));
        }
    }
}

void APIEnumsIDStrList::SetEnumXmlStr(const char* iType, const ENUMIDStrItem* iTable, int iCount,
                                      int iValue, std::string& oText) {
    if (const ENUMIDStrItem* row = FindById(iTable, iCount, iValue)) {
        oText = std::string("<") + iType + ">" + row->GetXmlStr() + "</" + iType + ">";
    }
}

void APIEnumsIDStrList::SetEnumMaskXmlStr(const char* iType, const ENUMIDStrItem* iTable,
                                          int iCount, const std::vector<int>& iValues,
                                          std::string& oText) {
    for (int value : iValues) {
        std::string element;
        SetEnumXmlStr(iType, iTable, iCount, value, element);
        oText += element;
    }
}
