#include "apiMgmt/apiStub/base/apiObjects/base/getListFilter.h"

#include "apiMgmt/apiStub/apiSdk/enums/apiEnumsIdStrList.h"
#include "apiMgmt/apiStub/base/apiObjects/base/apiConstants.h"
#include "apiMgmt/common/utils/stringUtil.h"

namespace {

struct FilterTypeText {
    FILTERType type;
    const char* written;
    const char* alsoRead;
};

const FilterTypeText kFilterTypes[] = {
    {FILTERType_Equal, "=", "eq"},
    {FILTERType_GreaterThan, ">", "gt"},
    {FILTERType_GreatherThanEqual, ">=", "gteq"},
    {FILTERType_LessThan, "<", "lt"},
    {FILTERType_LessThanEqual, "<=", "lteq"},
    {FILTERType_IncludedInStr, "iqin", nullptr},
    {FILTERType_IncludesStr, "iqs", nullptr},
};

std::string Hyphenate(std::string iValue) {
    STRINGUtil::ReplaceAll(iValue, FILTER_ELEM_SEPERATOR, FILTER_ELEM_SEPERATOR_REP);
    return iValue;
}

std::string UnHyphenate(std::string iValue) {
    STRINGUtil::ReplaceAll(iValue, FILTER_ELEM_SEPERATOR_REP, FILTER_ELEM_SEPERATOR);
    return iValue;
}

}  // namespace

std::string APIAttributeFilter::GetFilterTypeAsString(FILTERType iType) {
    for (const FilterTypeText& t : kFilterTypes)
        if (t.type == iType)
            return t.written;
    return std::string();
}

FILTERType APIAttributeFilter::GetFilterTypeFromString(const std::string& iText) {
    for (const FilterTypeText& t : kFilterTypes)
        if (iText == t.written || (t.alsoRead && iText == t.alsoRead))
            return t.type;
    return FILTERType_Invalid;
}

std::string APIAttributeFilter::ToString() const {
    if (filterType == FILTERType_Invalid)
        return std::string();
    return attrName + " " + GetFilterTypeAsString(filterType) + " " + Hyphenate(attrValue);
}

APIAttributeFilter APIAttributeFilter::Parse(const std::string& iText) {
    std::vector<std::string> pieces;
    STRINGUtil::SplitString(iText, " ", pieces, 3);
    if (pieces.size() != 3)
        return APIAttributeFilter();
    FILTERType type = GetFilterTypeFromString(pieces[1]);
    if (type == FILTERType_None)
        return APIAttributeFilter();
    return APIAttributeFilter(pieces[0], type, UnHyphenate(pieces[2]));
}

std::string FILTERItem::GetFilterTypeAsString(SCFilterType iType) {
    const ENUMIDStrItem* row =
        APIEnumsIDStrList::FindById(APIEnumsIDStrList::gSCFilterTypeEnumIdStrList,
                                    APIEnumsIDStrList::gSCFilterTypeEnumCount, iType);
    return row ? row->displayStr : std::string();
}

SCFilterType FILTERItem::GetFilterTypeFromString(const std::string& iText) {
    // Exact text: "eq" and "EQ" are not the same operator.
    for (int i = 0; i < APIEnumsIDStrList::gSCFilterTypeEnumCount; ++i)
        if (APIEnumsIDStrList::gSCFilterTypeEnumIdStrList[i].strVal == iText)
            return static_cast<SCFilterType>(
                APIEnumsIDStrList::gSCFilterTypeEnumIdStrList[i].idVal);
    return SCFilterType_None;
}

void GETListFilter::AddAttributeFilter(const std::string& iName, FILTERType iType,
                                       const std::string& iValue) {
    if (iType == FILTERType_Invalid)
        return;
    filterAttributes.emplace_back(iName, iType, Hyphenate(iValue));
}

std::string GETListFilter::ToString() const {
    if (filterAttributes.empty() || filterType == GETListFilterType_None)
        return std::string();
    std::string text = GETListFilterTypeAsString(filterType) + " ";
    for (const APIAttributeFilter& f : filterAttributes)
        text += f.ToString() + FILTER_ELEM_SEPERATOR;
    return text;
}

void GETListFilter::GenerateFilterList(std::vector<FILTERItem>& oItems) const {
    for (const APIAttributeFilter& f : filterAttributes)
        oItems.emplace_back(f.GetAttrName(), f.GetAttrValue(), SCFilterType_None);
}

std::string GETListFilter::GETListFilterTypeAsString(GETListFilterType iType) {
    switch (iType) {
        case GETListFilterType_And:
            return "and";
        case GETListFilterType_Or:
            return "or";
        default:
            return std::string();
    }
}

GETListFilterType GETListFilter::ParseListFilterType(const std::string& iText) {
    if (iText == "and")
        return GETListFilterType_And;
    if (iText == "or")
        return GETListFilterType_Or;
    return GETListFilterType_None;
}

GETListFilter GETListFilter::Parse(const std::string& iText) {
    GETListFilter filter(GETListFilterType_None);
    std::string text = iText;
    STRINGUtil::Trim(text);
    GETListFilterType type = GETListFilterType_None;
    std::string rest = text;
    if (!STRINGUtil::StartsWith(text, FILTER_ELEM_SEPERATOR)) {
        std::vector<std::string> pieces;
        STRINGUtil::SplitString(text, " ", pieces, 2);
        if (pieces.size() == 2) {
            type = ParseListFilterType(pieces[0]);
            if (type == GETListFilterType_None) {
                rest.clear();
            } else {
                rest = pieces[1];
                STRINGUtil::Trim(rest);
            }
        }
    }
    if (!rest.empty()) {
        std::vector<std::string> items;
        STRINGUtil::SplitString(rest, FILTER_ELEM_SEPERATOR, items, 0);
        for (const std::string& item : items) {
            if (item.empty())
                continue;
            APIAttributeFilter f = APIAttributeFilter::Parse(item);
            if (f.GetFilterType() != FILTERType_Invalid)
                filter.AddAttributeFilter(f);
        }
    }
    if (filter.GetFilterCount() > 0)
        filter.SetFilterType(type == GETListFilterType_None ? GETListFilterType_And : type);
    return filter;
}
