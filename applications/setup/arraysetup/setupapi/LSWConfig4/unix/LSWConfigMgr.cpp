// The worker behind the facade: one discovery thread per adapter, the merge of what they
// heard into controllers and arrays, and the operations on one controller or array.

#include "LSWConfig4/LSWConfigMgr.h"

#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/LSWDiscovery4.h"
#include "LSWConfig4/LSWExchange.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/unix/Adapter.h"
#include "zelutil/ZelStringUtil.h"
#include "zelutil/ZelTrace.h"

pthread_mutex_t g_DiscoveryMutex = PTHREAD_MUTEX_INITIALIZER;
std::list<std::shared_ptr<IlswController>> g_Controllers;

namespace {

// The text of one of our codes, by the map's index operator as everywhere else: a code
// without a row (1035) gives an empty text and leaves an empty row behind. Only the calling
// thread looks texts up, under the facade's lock, never the discovery threads.
std::string ErrorText(int iCode) {
    return CErrorCodes::errorMap[iCode];
}

// The object the operator filled takes over what the latest discovery knows of the same
// controller.
void CopyDiscoveredFacts(CLSWVesperController& ioTarget, CLSWVesperController& iDiscovered) {
    ZelOutputDebugPrint(HERE, "Updating the controller info with the discovered information.");
    unsigned char mac[6];
    memcpy(mac, iDiscovered.GetMACAddr(), sizeof(mac));
    ioTarget.SetMACAddressFromController(mac);
    ioTarget.SetProtocolVersion(iDiscovered.getProtocolVersion());
    ioTarget.SetAdapterInfoFromController(iDiscovered.GetAdapterInfo());
    ioTarget.SetPublicKey(iDiscovered.getPublicKey());
    ioTarget.SetPublicKeyLength(iDiscovered.getPublicKeyLength());
}

// A thread name of at most 15 characters, as the system allows.
void NameDiscoveryThread(pthread_t iThread, const char* iPcapName) {
    std::string name = std::string("disc ") + iPcapName;
    name.resize(std::min<size_t>(name.size(), 15));
    pthread_setname_np(iThread, name.c_str());
}

}  // namespace

// ---- Construction -----------------------------------------------------------------------

CManager::CManager(unsigned int mask, unsigned int timeout, std::string locale)
    : m_mask(mask), m_timeout(timeout), m_locale(std::move(locale)) {
    m_adapter = nullptr;
    InitializeAdapters();
}

CManager::~CManager() {
    CZelAdapter::FreeList(m_adapter);
}

void CManager::AppendMessage(const char* text) {
    if (!m_message.empty())
        m_message += "\n";
    if (text)
        m_message += text;
}

bool CManager::InitializeAdapters() {
    if (m_adapter)
        return true;
    ZelOutputDebugPrint(HERE, "Initializing adapters for configuration.");
    m_adapter = CZelAdapter::GetAll();
    if (!m_adapter) {
        AppendMessage("Error: No network adapters found. ");
        return false;
    }
    uint32_t count = 0;
    for (CZelAdapter* a = m_adapter; a; a = a->m_next)
        ++count;
    m_nAdapters = count;
    ZelOutputDebugPrint(HERE, "Found %d adapters", static_cast<int>(m_nAdapters));
    return true;
}

CZelAdapter* CManager::FindAdapter(const unsigned char* mac) {
    if (!mac)
        return nullptr;
    for (CZelAdapter* a = m_adapter; a; a = a->m_next)
        if (memcmp(a->m_addr, mac, sizeof(a->m_addr)) == 0)
            return a;
    return nullptr;
}

// ---- Discovery --------------------------------------------------------------------------

void* DiscoveryThreadFunction(void* lpParam) {
    auto* data = static_cast<ThreadData*>(lpParam);
    // An exception leaving a thread would end the whole process; it ends only this
    // adapter's discovery. What the thread pushed before stays counted.
    try {
        ZelOutputDebugPrint(HERE, "Discovering Controllers on adapter: %s",
                            data->ethDev->m_pcapname);

        std::list<std::shared_ptr<IlswController>> found;
        CHello4 hello(data->ethDev, static_cast<unsigned short>(data->mask & 0xFFFF));
        int result = hello.run(found, static_cast<int>(data->timeout), data->locale);
        if (result != 0) {
            // What the list holds still counts.
            std::string text = CLSWCommonUtils::FormatString("Probing '%s': Returned error %d.",
                                                             data->ethDev->m_pcapname, result);
            ZelOutputDebugError(HERE, "%s", text.c_str());
        }

        for (const auto& controller : found) {
            if (controller->getSerialNumber().empty())
                continue;
            AutoLock lock(g_DiscoveryMutex);
            g_Controllers.push_back(controller);
        }
        ZelOutputDebugPrint(HERE, "Found %d Controllers on adapter: %s",
                            static_cast<int>(found.size()), data->ethDev->m_pcapname);
    } catch (...) {
        ZelOutputDebugError(HERE, "Discovery on adapter %s ended by an exception",
                            data->ethDev->m_pcapname);
    }
    return nullptr;
}

long CManager::FindControllersOnHost() {
    ZelOutputDebugPrint(HERE,
                        "CManager::FindControllersOnHost() > Searching for controllers(on host)");
    long retCode = 0;
    {
        AutoLock lock(g_DiscoveryMutex);
        g_Controllers.clear();
    }
    m_ControllerList.clear();

    pthread_t pThreadArray[MAX_DISCOVERY_THREADS];
    std::unique_ptr<ThreadData> pDataArray[MAX_DISCOVERY_THREADS];
    // A thread that was never created is not joined.
    bool created[MAX_DISCOVERY_THREADS] = {};

    uint32_t i = 0;
    for (CZelAdapter* a = m_adapter; a && i < m_nAdapters && i < MAX_DISCOVERY_THREADS;
         a = a->m_next, ++i) {
        pDataArray[i].reset(new ThreadData{a, m_mask, m_timeout, m_locale});
        if (pthread_create(&pThreadArray[i], nullptr, DiscoveryThreadFunction,
                           pDataArray[i].get()) != 0) {
            ZelOutputDebugPrint(HERE, "Failed to create thread for adapter:%s", a->m_pcapname);
            continue;
        }
        created[i] = true;
        NameDiscoveryThread(pThreadArray[i], a->m_pcapname);
    }
    for (uint32_t j = 0; j < m_nAdapters && j < MAX_DISCOVERY_THREADS; ++j)
        if (created[j])
            pthread_join(pThreadArray[j], nullptr);
    for (auto& data : pDataArray)
        data.reset();

    // A controller heard on two adapters stays once: the one pushed last wins.
    {
        AutoLock lock(g_DiscoveryMutex);
        for (const auto& controller : g_Controllers) {
            std::string serial = controller->getSerialNumber();
            if (serial.empty())
                continue;
            m_ControllerList[std::make_pair(
                static_cast<unsigned int>(controller->getProductVersion()), serial)] = controller;
        }
    }
    ZelOutputDebugPrint(HERE,
                        "CManager::FindControllersOnHost() > discovered %d controllers(on host) "
                        ": code %ld",
                        static_cast<int>(m_ControllerList.size()), retCode);
    return retCode;
}

void CManager::JoinArrays(std::list<std::shared_ptr<CLSWArray>>& arrayList,
                          ControllersMap& ControllerList) {
    ZelOutputDebugPrint(HERE, "CManager::JoinArrays() > Joining the arrays.");
    std::map<std::pair<unsigned int, std::string>, std::shared_ptr<CLSWArray>> discArrays;
    for (auto& entry : ControllerList) {
        auto controller = std::dynamic_pointer_cast<CLSWVesperController>(entry.second);
        if (!controller || controller->getSerialNumber().empty())
            continue;
        auto key = std::make_pair(static_cast<unsigned int>(controller->getProductVersion()),
                                  controller->getServiceTag());
        auto found = discArrays.find(key);
        if (found != discArrays.end()) {
            found->second->AddControllerInternal(controller);
        } else {
            std::shared_ptr<CLSWArray> array = std::make_shared<CLSWVesperArray>();
            array->AddControllerInternal(controller);
            discArrays.emplace(key, array);
        }
    }
    for (auto& entry : discArrays) {
        ZelOutputDebugPrint(HERE, "Adding array %s with %d controllers",
                            entry.second->getArrayId().c_str(),
                            static_cast<int>(entry.second->getControllerCount()));
        arrayList.push_back(entry.second);
    }
}

std::shared_ptr<CLSWArray> CManager::FindArrayFromMacAddress(
    std::list<std::shared_ptr<CLSWArray>> arrayList, std::string macAddr) {
    for (auto& array : arrayList) {
        if (!array)
            continue;
        for (unsigned int i = 0; i < array->getControllerCount(); ++i) {
            std::shared_ptr<IlswController> controller = array->getController(i);
            if (controller && AreStringsIdenticalIgnoreCase(controller->getMacAddress(), macAddr))
                return array;
        }
    }
    return nullptr;
}

long CManager::DiscoverArrays(std::vector<std::shared_ptr<IlswArray>>& discList,
                              std::string macAddr, std::string& message, bool bUnInitializedOnly) {
    if (!m_adapter) {
        message = ErrorText(1007);
        return 1007;
    }
    long code = FindControllersOnHost();
    std::list<std::shared_ptr<CLSWArray>> arrays;
    JoinArrays(arrays, m_ControllerList);

    if (!arrays.empty()) {
        ZelOutputDebugPrint(HERE, "Found total of %d arrays", static_cast<int>(arrays.size()));
        if (!macAddr.empty()) {
            ZelOutputDebugPrint(HERE, "Searching Array by MAC Address.");
            std::shared_ptr<CLSWArray> array = FindArrayFromMacAddress(arrays, macAddr);
            if (array)
                discList.push_back(array);
        } else if (bUnInitializedOnly) {
            ZelOutputDebugPrint(HERE, "Only UnInitialized Arrays requested");
            for (auto& array : arrays)
                if (array->getArrayState() == ClswDefs::READY)
                    discList.push_back(array);
        } else {
            ZelOutputDebugPrint(HERE, "All Arrays requested");
            for (auto& array : arrays)
                discList.push_back(array);
        }
    }
    ZelOutputDebugPrint(HERE, "Found %d matching arrays", static_cast<int>(discList.size()));
    return code;
}

long CManager::DiscoverVesperControllers(
    std::vector<std::shared_ptr<IlswVesperController>>& controllersVector, std::string& message,
    bool bUnInitializedOnly) {
    if (!m_adapter) {
        message = ErrorText(1007);
        return 1007;
    }
    long code = FindControllersOnHost();
    for (auto& entry : m_ControllerList) {
        auto controller = std::dynamic_pointer_cast<IlswVesperController>(entry.second);
        if (!controller ||
            controller->getProductVersion() != ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB2000)
            continue;
        if (bUnInitializedOnly && controller->isInitialized())
            continue;
        controllersVector.push_back(controller);
    }
    ZelOutputDebugPrint(HERE, "Found %d matching arrays",
                        static_cast<int>(controllersVector.size()));
    return code;
}

std::shared_ptr<CLSWVesperController> CManager::FindVesperControllerFromSerialNumber(
    const std::string SerialNumber) {
    // A full discovery on the wire, every time.
    FindControllersOnHost();
    for (auto& entry : m_ControllerList) {
        std::shared_ptr<IlswController>& controller = entry.second;
        if (controller->getProductVersion() == ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB2000 &&
            AreStringsIdenticalIgnoreCase(controller->getSerialNumber(), SerialNumber))
            return std::dynamic_pointer_cast<CLSWVesperController>(controller);
    }
    return nullptr;
}

// ---- Configuration and status -----------------------------------------------------------

long CManager::ConfigureVesperController(std::shared_ptr<CLSWVesperController> pVesperController,
                                         std::string& message, bool bSkipControllerSearch) {
    if (!pVesperController) {
        message = ErrorText(1010);
        return 1010;
    }
    ZelOutputDebugPrint(HERE,
                        "CManager::ConfigureVesperController() > Configuring VESPER controller %s",
                        pVesperController->getHardwareSn().c_str());
    long valid = pVesperController->Validate(message);
    if (valid != 0)
        return valid;

    std::shared_ptr<CLSWVesperController> discovered =
        bSkipControllerSearch
            ? pVesperController
            : FindVesperControllerFromSerialNumber(pVesperController->getHardwareSn());
    if (!discovered) {
        ZelOutputDebugError(HERE, "Unable to find controller %s for configuration.",
                            pVesperController->getHardwareSn().c_str());
        message = ErrorText(1010);
        return 1010;
    }
    if (discovered->getHardwareSn() == pVesperController->getHardwareSn())
        CopyDiscoveredFacts(*pVesperController, *discovered);
    if (discovered->isInitialized()) {
        ZelOutputDebugError(HERE, "Error: Controller %s is already Initialized",
                            discovered->getHardwareSn().c_str());
        message = ErrorText(1012);
        return 1012;
    }

    CZelAdapter* adapter = discovered->GetAdapterInfo();
    if (!adapter) {
        ZelOutputDebugError(HERE, "Cannot locate discovery network adapter.. using default");
        adapter = m_adapter;
    }

    SETUPRequest request(discovered->getProtocolVersion());
    pVesperController->GetRequestData(request);
    CSetup setup(adapter, &request, discovered->GetMACAddr());
    if (setup.run(static_cast<int>(m_timeout)) == 0) {
        ZelOutputDebugPrint(HERE, "Initialized Ctrl[%d]:%s ",
                            pVesperController->getControllerIndex(),
                            pVesperController->getHardwareSn().c_str());
        message = setup.diag();
        return setup.GetStatus();
    }
    message = setup.diag();
    ZelOutputDebugError(HERE, "Initialization Failed for Ctrl[%d]:%s - error %d",
                        pVesperController->getControllerIndex(),
                        pVesperController->getHardwareSn().c_str(), setup.GetStatus());
    return setup.GetStatus();
}

long CManager::InitializeVesperArray(CLSWVesperArray* pVesperArray, std::string& message) {
    if (!pVesperArray) {
        message = ErrorText(1011);
        return 1011;
    }
    ZelOutputDebugPrint(HERE, "CManager::InitializeVesperArray() > Configuring VESPER Array %s",
                        pVesperArray->getArrayId().c_str());
    long retCode = 0;

    // What is on the wire now, not what an earlier discovery saw.
    std::vector<std::shared_ptr<IlswArray>> arrays;
    DiscoverArrays(arrays, std::string(), message, true);
    ZelOutputDebugPrint(HERE, "Completed inline discovery with %d arrays discovered",
                        static_cast<int>(arrays.size()));

    std::shared_ptr<IlswArray> discovered;
    for (auto& array : arrays) {
        if (array->getProductVersion() == pVesperArray->getProductVersion() &&
            array->getArrayId() == pVesperArray->getArrayId()) {
            discovered = array;
            ZelOutputDebugPrint(HERE, "Found array %s", array->getArrayId().c_str());
            break;
        }
    }
    if (!discovered) {
        ZelOutputDebugError(HERE, "Error: could not find vesper array %s",
                            pVesperArray->getArrayId().c_str());
        message = ErrorText(1011);
        return 1011;
    }
    ClswDefs::Status state = discovered->getArrayState();
    if (state != ClswDefs::READY && state != ClswDefs::PARTIAL_INIT) {
        ZelOutputDebugError(HERE, "Error: Array (%s) is in an invalid state (%d)",
                            discovered->getArrayId().c_str(), static_cast<int>(state));
        message = ErrorText(1013);
        return 1013;
    }

    for (unsigned int i = 0; i < pVesperArray->getControllerCount(); ++i) {
        std::shared_ptr<CLSWVesperController> controller = pVesperArray->FindControllerByIndex(i);
        if (!controller)
            continue;
        if (!controller->isPrimaryController()) {
            ZelOutputDebugPrint(HERE, "Skipping non-primary controller: %s",
                                controller->getHardwareSn().c_str());
            continue;
        }
        for (unsigned int j = 0; j < discovered->getControllerCount(); ++j) {
            auto seen =
                std::dynamic_pointer_cast<CLSWVesperController>(discovered->getController(j));
            if (seen && seen->getSerialNumber() == controller->getSerialNumber()) {
                CopyDiscoveredFacts(*controller, *seen);
                break;
            }
        }
        long code = ConfigureVesperController(controller, message, true);
        if (code == 0) {
            ZelOutputDebugPrint(HERE, "Successfully configured controller: %s",
                                controller->getHardwareSn().c_str());
        } else if (code == 1012) {
            ZelOutputDebugPrint(HERE, "Controller %s, already initialized.",
                                controller->getHardwareSn().c_str());
        } else {
            retCode = code;
            ZelOutputDebugError(HERE, "Failed to configure controller: %s with %ld",
                                controller->getHardwareSn().c_str(), code);
            break;
        }
    }
    return retCode;
}

long CManager::GetVesperControllerInitializeStatus(
    std::shared_ptr<CLSWVesperController> pVesperController,
    std::shared_ptr<IlswConfigurationStatusResponse>& configStatusResponse, std::string& message) {
    if (!pVesperController) {
        message = ErrorText(1010);
        return 1010;
    }
    ZelOutputDebugPrint(HERE,
                        "CManager::GetVesperControllerInitializeStatus() > Fetching VESPER "
                        "controller %s status",
                        pVesperController->getHardwareSn().c_str());
    if (pVesperController->getMacAddress().empty()) {
        ZelOutputDebugError(HERE,
                            "CManager::GetVesperControllerInitializeStatus() > MAC Address not "
                            "found for VESPER controller %s status",
                            pVesperController->getHardwareSn().c_str());
        message = "MAC Address not found for the controller.";
        return -1;
    }
    CZelAdapter* adapter = pVesperController->GetAdapterInfo();
    if (!adapter) {
        ZelOutputDebugError(HERE, "Cannot locate discovery network adapter.. using default");
        adapter = m_adapter;
    }

    int retryCount = 0;
    for (;;) {
        CONFIGURATIONStatusRequest request(pVesperController->getProtocolVersion());
        CPollMsg poll(adapter, &request, pVesperController->GetMACAddr());
        AttachLocale(request, CONFIGURATIONStatusRequest::LOCALIZATION_PARAMETER,
                     pVesperController->getLocale());
        int code = poll.run(ZEL_DEFAULT_SETUP_POLLMSG_TIMEOUT);
        if (code != 0) {
            // The caller's last response stays as it was.
            message = poll.diag();
            ZelOutputDebugError(HERE,
                                "Failed to fetch the config status info. Errorcode: %d - "
                                "Errormessage: %s",
                                code, message.c_str());
            return code;
        }

        CONFIGURATIONStepReader& reader = poll.GetConfigurationStepReader();
        const std::vector<RAWConfigurationStep>& steps = reader.GetSteps();
        const size_t count = std::min<size_t>(reader.GetNumberOfSteps(), steps.size());
        if (count == 0 && retryCount < 3) {
            ++retryCount;
            ZelOutputDebugPrint(HERE, "No Steps were returned. Retrying...%d", retryCount);
            continue;
        }

        auto response = std::make_shared<ClswConfigurationStatusResponse>();
        response->SetConfigurationState(
            static_cast<unsigned int>(poll.GetConfigurationStatusResponseCode()));
        response->SetErrorMessage(poll.GetErrorMessageText());
        response->SetOrchestratorState(poll.GetOrchestratorState());
        for (size_t i = 0; i < count; ++i) {
            auto step = std::make_shared<ClswConfigurationStepList>();
            step->SetStepId(static_cast<uint8_t>(steps[i].configurationStepId));
            step->SetStepStatus(static_cast<uint8_t>(steps[i].configurationStepStatus));
            ZelOutputDebugPrint(HERE, "StepId: [%d] - StepStatus: [%d]",
                                static_cast<int>(step->getStepId()),
                                static_cast<int>(step->getStepStatus()));
            response->AddConfigurationStep(step);
        }
        configStatusResponse = response;
        return 0;
    }
}

// ---- Blink, disks and prejoin -----------------------------------------------------------

long CManager::PreJoinArray(CLSWVesperArray* pVesperArray, std::string& message) {
    if (!pVesperArray) {
        message = ErrorText(1011);
        return 1011;
    }
    ZelOutputDebugPrint(HERE, "Sending PreJoin to Array %s", pVesperArray->getArrayId().c_str());
    long retCode = 0;
    ClswDefs::Status state = pVesperArray->getArrayState();
    if (state != ClswDefs::READY && state != ClswDefs::PARTIAL_INIT) {
        ZelOutputDebugError(HERE, "Error: Array (%s) is in an invalid state (%d)",
                            pVesperArray->getArrayId().c_str(), static_cast<int>(state));
        message = ErrorText(1013);
        return 1013;
    }
    for (unsigned int i = 0; i < pVesperArray->getControllerCount(); ++i) {
        std::shared_ptr<CLSWVesperController> controller = pVesperArray->FindControllerByIndex(i);
        if (!controller)
            continue;
        if (controller->isPrimaryController() && !controller->isInitialized()) {
            CZelAdapter* adapter = controller->GetAdapterInfo();
            if (!adapter) {
                // No default adapter here, and the code has no text of its own.
                ZelOutputDebugError(HERE, "Cannot locate discovery network adapter");
                message = ErrorText(1035);
                return 1035;
            }
            PREJOINRequest request(controller->getProtocolVersion());
            CPreJoin prejoin(adapter, &request, controller->GetMACAddr());
            retCode = prejoin.run();
        } else {
            ZelOutputDebugPrint(
                HERE, "Skipping non-primary or already Initialized controller : %s -- %d",
                controller->getSerialNumber().c_str(), controller->isInitialized() ? 1 : 0);
        }
    }
    return retCode;
}

namespace {

// The opening that blink and disk information share, with the blink's failure texts for
// both as they came over with the logic: no controller is 1010; else the controller's
// adapter and MAC, or, when it has no adapter, those of the same controller found afresh on the
// wire (oFound keeps that one, and so its MAC, alive). 0, or 1010 with message set.
long LocateController(CManager& ioManager, const std::shared_ptr<CLSWVesperController>& iController,
                      CZelAdapter*& oAdapter, const unsigned char*& oMac,
                      std::shared_ptr<CLSWVesperController>& oFound, std::string& message) {
    if (!iController) {
        ZelOutputDebugError(HERE, "NULL controller for sending blink command");
        message = ErrorText(1010);
        return 1010;
    }
    oAdapter = iController->GetAdapterInfo();
    oMac = iController->GetMACAddr();
    if (oAdapter)
        return 0;
    oFound = ioManager.FindVesperControllerFromSerialNumber(iController->getHardwareSn());
    if (!oFound) {
        ZelOutputDebugError(HERE, "Unable to find controller %s for sending blink command",
                            iController->getHardwareSn().c_str());
        message = ErrorText(1010);
        return 1010;
    }
    ZelOutputDebugPrint(HERE, "Cannot locate discovery network adapter.. using default");
    oAdapter = oFound->GetAdapterInfo();
    oMac = oFound->GetMACAddr();
    return 0;
}

}  // namespace

long CManager::BlinkVesperController(std::shared_ptr<CLSWVesperController> vesperController,
                                     unsigned short requestCode,
                                     std::shared_ptr<IlswBlinkResponse>& blinkResponse,
                                     std::string& message) {
    ZelOutputDebugPrint(
        HERE, "CManager::BlinkVesperController() > Invoking blink(%d) on controller %s",
        requestCode, vesperController ? vesperController->getHardwareSn().c_str() : "");
    CZelAdapter* adapter = nullptr;
    const unsigned char* mac = nullptr;
    std::shared_ptr<CLSWVesperController> found;
    long located = LocateController(*this, vesperController, adapter, mac, found, message);
    if (located != 0)
        return located;

    BLINKRequest request(vesperController->getProtocolVersion());
    const char command = static_cast<char>(requestCode & 0xFF);
    request.m_tlv.pushBackEntry(BLINKRequest::BLINK_REQUEST_STATUS, 1, &command);
    AttachLocale(request, BLINKRequest::LOCALIZATION_PARAMETER, vesperController->getLocale());

    CBlink4 blink(adapter, &request, mac);
    if (blink.run(static_cast<int>(m_timeout)) == 0) {
        ZelOutputDebugPrint(HERE, "Invoked blink Command successfully");
        blinkResponse =
            std::make_shared<ClswBlinkResponse>(static_cast<unsigned int>(blink.getBlinkValue()));
        return 0;
    }
    message = blink.diag();
    int status = blink.getBlinkStatus();
    ZelOutputDebugPrint(HERE, "Invoke blink Command Failed with Error code: %d - Errormessage: %s",
                        status, message.c_str());
    return status;
}

long CManager::GetDiskInfo(std::shared_ptr<CLSWVesperController> vesperController,
                           std::vector<std::shared_ptr<IlswDiskInfo>>& diskInfoVector,
                           std::string& message) {
    ZelOutputDebugPrint(HERE, "Fetching diskinfo for controller %s",
                        vesperController ? vesperController->getHardwareSn().c_str() : "");
    CZelAdapter* adapter = nullptr;
    const unsigned char* mac = nullptr;
    std::shared_ptr<CLSWVesperController> found;
    long located = LocateController(*this, vesperController, adapter, mac, found, message);
    if (located != 0)
        return located;

    DISKConfigurationRequest request(vesperController->getProtocolVersion());
    CDiskInfo diskInfo(adapter, &request, mac);
    AttachLocale(request, DISKConfigurationRequest::LOCALIZATION_PARAMETER,
                 vesperController->getLocale());
    // The error state decides, not the exchange's result: it stays non-zero without a reply.
    diskInfo.run(static_cast<int>(m_timeout));
    unsigned int errorState = diskInfo.GetErrorState();
    if (errorState != 0) {
        message = diskInfo.diag();
        ZelOutputDebugError(HERE,
                            "Failed to fetch the disk config info. Errorcode: %d - "
                            "Errormessage: %s",
                            static_cast<int>(errorState), message.c_str());
        return errorState;
    }

    // Every disk of the lists, also past 127.
    const std::vector<RAWDiskData>& disks = diskInfo.GetDiskConfigDataReader().GetDisks();
    const std::vector<RAWDiskDataExtra1>& extras =
        diskInfo.GetDiskConfigExtra1DataReader().GetDisks();
    const size_t diskCount =
        std::min<size_t>(diskInfo.GetDiskConfigDataReader().GetNumberOfDisks(), disks.size());
    const size_t extraCount = std::min<size_t>(
        diskInfo.GetDiskConfigExtra1DataReader().GetNumberOfDisks(), extras.size());
    for (size_t i = 0; i < diskCount; ++i) {
        auto disk = std::make_shared<ClswDiskInfo>();
        disk->SetEnclosureIndex(static_cast<unsigned int>(disks[i].enclosureIndex));
        disk->SetEnclosurePosition(static_cast<unsigned int>(disks[i].enclosurePosition));
        disk->SetDiskStatus(static_cast<unsigned int>(disks[i].diskStatus));
        if (i < extraCount) {
            disk->SetDiskClass(extras[i].diskclass);
            disk->SetDiskSize(extras[i].disksize);
            disk->SetHealthy(extras[i].healthy != 0);
            disk->SetProduct(extras[i].product);
            disk->SetRevision(extras[i].revision);
        }
        diskInfoVector.push_back(disk);
        ZelOutputDebugPrint(
            HERE, "DiskClass: %s, DiskSize: %lld, Healthy: %d, Product: %s, Revision: %s",
            disk->getDiskClass().c_str(), disk->getDiskSize(), disk->getHealthy() ? 1 : 0,
            disk->getProduct().c_str(), disk->getRevision().c_str());
        ZelOutputDebugPrint(HERE, "DiskStatus: %d, EnclosureIndex: %d, EnclosurePosition: %d",
                            static_cast<int>(disk->getDiskStatus()),
                            static_cast<int>(disk->getEnclosureIndex()),
                            static_cast<int>(disk->getEnclosurePosition()));
    }
    return 0;
}
