// The model's public way in: clients get objects without naming their classes.
#include "LSWConfig4/LSWConfigAPI.h"
#include "LSWConfig4/LSWConfigModel.h"

std::shared_ptr<IlswVesperController> ClswConfigFactory::getVesperController() {
    return std::make_shared<CLSWVesperController>();
}

std::shared_ptr<IlswArray> ClswConfigFactory::getVesperArray(const std::string& id) {
    return std::make_shared<CLSWVesperArray>(id);
}

std::shared_ptr<IlswConfigurationStatusResponse>
ClswConfigFactory::getConfigurationStatusResponseObj() {
    return std::make_shared<ClswConfigurationStatusResponse>();
}

std::shared_ptr<IlswBlinkResponse> ClswConfigFactory::getBlinkResponseObj() {
    return std::make_shared<ClswBlinkResponse>(0);
}

std::shared_ptr<IlswPortConfigData> ClswConfigFactory::getPortConfigDataObj() {
    return std::make_shared<ClswPortConfigData>();
}

std::shared_ptr<IlswFaultDomainConfigData> ClswConfigFactory::getFaultDomainConfigDataObj() {
    return std::make_shared<ClswFaultDomainConfigData>();
}
