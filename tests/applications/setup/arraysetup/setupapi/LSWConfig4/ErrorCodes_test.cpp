// The table of operator texts: exact wording, its gaps, and what a missing code does.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "LSWConfig4/LSWConfigModel.h"

namespace {

TEST(ErrorCodes, TableHoldsItsCodesAndNoOthers) {
    std::set<int> keys;
    for (const auto& row : CErrorCodes::CreateErrorMap())
        keys.insert(row.first);
    std::set<int> expected;
    for (int code = 1000; code <= 1034; ++code) {
        if (code != 1015 && code != 1016)
            expected.insert(code);
    }
    EXPECT_EQ(keys, expected);
    for (const auto& row : CErrorCodes::CreateErrorMap()) {
        EXPECT_FALSE(row.second.empty()) << row.first;
        EXPECT_EQ(CErrorCodes::errorMap.at(row.first), row.second) << row.first;
    }
}

TEST(ErrorCodes, ExactTexts) {
    auto& m = CErrorCodes::errorMap;
    EXPECT_EQ(m.at(1000), "Error initializing.");
    EXPECT_EQ(m.at(1002), "Unknown exception occurred.");
    EXPECT_EQ(m.at(1003), "PacketCapture library intialization failed.");
    EXPECT_EQ(m.at(1004), "Cannot locate discovery network adapter.");
    EXPECT_EQ(m.at(1007), "Uninitialized adapters, cannot run discovery.");
    EXPECT_EQ(m.at(1014), "Controller validation failed.");
    EXPECT_EQ(m.at(1017), "Invalid blink request code.");
    EXPECT_EQ(m.at(1018), "Controller ID Index/Hardware SN missing.");
    EXPECT_EQ(m.at(1024), "Invalid/Missing Netmask IP[%s] for controller %s.");
    EXPECT_EQ(m.at(1025), "Invalid Netmask IP[%s] for controller %s");
    EXPECT_EQ(m.at(1028),
              "Invalid Network configuration for controller %s. Check if the Management Address "
              "is the same as Controller IP Address or Gateway IP. Also Management address should "
              "be on the same subnet as the Controller.");
    EXPECT_EQ(m.at(1030), "Mismatched Management IPv4 addresses for both controllers[%s] - [%s].");
    EXPECT_EQ(m.at(1034), "Controller [%s] is not Primary. Try the request on Primary controller.");

    // Formatted as callers do, with the text the operator typed.
    EXPECT_EQ(CLSWCommonUtils::FormatString(m.at(1020).c_str(), "10.0.0.300", "HW123"),
              "Invalid/Missing Ipv4[10.0.0.300] Management Address for controller HW123.");
    EXPECT_EQ(CLSWCommonUtils::FormatString(m.at(1029).c_str(), "8.8.8.8", "8.8.8.8"),
              "Primary[8.8.8.8] and Secondary[8.8.8.8] DNS cannot be the same.");
}

TEST(ErrorCodes, MissingCodeGivesEmptyTextAndAddsAnEntry) {
    auto& m = CErrorCodes::errorMap;
    for (int code : {1015, 1016, 1035}) {
        ASSERT_EQ(m.count(code), 0u) << code;
        const size_t before = m.size();
        EXPECT_EQ(m[code], "") << code;
        EXPECT_EQ(m.size(), before + 1) << code;
        EXPECT_EQ(m.count(code), 1u) << code;
        m.erase(code);  // leave the shared table as the program starts with it
    }
}

}  // namespace
