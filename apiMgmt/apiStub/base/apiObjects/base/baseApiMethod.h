#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_BASEAPIMETHOD_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_BASEAPIMETHOD_H

// A call to the API manager: its arguments as text in an ordered map, its object and method
// names, and Execute, which sends it and turns the reply into a return object.

#include <map>
#include <string>
#include <vector>

#include "apiMgmt/apiStub/apiSdk/enums/apiEnumsIdStrList.h"
#include "apiMgmt/apiStub/base/apiAttributes/apiAttributes.h"
#include "apiMgmt/common/error/errorStateEnum.h"
#include "apiMgmt/common/utils/apiTypes.h"

namespace parser {
class XMLElement;
}
namespace protoIPCMsg {
class GPBIPCMsg;
}
class BASEApiMethodReturn;
class GETListFilter;
class GPBComEndpoint;

// Credentials already established: the alternative to a session key.
struct APIHccReqHeader {
    std::string version;
    std::string userPass;
    std::string authToken;
    std::string hccid;
    std::string sourceIp;
};

// What the status node of a reply says.
struct RESPErrorInfo {
    bool bSuccess = true;
    ErrorStateEnum errorCode = ErrorStateEnum_None;
    std::string errorMsg;
    std::string locErrorMsg;
    std::string errorDetailMsg;
};

class BASEApiMethod {
public:
    typedef std::map<std::string, std::string> AttributeMap;
    typedef std::map<std::string, std::string> BinaryMap;

    explicit BASEApiMethod(bool iAssociation) : associationMethod(iAssociation) { ++gObjCounter; }
    BASEApiMethod(const AttributeMap& iAttributes, bool iAssociation)
        : associationMethod(iAssociation), attrHash(iAttributes) {
        ++gObjCounter;
    }
    virtual ~BASEApiMethod() = default;

    virtual const std::string& GetMethodName() const = 0;
    virtual const std::string& GetObjectName() const = 0;
    virtual bool AsyncAllowed() const { return true; }
    virtual UserPrivilegeEnum GetMinUserPriv() const { return UserPrivilegeEnum_Reporter; }
    virtual const std::vector<const BASEApiAttribute*>& GetAttributeList() const;
    virtual std::string GetXMLString(bool iAsync, bool iXmlEncoded) const;
    virtual void ValidateRequiredAttributes() const {}
    virtual void ValidateRequiredOrAttributes() const {}

    bool IsAttributeSet(const std::string& iName) const {
        return !iName.empty() && attrHash.count(iName) > 0;
    }
    bool IsAttributeSet(const BASEApiAttribute* iAttribute) const {
        return iAttribute && IsAttributeSet(iAttribute->GetName());
    }
    const BASEApiAttribute* GetAttributeByName(const std::string& iName) const;
    std::string GetStringDirect(const std::string& iName) const;
    void PutStringDirect(const std::string& iName, const std::string& iValue) {
        if (!iName.empty())
            attrHash[iName] = iValue;
    }
    bool IsAssociation() const { return associationMethod; }
    void SetAssociation(bool iAssociation) { associationMethod = iAssociation; }
    void SetAttributes(const AttributeMap& iAttributes) { attrHash = iAttributes; }
    const AttributeMap& GetAttributes() const { return attrHash; }
    bool IsRequestLite() const;
    void SetLiteObjectRequest() { PutStringDirect("LiteObj", "1"); }
    // Filters are never required, whatever the method says.
    static bool CanIgnoreValidation(const std::string& iName);
    // Throws APIMethodError for the first attribute that fails.
    void ValidateAttributes() const;

    // Sends the call and returns its result, which the caller owns; a transport failure is
    // thrown as the IPC library throws it.
    BASEApiMethodReturn* Execute(const std::string& iSessionKey, const BinaryMap* iBinaryData,
                                 const std::string& iLocale) const;
    BASEApiMethodReturn* Execute(const APIHccReqHeader* iHeader,
                                 const BinaryMap* iBinaryData) const;

    void BuildGPBApiRequest(protoIPCMsg::GPBIPCMsg& oRequest, const APIHccReqHeader* iHeader,
                            const std::string& iSessionKey, const BinaryMap* iBinaryData,
                            const std::string& iLocale) const;
    // A new return the caller owns; null for a root of another name and for a success without
    // a return element.
    BASEApiMethodReturn* ProcessResponse(const protoIPCMsg::GPBIPCMsg& iReply) const;
    void ParseRespStatusNode(const parser::XMLElement* iElement, RESPErrorInfo& ioInfo) const;
    BASEApiMethodReturn* ParseReturnApiObjectXML(const parser::XMLElement* iElement,
                                                 bool iIsArray) const;
    BASEApiMethodReturn* ParseReturnApiMethodObjectXML(const parser::XMLElement* iElement,
                                                       bool iIsArray) const;

    static uns64 GetCurrentCount() { return gObjCounter; }

    // Tests and tools reach a manager elsewhere; null restores the product's endpoint.
    static void SetAPIManagerEndpoint(const GPBComEndpoint* iEndpoint);

protected:
    // One connection per call to the API manager's socket.
    virtual void SendRequestToAPIManager(const protoIPCMsg::GPBIPCMsg& iRequest,
                                         protoIPCMsg::GPBIPCMsg& oReply) const;

    bool associationMethod;
    AttributeMap attrHash;
    static uns64 gObjCounter;
};

class BASEApiAssociation : public BASEApiMethod {
public:
    BASEApiAssociation() : BASEApiMethod(true) {}
    explicit BASEApiAssociation(const std::string& iInstanceId) : BASEApiMethod(true) {
        SetInstanceId(iInstanceId);
    }
    explicit BASEApiAssociation(const AttributeMap& iAttributes)
        : BASEApiMethod(iAttributes, true) {}

    bool AsyncAllowed() const override { return false; }
    void ValidateRequiredAttributes() const override;

    static const INSTANCEIDApiAttribute* GetInstanceIdAttr();
    std::string GetInstanceId() const { return GetStringDirect(GetInstanceIdAttr()->GetName()); }
    void SetInstanceId(const std::string& iId) {
        PutStringDirect(GetInstanceIdAttr()->GetName(), iId);
    }
};

class GETLISTApiMethod : public BASEApiMethod {
public:
    GETLISTApiMethod() : BASEApiMethod(false) {}
    explicit GETLISTApiMethod(const AttributeMap& iAttributes)
        : BASEApiMethod(iAttributes, false) {}

    // A new filter the caller owns, or null.
    virtual GETListFilter* GetFilter() const = 0;
    virtual void SetFilter(const GETListFilter* iFilter) = 0;
};

#endif
