#include "platform/expatwrapper/xmlParser.h"

#include <expat.h>

#include <climits>
#include <memory>

namespace parser {

std::vector<XMLElement*> XMLElement::GetChildElemsByTagName(const std::string& iTag) const {
    std::vector<XMLElement*> found;
    for (XMLElement* child : childElems)
        if (child->tagName == iTag)
            found.push_back(child);
    return found;
}

std::string XMLElement::GetChildElemContentByTag(const std::string& iTag) const {
    for (const XMLElement* child : childElems)
        if (child->tagName == iTag)
            return child->m_content;
    return std::string();
}

void XMLElement::GetChildTagVals(std::vector<std::pair<std::string, std::string>>& oTagVals) const {
    for (const XMLElement* child : childElems)
        oTagVals.emplace_back(child->tagName, child->m_content);
}

struct XMLParser::Builder {
    XML_Parser expat;
    std::deque<XMLElement>& elements;
    std::vector<XMLElement*> open;
    XMLElement* root = nullptr;
    std::string refused;

    void Refuse(const char* iWhy) {
        if (refused.empty())
            refused = iWhy;
        XML_StopParser(expat, XML_FALSE);
    }

    static void Start(void* iData, const XML_Char* iName, const XML_Char**) {
        Builder* b = static_cast<Builder*>(iData);
        if (b->open.size() >= kMaxDepth)
            return b->Refuse("elements nested too deep");
        b->elements.emplace_back();
        XMLElement* e = &b->elements.back();
        e->tagName = iName;
        if (b->open.empty())
            b->root = e;
        else
            b->open.back()->childElems.push_back(e);
        b->open.push_back(e);
    }

    static void End(void* iData, const XML_Char*) {
        Builder* b = static_cast<Builder*>(iData);
        if (!b->open.empty())
            b->open.pop_back();
    }

    static void Text(void* iData, const XML_Char* iText, int iLength) {
        Builder* b = static_cast<Builder*>(iData);
        if (!b->open.empty() && iLength > 0)
            b->open.back()->m_content.append(iText, static_cast<size_t>(iLength));
    }

    // No document of ours has a document type: refusing it refuses every entity declaration,
    // internal or external, and so every expansion beyond the predefined five.
    static void Doctype(void* iData, const XML_Char*, const XML_Char*, const XML_Char*, int) {
        static_cast<Builder*>(iData)->Refuse("document type declarations are refused");
    }
    static void Entity(void* iData, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                       const XML_Char*, const XML_Char*, const XML_Char*) {
        static_cast<Builder*>(iData)->Refuse("entity declarations are refused");
    }
};

XMLParser::XMLParser(const char* iEncoding)
    : m_encoding(iEncoding ? iEncoding : ""), m_hasEncoding(iEncoding != nullptr) {}

bool XMLParser::ParseXMLString(const std::string& iText) {
    m_elements.clear();
    m_root = nullptr;
    m_error.clear();
    if (iText.size() > static_cast<size_t>(INT_MAX)) {
        m_error = "document too large";
        return false;
    }
    std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> expat(
        XML_ParserCreate(m_hasEncoding ? m_encoding.c_str() : nullptr), XML_ParserFree);
    if (!expat) {
        m_error = "out of memory";
        return false;
    }
    Builder b{expat.get(), m_elements, {}, nullptr, {}};
    XML_SetUserData(expat.get(), &b);
    XML_SetElementHandler(expat.get(), Builder::Start, Builder::End);
    XML_SetCharacterDataHandler(expat.get(), Builder::Text);
    XML_SetStartDoctypeDeclHandler(expat.get(), Builder::Doctype);
    XML_SetEntityDeclHandler(expat.get(), Builder::Entity);
    XML_SetParamEntityParsing(expat.get(), XML_PARAM_ENTITY_PARSING_NEVER);
    if (XML_Parse(expat.get(), iText.data(), static_cast<int>(iText.size()), XML_TRUE) !=
            XML_STATUS_OK ||
        !b.refused.empty() || !b.root) {
        m_error = !b.refused.empty() ? b.refused : XML_ErrorString(XML_GetErrorCode(expat.get()));
        m_elements.clear();
        return false;
    }
    m_root = b.root;
    return true;
}

}  // namespace parser
