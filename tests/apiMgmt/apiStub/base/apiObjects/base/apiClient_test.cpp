// The API client's encoding and parsing: the request document byte for byte, every row of the
// reply's table, the status node, the filters' texts and the attribute checks.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "apiMgmt/apiStub/apiSdk/objects/APIScController.h"
#include "apiMgmt/apiStub/apiSdk/objects/APIStorageCell.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodReturn.h"
#include "apiMgmt/common/error/apiMethodError.h"
#include "apiMgmt/proto/apiMgrMsg.pb.h"
#include "support/Fields.h"

namespace {

using GetList = APIScController::APIScControllerGetListMethod;
using CellGet = APIStorageCell::APIStorageCellGetMethod;

const char kMethodHead[] = "<ApiMethod><CommandType>Method</CommandType>";
const char kSyncXml[] = "<Async>false</Async><ObjectEncodeType>xml</ObjectEncodeType>";

std::string Request(const BASEApiMethod& iMethod, const std::string& iKey,
                    const std::string& iLocale = "", const APIHccReqHeader* iHeader = nullptr,
                    protoIPCMsg::GPBIPCMsg* oMsg = nullptr) {
    protoIPCMsg::GPBIPCMsg msg;
    iMethod.BuildGPBApiRequest(msg, iHeader, iKey, nullptr, iLocale);
    if (oMsg)
        *oMsg = msg;
    return msg.apireqmsg().cmd().cmddata();
}

TEST(ApiRequest, DocumentsByteForByte) {
    GetList list;
    GETListFilter filter(
        GETListFilterType_And,
        {APIAttributeFilter(APIScController::GetHardwareSerialNumberAttr()->GetName(),
                            FILTERType_Equal, "12-34")});
    list.SetFilter(&filter);
    protoIPCMsg::GPBIPCMsg msg;
    EXPECT_EQ(Request(list, "K3y", "", nullptr, &msg),
              std::string("<quillapi><ApiConnection><sessionkey>K3y</sessionkey></ApiConnection>") +
                  kMethodHead + "<Object>ScController</Object><Command>GetList</Command>" +
                  kSyncXml +
                  "<Attributes><Filter>and HardwareSerialNumber = 12&hy&34-</Filter></Attributes>"
                  "</ApiMethod></quillapi>");
    EXPECT_EQ(msg.msgtype(), protoIPCMsg::APIRequest);
    EXPECT_EQ(msg.apireqmsg().cmdtype(), protoIPCMsg::Command);
    EXPECT_EQ(msg.apireqmsg().sourceip(), "127.0.0.1");
    EXPECT_FALSE(msg.apireqmsg().cmd().has_hccheader());

    CellGet get;
    get.SetInstanceId("6000123");
    const std::string tail = std::string(kMethodHead) +
                             "<Object>StorageCell</Object><Command>Get</Command>" + kSyncXml +
                             "<Attributes><InstanceId>6000123</InstanceId></Attributes></ApiMethod>"
                             "</quillapi>";
    // A locale goes out only when it has exactly five characters.
    EXPECT_EQ(Request(get, "k", "en_US"),
              "<quillapi><ApiConnection><sessionkey>k</sessionkey><locale>en_US</locale>"
              "</ApiConnection>" +
                  tail);
    EXPECT_EQ(Request(get, "k", "enUS"),
              "<quillapi><ApiConnection><sessionkey>k</sessionkey></ApiConnection>" + tail);

    // With a header there is no connection block, even with a key.
    APIHccReqHeader header{"v1", "up", "tok", "h1", "10.0.0.9"};
    EXPECT_EQ(Request(get, "k", "en_US", &header, &msg), "<quillapi>" + tail);
    EXPECT_EQ(msg.apireqmsg().sourceip(), "10.0.0.9");
    EXPECT_EQ(msg.apireqmsg().cmd().hccheader().hccid(), "h1");

    // No attributes: no Attributes element; an empty value: an empty element.
    GetList bare;
    EXPECT_EQ(bare.GetXMLString(true, false),
              std::string(kMethodHead) +
                  "<Object>ScController</Object><Command>GetList</Command><Async>true</Async>"
                  "<ObjectEncodeType>csv</ObjectEncodeType></ApiMethod>");
    bare.PutStringDirect("Filter", "");
    EXPECT_NE(bare.GetXMLString(false, true).find("<Attributes><Filter></Filter></Attributes>"),
              std::string::npos);

    try {
        Request(get, "");
        ADD_FAILURE() << "a request without a key was built";
    } catch (const APIMethodError& e) {
        EXPECT_EQ(e.GetErrorStateEnum(), ErrorStateEnum_IllegalSessionKey);
        EXPECT_STREQ(e.what(), "Unable to create GPB request. Session identifier not specified");
    }
}

protoIPCMsg::GPBIPCMsg Reply(const std::string& iXml) {
    protoIPCMsg::GPBIPCMsg m;
    m.set_msgtype(protoIPCMsg::APIResp);
    m.mutable_apirespmsg()->set_cmdtype(protoIPCMsg::Command);
    m.mutable_apirespmsg()->mutable_cmd()->set_respdata(iXml);
    return m;
}

const char kOk[] = "<ApiMethodReturn><Successful>True</Successful></ApiMethodReturn>";

std::string Doc(const std::string& iBody) {
    return "<quillapi>" + iBody + "</quillapi>";
}

TEST(ApiReply, EveryRowOfTheTable) {
    GetList m;
    protoIPCMsg::GPBIPCMsg wrongType = Reply(Doc(kOk));
    wrongType.set_msgtype(protoIPCMsg::CAResp);
    protoIPCMsg::GPBIPCMsg noResp;
    noResp.set_msgtype(protoIPCMsg::APIResp);
    protoIPCMsg::GPBIPCMsg ping = Reply(Doc(kOk));
    ping.mutable_apirespmsg()->set_cmdtype(protoIPCMsg::Ping);
    protoIPCMsg::GPBIPCMsg noCmd = Reply(Doc(kOk));
    noCmd.mutable_apirespmsg()->clear_cmd();
    const struct {
        protoIPCMsg::GPBIPCMsg reply;
        std::string error, detail;
    } failures[] = {
        {wrongType, "Invalid content in response message",
         "Message type invalid or missing from response"},
        {noResp, "Invalid content in response message",
         "Message type invalid or missing from response"},
        {ping, "Invalid content in response message",
         "Command type invalid or missing from response"},
        {noCmd, "Invalid content in response message",
         "Command type invalid or missing from response"},
        {Reply("<quillapi><ReturnBool>1</ReturnBool>"), "Invalid content in response message",
         "Failed to parse XML response data"},
        {Reply(Doc("<ReturnBool>1</ReturnBool>")), "Invalid response in return XML",
         "Incorrect number of APIMethodReturn elements.  Expected 1, found [0]."},
        {Reply(Doc(std::string(kOk) + kOk + "<ReturnBool>1</ReturnBool>")),
         "Invalid response in return XML",
         "Incorrect number of APIMethodReturn elements.  Expected 1, found [2]."},
    };
    for (const auto& f : failures) {
        std::unique_ptr<BASEApiMethodReturn> r(m.ProcessResponse(f.reply));
        ASSERT_TRUE(r) << f.detail;
        EXPECT_EQ(Fields(r->GetSuccessful(), r->GetErrorCode() == ErrorStateEnum_ParsingError,
                         r->GetError(), r->GetLocalizedError(), r->GetErrorDetail()),
                  Fields(false, true, f.error, f.error, f.detail));
    }
    // The two null results: another root, and a success without a return element.
    EXPECT_EQ(m.ProcessResponse(Reply("<QuillApi>" + std::string(kOk) + "</QuillApi>")), nullptr);
    EXPECT_EQ(m.ProcessResponse(Reply(Doc(kOk))), nullptr);

    // The order of the table decides, not the order of the document; only the first counts.
    std::unique_ptr<BASEApiMethodReturn> r(
        m.ProcessResponse(Reply(Doc("<ReturnString>s</ReturnString><ReturnInt>-7</ReturnInt>" +
                                    std::string(kOk) + "<ReturnInt>9</ReturnInt>"))));
    ASSERT_TRUE(dynamic_cast<INTMethodReturn*>(r.get()));
    EXPECT_EQ(static_cast<INTMethodReturn*>(r.get())->GetValue(), -7);
    // "ReturnBool" false gives an unsuccessful return.
    r.reset(m.ProcessResponse(Reply(Doc(std::string(kOk) + "<ReturnBool>false</ReturnBool>"))));
    ASSERT_TRUE(dynamic_cast<BOOLMethodReturn*>(r.get()));
    EXPECT_FALSE(r->GetSuccessful());
    r.reset(m.ProcessResponse(Reply(Doc(std::string(kOk) + "<ReturnEnum>E</ReturnEnum>"))));
    ASSERT_TRUE(dynamic_cast<ENUMMethodReturn*>(r.get()));
    EXPECT_EQ(static_cast<ENUMMethodReturn*>(r.get())->GetEnumStr(), "E");

    // A single object: an unknown class is passed over, the first known one is kept.
    r.reset(m.ProcessResponse(Reply(
        Doc(std::string(kOk) +
            "<ReturnObject><Nobody><Name>x</Name></Nobody><StorageCell><InstanceId>6</InstanceId>"
            "<OperationMode>Install</OperationMode><Notes/></StorageCell>"
            "<StorageCell><InstanceId>7</InstanceId></StorageCell></ReturnObject>"))));
    COMPObjectMethodReturn* one = dynamic_cast<COMPObjectMethodReturn*>(r.get());
    ASSERT_TRUE(one);
    const APIStorageCell* cell = dynamic_cast<const APIStorageCell*>(one->GetObject());
    ASSERT_TRUE(cell);
    EXPECT_EQ(cell->GetInstanceId(), "6");
    EXPECT_EQ(cell->GetOperationMode(), StorageCellOperationModeEnum_Install);
    std::string notes = "unset";
    EXPECT_TRUE(cell->GetStringDirect("Notes", notes));
    EXPECT_EQ(notes, "");
    r.reset(m.ProcessResponse(Reply(Doc(std::string(kOk) + "<ReturnObject/>"))));
    ASSERT_TRUE(dynamic_cast<COMPObjectMethodReturn*>(r.get()));
    EXPECT_EQ(static_cast<COMPObjectMethodReturn*>(r.get())->GetObject(), nullptr);
    r.reset(m.ProcessResponse(
        Reply(Doc(std::string(kOk) +
                  "<ReturnObjectArray><ScController><Name>a</Name></ScController><X/>"
                  "<ScController><Name>b</Name></ScController></ReturnObjectArray>"))));
    COMPObjectMethodReturn* many = dynamic_cast<COMPObjectMethodReturn*>(r.get());
    ASSERT_TRUE(many && many->GetObjects().size() == 2u);
    EXPECT_EQ(many->GetObject(), nullptr);
    EXPECT_EQ(static_cast<APIScController*>(many->GetObjects()[1])->GetName(), "b");
}

TEST(ApiReply, StatusNode) {
    GetList m;
    const struct {
        std::string code;
        ErrorStateEnum state;
    } cases[] = {{"InvalidValue", ErrorStateEnum_InvalidValue},
                 {"invalidvalue", ErrorStateEnum_InvalidValue},
                 {"25", ErrorStateEnum_InvalidValue},
                 {"NoSuchState", ErrorStateEnum_UnKnownOrInvalid},
                 {"", ErrorStateEnum_None}};
    for (const auto& c : cases) {
        std::unique_ptr<BASEApiMethodReturn> r(m.ProcessResponse(Reply(
            Doc("<ApiMethodReturn><Successful>False</Successful><ErrorCode>" + c.code +
                "</ErrorCode><Error>e</Error><LocalizedError>le</LocalizedError>"
                "<ErrorDetail>d</ErrorDetail></ApiMethodReturn><ReturnBool>1</ReturnBool>"))));
        ASSERT_TRUE(r);
        EXPECT_FALSE(r->GetSuccessful());
        EXPECT_EQ(r->GetErrorCode(), c.state) << c.code;
        EXPECT_EQ(r->GetError() + r->GetLocalizedError() + r->GetErrorDetail(), "eled");
    }
}

TEST(ApiFilter, TextsAndBothParsers) {
    GETListFilter f(GETListFilterType_Or);
    f.AddAttributeFilter("Name", FILTERType_Equal, "ctl-a b");
    f.AddAttributeFilter("Index", FILTERType_GreatherThanEqual, "2");
    f.AddAttributeFilter("Ignored", FILTERType_Invalid, "x");
    const std::string text = "or Name = ctl&hy&a b-Index >= 2-";
    EXPECT_EQ(f.ToString(), text);
    GETListFilter back = GETListFilter::Parse(text);
    ASSERT_EQ(back.GetFilterCount(), 2u);
    EXPECT_EQ(back.GetFilterType(), GETListFilterType_Or);
    EXPECT_EQ(back.GetFiltersAttributes()[0].GetAttrValue(), "ctl-a b");
    EXPECT_EQ(back.ToString(), text);

    const GETLISTFILTERApiAttribute* attr = GetList::GetFilterAttr();
    const struct {
        std::string text;
        size_t listItems;  // GETListFilter::Parse
        size_t attrItems;  // the attribute's reading; npos for null
    } cases[] = {
        {"", 0, std::string::npos},
        {"Name = x-", 0, 1},      // no type word: only the attribute reads an "and"
        {"AND Name = x-", 0, 1},  // the attribute's type word ignores case
        {"xor Name = x-", 0, 0},  // an unknown word is read as a name by both
        {"-Name = x-", 1, 1},
        {"and Name = x-Index lteq 3-Bad ?? 1-", 2, 2},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(GETListFilter::Parse(c.text).GetFilterCount(), c.listItems) << c.text;
        std::unique_ptr<GETListFilter> a(attr->ParseString(c.text));
        EXPECT_EQ(a ? a->GetFilterCount() : std::string::npos, c.attrItems) << c.text;
    }
    EXPECT_EQ(GETListFilter::Parse("").GetFilterType(), GETListFilterType_None);
    EXPECT_EQ(GETListFilter(GETListFilterType_And).ToString(), "");
}

TEST(ApiAttribute, ValidationMessages) {
    const INTApiAttribute both("N", 0, false, 1, 10, "");
    const INTApiAttribute low("N", 0, false, 0, -1, "");
    const INTApiAttribute high("N", 0, false, -1, 5, "");
    const STRINGApiAttribute sized("S", 0, false, 2, 4, "", "#");
    const STRINGApiAttribute open("S", 0, false, 0, 0, "", "#");
    const struct {
        const BASEApiAttribute* attr;
        std::string value;
        std::string error;  // empty: valid
        unsigned msgId;
    } cases[] = {
        {&both, "11",
         "Attribute \"N\" was 11, but must be greater than or equal to 1 and less than or equal "
         "to 10",
         APIMGR_LOC_VALUE_OUT_OF_RANGE_BOTH},
        {&low, "-5", "Attribute \"N\" was -5, but must be greater than or equal to 0",
         APIMGR_LOC_VALUE_OUT_OF_RANGE_MIN},
        {&high, "6", "Attribute \"N\" was 6, but must be less than or equal to 5",
         APIMGR_LOC_VALUE_OUT_OF_RANGE_MAX},
        {&high, "-5", "", 0},
        {&sized, "a",
         "Attribute \"S\" was \"a\" [1 characters long], but must be a string at least 2 "
         "characters",
         APIMGR_LOC_STRING_ATTR_LENGTH_MIN},
        {&sized, "abcde",
         "Attribute \"S\" was \"abcde\" [5 characters long], but must be a string no more than 4 "
         "characters",
         APIMGR_LOC_STRING_ATTR_LENGTH_MAX},
        {&sized, "a#c", "Attribute \"S\" was \"a#c\", but cannot contain these characters: #",
         APIMGR_LOC_STRING_ATTR_INVALID},
        {&open, "#####", "", 0},
    };
    for (const auto& c : cases) {
        try {
            EXPECT_TRUE(c.attr->Validate(c.value));
            EXPECT_EQ(c.error, "") << c.value;
        } catch (const APIMethodError& e) {
            EXPECT_EQ(e.what(), c.error);
            EXPECT_EQ(e.GetErrorStateEnum(), ErrorStateEnum_ParsingError);
            EXPECT_EQ(e.GetMsgId(), c.msgId);
        }
    }
    // Required arguments: a missing instance id is refused, a missing filter never is.
    CellGet get;
    EXPECT_THROW(get.ValidateAttributes(), APIMethodError);
    EXPECT_NO_THROW(GetList().ValidateAttributes());
    const STRINGARRAYApiAttribute array("A", 0, false, "");
    EXPECT_EQ(array.ParseString(array.ToString({"a:b", "c"})),
              (std::vector<std::string>{"a:b", "c"}));
}

// A skipped first key still leaves the next column's comma: header and data keep one shape.
TEST(ApiObject, CsvKeepsTheLeadingComma) {
    APIScController c;
    c.SetName("n,1");
    c.SetIndex(3);
    // Keys in map order: Index, Name, ObjectType.
    const APIAttributeList onlyName = {APIScController::GetNameAttr()};
    EXPECT_EQ(c.CreateCSVHeader(onlyName), "<Header>,Name,</Header>");
    EXPECT_EQ(c.CreateCSVData(onlyName), ",n--cm--1,");
    EXPECT_EQ(c.CreateCSVHeaderAndData(),
              "<Header>Index,Name,ObjectType</Header><Data>3,n--cm--1,ScController</Data>");
    COMPObjectMethodReturn r(true);
    r.SetReturnObject(new APIScController(c), false);
    r.SetReturnObject(new APIScController(c), false);
    EXPECT_EQ(r.GetReturnString(ObjectReturnEncodeEnum_Csv),
              "<ReturnObjectArray><Header>Index,Name,ObjectType</Header><Data>3,n--cm--1,"
              "ScController:3,n--cm--1,ScController:</Data></ReturnObjectArray>");
}

}  // namespace
