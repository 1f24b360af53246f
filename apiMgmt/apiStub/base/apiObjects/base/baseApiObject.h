#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_BASEAPIOBJECT_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_BASEAPIOBJECT_H

// The root of the objects the API manager answers with. Every value, whatever its type, is
// text in an ordered map from attribute name to attribute text; attribute descriptors
// convert it.

#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "apiMgmt/apiStub/base/apiAttributes/apiAttributes.h"
#include "apiMgmt/common/utils/apiTypes.h"

typedef std::vector<const BASEApiAttribute*> APIAttributeList;
typedef std::map<std::string, std::string> APIAttributeMap;

class BASEApiObject {
public:
    BASEApiObject() { ++gObjCounter; }
    virtual ~BASEApiObject() = default;

    virtual const std::string& GetObjectName() const = 0;
    // Whether the method of that object may run asynchronously; false for an unknown pair.
    virtual bool AsyncAllowed(const std::string& iObjectName, const std::string& iMethodName) const;
    virtual const APIAttributeList& GetAttributeList() const = 0;
    virtual void InitializeAttributeLists() = 0;

    // Case-sensitive, over GetAttributeList(); null when absent.
    const BASEApiAttribute* GetAttributeByName(const std::string& iName) const;
    std::string GetStringDirect(const std::string& iName) const;
    bool GetStringDirect(const std::string& iName, std::string& oValue) const;
    // An empty name is ignored, and so is an empty value unless iAllowEmpty.
    void PutStringDirect(const std::string& iName, const std::string& iValue, bool iAllowEmpty);
    const APIAttributeMap& GetAttributes() const { return attrNameValMap; }

    static const INSTANCEIDApiAttribute* GetInstanceIdAttr();
    static const NAMEApiAttribute* GetInstanceNameAttr();
    static const STRINGApiAttribute* GetObjectTypeAttr();
    static const APIAttributeList& GetAttributeListStatic();

    std::string GetInstanceId() const { return GetStringDirect(GetInstanceIdAttr()->GetName()); }
    std::string GetInstanceName() const {
        return GetStringDirect(GetInstanceNameAttr()->GetName());
    }
    std::string GetObjectType() const { return GetStringDirect(GetObjectTypeAttr()->GetName()); }
    void SetInstanceId(const std::string& iValue) {
        PutStringDirect(GetInstanceIdAttr()->GetName(), iValue, true);
    }
    void SetInstanceName(const std::string& iValue) {
        PutStringDirect(GetInstanceNameAttr()->GetName(), iValue, true);
    }
    // Id, type and name joined with one blank.
    std::string GetObjectIdentifier() const;

    // The object as an element named by the object, one child per listed attribute that is set.
    std::string ToString(int iEncode = 1) const;
    std::string CreateCSVHeader() const { return CreateCSVHeader(APIAttributeList()); }
    std::string CreateCSVData() const { return CreateCSVData(APIAttributeList()); }
    std::string CreateCSVHeaderAndData() const;
    // With a non-empty list a key is written only if a descriptor of that name exists; the
    // comma goes by the key's place in the map, so a skipped first key leaves a leading comma.
    std::string CreateCSVHeader(const APIAttributeList& iAttributes) const;
    std::string CreateCSVData(const APIAttributeList& iAttributes) const;
    std::string CreateCSVHeader(const std::map<std::string, bool>& iNames) const;
    std::string CreateCSVData(const std::map<std::string, bool>& iNames) const;
    void GetCombinedAttributeNameList(std::map<std::string, bool>& ioNames) const;

    static uns64 GetCurrentCount() { return gObjCounter; }

protected:
    // Filled on first use, when found empty: own descriptors first, then the parent's list.
    static void FillList(APIAttributeList& ioList,
                         std::initializer_list<const BASEApiAttribute*> iOwn,
                         const APIAttributeList& iParent);
    std::string PrepareCSVValue(const std::string& iValue) const;
    bool IsAsyncTask() const;

    APIAttributeMap attrNameValMap;
    static uns64 gObjCounter;
};

class SCBaseApiObject : public BASEApiObject {
public:
    static const NAMEApiAttribute* GetScNameAttr();
    static const INTApiAttribute* GetScSerialNumberAttr();
    static const APIAttributeList& GetAttributeListStatic();
};

class SCStatusBaseApiObject : public SCBaseApiObject {
public:
    static const ENUMApiAttribute* GetStatusAttr();
    static const ENUMApiAttribute* GetChildStatusAttr();
    static const STRINGApiAttribute* GetStatusMessageAttr();
    static const APIAttributeList& GetAttributeListStatic();
};

#endif
