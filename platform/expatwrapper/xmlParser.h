#ifndef PLATFORM_EXPATWRAPPER_XMLPARSER_H
#define PLATFORM_EXPATWRAPPER_XMLPARSER_H

// A whole XML document parsed into a tree of elements, over expat. A reply of the API manager
// is as hostile as a frame from the network, so the parser bounds the nesting depth, refuses
// any document type declaration (and with it every entity beyond the five predefined ones:
// no entity can grow), and refuses whatever expat refuses.
//
// An element that holds both text and child elements keeps as its content the text that
// stands directly inside it, the pieces joined in document order; the text of its children
// stays with them. Character and predefined entity references are resolved by expat.

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace parser {

class XMLElement {
public:
    std::string tagName;
    std::vector<XMLElement*> childElems;  // direct children in document order, owned by the parser

    // The direct children with that tag, in document order.
    std::vector<XMLElement*> GetChildElemsByTagName(const std::string& iTag) const;
    // The text of the first direct child with that tag, or empty.
    std::string GetChildElemContentByTag(const std::string& iTag) const;
    // Appends one (tag, text) pair per direct child, in document order.
    void GetChildTagVals(std::vector<std::pair<std::string, std::string>>& oTagVals) const;
    const std::string& GetElementContent() const { return m_content; }

private:
    friend class XMLParser;
    std::string m_content;
};

class XMLParser {
public:
    // Deeper documents are refused.
    static const unsigned kMaxDepth = 256;

    // The argument names an encoding for expat; null means the document's own.
    explicit XMLParser(const char* iEncoding = nullptr);
    ~XMLParser() = default;
    XMLParser(const XMLParser&) = delete;
    XMLParser& operator=(const XMLParser&) = delete;

    // Parses a whole document, replacing any earlier tree; false on malformed or refused text,
    // with no tree left.
    bool ParseXMLString(const std::string& iText);
    // The root element, owned by the parser; null before a successful parse.
    XMLElement* GetDocumentElement() const { return m_root; }
    // Why the last parse failed, for a person.
    const std::string& GetError() const { return m_error; }

private:
    struct Builder;
    std::string m_encoding;
    bool m_hasEncoding;
    std::deque<XMLElement> m_elements;  // every element of the tree, freed with the parser
    XMLElement* m_root = nullptr;
    std::string m_error;
};

}  // namespace parser

#endif
