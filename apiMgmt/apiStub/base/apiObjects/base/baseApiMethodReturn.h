#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_BASEAPIMETHODRETURN_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_BASEAPIMETHODRETURN_H

// The result of a call: the status part (APIApiMethodReturn) and one subclass for each kind
// of value, with the encoder of the whole reply document.

#include <ostream>
#include <string>
#include <vector>

#include "apiMgmt/apiStub/apiSdk/objects/APIApiMethodReturn.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodObject.h"

class BASEApiMethod;

class BASEApiMethodReturn : public APIApiMethodReturn {
public:
    BASEApiMethodReturn() { Initialize(); }
    // Owns iMethod.
    BASEApiMethodReturn(bool iSuccess, BASEApiMethod* iMethod);
    BASEApiMethodReturn(bool iSuccess, ErrorStateEnum iState, const std::string& iError,
                        const std::string& iLocalizedError, const std::string& iErrorDetail,
                        BASEApiMethod* iMethod);
    ~BASEApiMethodReturn() override;
    BASEApiMethodReturn(const BASEApiMethodReturn&) = delete;
    BASEApiMethodReturn& operator=(const BASEApiMethodReturn&) = delete;

    void Initialize() { Initialize(true, ErrorStateEnum_None, "", "", ""); }
    void Initialize(bool iSuccess, ErrorStateEnum iState, const std::string& iError,
                    const std::string& iLocalizedError, const std::string& iErrorDetail);
    const BASEApiMethod* MethodRun() const { return pMethodRun; }
    void SetMethodRun(BASEApiMethod* iMethod);

    // The whole reply document.
    std::string ToString(ObjectReturnEncodeEnum iEncode) const;
    // The return element; empty here.
    virtual std::string GetReturnString(ObjectReturnEncodeEnum) const { return std::string(); }

protected:
    BASEApiMethod* pMethodRun = nullptr;
};

std::ostream& operator<<(std::ostream& ioOut, const BASEApiMethodReturn& iReturn);

class BOOLMethodReturn : public BASEApiMethodReturn {
public:
    explicit BOOLMethodReturn(bool iValue) : BASEApiMethodReturn(true, nullptr), retVal(iValue) {}
    BOOLMethodReturn(bool iValue, bool iSuccess, BASEApiMethod* iMethod)
        : BASEApiMethodReturn(iSuccess, iMethod), retVal(iValue) {}
    bool GetValue() const { return retVal; }
    std::string GetReturnString(ObjectReturnEncodeEnum iEncode) const override;

private:
    bool retVal;
};

class INTMethodReturn : public BASEApiMethodReturn {
public:
    explicit INTMethodReturn(int32 iValue) : BASEApiMethodReturn(true, nullptr), retVal(iValue) {}
    INTMethodReturn(int32 iValue, bool iSuccess, BASEApiMethod* iMethod)
        : BASEApiMethodReturn(iSuccess, iMethod), retVal(iValue) {}
    int32 GetValue() const { return retVal; }
    std::string GetReturnString(ObjectReturnEncodeEnum iEncode) const override;

private:
    int32 retVal;
};

class STRINGMethodReturn : public BASEApiMethodReturn {
public:
    STRINGMethodReturn() : BASEApiMethodReturn(true, nullptr) {}
    explicit STRINGMethodReturn(const std::string& iValue)
        : BASEApiMethodReturn(true, nullptr), retVal(iValue) {}
    STRINGMethodReturn(ErrorStateEnum iState, const std::string& iError,
                       const std::string& iLocalizedError, const std::string& iErrorDetail,
                       bool iSuccess)
        : BASEApiMethodReturn(iSuccess, iState, iError, iLocalizedError, iErrorDetail, nullptr) {}
    STRINGMethodReturn(const std::string& iValue, bool iSuccess, BASEApiMethod* iMethod)
        : BASEApiMethodReturn(iSuccess, iMethod), retVal(iValue) {}
    STRINGMethodReturn(const std::string& iValue, bool iSuccess, ErrorStateEnum iState,
                       const std::string& iError, const std::string& iLocalizedError,
                       const std::string& iErrorDetail, BASEApiMethod* iMethod)
        : BASEApiMethodReturn(iSuccess, iState, iError, iLocalizedError, iErrorDetail, iMethod),
          retVal(iValue) {}
    const std::string& GetValue() const { return retVal; }
    std::string GetReturnString(ObjectReturnEncodeEnum iEncode) const override;

private:
    std::string retVal;
};

class ENUMMethodReturn : public BASEApiMethodReturn {
public:
    ENUMMethodReturn(bool iSuccess, BASEApiMethod* iMethod)
        : BASEApiMethodReturn(iSuccess, iMethod) {}
    void SetReturnObject(const std::string& iXml) { enumXmlStr = iXml; }
    const std::string& GetEnumStr() const { return enumXmlStr; }
    std::string GetReturnString(ObjectReturnEncodeEnum iEncode) const override;

private:
    std::string enumXmlStr;
};

class ENUMMaskMethodReturn : public BASEApiMethodReturn {
public:
    ENUMMaskMethodReturn(bool iSuccess, BASEApiMethod* iMethod)
        : BASEApiMethodReturn(iSuccess, iMethod) {}
    void SetReturnObject(const std::string& iXml) { enumMaskXmlStr = iXml; }
    const std::string& GetEnumMaskStr() const { return enumMaskXmlStr; }
    // The rows of the mask; the enumeration's name in oEnumName.
    std::vector<ENUMIDStrItem> GetEnumList(std::string& oEnumName) const;
    std::string GetReturnString(ObjectReturnEncodeEnum iEncode) const override;

private:
    std::string enumMaskXmlStr;
};

// The objects of a reply, owned while doCleanupOnDestroy is true.
template <class Object>
class OBJECTSMethodReturn : public BASEApiMethodReturn {
public:
    explicit OBJECTSMethodReturn(bool iIsArray)
        : BASEApiMethodReturn(true, nullptr), isArray(iIsArray) {}
    OBJECTSMethodReturn(bool iIsArray, bool iSuccess, BASEApiMethod* iMethod)
        : BASEApiMethodReturn(iSuccess, iMethod), isArray(iIsArray) {}
    ~OBJECTSMethodReturn() override {
        if (doCleanupOnDestroy)
            CleanUpApiObjects();
    }

    // With iReplace false, a non-array that holds an object ignores the call and the object
    // stays with the caller. Null is never added.
    void SetReturnObject(Object* iObject, bool iReplace) {
        if (iReplace)
            CleanUpApiObjects();
        else if (!isArray && !vecApiObjects.empty())
            return;
        if (iObject)
            vecApiObjects.push_back(iObject);
    }
    void SetReturnObject(std::vector<Object*>& iObjects) {
        CleanUpApiObjects();
        vecApiObjects = iObjects;
    }
    bool IsCollection() const { return isArray; }
    void SetDoCleanupOnDestroy(bool iCleanup) { doCleanupOnDestroy = iCleanup; }
    Object* GetObject() const {
        return isArray || vecApiObjects.empty() ? nullptr : vecApiObjects.front();
    }
    const std::vector<Object*>& GetObjects() const { return vecApiObjects; }
    void CleanUpApiObjects() {
        for (Object* o : vecApiObjects)
            delete o;
        vecApiObjects.clear();
    }

protected:
    bool isArray;
    std::vector<Object*> vecApiObjects;
    bool doCleanupOnDestroy = true;
};

class COMPObjectMethodReturn : public OBJECTSMethodReturn<BASEApiObject> {
public:
    using OBJECTSMethodReturn<BASEApiObject>::OBJECTSMethodReturn;
    std::string GetReturnString(ObjectReturnEncodeEnum iEncode) const override;
};

class METHODObjectMethodReturn : public OBJECTSMethodReturn<BASEApiMethodObject> {
public:
    using OBJECTSMethodReturn<BASEApiMethodObject>::OBJECTSMethodReturn;
    std::string GetReturnString(ObjectReturnEncodeEnum iEncode) const override;
};

#endif
