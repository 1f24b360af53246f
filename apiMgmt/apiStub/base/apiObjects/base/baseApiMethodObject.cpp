#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodObject.h"

#include <strings.h>

#include "apiMgmt/common/utils/stringUtil.h"
#include "platform/expatwrapper/xmlParser.h"

const BASEApiAttribute* BASEApiMethodObject::GetAttributeByName(const std::string& iName) const {
    for (const BASEApiAttribute* a : GetAttributeList())
        if (a && a->GetName() == iName)
            return a;
    return nullptr;
}

std::string BASEApiMethodObject::GetStringDirect(const std::string& iName) const {
    std::map<std::string, std::string>::const_iterator it = attrNameValMap.find(iName);
    return it == attrNameValMap.end() ? std::string() : it->second;
}

bool BASEApiMethodObject::GetStringDirect(const std::string& iName, std::string& oValue) const {
    std::map<std::string, std::string>::const_iterator it = attrNameValMap.find(iName);
    if (it == attrNameValMap.end())
        return false;
    oValue = it->second;
    return true;
}

std::string BASEApiMethodObject::ToXMLString(bool iEscape) const {
    const std::string& name = GetObjectName();
    std::string text = "<" + name + ">";
    for (const BASEApiAttribute* a : GetAttributeList()) {
        if (!a)
            continue;
        std::map<std::string, std::string>::const_iterator it = attrNameValMap.find(a->GetName());
        if (it == attrNameValMap.end())
            continue;
        text += "<" + it->first + ">" +
                (iEscape ? STRINGUtil::EscapeString(it->second, false) : it->second) + "</" +
                it->first + ">";
    }
    return text + "</" + name + ">";
}

void BASEApiMethodObject::Parse(const std::string& iText) {
    if (iText.empty())
        return;
    parser::XMLParser xml(nullptr);
    if (!xml.ParseXMLString(STRINGUtil::UnEscapeString(iText, true)))
        return;
    const parser::XMLElement* root = xml.GetDocumentElement();
    if (root && strcasecmp(root->tagName.c_str(), GetObjectName().c_str()) == 0)
        ParseElemNode(root);
}

void BASEApiMethodObject::ParseElemNode(const parser::XMLElement* iElement) {
    if (!iElement)
        return;
    std::vector<std::pair<std::string, std::string>> tagVals;
    iElement->GetChildTagVals(tagVals);
    for (const auto& tv : tagVals)
        PutStringDirect(tv.first, STRINGUtil::UnEscapeString(tv.second, false));
}
