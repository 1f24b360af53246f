#include <gtest/gtest.h>

#include "apiMgmt/proto/apiMgrMsg.pb.h"

namespace {

using namespace protoIPCMsg;

TEST(ApiMgrMsgTest, DefaultsAndRequiredFieldsHoldTheWireRules) {
    GPBIPCMsg msg;
    EXPECT_FALSE(msg.IsInitialized());  // msgType has no zero value to fall back on
    msg.set_msgtype(APIRequest);
    msg.mutable_apireqmsg()->set_cmdtype(Command);
    msg.mutable_apireqmsg()->mutable_cmd()->set_cmddata("<x/>");
    EXPECT_TRUE(msg.IsInitialized());
    // The bytes of the client's request: field numbers and types as the manager reads them.
    EXPECT_EQ(msg.SerializeAsString(),
              std::string("\x08\x02\x12\x0a\x08\x01\x22\x06\x0a\x04<x/>", 14));

    EXPECT_EQ(CAReqFilterItem().compoperator(), "eq");
    EXPECT_TRUE(XMLReqMsg().compressresponse());
    EXPECT_EQ(CAReqOptions().priority(), CMDPriorityEnum_High);
    EXPECT_EQ(CAReqOptions().execmode(), CMDExecModeEnum_Sync);
    EXPECT_EQ(GPBIPCMsg::descriptor()->file()->message_type_count(), 36);
    EXPECT_EQ(GPBIPCMsg::descriptor()->file()->enum_type_count(), 4);
    EXPECT_EQ(GPBIPCMsg::descriptor()->file()->package(), "protoIPCMsg");
}

}  // namespace
