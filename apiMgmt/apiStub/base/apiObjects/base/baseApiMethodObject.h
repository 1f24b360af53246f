#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_BASEAPIMETHODOBJECT_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_BASEAPIMETHODOBJECT_H

// A structured argument or result: an object without identity.

#include <map>
#include <string>
#include <vector>

#include "apiMgmt/apiStub/base/apiAttributes/baseApiAttribute.h"

namespace parser {
class XMLElement;
}

class BASEApiMethodObject {
public:
    virtual ~BASEApiMethodObject() = default;
    virtual const std::string& GetObjectName() const = 0;
    virtual const std::vector<const BASEApiAttribute*>& GetAttributeList() const = 0;

    bool IsAttributeSet(const std::string& iName) const {
        return !iName.empty() && attrNameValMap.count(iName) > 0;
    }
    bool IsAttributeSet(const BASEApiAttribute* iAttribute) const {
        return iAttribute && IsAttributeSet(iAttribute->GetName());
    }
    const BASEApiAttribute* GetAttributeByName(const std::string& iName) const;
    std::string GetStringDirect(const std::string& iName) const;
    bool GetStringDirect(const std::string& iName, std::string& oValue) const;
    void PutStringDirect(const std::string& iName, const std::string& iValue) {
        if (!iName.empty())
            attrNameValMap[iName] = iValue;
    }
    const std::map<std::string, std::string>& GetAttributes() const { return attrNameValMap; }

    std::string ToXMLString(bool iEscape) const;
    // A text that does not parse, or names another object, leaves this one unchanged.
    void Parse(const std::string& iText);
    void ParseElemNode(const parser::XMLElement* iElement);

protected:
    std::map<std::string, std::string> attrNameValMap;
};

#endif
