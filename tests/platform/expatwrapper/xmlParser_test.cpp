#include "platform/expatwrapper/xmlParser.h"

#include <gtest/gtest.h>

#include <string>

#include "support/Fields.h"

namespace {

std::string Nested(unsigned iDepth) {
    std::string s;
    for (unsigned i = 0; i < iDepth; ++i)
        s += "<a>";
    for (unsigned i = 0; i < iDepth; ++i)
        s += "</a>";
    return s;
}

// A reply is hostile: what expat refuses, what would grow, what nests too deep, all refused.
TEST(XMLParser, RefusesHostileDocuments) {
    const std::string laughs =
        "<?xml version=\"1.0\"?><!DOCTYPE r [<!ENTITY a \"aaaaaaaaaa\">"
        "<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">]><r>&b;</r>";
    const struct {
        std::string text;
        bool ok;
    } cases[] = {
        {"<r><a>1</a></r>", true},
        {"", false},
        {"<r><a></r>", false},
        {"<r>&hy&</r>", false},
        {"<r>&unknown;</r>", false},
        {laughs, false},
        {"<!DOCTYPE r SYSTEM \"file:///etc/passwd\"><r/>", false},
        {"<r/><s/>", false},
        {Nested(parser::XMLParser::kMaxDepth), true},
        {Nested(parser::XMLParser::kMaxDepth + 1), false},
    };
    for (const auto& c : cases) {
        parser::XMLParser p(nullptr);
        EXPECT_EQ(p.ParseXMLString(c.text), c.ok) << c.text.substr(0, 80);
        EXPECT_EQ(p.GetDocumentElement() != nullptr, c.ok);
    }
}

TEST(XMLParser, TreeTextAndOrder) {
    parser::XMLParser p(nullptr);
    ASSERT_TRUE(p.ParseXMLString(
        "<r>head<a>1</a><b>&lt;x&gt; &amp; &#65;</b>tail<a>2<c>deep</c></a><e/></r>"));
    const parser::XMLElement* r = p.GetDocumentElement();
    ASSERT_EQ(r->tagName, "r");
    // Mixed content: an element keeps only the text that stands directly in it.
    EXPECT_EQ(r->GetElementContent(), "headtail");
    ASSERT_EQ(r->GetChildElemsByTagName("a").size(), 2u);
    EXPECT_EQ(r->GetChildElemsByTagName("a")[1]->GetElementContent(), "2");
    EXPECT_EQ(r->GetChildElemContentByTag("a"), "1");
    EXPECT_EQ(r->GetChildElemContentByTag("b"), "<x> & A");
    EXPECT_EQ(r->GetChildElemContentByTag("missing"), "");
    std::vector<std::pair<std::string, std::string>> tv;
    r->GetChildTagVals(tv);
    ASSERT_EQ(tv.size(), 4u);
    EXPECT_EQ(Fields(tv[2].first, tv[2].second, tv[3].first, tv[3].second), "a|2|e|");
    // A failed parse leaves no tree behind.
    EXPECT_FALSE(p.ParseXMLString("<r>"));
    EXPECT_EQ(p.GetDocumentElement(), nullptr);
}

}  // namespace
