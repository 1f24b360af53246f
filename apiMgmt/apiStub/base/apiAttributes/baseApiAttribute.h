#ifndef APIMGMT_APISTUB_BASE_APIATTRIBUTES_BASEAPIATTRIBUTE_H
#define APIMGMT_APISTUB_BASE_APIATTRIBUTES_BASEAPIATTRIBUTE_H

// What one named value of an API object, method or method object is: its name, how it is
// shown, how its text is validated and how a list filter compares it. Descriptors hold no
// instance data; each is a function-level static shared by every instance.

#include <string>

#include "apiMgmt/common/utils/apiTypes.h"

class APIAttributeFilter;

class BASEAttributeProperties {
public:
    BASEAttributeProperties(const std::string& iName, int iShowLength, bool iDeprecated,
                            const std::string& iNameUI)
        : BASEAttributeProperties(iName, iShowLength, iDeprecated, false, iNameUI) {}
    BASEAttributeProperties(const std::string& iName, int iShowLength, bool iDeprecated,
                            bool iIndexAttrib, const std::string& iNameUI)
        : name(iName),
          showLength(iShowLength),
          deprecated(iDeprecated),
          indexAttrib(iIndexAttrib),
          nameUI(iNameUI) {}
    virtual ~BASEAttributeProperties() = default;

    std::string name;
    int showLength;
    bool deprecated;
    bool indexAttrib;
    std::string nameUI;
    bool requiredForMethod = false;
};

class INTAttributeProperties : public BASEAttributeProperties {
public:
    INTAttributeProperties(const std::string& iName, int iShowLength, bool iDeprecated, int64 iMin,
                           int64 iMax, const std::string& iNameUI)
        : BASEAttributeProperties(iName, iShowLength, iDeprecated, iNameUI),
          minValue(iMin),
          maxValue(iMax) {}
    int64 minValue;
    int64 maxValue;
};

class STRINGAttributeProperties : public BASEAttributeProperties {
public:
    STRINGAttributeProperties(const std::string& iName, int iShowLength, bool iDeprecated,
                              bool iIndexAttrib, int64 iMinLength, int64 iMaxLength,
                              const std::string& iNameUI, const std::string& iIllegalChars,
                              const std::string& iRegEx)
        : BASEAttributeProperties(iName, iShowLength, iDeprecated, iIndexAttrib, iNameUI),
          minLength(iMinLength),
          maxLength(iMaxLength),
          illegalChars(iIllegalChars),
          regExStr(iRegEx) {}
    int64 minLength;
    int64 maxLength;
    std::string illegalChars;
    std::string regExStr;
};

class BASEApiAttribute {
public:
    // Owns iProperties; null is refused with APIMethodError.
    explicit BASEApiAttribute(BASEAttributeProperties* iProperties);
    virtual ~BASEApiAttribute();
    BASEApiAttribute(const BASEApiAttribute&) = delete;
    BASEApiAttribute& operator=(const BASEApiAttribute&) = delete;

    virtual bool Validate(const std::string&) const { return true; }
    // Whether an object's attribute text passes a filter item.
    virtual bool ApplyFilter(const APIAttributeFilter& iFilter,
                             const std::string& iValue) const = 0;

    const std::string& GetName() const { return pProperties->name; }
    int GetShowLen() const { return pProperties->showLength; }
    bool GetDeprecated() const { return pProperties->deprecated; }
    bool GetIndexAttrib() const { return pProperties->indexAttrib; }
    const std::string& GetNameUI() const { return pProperties->nameUI; }
    bool GetIsRequiredForMethod() const { return pProperties->requiredForMethod; }

    static uns64 GetCurrentCount() { return gObjCounter; }

protected:
    BASEAttributeProperties* pProperties;
    static uns64 gObjCounter;
};

#endif
