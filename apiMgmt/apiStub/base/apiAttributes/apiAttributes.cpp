#include "apiMgmt/apiStub/base/apiAttributes/apiAttributes.h"

#include <sstream>

#include "apiMgmt/apiStub/base/apiObjects/base/apiConstants.h"
#include "apiMgmt/apiStub/base/apiObjects/base/apiObjectInstance.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodObject.h"
#include "apiMgmt/apiStub/base/apiObjects/base/getListFilter.h"
#include "apiMgmt/common/error/apiMethodError.h"
#include "apiMgmt/common/utils/stringUtil.h"

uns64 BASEApiAttribute::gObjCounter = 0;

BASEApiAttribute::BASEApiAttribute(BASEAttributeProperties* iProperties)
    : pProperties(iProperties) {
    if (!pProperties)
        throw APIMethodError("Base API Attribute constructor: NULL pointer for properties",
                             ErrorStateEnum_InvalidArguments, __FILE__, __LINE__,
                             APIMGR_LOC_PARAMETER_INVALID, nullptr);
    ++gObjCounter;
}

BASEApiAttribute::~BASEApiAttribute() {
    delete pProperties;
}

namespace {

// The common rule of every filter: an empty value or an empty filter text passes nothing.
bool Filterable(const APIAttributeFilter& iFilter, const std::string& iValue) {
    return !iValue.empty() && !iFilter.GetAttrValue().empty();
}

// An ordering result (negative, zero, positive) judged by the filter's type, 2 to 6.
bool Ordered(FILTERType iType, long double iDiff) {
    switch (iType) {
        case FILTERType_Equal:
            return iDiff == 0;
        case FILTERType_GreaterThan:
            return iDiff > 0;
        case FILTERType_GreatherThanEqual:
            return iDiff >= 0;
        case FILTERType_LessThan:
            return iDiff < 0;
        case FILTERType_LessThanEqual:
            return iDiff <= 0;
        default:
            return false;
    }
}

bool TextFilter(FILTERType iType, const std::string& iValue, const std::string& iFilterText) {
    switch (iType) {
        case FILTERType_IncludedInStr:
            return STRINGUtil::ToLowerCase(iFilterText).find(STRINGUtil::ToLowerCase(iValue)) !=
                   std::string::npos;
        case FILTERType_IncludesStr:
            return STRINGUtil::ToLowerCase(iValue).find(STRINGUtil::ToLowerCase(iFilterText)) !=
                   std::string::npos;
        default:
            return Ordered(iType, STRINGUtil::Comparecase(iValue, iFilterText));
    }
}

// Addresses compare as texts, equal or by substring only.
bool AddressFilter(const APIAttributeFilter& iFilter, const std::string& iValue) {
    FILTERType t = iFilter.GetFilterType();
    if (!Filterable(iFilter, iValue) ||
        (t != FILTERType_Equal && t != FILTERType_IncludedInStr && t != FILTERType_IncludesStr))
        return false;
    return TextFilter(t, iValue, iFilter.GetAttrValue());
}

}  // namespace

bool BOOLEANApiAttribute::ParseString(const std::string& iText) const {
    return iText == "1" || STRINGUtil::Comparecase(iText, "true") == 0;
}

bool BOOLEANApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                      const std::string& iValue) const {
    if (!Filterable(iFilter, iValue))
        return false;
    return ParseString(iFilter.GetAttrValue()) == ParseString(iValue);
}

int64 INTApiAttribute::ParseString(const std::string& iText) const {
    if (iText.empty())
        return 0;
    int64 value = 0;
    std::istringstream in(iText);
    in >> value;
    return in.fail() ? 0 : value;
}

bool INTApiAttribute::Validate(const std::string& iValue) const {
    const INTAttributeProperties* p = dynamic_cast<const INTAttributeProperties*>(pProperties);
    if (!p)
        return true;
    const bool hasMin = p->minValue >= 0, hasMax = p->maxValue >= 0;
    if (!hasMin && !hasMax)
        return true;
    const long long v = ParseString(iValue), lo = p->minValue, hi = p->maxValue;
    const char* name = GetName().c_str();
    if (hasMin && hasMax) {
        if (v < lo || v > hi)
            throw APIMethodError(
                STRINGUtil::FormatStr("Attribute \"%s\" was %lld, but must be greater than or "
                                      "equal to %lld and less than or equal to %lld",
                                      name, v, lo, hi),
                ErrorStateEnum_ParsingError, __FILE__, __LINE__, APIMGR_LOC_VALUE_OUT_OF_RANGE_BOTH,
                "%s|%lld|%lld", name, lo, hi);
    } else if (hasMin) {
        if (v < lo)
            throw APIMethodError(
                STRINGUtil::FormatStr(
                    "Attribute \"%s\" was %lld, but must be greater than or equal to %lld", name, v,
                    lo),
                ErrorStateEnum_ParsingError, __FILE__, __LINE__, APIMGR_LOC_VALUE_OUT_OF_RANGE_MIN,
                "%s|%lld", name, lo);
    } else if (v > hi) {
        throw APIMethodError(
            STRINGUtil::FormatStr(
                "Attribute \"%s\" was %lld, but must be less than or equal to %lld", name, v, hi),
            ErrorStateEnum_ParsingError, __FILE__, __LINE__, APIMGR_LOC_VALUE_OUT_OF_RANGE_MAX,
            "%s|%lld", name, hi);
    }
    return true;
}

bool INTApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                  const std::string& iValue) const {
    if (!Filterable(iFilter, iValue))
        return false;
    const int64 v = ParseString(iValue), f = ParseString(iFilter.GetAttrValue());
    return Ordered(iFilter.GetFilterType(), v < f ? -1 : (v > f ? 1 : 0));
}

bool STRINGApiAttribute::Validate(const std::string& iValue) const {
    const STRINGAttributeProperties* p =
        dynamic_cast<const STRINGAttributeProperties*>(pProperties);
    if (!p || (p->minLength == 0 && p->maxLength == 0))
        return true;
    const long long length = static_cast<long long>(iValue.size());
    const char* name = GetName().c_str();
    if (p->minLength > 0 && p->minLength > length)
        throw APIMethodError(
            STRINGUtil::FormatStr("Attribute \"%s\" was \"%s\" [%d characters long], but must be a "
                                  "string at least %lld characters",
                                  name, iValue.c_str(), static_cast<int>(length),
                                  static_cast<long long>(p->minLength)),
            ErrorStateEnum_ParsingError, __FILE__, __LINE__, APIMGR_LOC_STRING_ATTR_LENGTH_MIN,
            "%s|%lld", name, static_cast<long long>(p->minLength));
    if (p->maxLength >= 0 && p->maxLength < length)
        throw APIMethodError(
            STRINGUtil::FormatStr("Attribute \"%s\" was \"%s\" [%d characters long], but must be a "
                                  "string no more than %lld characters",
                                  name, iValue.c_str(), static_cast<int>(length),
                                  static_cast<long long>(p->maxLength)),
            ErrorStateEnum_ParsingError, __FILE__, __LINE__, APIMGR_LOC_STRING_ATTR_LENGTH_MAX,
            "%s|%lld", name, static_cast<long long>(p->maxLength));
    if (!p->illegalChars.empty() && !iValue.empty()) {
        for (char c : p->illegalChars)
            if (iValue.find(c) != std::string::npos)
                throw APIMethodError(
                    STRINGUtil::FormatStr(
                        "Attribute \"%s\" was \"%s\", but cannot contain these characters: %s",
                        name, iValue.c_str(), p->illegalChars.c_str()),
                    ErrorStateEnum_ParsingError, __FILE__, __LINE__, APIMGR_LOC_STRING_ATTR_INVALID,
                    "%s", p->illegalChars.c_str());
    }
    return true;
}

bool STRINGApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                     const std::string& iValue) const {
    if (!Filterable(iFilter, iValue))
        return false;
    std::string text = iFilter.GetAttrValue();
    STRINGUtil::ReplaceAll(text, FILTER_ELEM_SEPERATOR_REP, FILTER_ELEM_SEPERATOR);
    return TextFilter(iFilter.GetFilterType(), iValue, text);
}

bool INSTANCEIDApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                         const std::string& iValue) const {
    return Filterable(iFilter, iValue) &&
           STRINGUtil::Comparecase(iValue, iFilter.GetAttrValue()) == 0;
}

std::string ENUMApiAttribute::ParseString(const std::string& iText) const {
    std::string text = iText;
    STRINGUtil::Trim(text);
    return text;
}

bool ENUMApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                   const std::string& iValue) const {
    return Filterable(iFilter, iValue) &&
           STRINGUtil::Comparecase(iValue, iFilter.GetAttrValue()) == 0;
}

bool DATETIMEApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                       const std::string& iValue) const {
    if (!Filterable(iFilter, iValue))
        return false;
    return Ordered(
        iFilter.GetFilterType(),
        static_cast<long double>(ParseString(iValue).Compare(ParseString(iFilter.GetAttrValue()))));
}

STORAGESize SIZEApiAttribute::ParseString(const std::string& iText) const {
    STORAGESize size;
    size.Parse(iText);
    return size;
}

bool SIZEApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                   const std::string& iValue) const {
    if (!Filterable(iFilter, iValue))
        return false;
    const uns64 v = ParseString(iValue).GetSizeInBytes();
    const uns64 f = ParseString(iFilter.GetAttrValue()).GetSizeInBytes();
    return Ordered(iFilter.GetFilterType(), v < f ? -1 : (v > f ? 1 : 0));
}

VERSIONObject VERSIONApiAttribute::ParseString(const std::string& iText) const {
    VERSIONObject version;
    version.Parse(iText);
    return version;
}

bool VERSIONApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                      const std::string& iValue) const {
    if (!Filterable(iFilter, iValue))
        return false;
    const uns64 v = ParseString(iValue).GetVersionLong();
    const uns64 f = ParseString(iFilter.GetAttrValue()).GetVersionLong();
    return Ordered(iFilter.GetFilterType(), v < f ? -1 : (v > f ? 1 : 0));
}

std::string IPV4ADDRESSApiAttribute::ParseString(const std::string& iText) const {
    std::vector<std::string> parts;
    STRINGUtil::SplitString(iText, ".", parts, 0);
    return !iText.empty() && parts.size() == 4 ? iText : "0.0.0.0";
}

bool IPV4ADDRESSApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                          const std::string& iValue) const {
    return AddressFilter(iFilter, iValue);
}

std::string IPV6ADDRESSApiAttribute::ParseString(const std::string& iText) const {
    std::string address;
    int prefix = 0;
    return STRINGUtil::ParseIpV6Address(iText, address, prefix) ? address : "::";
}

std::string IPV6ADDRESSApiAttribute::ToString(const std::string& iValue) const {
    std::string address;
    int prefix = 0;
    return STRINGUtil::ParseIpV6Address(iValue, address, prefix) ? address : std::string();
}

bool IPV6ADDRESSApiAttribute::ApplyFilter(const APIAttributeFilter& iFilter,
                                          const std::string& iValue) const {
    return AddressFilter(iFilter, iValue);
}

namespace {

std::vector<std::string> SplitArray(const std::string& iText) {
    std::vector<std::string> pieces;
    STRINGUtil::SplitString(iText, ARRAY_ELEM_SEPERATOR, pieces, 0);
    for (std::string& p : pieces)
        STRINGUtil::ReplaceAll(p, ARRAY_ELEM_SEPERATOR_REP, ARRAY_ELEM_SEPERATOR);
    return pieces;
}

std::string JoinArray(const std::vector<std::string>& iPieces) {
    std::string text;
    for (size_t i = 0; i < iPieces.size(); ++i) {
        std::string p = iPieces[i];
        STRINGUtil::ReplaceAll(p, ARRAY_ELEM_SEPERATOR, ARRAY_ELEM_SEPERATOR_REP);
        if (i)
            text += ARRAY_ELEM_SEPERATOR;
        text += p;
    }
    return text;
}

}  // namespace

std::vector<std::string> STRINGARRAYApiAttribute::ParseString(const std::string& iText) const {
    return SplitArray(iText);
}

std::string STRINGARRAYApiAttribute::ToString(const std::vector<std::string>& iValue) const {
    return JoinArray(iValue);
}

APIObjectInstance* OBJECTApiAttribute::ParseString(const std::string& iText) const {
    return APIObjectInstance::ParseString(iText);
}

std::string OBJECTApiAttribute::ToString(const APIObjectInstance* iValue) const {
    return iValue ? iValue->ToString() : std::string();
}

std::vector<APIObjectInstance*> OBJECTARRAYApiAttribute::ParseString(
    const std::string& iText) const {
    std::vector<APIObjectInstance*> out;
    for (const std::string& piece : SplitArray(iText))
        if (APIObjectInstance* o = APIObjectInstance::ParseString(piece))
            out.push_back(o);
    return out;
}

std::string OBJECTARRAYApiAttribute::ToString(const std::vector<APIObjectInstance*>& iValue) const {
    std::vector<std::string> texts;
    for (const APIObjectInstance* o : iValue)
        texts.push_back(o ? o->ToString() : std::string());
    return JoinArray(texts);
}

std::string METHODOBJECTApiAttribute::ToString(const BASEApiMethodObject* iValue) const {
    return iValue ? iValue->ToXMLString(true) : std::string();
}

std::string METHODOBJECTARRAYApiAttribute::ToString(
    const std::vector<BASEApiMethodObject*>& iValue) const {
    std::string text;
    for (const BASEApiMethodObject* o : iValue)
        if (o)
            text += o->ToXMLString(true);
    return text;
}

GETListFilter* GETLISTFILTERApiAttribute::ParseString(const std::string& iText) const {
    if (iText.empty())
        return nullptr;
    // The type word is optional here: a text without one is a single "and".
    std::vector<std::string> pieces;
    STRINGUtil::SplitString(iText, " ", pieces, 2);
    GETListFilterType type = GETListFilterType_And;
    std::string rest = iText;
    if (pieces.size() == 2 && (STRINGUtil::Comparecase(pieces[0], "And") == 0 ||
                               STRINGUtil::Comparecase(pieces[0], "Or") == 0)) {
        if (STRINGUtil::Comparecase(pieces[0], "Or") == 0)
            type = GETListFilterType_Or;
        rest = pieces[1];
    }
    GETListFilter* filter = new GETListFilter(type);
    std::vector<std::string> items;
    STRINGUtil::SplitString(rest, FILTER_ELEM_SEPERATOR, items, 0);
    for (const std::string& item : items) {
        APIAttributeFilter f = APIAttributeFilter::Parse(item);
        filter->AddAttributeFilter(f.GetAttrName(), f.GetFilterType(), f.GetAttrValue());
    }
    return filter;
}

std::string GETLISTFILTERApiAttribute::ToString(const GETListFilter* iValue) const {
    return iValue ? iValue->ToString() : std::string();
}
