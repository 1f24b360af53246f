#ifndef LSWCONFIG4_LSWCONFIGMGR_H
#define LSWCONFIG4_LSWCONFIGMGR_H

#include <pthread.h>

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "LSWConfig4/LSWConfigAPI.h"

#define ZEL_DEFAULT_DISCOVERY_TIMEOUT 8
#define ZEL_MIN_DISCOVERY_TIMEOUT 3
#define ZEL_MAX_DISCOVERY_TIMEOUT 120
#define ZEL_DEFAULT_SETUP_TIMEOUT 240
#define ZEL_MIN_SETUP_TIMEOUT 150
#define ZEL_MAX_SETUP_TIMEOUT 1000
#define ZEL_DEFAULT_SETUP_POLLMSG_TIMEOUT 8
#define MAX_DISCOVERY_THREADS 24

class CZelAdapter;
class CLSWArray;
class CLSWVesperArray;
class CLSWVesperController;

// (product version, serial number) to the controller: a controller heard twice stays once.
typedef std::map<std::pair<unsigned int, std::string>, std::shared_ptr<IlswController>>
    ControllersMap;
typedef std::map<std::string, std::string> ControllerPublicKeys;

extern pthread_mutex_t g_LSWConfigMgr_createLock;
extern pthread_mutex_t g_LSWConfigMgr_pcapLock;
extern pthread_mutex_t g_DiscoveryMutex;
extern std::list<std::shared_ptr<IlswController>> g_Controllers;

// Scoped lock over one of the process-wide mutexes.
class AutoLock {
public:
    explicit AutoLock(pthread_mutex_t& ref) : m_ref(ref) { pthread_mutex_lock(&m_ref); }
    ~AutoLock() { pthread_mutex_unlock(&m_ref); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    pthread_mutex_t& m_ref;
};

// The argument record of one discovery thread.
struct ThreadData {
    CZelAdapter* ethDev;
    uint32_t mask;
    uint32_t timeout;
    std::string locale;
};

void* DiscoveryThreadFunction(void* lpParam);

// The worker behind the facade: lives for one facade call, enumerates the adapters anew.
class CManager {
public:
    CManager(unsigned int mask, unsigned int timeout, std::string locale);
    ~CManager();
    CManager(const CManager&) = delete;
    CManager& operator=(const CManager&) = delete;

    void AppendMessage(const char* text);
    bool InitializeAdapters();
    CZelAdapter* FindAdapter(const unsigned char* mac);
    long FindControllersOnHost();
    void JoinArrays(std::list<std::shared_ptr<CLSWArray>>& arrayList,
                    ControllersMap& ControllerList);
    std::shared_ptr<CLSWArray> FindArrayFromMacAddress(
        std::list<std::shared_ptr<CLSWArray>> arrayList, std::string macAddr);
    std::shared_ptr<CLSWVesperController> FindVesperControllerFromSerialNumber(
        const std::string SerialNumber);
    long DiscoverArrays(std::vector<std::shared_ptr<IlswArray>>& discList, std::string macAddr,
                        std::string& message, bool bUnInitializedOnly);
    long DiscoverVesperControllers(
        std::vector<std::shared_ptr<IlswVesperController>>& controllersVector, std::string& message,
        bool bUnInitializedOnly);

    long ConfigureVesperController(std::shared_ptr<CLSWVesperController> pVesperController,
                                   std::string& message, bool bSkipControllerSearch);
    long InitializeVesperArray(CLSWVesperArray* pVesperArray, std::string& message);
    long GetVesperControllerInitializeStatus(
        std::shared_ptr<CLSWVesperController> pVesperController,
        std::shared_ptr<IlswConfigurationStatusResponse>& configStatusResponse,
        std::string& message);
    long PreJoinArray(CLSWVesperArray* pVesperArray, std::string& message);
    long BlinkVesperController(std::shared_ptr<CLSWVesperController> vesperController,
                               unsigned short requestCode,
                               std::shared_ptr<IlswBlinkResponse>& blinkResponse,
                               std::string& message);
    long GetDiskInfo(std::shared_ptr<CLSWVesperController> vesperController,
                     std::vector<std::shared_ptr<IlswDiskInfo>>& diskInfoVector,
                     std::string& message);

private:
    CZelAdapter* m_adapter = nullptr;
    uint32_t m_mask;
    uint32_t m_timeout;
    std::string m_message;
    std::string m_locale;
    ControllersMap m_ControllerList;
    ControllerPublicKeys m_ControllerPublicKeys;
    uint32_t m_nAdapters = 0;
};

// The one door to the layer-2 side: every operation runs under g_LSWConfigMgr_pcapLock on a
// fresh CManager.
class CLSWConfigManager {
public:
    static CLSWConfigManager* GetInstance();

    void SetDiscoveryTimeout(unsigned int timeout);
    unsigned int GetDiscoveryTimeout() const { return m_timeout; }

    long DiscoverArrays(std::vector<std::shared_ptr<IlswArray>>& found, unsigned int platformMask,
                        std::string macAddr, std::string locale, std::string& message,
                        bool bUnInitializedOnly, unsigned int SearchTimeout);
    long DiscoverVesperControllers(
        std::vector<std::shared_ptr<IlswVesperController>>& controllersVector, std::string& message,
        std::string locale, bool bUnInitializedOnly);
    long InitializeVesperController(std::shared_ptr<CLSWVesperController> controller,
                                    std::string& message);
    long GetVesperControllerInitializeStatus(
        std::shared_ptr<CLSWVesperController> controller,
        std::shared_ptr<IlswConfigurationStatusResponse>& response, std::string& message);
    long InitializeVesperArray(CLSWVesperArray* array, std::string& message);
    long BlinkVesperController(std::shared_ptr<CLSWVesperController> controller,
                               unsigned short RequestCode,
                               std::shared_ptr<IlswBlinkResponse>& response, std::string& message);
    long GetDiskInfo(std::shared_ptr<CLSWVesperController> controller,
                     std::vector<std::shared_ptr<IlswDiskInfo>>& disks, std::string& message);
    long PreJoinArray(CLSWVesperArray* array, std::string& message);

private:
    CLSWConfigManager();

    static CLSWConfigManager* m_instance;
    [[maybe_unused]] bool m_initialized = false;  // set by the constructor, read by no one
    uint32_t m_timeout = 15;
};

long _GetArrays(std::vector<std::shared_ptr<IlswArray>>& fArrays, unsigned int platformMask,
                std::string& message, std::string macAddr, bool bUnInitializedOnly,
                unsigned int SearchTimeout, std::string locale);
long _GetVesperControllers(std::vector<std::shared_ptr<IlswVesperController>>& controllersVector,
                           std::string& message, bool bUnInitializedOnly, std::string locale);

#endif
