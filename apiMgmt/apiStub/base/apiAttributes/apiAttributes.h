#ifndef APIMGMT_APISTUB_BASE_APIATTRIBUTES_APIATTRIBUTES_H
#define APIMGMT_APISTUB_BASE_APIATTRIBUTES_APIATTRIBUTES_H

// The attribute classes: each converts between an attribute's text and its typed value and
// says how a list filter compares it. Reading never fails loudly: a text that does not parse
// gives a neutral value.

#include <string>
#include <vector>

#include "apiMgmt/apiStub/base/apiAttributes/baseApiAttribute.h"
#include "apiMgmt/apiStub/base/apiObjects/types/dateTimeObject.h"
#include "apiMgmt/apiStub/base/apiObjects/types/storageSize.h"
#include "apiMgmt/apiStub/base/apiObjects/types/versionObject.h"

class APIObjectInstance;
class BASEApiMethodObject;
class GETListFilter;

// Attributes with a name, a show length, a deprecation flag and a name for display only.
#define m_PLAIN_ATTRIBUTE_CTOR(cls)                                                              \
    cls(const std::string& iName, int iShowLength, bool iDeprecated, const std::string& iNameUI) \
        : BASEApiAttribute(                                                                      \
              new BASEAttributeProperties(iName, iShowLength, iDeprecated, iNameUI)) {}

class BOOLEANApiAttribute : public BASEApiAttribute {
public:
    m_PLAIN_ATTRIBUTE_CTOR(BOOLEANApiAttribute) bool ParseString(const std::string& iText) const;
    std::string ToString(bool iValue) const { return iValue ? "True" : "False"; }
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

class INTApiAttribute : public BASEApiAttribute {
public:
    // A negative limit is no limit.
    INTApiAttribute(const std::string& iName, int iShowLength, bool iDeprecated, int64 iMin,
                    int64 iMax, const std::string& iNameUI)
        : BASEApiAttribute(
              new INTAttributeProperties(iName, iShowLength, iDeprecated, iMin, iMax, iNameUI)) {}
    int64 ParseString(const std::string& iText) const;
    std::string ToString(int64 iValue) const { return std::to_string(iValue); }
    bool Validate(const std::string& iValue) const override;
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

class STRINGApiAttribute : public BASEApiAttribute {
public:
    STRINGApiAttribute(const std::string& iName, int iShowLength, bool iDeprecated,
                       int64 iMinLength, int64 iMaxLength, const std::string& iNameUI,
                       const std::string& iIllegalChars = "", const std::string& iRegEx = "")
        : BASEApiAttribute(new STRINGAttributeProperties(iName, iShowLength, iDeprecated, false,
                                                         iMinLength, iMaxLength, iNameUI,
                                                         iIllegalChars, iRegEx)) {}
    std::string ParseString(const std::string& iText) const { return iText; }
    std::string ToString(const std::string& iValue) const { return iValue; }
    bool Validate(const std::string& iValue) const override;
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;

protected:
    explicit STRINGApiAttribute(BASEAttributeProperties* iProperties)
        : BASEApiAttribute(iProperties) {}
};

class NAMEApiAttribute : public STRINGApiAttribute {
public:
    NAMEApiAttribute(const std::string& iName, int iShowLength, bool iDeprecated, bool iIndexAttrib,
                     int64 iMinLength, int64 iMaxLength, const std::string& iNameUI)
        : STRINGApiAttribute(new STRINGAttributeProperties(iName, iShowLength, iDeprecated,
                                                           iIndexAttrib, iMinLength, iMaxLength,
                                                           iNameUI, "", "")) {}
};

class INSTANCEIDApiAttribute : public STRINGApiAttribute {
public:
    INSTANCEIDApiAttribute(const std::string& iName, int iShowLength, bool iDeprecated,
                           const std::string& iNameUI)
        : STRINGApiAttribute(iName, iShowLength, iDeprecated, 0, 0, iNameUI) {}
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

class ENUMApiAttribute : public BASEApiAttribute {
public:
    m_PLAIN_ATTRIBUTE_CTOR(ENUMApiAttribute) std::string
        ParseString(const std::string& iText) const;
    std::string ToString(const std::string& iValue) const { return iValue; }
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

class DATETIMEApiAttribute : public BASEApiAttribute {
public:
    m_PLAIN_ATTRIBUTE_CTOR(DATETIMEApiAttribute) DATETimeObject
        ParseString(const std::string& iText) const {
        return DATETimeObject(iText);
    }
    std::string ToString(const DATETimeObject& iValue) const { return iValue.ToString(); }
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

class SIZEApiAttribute : public BASEApiAttribute {
public:
    m_PLAIN_ATTRIBUTE_CTOR(SIZEApiAttribute) STORAGESize
        ParseString(const std::string& iText) const;
    std::string ToString(const STORAGESize& iValue) const { return iValue.ToString(); }
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

class VERSIONApiAttribute : public BASEApiAttribute {
public:
    m_PLAIN_ATTRIBUTE_CTOR(VERSIONApiAttribute) VERSIONObject
        ParseString(const std::string& iText) const;
    std::string ToString(const VERSIONObject& iValue) const { return iValue.ToString(); }
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

class IPV4ADDRESSApiAttribute : public BASEApiAttribute {
public:
    m_PLAIN_ATTRIBUTE_CTOR(IPV4ADDRESSApiAttribute)
        // The text itself when it has exactly four parts at "."; otherwise "0.0.0.0".
        std::string ParseString(const std::string& iText) const;
    std::string ToString(const std::string& iValue) const { return ParseString(iValue); }
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

class IPV6ADDRESSApiAttribute : public BASEApiAttribute {
public:
    m_PLAIN_ATTRIBUTE_CTOR(IPV6ADDRESSApiAttribute) std::string
        ParseString(const std::string& iText) const;
    std::string ToString(const std::string& iValue) const;
    bool ApplyFilter(const APIAttributeFilter& iFilter, const std::string& iValue) const override;
};

// Attributes no list filter can compare.
#define m_UNFILTERED_ATTRIBUTE(cls)                                                             \
    m_PLAIN_ATTRIBUTE_CTOR(cls) bool ApplyFilter(const APIAttributeFilter&, const std::string&) \
        const override {                                                                        \
        return false;                                                                           \
    }

class STRINGARRAYApiAttribute : public BASEApiAttribute {
public:
    m_UNFILTERED_ATTRIBUTE(STRINGARRAYApiAttribute) std::vector<std::string> ParseString(
        const std::string& iText) const;
    std::string ToString(const std::vector<std::string>& iValue) const;
};

class OBJECTApiAttribute : public BASEApiAttribute {
public:
    m_UNFILTERED_ATTRIBUTE(OBJECTApiAttribute)
        // A new instance the caller owns, or null.
        APIObjectInstance* ParseString(const std::string& iText) const;
    std::string ToString(const APIObjectInstance* iValue) const;
};

class OBJECTARRAYApiAttribute : public BASEApiAttribute {
public:
    m_UNFILTERED_ATTRIBUTE(OBJECTARRAYApiAttribute)
        // New instances the caller owns; elements that do not parse are left out.
        std::vector<APIObjectInstance*> ParseString(const std::string& iText) const;
    std::string ToString(const std::vector<APIObjectInstance*>& iValue) const;
};

class METHODOBJECTApiAttribute : public BASEApiAttribute {
public:
    m_UNFILTERED_ATTRIBUTE(METHODOBJECTApiAttribute) std::string
        ToString(const BASEApiMethodObject* iValue) const;
};

class METHODOBJECTARRAYApiAttribute : public BASEApiAttribute {
public:
    m_UNFILTERED_ATTRIBUTE(METHODOBJECTARRAYApiAttribute) std::string
        ToString(const std::vector<BASEApiMethodObject*>& iValue) const;
};

class GETLISTFILTERApiAttribute : public BASEApiAttribute {
public:
    m_UNFILTERED_ATTRIBUTE(GETLISTFILTERApiAttribute)
        // A new filter the caller owns; null for an empty text. The type word is read without
        // regard to case, and a text without one is a single "and".
        GETListFilter* ParseString(const std::string& iText) const;
    std::string ToString(const GETListFilter* iValue) const;
};

#endif
