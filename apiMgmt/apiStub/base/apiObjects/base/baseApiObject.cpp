#include "apiMgmt/apiStub/base/apiObjects/base/baseApiObject.h"

#include <cstring>

#include "apiMgmt/apiStub/base/apiObjects/base/apiConstants.h"
#include "apiMgmt/apiStub/base/apiObjects/base/apiObjectFactory.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethod.h"
#include "apiMgmt/common/utils/stringUtil.h"

uns64 BASEApiObject::gObjCounter = 0;

bool BASEApiObject::AsyncAllowed(const std::string& iObjectName,
                                 const std::string& iMethodName) const {
    const std::string key =
        STRINGUtil::FormatStr("API%s%sMethod", iObjectName.c_str(), iMethodName.c_str());
    BASEApiMethod* method = APIObjectFactory<BASEApiMethod>::Instance().CreateInstance(key);
    if (!method)
        return false;
    const bool allowed = method->AsyncAllowed();
    delete method;
    return allowed;
}

const BASEApiAttribute* BASEApiObject::GetAttributeByName(const std::string& iName) const {
    for (const BASEApiAttribute* a : GetAttributeList())
        if (a && a->GetName() == iName)
            return a;
    return nullptr;
}

std::string BASEApiObject::GetStringDirect(const std::string& iName) const {
    APIAttributeMap::const_iterator it = attrNameValMap.find(iName);
    return it == attrNameValMap.end() ? std::string() : it->second;
}

bool BASEApiObject::GetStringDirect(const std::string& iName, std::string& oValue) const {
    APIAttributeMap::const_iterator it = attrNameValMap.find(iName);
    if (it == attrNameValMap.end())
        return false;
    oValue = it->second;
    return true;
}

void BASEApiObject::PutStringDirect(const std::string& iName, const std::string& iValue,
                                    bool iAllowEmpty) {
    if (iName.empty() || (iValue.empty() && !iAllowEmpty))
        return;
    attrNameValMap[iName] = iValue;
}

const INSTANCEIDApiAttribute* BASEApiObject::GetInstanceIdAttr() {
    static const INSTANCEIDApiAttribute attr("InstanceId", 30, false, "Instance ID");
    return &attr;
}

const NAMEApiAttribute* BASEApiObject::GetInstanceNameAttr() {
    static const NAMEApiAttribute attr("InstanceName", 25, false, false, 0, 0, "Instance Name");
    return &attr;
}

const STRINGApiAttribute* BASEApiObject::GetObjectTypeAttr() {
    static const STRINGApiAttribute attr("ObjectType", 25, false, 0, 0, "");
    return &attr;
}

void BASEApiObject::FillList(APIAttributeList& ioList,
                             std::initializer_list<const BASEApiAttribute*> iOwn,
                             const APIAttributeList& iParent) {
    if (!ioList.empty())
        return;
    ioList.assign(iOwn.begin(), iOwn.end());
    ioList.insert(ioList.end(), iParent.begin(), iParent.end());
}

const APIAttributeList& BASEApiObject::GetAttributeListStatic() {
    static APIAttributeList list;
    FillList(list, {GetInstanceIdAttr(), GetInstanceNameAttr(), GetObjectTypeAttr()}, {});
    return list;
}

const NAMEApiAttribute* SCBaseApiObject::GetScNameAttr() {
    static const NAMEApiAttribute attr("ScName", 25, false, false, 0, 0, "Storage Cell");
    return &attr;
}

const INTApiAttribute* SCBaseApiObject::GetScSerialNumberAttr() {
    static const INTApiAttribute attr("ScSerialNumber", 25, false, -1, -1, "Storage Cell SN");
    return &attr;
}

const APIAttributeList& SCBaseApiObject::GetAttributeListStatic() {
    static APIAttributeList list;
    FillList(list, {GetScNameAttr(), GetScSerialNumberAttr()},
             BASEApiObject::GetAttributeListStatic());
    return list;
}

const ENUMApiAttribute* SCStatusBaseApiObject::GetStatusAttr() {
    static const ENUMApiAttribute attr("Status", 25, false, "Status");
    return &attr;
}

const ENUMApiAttribute* SCStatusBaseApiObject::GetChildStatusAttr() {
    static const ENUMApiAttribute attr("ChildStatus", 25, false, "Child Status");
    return &attr;
}

const STRINGApiAttribute* SCStatusBaseApiObject::GetStatusMessageAttr() {
    static const STRINGApiAttribute attr("StatusMessage", 25, false, 0, 0, "Status Message");
    return &attr;
}

const APIAttributeList& SCStatusBaseApiObject::GetAttributeListStatic() {
    static APIAttributeList list;
    FillList(list, {GetStatusAttr(), GetChildStatusAttr(), GetStatusMessageAttr()},
             SCBaseApiObject::GetAttributeListStatic());
    return list;
}

std::string BASEApiObject::GetObjectIdentifier() const {
    return GetInstanceId() + ATTRIBUTE_CONNECTOR + GetObjectType() + ATTRIBUTE_CONNECTOR +
           GetInstanceName();
}

bool BASEApiObject::IsAsyncTask() const {
    return strcasecmp(GetObjectName().c_str(), "AsyncTask") == 0;
}

std::string BASEApiObject::ToString(int) const {
    const bool raw = IsAsyncTask();
    const std::string& name = GetObjectName();
    std::string text = "<" + name + ">";
    for (const BASEApiAttribute* a : GetAttributeList()) {
        if (!a)
            continue;
        APIAttributeMap::const_iterator it = attrNameValMap.find(a->GetName());
        if (it == attrNameValMap.end())
            continue;
        text += "<" + it->first + ">" +
                (raw ? it->second : STRINGUtil::EscapeString(it->second, false)) + "</" +
                it->first + ">";
    }
    return text + "</" + name + ">";
}

std::string BASEApiObject::PrepareCSVValue(const std::string& iValue) const {
    std::string v = IsAsyncTask() ? iValue : STRINGUtil::EscapeString(iValue, false);
    STRINGUtil::ReplaceAll(v, CSV_ELEM_SEPERATOR, CSV_ELEM_SEPERATOR_REP);
    STRINGUtil::ReplaceAll(v, CSV_ELEM_NEWLINE, CSV_ELEM_NEWLINE_REP);
    STRINGUtil::ReplaceAll(v, CSV_OBJ_SEPERATOR, CSV_OBJ_SEPERATOR_REP);
    return v;
}

namespace {

bool Listed(const APIAttributeList& iAttributes, const std::string& iName) {
    if (iAttributes.empty())
        return true;
    for (const BASEApiAttribute* a : iAttributes)
        if (a && strcasecmp(a->GetName().c_str(), iName.c_str()) == 0)
            return true;
    return false;
}

}  // namespace

std::string BASEApiObject::CreateCSVHeader(const APIAttributeList& iAttributes) const {
    std::string text = CSV_HEADER_OPEN_TAG;
    bool first = true;
    for (const auto& kv : attrNameValMap) {
        // The comma goes by the key's place in the map, not by what was written before it.
        if (!first)
            text += CSV_ELEM_SEPERATOR;
        first = false;
        if (Listed(iAttributes, kv.first))
            text += kv.first;
    }
    return text + CSV_HEADER_CLOSE_TAG;
}

std::string BASEApiObject::CreateCSVData(const APIAttributeList& iAttributes) const {
    std::string text;
    bool first = true;
    for (const auto& kv : attrNameValMap) {
        if (!first)
            text += CSV_ELEM_SEPERATOR;
        first = false;
        if (Listed(iAttributes, kv.first))
            text += PrepareCSVValue(kv.second);
    }
    return text;
}

std::string BASEApiObject::CreateCSVHeader(const std::map<std::string, bool>& iNames) const {
    std::string text = CSV_HEADER_OPEN_TAG;
    bool first = true;
    for (const auto& n : iNames) {
        if (!first)
            text += CSV_ELEM_SEPERATOR;
        first = false;
        text += n.first;
    }
    return text + CSV_HEADER_CLOSE_TAG;
}

std::string BASEApiObject::CreateCSVData(const std::map<std::string, bool>& iNames) const {
    std::string text;
    bool first = true;
    for (const auto& n : iNames) {
        if (!first)
            text += CSV_ELEM_SEPERATOR;
        first = false;
        APIAttributeMap::const_iterator it = attrNameValMap.find(n.first);
        if (it != attrNameValMap.end())
            text += PrepareCSVValue(it->second);
    }
    return text;
}

std::string BASEApiObject::CreateCSVHeaderAndData() const {
    return CreateCSVHeader() + CSV_DATA_OPEN_TAG + CreateCSVData() + CSV_DATA_CLOSE_TAG;
}

void BASEApiObject::GetCombinedAttributeNameList(std::map<std::string, bool>& ioNames) const {
    for (const auto& kv : attrNameValMap)
        ioNames[kv.first] = true;
}
