#include "apiMgmt/apiStub/apiSdk/enums/apiEnumsIdStrList.h"

#include <gtest/gtest.h>

namespace {

TEST(APIEnumsIDStrListTest, TablesFollowTheEnumerators) {
    ASSERT_EQ(APIEnumsIDStrList::gErrorStateEnumCount, 46);
    const ENUMIDStrItem& invalid = APIEnumsIDStrList::gErrorStateEnumIdStrList[24];
    EXPECT_EQ(invalid.idVal, 25);
    EXPECT_EQ(invalid.strVal, "InvalidValue");
    EXPECT_EQ(invalid.displayStr, "Invalid Value");
    EXPECT_EQ(APIEnumsIDStrList::gErrorStateEnumIdStrList[45].strVal, "ConnectionRefused");
    EXPECT_EQ(APIEnumsIDStrList::gStorageCellOperationModeEnumIdStrList[3].displayStr,
              "Pre Production");
    EXPECT_EQ(APIEnumsIDStrList::gUserPrivilegeEnumCount, 3);
    EXPECT_EQ(APIEnumsIDStrList::gSCFilterTypeEnumCount, 19);
    EXPECT_EQ(APIEnumsIDStrList::gAlertCategoryEnumCount, 0);
    EXPECT_EQ(AlertCategoryEnum_UnKnownOrInvalid, 999);
}

TEST(APIEnumsIDStrListTest, MacrosMatchByNumberAndByText) {
    struct {
        const char* text;
        StorageCellOperationModeEnum mode;
    } cases[] = {
        {"Install", StorageCellOperationModeEnum_Install},
        {"iNSTALL", StorageCellOperationModeEnum_Install},
        {"3", StorageCellOperationModeEnum_Install},
        {" 2 ", StorageCellOperationModeEnum_Maintenance},
        {"", StorageCellOperationModeEnum_UnKnownOrInvalid},
        {"5", StorageCellOperationModeEnum_UnKnownOrInvalid},
        {"Pre Production", StorageCellOperationModeEnum_UnKnownOrInvalid},
        {"99999999999", StorageCellOperationModeEnum_UnKnownOrInvalid},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(m_GET_ENUMVAL(StorageCellOperationModeEnum, c.text), c.mode) << c.text;
    }
    EXPECT_EQ(m_GET_ENUMVAL(AlertCategoryEnum, "1"), AlertCategoryEnum_UnKnownOrInvalid);

    std::string text = "kept";
    m_SET_ENUMVAL(UserPrivilegeEnum, UserPrivilegeEnum_UnKnownOrInvalid, text);
    EXPECT_EQ(text, "kept");
    m_SET_ENUMVAL(UserPrivilegeEnum, UserPrivilegeEnum_VolumeManager, text);
    EXPECT_EQ(text, "VolumeManager");

    std::vector<UserPrivilegeEnum> values;
    m_GET_ENUMMASK_VAL_VEC(UserPrivilegeEnum, (std::vector<std::string>{"admin", "", "bogus", "3"}),
                           values);
    EXPECT_EQ(values, (std::vector<UserPrivilegeEnum>{UserPrivilegeEnum_Admin,
                                                      UserPrivilegeEnum_Reporter}));
    std::vector<std::string> texts;
    m_SET_ENUMMASK_VAL_IN_STRING_VEC(
        UserPrivilegeEnum,
        (std::vector<UserPrivilegeEnum>{UserPrivilegeEnum_Reporter,
                                        UserPrivilegeEnum_UnKnownOrInvalid, UserPrivilegeEnum_Admin,
                                        UserPrivilegeEnum_Reporter}),
        texts);
    EXPECT_EQ(texts, (std::vector<std::string>{"3", "1"}));

    std::string xml;
    m_SET_ENUM_XML_STR(UserPrivilegeEnum, UserPrivilegeEnum_Admin, xml);
    EXPECT_EQ(xml,
              "<UserPrivilegeEnum><Value>1</Value><Description>Admin</Description>"
              "<UiString>Admin</UiString></UserPrivilegeEnum>");
    std::string masks;
    m_SET_ENUMMASK_XML_STR(
        ErrorStateEnum,
        (std::vector<ErrorStateEnum>{ErrorStateEnum_None, ErrorStateEnum_OutOfMemory}), masks);
    EXPECT_EQ(masks,
              "<ErrorStateEnum><Value>1</Value><Description>None</Description><UiString>None"
              "</UiString></ErrorStateEnum><ErrorStateEnum><Value>40</Value><Description>"
              "OutOfMemory</Description><UiString>Out Of Memory</UiString></ErrorStateEnum>");
    EXPECT_EQ(
        APIEnumsIDStrList::GetEnumVal(APIEnumsIDStrList::gSCFilterTypeEnumIdStrList,
                                      APIEnumsIDStrList::gSCFilterTypeEnumCount, "RegexMatch", -1),
        7);
}

}  // namespace
