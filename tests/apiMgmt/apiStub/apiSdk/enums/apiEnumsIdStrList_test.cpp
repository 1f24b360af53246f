#include "apiMgmt/apiStub/apiSdk/enums/apiEnumsIdStrList.h"

#include <gtest/gtest.h>

#include "support/Fields.h"

namespace {

TEST(APIEnumsIDStrListTest, TablesFollowTheEnumerators) {
    ASSERT_EQ(APIEnumsIDStrList::gErrorStateEnumCount, 46);
    const ENUMIDStrItem& invalid = APIEnumsIDStrList::gErrorStateEnumIdStrList[24];
    EXPECT_EQ(Fields(invalid.idVal, invalid.strVal, invalid.displayStr),
              "25|InvalidValue|Invalid Value");
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
    for (const auto& c : cases)
        EXPECT_EQ(m_GET_ENUMVAL(StorageCellOperationModeEnum, c.text), c.mode) << c.text;
    EXPECT_EQ(m_GET_ENUMVAL(AlertCategoryEnum, "1"), AlertCategoryEnum_UnKnownOrInvalid);

    std::string text = "kept";
    m_SET_ENUMVAL(UserPrivilegeEnum, UserPrivilegeEnum_UnKnownOrInvalid, text);
    EXPECT_EQ(text, "kept");
    m_SET_ENUMVAL(UserPrivilegeEnum, UserPrivilegeEnum_VolumeManager, text);
    EXPECT_EQ(text, "VolumeManager");

    EXPECT_EQ(
        APIEnumsIDStrList::GetEnumVal(APIEnumsIDStrList::gSCFilterTypeEnumIdStrList,
                                      APIEnumsIDStrList::gSCFilterTypeEnumCount, "RegexMatch", -1),
        7);
}

}  // namespace
