// The facade: the one door from the wizard and the model to the layer-2 side. Every
// operation holds g_LSWConfigMgr_pcapLock while a fresh CManager lives on the stack, so one
// manager operation runs at a time in the process and nothing discovered outlives a call.
#include "LSWConfig4/LSWConfigMgr.h"

#include <new>

#include "LSWConfig4/LSWConfigModel.h"
#include "zelutil/ZelTrace.h"

namespace {
// The platform mask of every caller but DiscoverArrays.
const unsigned int kPlatformMask = 11;
}  // namespace

// Statically initialised and never destroyed: usable from the first call on, whatever the
// order of global construction.
pthread_mutex_t g_LSWConfigMgr_createLock = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t g_LSWConfigMgr_pcapLock = PTHREAD_MUTEX_INITIALIZER;

CLSWConfigManager* CLSWConfigManager::m_instance = nullptr;

CLSWConfigManager::CLSWConfigManager() : m_initialized(true), m_timeout(15) {}

CLSWConfigManager* CLSWConfigManager::GetInstance() {
    AutoLock lock(g_LSWConfigMgr_createLock);
    if (m_instance == nullptr)
        m_instance = new (std::nothrow) CLSWConfigManager();
    return m_instance;
}

void CLSWConfigManager::SetDiscoveryTimeout(unsigned int timeout) {
    // A value out of range is dropped, not clamped.
    if (timeout >= ZEL_MIN_DISCOVERY_TIMEOUT && timeout <= ZEL_MAX_DISCOVERY_TIMEOUT)
        m_timeout = timeout;
}

long CLSWConfigManager::DiscoverArrays(std::vector<std::shared_ptr<IlswArray>>& found,
                                       unsigned int platformMask, std::string macAddr,
                                       std::string locale, std::string& message,
                                       bool bUnInitializedOnly, unsigned int SearchTimeout) {
    AutoLock lock(g_LSWConfigMgr_pcapLock);
    SetDiscoveryTimeout(SearchTimeout);
    CManager manager(platformMask, m_timeout, locale);
    return manager.DiscoverArrays(found, macAddr, message, bUnInitializedOnly);
}

long CLSWConfigManager::DiscoverVesperControllers(
    std::vector<std::shared_ptr<IlswVesperController>>& controllersVector, std::string& message,
    std::string locale, bool bUnInitializedOnly) {
    AutoLock lock(g_LSWConfigMgr_pcapLock);
    CManager manager(kPlatformMask, m_timeout, locale);
    return manager.DiscoverVesperControllers(controllersVector, message, bUnInitializedOnly);
}

long CLSWConfigManager::InitializeVesperController(std::shared_ptr<CLSWVesperController> controller,
                                                   std::string& message) {
    AutoLock lock(g_LSWConfigMgr_pcapLock);
    CManager manager(kPlatformMask, m_timeout, controller ? controller->getLocale() : "");
    return manager.ConfigureVesperController(controller, message, false);
}

long CLSWConfigManager::GetVesperControllerInitializeStatus(
    std::shared_ptr<CLSWVesperController> controller,
    std::shared_ptr<IlswConfigurationStatusResponse>& response, std::string& message) {
    AutoLock lock(g_LSWConfigMgr_pcapLock);
    CManager manager(kPlatformMask, m_timeout, controller ? controller->getLocale() : "");
    return manager.GetVesperControllerInitializeStatus(controller, response, message);
}

long CLSWConfigManager::InitializeVesperArray(CLSWVesperArray* array, std::string& message) {
    AutoLock lock(g_LSWConfigMgr_pcapLock);
    CManager manager(kPlatformMask, m_timeout, array ? array->getLocale() : "");
    return manager.InitializeVesperArray(array, message);
}

long CLSWConfigManager::BlinkVesperController(std::shared_ptr<CLSWVesperController> controller,
                                              unsigned short RequestCode,
                                              std::shared_ptr<IlswBlinkResponse>& response,
                                              std::string& message) {
    AutoLock lock(g_LSWConfigMgr_pcapLock);
    CManager manager(kPlatformMask, m_timeout, controller ? controller->getLocale() : "");
    return manager.BlinkVesperController(controller, RequestCode, response, message);
}

long CLSWConfigManager::GetDiskInfo(std::shared_ptr<CLSWVesperController> controller,
                                    std::vector<std::shared_ptr<IlswDiskInfo>>& disks,
                                    std::string& message) {
    AutoLock lock(g_LSWConfigMgr_pcapLock);
    CManager manager(kPlatformMask, m_timeout, controller ? controller->getLocale() : "");
    return manager.GetDiskInfo(controller, disks, message);
}

long CLSWConfigManager::PreJoinArray(CLSWVesperArray* array, std::string& message) {
    AutoLock lock(g_LSWConfigMgr_pcapLock);
    CManager manager(kPlatformMask, m_timeout, array ? array->getLocale() : "");
    return manager.PreJoinArray(array, message);
}

// The free entry points are where no exception of the layer-2 side gets further up: the
// lock and the worker are unwound before the handler runs.
long _GetArrays(std::vector<std::shared_ptr<IlswArray>>& fArrays, unsigned int platformMask,
                std::string& message, std::string macAddr, bool bUnInitializedOnly,
                unsigned int SearchTimeout, std::string locale) {
    try {
        CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
        if (manager == nullptr) {
            message = CErrorCodes::errorMap[1001];
            return 1001;
        }
        return manager->DiscoverArrays(fArrays, platformMask, macAddr, locale, message,
                                       bUnInitializedOnly, SearchTimeout);
    } catch (...) {
        ZelOutputDebugError(HERE, "_GetArrays failed with exception: %s", message.c_str());
        message = CErrorCodes::errorMap[1002];
        return 1002;
    }
}

long _GetVesperControllers(std::vector<std::shared_ptr<IlswVesperController>>& controllersVector,
                           std::string& message, bool bUnInitializedOnly, std::string locale) {
    try {
        CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
        if (manager == nullptr) {
            message = CErrorCodes::errorMap[1001];
            return 1001;
        }
        return manager->DiscoverVesperControllers(controllersVector, message, locale,
                                                  bUnInitializedOnly);
    } catch (...) {
        ZelOutputDebugError(HERE, "_GetVesperControllers failed with exception: %s",
                            message.c_str());
        message = CErrorCodes::errorMap[1002];
        return 1002;
    }
}
