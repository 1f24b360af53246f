#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethod.h"

#include <algorithm>
#include <memory>
#include <sstream>

#include "apiMgmt/apiStub/base/apiObjects/base/apiConstants.h"
#include "apiMgmt/apiStub/base/apiObjects/base/apiObjectFactory.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodReturn.h"
#include "apiMgmt/common/error/apiMethodError.h"
#include "apiMgmt/common/utils/stringUtil.h"
#include "apiMgmt/proto/apiMgrMsg.pb.h"
#include "platform/expatwrapper/xmlParser.h"

uns64 BASEApiMethod::gObjCounter = 0;

const std::vector<const BASEApiAttribute*>& BASEApiMethod::GetAttributeList() const {
    static const std::vector<const BASEApiAttribute*> none;
    return none;
}

const BASEApiAttribute* BASEApiMethod::GetAttributeByName(const std::string& iName) const {
    for (const BASEApiAttribute* a : GetAttributeList())
        if (a && a->GetName() == iName)
            return a;
    return nullptr;
}

std::string BASEApiMethod::GetStringDirect(const std::string& iName) const {
    AttributeMap::const_iterator it = attrHash.find(iName);
    return it == attrHash.end() ? std::string() : it->second;
}

bool BASEApiMethod::IsRequestLite() const {
    return STRINGUtil::ConvertStringToBool(GetStringDirect("LiteObj"));
}

bool BASEApiMethod::CanIgnoreValidation(const std::string& iName) {
    return STRINGUtil::ToLowerCase(iName).find("filter") != std::string::npos;
}

void BASEApiMethod::ValidateAttributes() const {
    ValidateRequiredAttributes();
    ValidateRequiredOrAttributes();
    // An unknown name passes; a bad value is reported by what Validate throws.
    for (const auto& kv : attrHash)
        if (const BASEApiAttribute* a = GetAttributeByName(kv.first))
            a->Validate(kv.second);
}

const INSTANCEIDApiAttribute* BASEApiAssociation::GetInstanceIdAttr() {
    static const INSTANCEIDApiAttribute attr("InstanceId", 30, false, "");
    return &attr;
}

void BASEApiAssociation::ValidateRequiredAttributes() const {
    if (GetInstanceId().empty())
        throw APIMethodError(
            STRINGUtil::FormatStr("InstanceID not specified for association [%s::%s]",
                                  GetObjectName().c_str(), GetMethodName().c_str()),
            ErrorStateEnum_InvalidValue, __FILE__, __LINE__, APIMGR_LOC_INVALID_REQUEST, nullptr);
}

namespace {

// The document carries the session key: wipe it once it has left, whatever happened.
class RequestWiper {
public:
    explicit RequestWiper(protoIPCMsg::GPBIPCMsg& iRequest) : m_request(iRequest) {}
    ~RequestWiper() {
        if (m_request.has_apireqmsg() && m_request.apireqmsg().has_cmd()) {
            std::string* doc = m_request.mutable_apireqmsg()->mutable_cmd()->mutable_cmddata();
            std::fill(doc->begin(), doc->end(), '\0');
        }
    }

private:
    protoIPCMsg::GPBIPCMsg& m_request;
};

}  // namespace

BASEApiMethodReturn* BASEApiMethod::Execute(const std::string& iSessionKey,
                                            const BinaryMap* iBinaryData,
                                            const std::string& iLocale) const {
    protoIPCMsg::GPBIPCMsg request, reply;
    RequestWiper wipe(request);
    BuildGPBApiRequest(request, nullptr, iSessionKey, iBinaryData, iLocale);
    SendRequestToAPIManager(request, reply);
    return ProcessResponse(reply);
}

BASEApiMethodReturn* BASEApiMethod::Execute(const APIHccReqHeader* iHeader,
                                            const BinaryMap* iBinaryData) const {
    protoIPCMsg::GPBIPCMsg request, reply;
    RequestWiper wipe(request);
    BuildGPBApiRequest(request, iHeader, "", iBinaryData, "");
    SendRequestToAPIManager(request, reply);
    return ProcessResponse(reply);
}

std::string BASEApiMethod::GetXMLString(bool iAsync, bool iXmlEncoded) const {
    std::string x;
    x.reserve(256);
    x += "<" XML_APIMETHOD_TAG ">";
    x += "<" XML_CMDTYPE_TAG ">";
    x += associationMethod ? "Association" : "Method";
    x += "</" XML_CMDTYPE_TAG "><" XML_OBJ_TAG ">";
    x += GetObjectName();
    x += "</" XML_OBJ_TAG "><" XML_CMD_TAG ">";
    x += GetMethodName();
    x += "</" XML_CMD_TAG "><" XML_ASYNC_TAG ">";
    x += iAsync ? "true" : "false";
    x += "</" XML_ASYNC_TAG "><" XML_ENCODETYPE_TAG ">";
    x += iXmlEncoded ? "xml" : "csv";
    x += "</" XML_ENCODETYPE_TAG ">";
    if (!attrHash.empty()) {
        x += "<" XML_ATTRIBUTES_TAG ">";
        // Values go as they stand: an attribute class that needs escaping escapes in its setter.
        for (const auto& kv : attrHash)
            if (!kv.first.empty())
                x += "<" + kv.first + ">" + kv.second + "</" + kv.first + ">";
        x += "</" XML_ATTRIBUTES_TAG ">";
    }
    x += "</" XML_APIMETHOD_TAG ">";
    return x;
}

void BASEApiMethod::BuildGPBApiRequest(protoIPCMsg::GPBIPCMsg& oRequest,
                                       const APIHccReqHeader* iHeader,
                                       const std::string& iSessionKey, const BinaryMap* iBinaryData,
                                       const std::string& iLocale) const {
    if (!iHeader && iSessionKey.empty())
        throw APIMethodError("Unable to create GPB request. Session identifier not specified",
                             ErrorStateEnum_IllegalSessionKey, __FILE__, __LINE__,
                             APIMGR_LOC_REQUEST_INVALID, nullptr);
    oRequest.set_msgtype(protoIPCMsg::APIRequest);
    protoIPCMsg::APIReqMsg* req = oRequest.mutable_apireqmsg();
    req->set_cmdtype(protoIPCMsg::Command);
    std::string doc = "<" XML_QUILLAPI_TAG ">";
    if (!iHeader) {
        req->set_sourceip("127.0.0.1");
        doc += "<" XML_APICONNECTION_TAG "><" XML_SESSIONKEY_TAG ">";
        doc += iSessionKey;
        doc += "</" XML_SESSIONKEY_TAG ">";
        if (iLocale.size() == 5)
            doc += "<" XML_SESSION_LOCALE_TAG ">" + iLocale + "</" XML_SESSION_LOCALE_TAG ">";
        doc += "</" XML_APICONNECTION_TAG ">";
    }
    doc += GetXMLString(false, true);
    doc += "</" XML_QUILLAPI_TAG ">";
    protoIPCMsg::APICmdReqMsg* cmd = req->mutable_cmd();
    cmd->set_cmddata(doc);
    // The key travelled inside the document; wipe our copy of it.
    std::fill(doc.begin(), doc.end(), '\0');
    if (iHeader) {
        req->set_sourceip(iHeader->sourceIp);
        protoIPCMsg::HccHeader* h = cmd->mutable_hccheader();
        h->set_version(iHeader->version);
        h->set_userpass(iHeader->userPass);
        h->set_authtoken(iHeader->authToken);
        h->set_hccid(iHeader->hccid);
    }
    if (iBinaryData) {
        for (const auto& kv : *iBinaryData) {
            if (kv.second.empty())
                continue;
            protoIPCMsg::BinaryBlob* blob = cmd->add_binaryblob();
            blob->set_name(kv.first);
            blob->set_data(kv.second);
            blob->set_length(static_cast<uint32_t>(kv.second.size()));
        }
    }
}

namespace {

const char kInvalidContent[] = "Invalid content in response message";

BASEApiMethodReturn* ErrorReturn(const std::string& iError, const std::string& iDetail) {
    return new BASEApiMethodReturn(false, ErrorStateEnum_ParsingError, iError, iError, iDetail,
                                   nullptr);
}

}  // namespace

BASEApiMethodReturn* BASEApiMethod::ProcessResponse(const protoIPCMsg::GPBIPCMsg& iReply) const {
    if (iReply.msgtype() != protoIPCMsg::APIResp || !iReply.has_apirespmsg())
        return ErrorReturn(kInvalidContent, "Message type invalid or missing from response");
    const protoIPCMsg::APIRespMsg& resp = iReply.apirespmsg();
    if (resp.cmdtype() != protoIPCMsg::Command || !resp.has_cmd())
        return ErrorReturn(kInvalidContent, "Command type invalid or missing from response");
    parser::XMLParser xml(nullptr);
    if (!xml.ParseXMLString(resp.cmd().respdata()))
        return ErrorReturn(kInvalidContent, "Failed to parse XML response data");
    const parser::XMLElement* root = xml.GetDocumentElement();
    if (!root || root->tagName != XML_QUILLAPI_TAG)
        return nullptr;

    const parser::XMLElement* status = nullptr;
    unsigned count = 0;
    for (const parser::XMLElement* child : root->childElems) {
        if (child->tagName == XML_APIMETHODRETURN_TAG) {
            if (!status)
                status = child;
            ++count;
        }
    }
    if (count != 1)
        return ErrorReturn(
            "Invalid response in return XML",
            STRINGUtil::FormatStr(
                "Incorrect number of APIMethodReturn elements.  Expected 1, found [%u].", count));

    RESPErrorInfo info;
    ParseRespStatusNode(status, info);
    if (!info.bSuccess)
        return new BASEApiMethodReturn(false, info.errorCode, info.errorMsg, info.locErrorMsg,
                                       info.errorDetailMsg, nullptr);

    // The first tag of this order that the document element holds decides, whatever stands
    // before it in the document.
    static const char* const kOrder[] = {XML_BOOLRETURN_TAG,
                                         XML_INTRETURN_TAG,
                                         XML_STRINGRETURN_TAG,
                                         XML_COMPOBJRETURN_TAG,
                                         XML_COMPOBJARRAYETURN_TAG,
                                         XML_COMPMETHODOBJRETURN_TAG,
                                         XML_COMPMETHODOBJARRAYRETURN_TAG,
                                         XML_ENUMMASKRETURN_TAG,
                                         XML_ENUMRETURN_TAG};
    for (size_t row = 0; row < sizeof(kOrder) / sizeof(kOrder[0]); ++row) {
        const parser::XMLElement* e = nullptr;
        for (const parser::XMLElement* child : root->childElems)
            if (child->tagName == kOrder[row]) {
                e = child;
                break;
            }
        if (!e)
            continue;
        const std::string& text = e->GetElementContent();
        switch (row) {
            case 0: {
                const bool value = STRINGUtil::ConvertStringToBool(text);
                return new BOOLMethodReturn(value, value, nullptr);
            }
            case 1: {
                int32 value = 0;
                if (!text.empty()) {
                    std::istringstream in(text);
                    in >> value;
                }
                return new INTMethodReturn(value, true, nullptr);
            }
            case 2:
                return new STRINGMethodReturn(text, true, nullptr);
            case 3:
            case 4:
                return ParseReturnApiObjectXML(e, row == 4);
            case 5:
            case 6:
                return ParseReturnApiMethodObjectXML(e, row == 6);
            case 7: {
                ENUMMaskMethodReturn* r = new ENUMMaskMethodReturn(true, nullptr);
                r->SetReturnObject(text);
                return r;
            }
            default: {
                ENUMMethodReturn* r = new ENUMMethodReturn(true, nullptr);
                r->SetReturnObject(text);
                return r;
            }
        }
    }
    return nullptr;
}

void BASEApiMethod::ParseRespStatusNode(const parser::XMLElement* iElement,
                                        RESPErrorInfo& ioInfo) const {
    if (!iElement)
        return;
    if (STRINGUtil::ConvertStringToBool(iElement->GetChildElemContentByTag(
            APIApiMethodReturn::GetSuccessfulAttr()->GetName()))) {
        ioInfo.bSuccess = true;
        return;
    }
    ioInfo.bSuccess = false;
    const std::string code =
        iElement->GetChildElemContentByTag(APIApiMethodReturn::GetErrorCodeAttr()->GetName());
    ioInfo.errorCode = code.empty() ? ErrorStateEnum_None : m_GET_ENUMVAL(ErrorStateEnum, code);
    ioInfo.errorMsg =
        iElement->GetChildElemContentByTag(APIApiMethodReturn::GetErrorAttr()->GetName());
    ioInfo.locErrorMsg =
        iElement->GetChildElemContentByTag(APIApiMethodReturn::GetLocalizedErrorAttr()->GetName());
    ioInfo.errorDetailMsg =
        iElement->GetChildElemContentByTag(APIApiMethodReturn::GetErrorDetailAttr()->GetName());
}

namespace {

template <class Return, class Object, class Put>
BASEApiMethodReturn* ParseObjects(const parser::XMLElement* iElement, bool iIsArray, Put iPut) {
    if (!iElement)
        return nullptr;
    std::unique_ptr<Return> r(new Return(iIsArray, true, nullptr));
    std::vector<Object*> objects;
    std::vector<std::pair<std::string, std::string>> tagVals;
    try {
        for (const parser::XMLElement* child : iElement->childElems) {
            if (!child || child->tagName.empty())
                continue;
            // A class nobody registered is passed over.
            Object* o = APIObjectFactory<Object>::Instance().CreateInstance(child->tagName);
            if (!o)
                continue;
            tagVals.clear();
            child->GetChildTagVals(tagVals);
            for (const auto& tv : tagVals)
                if (!tv.first.empty())
                    iPut(o, tv.first, tv.second);
            if (!iIsArray) {
                r->SetReturnObject(o, true);
                return r.release();
            }
            objects.push_back(o);
        }
    } catch (...) {
        for (Object* o : objects)
            delete o;
        throw;
    }
    if (!objects.empty())
        r->SetReturnObject(objects);
    return r.release();
}

}  // namespace

BASEApiMethodReturn* BASEApiMethod::ParseReturnApiObjectXML(const parser::XMLElement* iElement,
                                                            bool iIsArray) const {
    return ParseObjects<COMPObjectMethodReturn, BASEApiObject>(
        iElement, iIsArray, [](BASEApiObject* o, const std::string& t, const std::string& v) {
            o->PutStringDirect(t, v, true);
        });
}

BASEApiMethodReturn* BASEApiMethod::ParseReturnApiMethodObjectXML(
    const parser::XMLElement* iElement, bool iIsArray) const {
    return ParseObjects<METHODObjectMethodReturn, BASEApiMethodObject>(
        iElement, iIsArray, [](BASEApiMethodObject* o, const std::string& t, const std::string& v) {
            o->PutStringDirect(t, v);
        });
}
