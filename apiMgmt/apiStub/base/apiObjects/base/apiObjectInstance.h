#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_APIOBJECTINSTANCE_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_APIOBJECTINSTANCE_H

// A reference to an API object by identity: "ID TYPE NAME", the name keeping its blanks.

#include <string>

#include "apiMgmt/common/utils/apiTypes.h"

class BASEApiObject;

class APIObjectInstance {
public:
    APIObjectInstance(const std::string& iInstanceId, const std::string& iObjectType,
                      const std::string& iInstanceName);
    // All three empty for null.
    explicit APIObjectInstance(const BASEApiObject* iObject);
    APIObjectInstance(const APIObjectInstance& iOther);
    APIObjectInstance& operator=(const APIObjectInstance& iOther) = default;
    virtual ~APIObjectInstance() = default;

    const std::string& GetInstanceId() const { return instanceId; }
    const std::string& GetObjectType() const { return objectType; }
    const std::string& GetInstanceName() const { return instanceName; }
    // Id and type set; the name may be empty.
    bool IsValid() const { return !instanceId.empty() && !objectType.empty(); }
    std::string ToString() const;
    // A new instance the caller owns from exactly three pieces, else null.
    static APIObjectInstance* ParseString(const std::string& iText);

    static uns64 GetCurrentCount() { return gObjCounter; }

private:
    std::string instanceId;
    std::string objectType;
    std::string instanceName;
    static uns64 gObjCounter;
};

#endif
