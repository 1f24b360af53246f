#include "apiMgmt/apiStub/base/apiObjects/base/apiObjectInstance.h"

#include <vector>

#include "apiMgmt/apiStub/base/apiObjects/base/apiConstants.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiObject.h"
#include "apiMgmt/common/utils/stringUtil.h"

uns64 APIObjectInstance::gObjCounter = 0;

APIObjectInstance::APIObjectInstance(const std::string& iInstanceId, const std::string& iObjectType,
                                     const std::string& iInstanceName)
    : instanceId(iInstanceId), objectType(iObjectType), instanceName(iInstanceName) {
    ++gObjCounter;
}

APIObjectInstance::APIObjectInstance(const BASEApiObject* iObject) {
    if (iObject) {
        instanceId = iObject->GetInstanceId();
        objectType = iObject->GetObjectType();
        instanceName = iObject->GetInstanceName();
    }
    ++gObjCounter;
}

APIObjectInstance::APIObjectInstance(const APIObjectInstance& iOther)
    : instanceId(iOther.instanceId),
      objectType(iOther.objectType),
      instanceName(iOther.instanceName) {
    ++gObjCounter;
}

std::string APIObjectInstance::ToString() const {
    return instanceId + ATTRIBUTE_CONNECTOR + objectType + ATTRIBUTE_CONNECTOR + instanceName;
}

APIObjectInstance* APIObjectInstance::ParseString(const std::string& iText) {
    std::vector<std::string> pieces;
    STRINGUtil::SplitString(iText, ATTRIBUTE_CONNECTOR, pieces, 3);
    if (pieces.size() != 3)
        return nullptr;
    return new APIObjectInstance(pieces[0], pieces[1], pieces[2]);
}
