#include "apiMgmt/common/error/apiMethodError.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

TEST(APIMethodErrorTest, LogMessageFormsFollowTheCode) {
    APIMethodError plain(ErrorStateEnum_ParsingError, "f.cpp", 3, "summary");
    EXPECT_EQ(plain.GetLogMessage(), "Error state[4], Summary[summary]");
    APIMethodError detailed(ErrorStateEnum_InvalidValue, "f.cpp", 3, "summary", "detail");
    EXPECT_EQ(detailed.GetLogMessage(), "Error state[25], Summary[detail]");
    EXPECT_STREQ(detailed.what(), "summary");

    SCResponseStatus status;
    status.errorCode = 1;
    status.extErrorCode = -7;
    status.subsystemId = 3000000000u;
    status.errorMsgs = {"first", "second"};
    status.errorCauseMsg = "cause";
    APIMethodError fromStatus(status, "f.cpp", 9);
    EXPECT_EQ(fromStatus.GetLogMessage(),
              "Error code[1], extErrorCode[3000000000:-7], Summary[first]");
    EXPECT_EQ(fromStatus.GetMessage() + "|" + fromStatus.GetErrorReasonMsg(), "first|cause");
    std::ostringstream out;
    out << fromStatus;
    EXPECT_EQ(out.str(), fromStatus.GetLogMessage());

    status.errorCode = 0;
    EXPECT_EQ(APIMethodError(status, "f.cpp", 9).GetLogMessage().rfind("Error state[", 0), 0u);
}

TEST(APIMethodErrorTest, ArgumentsAreSavedOnePerPlaceholder) {
    APIMethodError error("Value out of range", ErrorStateEnum_InvalidValue, "f.cpp", 5,
                         APIMGR_LOC_VALUE_OUT_OF_RANGE_BOTH, "%s|%lld|%lld", "Size", 1LL, -2LL);
    EXPECT_EQ(error.GetMsgId(), 10760u);
    EXPECT_EQ(error.GetMsgArgs(), (std::vector<std::string>{"Size", "1", "-2"}));
    GENERALError noFormat("m", "f.cpp", 1, 7, nullptr);
    EXPECT_TRUE(noFormat.GetMsgArgs().empty());
    GENERALError trailing("m", "f.cpp", 1, 7, "%s|", "only");
    EXPECT_EQ(trailing.GetMsgArgs(), (std::vector<std::string>{"only"}));
}

TEST(SCResponseStatusTest, SummaryAndDetailFallBack) {
    struct {
        int code;
        std::vector<std::string> msgs;
        const char* summary;
        const char* wantDetail;
        const char* wantSummary;
    } cases[] = {
        {1, {"m1", "m2"}, "sum", "m1", "sum"},
        {1, {"m1"}, "", "m1", "m1"},
        {0, {"m1"}, "", "", ""},
        {1, {}, "sum", "sum", "sum"},
    };
    for (const auto& c : cases) {
        SCResponseStatus status;
        status.errorCode = c.code;
        status.errorMsgs = c.msgs;
        status.errorSummaryMsg = c.summary;
        EXPECT_EQ(status.GetDetailErrorMsg() + "|" + status.GetSummaryErrorMsg(),
                  std::string(c.wantDetail) + "|" + c.wantSummary);
    }
}

}  // namespace
