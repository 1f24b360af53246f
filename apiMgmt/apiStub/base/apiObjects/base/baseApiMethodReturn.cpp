#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodReturn.h"

#include <memory>

#include "apiMgmt/apiStub/base/apiObjects/base/apiConstants.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethod.h"
#include "apiMgmt/apiStub/base/apiObjects/base/getListFilter.h"
#include "apiMgmt/common/utils/stringUtil.h"
#include "platform/expatwrapper/xmlParser.h"

BASEApiMethodReturn::BASEApiMethodReturn(bool iSuccess, BASEApiMethod* iMethod)
    : pMethodRun(iMethod) {
    Initialize(iSuccess, ErrorStateEnum_None, "", "", "");
}

BASEApiMethodReturn::BASEApiMethodReturn(bool iSuccess, ErrorStateEnum iState,
                                         const std::string& iError,
                                         const std::string& iLocalizedError,
                                         const std::string& iErrorDetail, BASEApiMethod* iMethod)
    : pMethodRun(iMethod) {
    Initialize(iSuccess, iState, iError, iLocalizedError, iErrorDetail);
}

BASEApiMethodReturn::~BASEApiMethodReturn() {
    delete pMethodRun;
}

void BASEApiMethodReturn::Initialize(bool iSuccess, ErrorStateEnum iState,
                                     const std::string& iError, const std::string& iLocalizedError,
                                     const std::string& iErrorDetail) {
    SetSuccessful(iSuccess);
    SetErrorCode(iState);
    SetError(iError);
    SetLocalizedError(iLocalizedError);
    PutStringDirect(GetErrorDetailAttr()->GetName(), GetErrorDetailAttr()->ToString(iErrorDetail),
                    true);
}

void BASEApiMethodReturn::SetMethodRun(BASEApiMethod* iMethod) {
    if (iMethod != pMethodRun)
        delete pMethodRun;
    pMethodRun = iMethod;
}

std::string BASEApiMethodReturn::ToString(ObjectReturnEncodeEnum iEncode) const {
    // The encoding is part of the status element; the status is written from a copy of the
    // map so that encoding stays a reading operation.
    APIApiMethodReturn status;
    for (const auto& kv : GetAttributes())
        status.PutStringDirect(kv.first, kv.second, true);
    status.SetReturnObjectEncode(iEncode);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" XML_QUILLAPI_TAG ">" +
           status.ToString() + GetReturnString(iEncode) + "</" XML_QUILLAPI_TAG ">";
}

std::ostream& operator<<(std::ostream& ioOut, const BASEApiMethodReturn& iReturn) {
    ioOut << "success=" << (iReturn.GetSuccessful() ? 1 : 0) << "\n";
    if (!iReturn.GetSuccessful()) {
        ioOut << "error code=" << static_cast<int>(iReturn.GetErrorCode()) << "\n";
        ioOut << "error message=" << iReturn.GetError() << "\n";
    }
    if (const BASEApiMethod* m = iReturn.MethodRun()) {
        ioOut << "method name=" << m->GetMethodName() << "\n";
        ioOut << "object name=" << m->GetObjectName() << "\n";
    }
    return ioOut;
}

std::string BOOLMethodReturn::GetReturnString(ObjectReturnEncodeEnum) const {
    return std::string("<" XML_BOOLRETURN_TAG ">") + (retVal ? "True" : "False") +
           "</" XML_BOOLRETURN_TAG ">";
}

std::string INTMethodReturn::GetReturnString(ObjectReturnEncodeEnum) const {
    return "<" XML_INTRETURN_TAG ">" + std::to_string(retVal) + "</" XML_INTRETURN_TAG ">";
}

std::string STRINGMethodReturn::GetReturnString(ObjectReturnEncodeEnum) const {
    return "<" XML_STRINGRETURN_TAG ">" + STRINGUtil::EscapeString(retVal, false) +
           "</" XML_STRINGRETURN_TAG ">";
}

std::string ENUMMethodReturn::GetReturnString(ObjectReturnEncodeEnum) const {
    return "<" XML_ENUMRETURN_TAG ">" + enumXmlStr + "</" XML_ENUMRETURN_TAG ">";
}

std::string ENUMMaskMethodReturn::GetReturnString(ObjectReturnEncodeEnum) const {
    return "<" XML_ENUMMASKRETURN_TAG ">" + enumMaskXmlStr + "</" XML_ENUMMASKRETURN_TAG ">";
}

std::vector<ENUMIDStrItem> ENUMMaskMethodReturn::GetEnumList(std::string& oEnumName) const {
    std::vector<ENUMIDStrItem> rows;
    if (enumMaskXmlStr.empty())
        return rows;
    parser::XMLParser xml(nullptr);
    if (!xml.ParseXMLString(enumMaskXmlStr))
        return rows;
    const parser::XMLElement* root = xml.GetDocumentElement();
    if (!root || root->tagName != XML_ENUMMASKRETURN_TAG)
        return rows;
    if (!root->childElems.empty())
        oEnumName = root->childElems.front()->tagName;
    for (const parser::XMLElement* e : root->childElems)
        rows.push_back(ENUMIDStrItem{atoi(e->GetChildElemContentByTag(XML_ENUM_VALUE).c_str()),
                                     e->GetChildElemContentByTag(XML_ENUM_DESCRIPTION),
                                     e->GetChildElemContentByTag(XML_ENUM_UISTRING)});
    return rows;
}

namespace {

// Keeps an object when the filter lets it through: "and" needs every item it can judge,
// "or" any one; an item on an attribute the object lacks is passed over.
bool Selected(const BASEApiObject& iObject, const GETListFilter& iFilter) {
    const GETListFilterType type = iFilter.GetFilterType();
    if (type != GETListFilterType_And && type != GETListFilterType_Or)
        return false;
    for (const APIAttributeFilter& item : iFilter.GetFiltersAttributes()) {
        const BASEApiAttribute* a = iObject.GetAttributeByName(item.GetAttrName());
        if (type == GETListFilterType_And) {
            if (a && !a->ApplyFilter(item, iObject.GetStringDirect(item.GetAttrName())))
                return false;
        } else if (a && a->ApplyFilter(item, iObject.GetStringDirect(item.GetAttrName()))) {
            return true;
        }
    }
    return type == GETListFilterType_And;
}

template <class Object>
std::string EncodeObjects(const std::vector<Object*>& iObjects, ObjectReturnEncodeEnum iEncode,
                          bool iIsArray);

template <>
std::string EncodeObjects<BASEApiObject>(const std::vector<BASEApiObject*>& iObjects,
                                         ObjectReturnEncodeEnum iEncode, bool iIsArray) {
    std::string text;
    if (iEncode != ObjectReturnEncodeEnum_Csv) {
        for (const BASEApiObject* o : iObjects) {
            if (o)
                text += o->ToString(iEncode);
            if (!iIsArray)
                break;
        }
        return text;
    }
    if (!iIsArray)
        return iObjects.empty() || !iObjects.front() ? text
                                                     : iObjects.front()->CreateCSVHeaderAndData();
    std::map<std::string, bool> names;
    const BASEApiObject* first = nullptr;
    for (const BASEApiObject* o : iObjects) {
        if (!o)
            continue;
        o->GetCombinedAttributeNameList(names);
        if (!first)
            first = o;
    }
    if (!first)
        return text;
    text += first->CreateCSVHeader(names) + CSV_DATA_OPEN_TAG;
    for (const BASEApiObject* o : iObjects)
        if (o)
            text += o->CreateCSVData(names) + CSV_OBJ_SEPERATOR;
    return text + CSV_DATA_CLOSE_TAG;
}

template <>
std::string EncodeObjects<BASEApiMethodObject>(const std::vector<BASEApiMethodObject*>& iObjects,
                                               ObjectReturnEncodeEnum, bool iIsArray) {
    std::string text;
    for (const BASEApiMethodObject* o : iObjects) {
        if (o)
            text += o->ToXMLString(true);
        if (!iIsArray)
            break;
    }
    return text;
}

}  // namespace

std::string COMPObjectMethodReturn::GetReturnString(ObjectReturnEncodeEnum iEncode) const {
    if (vecApiObjects.empty())
        return isArray ? "<" XML_COMPOBJARRAYETURN_TAG " />" : "";
    if (!isArray)
        return "<" XML_COMPOBJRETURN_TAG ">" + EncodeObjects(vecApiObjects, iEncode, false) +
               "</" XML_COMPOBJRETURN_TAG ">";
    std::vector<BASEApiObject*> selected = vecApiObjects;
    if (const GETLISTApiMethod* list = dynamic_cast<const GETLISTApiMethod*>(pMethodRun)) {
        std::unique_ptr<GETListFilter> filter(list->GetFilter());
        if (filter) {
            selected.clear();
            for (BASEApiObject* o : vecApiObjects)
                if (o && Selected(*o, *filter))
                    selected.push_back(o);
        }
    }
    return "<" XML_COMPOBJARRAYETURN_TAG ">" + EncodeObjects(selected, iEncode, true) +
           "</" XML_COMPOBJARRAYETURN_TAG ">";
}

std::string METHODObjectMethodReturn::GetReturnString(ObjectReturnEncodeEnum iEncode) const {
    if (vecApiObjects.empty())
        return isArray ? "<" XML_COMPMETHODOBJARRAYRETURN_TAG " />" : "";
    const char* tag = isArray ? XML_COMPMETHODOBJARRAYRETURN_TAG : XML_COMPMETHODOBJRETURN_TAG;
    return std::string("<") + tag + ">" + EncodeObjects(vecApiObjects, iEncode, isArray) + "</" +
           tag + ">";
}
