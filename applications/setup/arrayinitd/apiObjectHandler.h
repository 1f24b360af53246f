#ifndef APPLICATIONS_SETUP_ARRAYINITD_APIOBJECTHANDLER_H
#define APPLICATIONS_SETUP_ARRAYINITD_APIOBJECTHANDLER_H

// The thin layer through which the setup programs ask the local API manager for objects: it
// makes the method, runs it with the local access key, looks at the result, logs what went
// wrong and hands back a typed pointer, or null. The pointers live in the handler's last
// result: they stay valid until the next call on the same handler or its end.

#include <ctime>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "apiMgmt/apiStub/apiSdk/objects/APIScController.h"
#include "apiMgmt/apiStub/apiSdk/objects/APIStorageCell.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodReturn.h"
#include "apiMgmt/apiStub/base/apiObjects/base/getListFilter.h"
#include "apiMgmt/common/logs/appLogger.h"
#include "apiMgmt/common/utils/stringUtil.h"
#include "gpbcom/gpbcom.h"

#define VESPER_BACKEND_SLOT_NUMBER 2
#define API_OBJ_HANDLER_LOG_CATEGORY "arrayinitd"

// The local time as asctime writes it, its newline kept.
inline std::string GetTime() {
    time_t now = time(nullptr);
    struct tm local;
    char text[64] = "";
    if (localtime_r(&now, &local) && asctime_r(&local, text))
        return text;
    return std::string();
}

// The handler's own log form. The whole line goes once more through the formatter as its
// format, with no arguments: that second pass is how this log has always worked.
#define m_API_OBJ_HANDLER_LOG(...)                                                             \
    do {                                                                                       \
        if (APPLogger::GetLogTask() && APPLogger::GetLogLevel() >= LOGLevel_Error) {           \
            try {                                                                              \
                std::string line_ = "TS: " + GetTime() +                                       \
                                    " LOG: " + STRINGUtil::FormatStr(__VA_ARGS__) +            \
                                    " FNC: " + __func__ + " FLN: " + std::to_string(__LINE__); \
                APPLogger::DoLog(LOGLevel_Error, __FILE__, __func__, __LINE__,                 \
                                 API_OBJ_HANDLER_LOG_CATEGORY,                                 \
                                 STRINGUtil::FormatStr(line_.c_str()));                        \
            } catch (const std::exception&) {                                                  \
            }                                                                                  \
        }                                                                                      \
    } while (0)

template <class ObjectPointer, class ListOrGetMethod>
class APIObjectHandler {
public:
    enum status { API_OBJ_HANDLER_SUCCESS = 0, API_OBJ_HANDLER_FAILURE = 1 };
    typedef std::vector<BASEApiObject*> ObjectList;

    APIObjectHandler() = default;

    // The object with that instance id, or null.
    ObjectPointer GetObject(const std::string& iInstanceId) {
        m_pMethodReturn.reset();
        ListOrGetMethod method;
        method.SetInstanceId(iInstanceId);
        try {
            m_pMethodReturn.reset(method.Execute(GPBComEndpoint::GetAccessKey(), nullptr, ""));
        } catch (const std::exception& e) {
            m_API_OBJ_HANDLER_LOG("Exception while executing command: %s", e.what());
            return nullptr;
        }
        if (!m_pMethodReturn) {
            m_API_OBJ_HANDLER_LOG("Error occured, No method object returned");
            return nullptr;
        }
        if (!m_pMethodReturn->GetSuccessful()) {
            m_API_OBJ_HANDLER_LOG("Unable to load information from API");
            return nullptr;
        }
        COMPObjectMethodReturn* objects =
            dynamic_cast<COMPObjectMethodReturn*>(m_pMethodReturn.get());
        if (!objects)
            return nullptr;
        return dynamic_cast<ObjectPointer>(objects->GetObject());
    }

    // The first object whose attribute equals the value; further matches are ignored.
    ObjectPointer GetFilteredObjectFromList(const BASEApiAttribute* iAttribute,
                                            const std::string& iValue) {
        const ObjectList* objects = GetFilteredObjectsList(iAttribute, iValue);
        if (!objects || objects->empty()) {
            m_API_OBJ_HANDLER_LOG("Unable to load information from API");
            return nullptr;
        }
        return dynamic_cast<ObjectPointer>(objects->front());
    }

    const ObjectList* GetFilteredObjectsList(const BASEApiAttribute* iAttribute,
                                             const std::string& iValue) {
        if (!iAttribute)
            return nullptr;
        m_pMethodReturn.reset();
        ListOrGetMethod method;
        std::vector<APIAttributeFilter> items(
            1, APIAttributeFilter(iAttribute->GetName(), FILTERType_Equal, iValue));
        GETListFilter filter(GETListFilterType_And, items);
        method.SetFilter(&filter);
        status result;
        return GetObjectsList(method, result);
    }

    // Null for a failure and for an empty list alike; oResult tells them apart.
    const ObjectList* GetObjectsList(ListOrGetMethod& ioMethod, status& oResult) {
        oResult = API_OBJ_HANDLER_FAILURE;
        try {
            m_pMethodReturn.reset(ioMethod.Execute(GPBComEndpoint::GetAccessKey(), nullptr, ""));
        } catch (const std::exception& e) {
            m_API_OBJ_HANDLER_LOG("Unable to execute API, execption occurred %s", e.what());
            return nullptr;
        }
        if (!m_pMethodReturn) {
            m_API_OBJ_HANDLER_LOG("Unable to execute API, No method object returned");
            return nullptr;
        }
        if (!m_pMethodReturn->GetSuccessful()) {
            m_API_OBJ_HANDLER_LOG("Unable to load information from API");
            return nullptr;
        }
        oResult = API_OBJ_HANDLER_SUCCESS;
        COMPObjectMethodReturn* objects =
            dynamic_cast<COMPObjectMethodReturn*>(m_pMethodReturn.get());
        if (!objects) {
            m_API_OBJ_HANDLER_LOG("Unable to load information from API");
            return nullptr;
        }
        if (!objects->GetObjects().empty())
            return &objects->GetObjects();
        m_API_OBJ_HANDLER_LOG("No objects returned from API");
        return nullptr;
    }

    // Every object the list method gives without a filter.
    const ObjectList* GetAllObjectsList() {
        const ObjectList* objects = nullptr;
        GetAllObjectsListWithStatus(objects);
        return objects;
    }

    status GetAllObjectsListWithStatus(const ObjectList*& oObjects) {
        m_pMethodReturn.reset();
        ListOrGetMethod method;
        status result;
        oObjects = GetObjectsList(method, result);
        return result;
    }

    // The objects named by an enumeration mask text of the method's object: not served by
    // the local manager, so always empty and oFound false.
    std::vector<ObjectPointer> GetEnumMaskObject(const std::string&, bool& oFound) {
        oFound = false;
        return std::vector<ObjectPointer>();
    }

private:
    APIObjectHandler(const APIObjectHandler&);
    APIObjectHandler& operator=(const APIObjectHandler&);

    std::unique_ptr<BASEApiMethodReturn> m_pMethodReturn;
};

#endif
