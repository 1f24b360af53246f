#include "apiMgmt/common/utils/stringUtil.h"

#include <gtest/gtest.h>

#include "apiMgmt/common/utils/generalUtils.h"
#include "support/Fields.h"

namespace {

TEST(STRINGUtilTest, PredicatesKeepTheirEdges) {
    struct {
        const char* text;
        bool numeric;
        bool asBool;
    } cases[] = {
        {"12", true, false},   {" 1.5 ", true, true},  {"1", true, true},
        {"TrUe", false, true}, {"2", true, false},     {"", false, false},
        {" \t", false, false}, {"12ab", false, false}, {"word", false, false},
        {"-", false, false},   {"-3e2", true, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(STRINGUtil::IsNumeric(c.text), c.numeric) << '"' << c.text << '"';
        EXPECT_EQ(STRINGUtil::ConvertStringToBool(c.text), c.asBool) << '"' << c.text << '"';
    }
}

TEST(STRINGUtilTest, SplitKeepsEmptyPiecesAndHonoursTheLimit) {
    struct {
        const char* text;
        const char* sep;
        unsigned limit;
        std::vector<std::string> pieces;
    } cases[] = {
        {"", "|", 0, {}},
        {"a||b|", "|", 0, {"a", "", "b"}},
        {"a|b|c|d|e", "|", 3, {"a", "b", "c|d|e"}},
        {"a|b", "|", 3, {"a", "b"}},
        {"a|b|c", "|", 1, {"a|b|c"}},
        {"k::v::w", "::", 0, {"k", "v", "w"}},
        {"abc", "", 0, {"abc"}},
    };
    for (const auto& c : cases) {
        std::vector<std::string> pieces{"stale"};
        STRINGUtil::SplitString(c.text, c.sep, pieces, c.limit);
        EXPECT_EQ(pieces, c.pieces) << c.text << " limit " << c.limit;
    }
}

TEST(STRINGUtilTest, EscapeAndUnescapeKeepTheirAsymmetry) {
    struct {
        const char* text;
        bool markupOnly;
        const char* escaped;
        const char* roundTrip;
    } cases[] = {
        {"<a & 'b' \"c\">", false, "&lt;a &amp; &apos;b&apos; &quot;c&quot;&gt;",
         "<a & 'b' \"c\">"},
        {"<a & 'b'>", true, "&lt;a & 'b'&gt;", "<a & 'b'>"},
        // Every control byte becomes the newline's reference, which is never turned back.
        {"x\ty\rz\n", false, "x&#x0a;y&#x0a;z&#x0a;", "x&#x0a;y&#x0a;z&#x0a;"},
        {"x\ty", true, "x\ty", "x\ty"},
    };
    for (const auto& c : cases) {
        std::string escaped = STRINGUtil::EscapeString(c.text, c.markupOnly);
        EXPECT_EQ(escaped, c.escaped);
        EXPECT_EQ(STRINGUtil::UnEscapeString(escaped, c.markupOnly), c.roundTrip);
    }
    // Markup-only unescaping leaves the other entities for a later pass; a resolved "&" is not
    // scanned again.
    EXPECT_EQ(STRINGUtil::UnEscapeString("&lt;&amp;gt;&quot;", true), "<&amp;gt;&quot;");
    EXPECT_EQ(STRINGUtil::UnEscapeString("&lt;&amp;gt;&quot;", false), "<&gt;\"");
}

TEST(STRINGUtilTest, FormatStrTakesASecondPassFromTheHundredthCharacter) {
    for (size_t length : {0u, 98u, 99u, 100u, 101u, 5000u}) {
        std::string text(length, 'x');
        EXPECT_EQ(STRINGUtil::FormatStr("%s", text.c_str()), text) << length;
        EXPECT_EQ(STRINGUtil::FormatStr("%s%d", text.c_str(), 7), text + "7") << length;
    }
}

TEST(STRINGUtilTest, ReplaceAndTrim) {
    std::string text = "a-b--c", there, blanks = " \f\n\r\t\v", padded = "\t a b \n";
    STRINGUtil::ReplaceAll(text, "-", "&hy&");
    there = text;
    STRINGUtil::ReplaceAll(text, "&hy&", "-");
    STRINGUtil::Trim(blanks);
    STRINGUtil::Trim(padded);
    EXPECT_EQ(Fields(there, text, blanks, padded), "a&hy&b&hy&&hy&c|a-b--c||a b");
}

TEST(STRINGUtilTest, ParseIpV6AddressReadsThePrefix) {
    struct {
        const char* text;
        bool ok;
        const char* address;
        int prefix;
    } cases[] = {
        {"fe80::1", true, "fe80::1", 128},
        {"2001:db8::/64", true, "2001:db8::", 64},
        {"::1/128", true, "::1", 128},
        {"::1/129", false, "::1", -1},
        {"::1/x", false, "::1", -1},
        {"10.0.0.1", false, "10.0.0.1", 128},
        {"", false, "", 128},
    };
    for (const auto& c : cases) {
        std::string address = "stale";
        int prefix = 7;
        const bool ok = STRINGUtil::ParseIpV6Address(c.text, address, prefix);
        EXPECT_EQ(Fields(ok, address, prefix), Fields(c.ok, c.address, c.prefix)) << c.text;
    }
}

TEST(GENERALUtilsTest, EndpointsOfThePeers) {
    struct {
        APIEndpoint which;
        const char* path;
        size_t largest;
    } cases[] = {{Endpoint_APIManager, "/tmp/apimgr.sock", 5242880},
                 {Endpoint_MCShim, "/tmp/mcshim.sock", 2097152},
                 {Endpoint_SNMPSubagent, "/tmp/snmpsubagent.sock", 2097152}};
    for (const auto& c : cases) {
        const GPBComEndpoint& endpoint = GENERALUtils::GetEndpoint(c.which);
        EXPECT_EQ(
            Fields(endpoint.GetDescription(), endpoint.GetRecvTimeout(), endpoint.GetMaxMsgSize(),
                   &endpoint == &GENERALUtils::GetEndpoint(c.which)),
            Fields(c.path, 900, c.largest, true));
    }
    try {
        GENERALUtils::GetEndpoint(static_cast<APIEndpoint>(3));
        FAIL() << "an endpoint outside the table";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "GENERALUtils::GetEndpoint: unknown endpoint");
    }
}

}  // namespace
