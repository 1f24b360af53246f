#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_GETLISTFILTER_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_GETLISTFILTER_H

// The filter of a list method: conditions on attributes joined with "and" or "or", carried as
// text in the method's attribute "Filter".

#include <string>
#include <vector>

enum FILTERType {
    FILTERType_Invalid = 0,
    FILTERType_None = 1,
    FILTERType_Equal = 2,
    FILTERType_GreaterThan = 3,
    FILTERType_GreatherThanEqual = 4,
    FILTERType_LessThan = 5,
    FILTERType_LessThanEqual = 6,
    FILTERType_IncludedInStr = 7,
    FILTERType_IncludesStr = 8
};

enum GETListFilterType {
    GETListFilterType_None = 0,
    GETListFilterType_And = 1,
    GETListFilterType_Or = 2
};

enum SCFilterType {
    SCFilterType_None = 0,
    SCFilterType_Equal = 1,
    SCFilterType_NotEqual = 2,
    SCFilterType_GreaterThan = 3,
    SCFilterType_GreatherThanEqual = 4,
    SCFilterType_LessThan = 5,
    SCFilterType_LessThanEqual = 6,
    SCFilterType_RegexMatch = 7,
    SCFilterType_RegexNotmatch = 8
};

class APIAttributeFilter {
public:
    APIAttributeFilter() = default;
    APIAttributeFilter(const std::string& iName, FILTERType iType, const std::string& iValue)
        : attrName(iName), attrValue(iValue), filterType(iType) {}

    const std::string& GetAttrName() const { return attrName; }
    const std::string& GetAttrValue() const { return attrValue; }
    FILTERType GetFilterType() const { return filterType; }

    // "NAME TYPE VALUE" with each "-" of the value written "&hy&"; empty when invalid.
    std::string ToString() const;

    static std::string GetFilterTypeAsString(FILTERType iType);
    static FILTERType GetFilterTypeFromString(const std::string& iText);
    // The name may not hold a blank, the value may; anything else gives a default filter.
    static APIAttributeFilter Parse(const std::string& iText);

private:
    std::string attrName;
    std::string attrValue;
    FILTERType filterType = FILTERType_Invalid;
};

class FILTERItem {
public:
    FILTERItem(const std::string& iName, const std::string& iValue, SCFilterType iType)
        : filterName(iName), filterValue(iValue), filterType(iType) {}

    const std::string& GetName() const { return filterName; }
    const std::string& GetValue() const { return filterValue; }
    std::string GetTypeString() const { return GetFilterTypeAsString(filterType); }
    SCFilterType GetSCFilterType() const { return filterType; }

    static std::string GetFilterTypeAsString(SCFilterType iType);
    static SCFilterType GetFilterTypeFromString(const std::string& iText);

private:
    std::string filterName;
    std::string filterValue;
    SCFilterType filterType;
};

class GETListFilter {
public:
    explicit GETListFilter(GETListFilterType iType) : filterType(iType) {}
    GETListFilter(GETListFilterType iType, const std::vector<APIAttributeFilter>& iFilters)
        : filterAttributes(iFilters), filterType(iType) {}

    const std::vector<APIAttributeFilter>& GetFiltersAttributes() const { return filterAttributes; }
    GETListFilterType GetFilterType() const { return filterType; }
    void SetFilterType(GETListFilterType iType) { filterType = iType; }
    size_t GetFilterCount() const { return filterAttributes.size(); }

    void AddAttributeFilter(const APIAttributeFilter& iFilter) {
        filterAttributes.push_back(iFilter);
    }
    // Ignored for FILTERType_Invalid; the value's "-" are written "&hy&" on the way in.
    void AddAttributeFilter(const std::string& iName, FILTERType iType, const std::string& iValue);

    // "TYPE ITEM-ITEM-", every item followed by "-"; empty without items or type.
    std::string ToString() const;
    // One item per condition, each of SCFilterType_None: the condition's type is not carried.
    void GenerateFilterList(std::vector<FILTERItem>& oItems) const;

    static std::string GETListFilterTypeAsString(GETListFilterType iType);
    static GETListFilterType ParseListFilterType(const std::string& iText);
    static GETListFilter Parse(const std::string& iText);

private:
    std::vector<APIAttributeFilter> filterAttributes;
    GETListFilterType filterType;
};

#endif
