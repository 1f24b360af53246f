#include "consoleSetupWizard.h"

#include <arpa/inet.h>
#include <openssl/crypto.h>
#include <sys/utsname.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "LSWConfig4/LSWConfigAPI.h"
#include "LSWConfig4/LSWConfigMgr.h"
#include "applications/setup/arrayinitd/apiObjectHandler.h"

namespace {

// What discovery is asked for: every product of the family, configured or not, any MAC. The
// timeout lies below the accepted range, so the manager's own applies.
const unsigned int DISCOVERY_PLATFORM_MASK = 11;
const unsigned int DISCOVERY_TIMEOUT = 1;

bool IsIPv4Address(const std::string& iText) {
    struct in_addr address;
    return inet_pton(AF_INET, iText.c_str(), &address) == 1;
}

}  // namespace

std::string GetSSNAsString(const char* iNodeName) {
    std::string result;
    std::vector<char> name(iNodeName, iNodeName + strlen(iNodeName) + 1);
    char* save = nullptr;
    const char* token = strtok_r(name.data(), ".", &save);
    if (token)
        result = std::string(token).substr(2);
    return result;
}

std::string GetSSNAsString() {
    struct utsname names;
    if (uname(&names) != 0)
        return std::string();
    return GetSSNAsString(names.nodename);
}

void WipeString(std::string& ioText) {
    ioText.resize(ioText.capacity());
    if (!ioText.empty())
        OPENSSL_cleanse(&ioText[0], ioText.size());
    ioText.clear();
}

CONSOLELineBuffer::CONSOLELineBuffer() {
    memset(mText, 0, sizeof(mText));
}

CONSOLELineBuffer::~CONSOLELineBuffer() {
    OPENSSL_cleanse(mText, sizeof(mText));
}

CONSOLESetupWizard::CONSOLESetupWizard(CONSOLEScreen& ioScreen)
    : mpController(nullptr), mLastErrorCode(ERRORNoError), mNextState(Start), mScreen(ioScreen) {}

CONSOLESetupWizard::~CONSOLESetupWizard() {}

void CONSOLESetupWizard::StartWizard() {
    mNextState = Start;
}

std::string CONSOLESetupWizard::GetLastErrorString() {
    return mLastErrorString;
}

CONSOLESetupWizard::ERRORCode CONSOLESetupWizard::GetLastErrorCode() {
    return mLastErrorCode;
}

// Moves on first, and ends the run when the step failed.
#define NEXT_STATE(step, next)           \
    do {                                 \
        mNextState = (next);             \
        if (!(step)) {                   \
            mNextState = Finished_Error; \
            return mNextState;           \
        }                                \
    } while (0)

CONSOLESetupWizard::WIZARDState CONSOLESetupWizard::NextState() {
    bool success = true;
    switch (mNextState) {
        case Start:
            mNextState = DisplayBanner;
            break;
        case DisplayBanner:
            DisplayStartBanner();
            mNextState = VerifyConfiguration;
            break;
        case VerifyConfiguration:
            NEXT_STATE(VerifyConfigurationState(), MatchArray);
            break;
        case MatchArray:
            NEXT_STATE(MatchArrayToController(), GetConfigData);
            break;
        case GetConfigData:
            NEXT_STATE(PromptForArrayConfigData(false), ReviewConfigData);
            break;
        case ReviewConfigData:
            // A turned-down review asks every field again, the last answers as defaults; only the
            // last pass's result counts, once a review is accepted.
            while (!ReviewArrayConfigData()) {
                Clear();
                Refresh();
                success = PromptForArrayConfigData(true);
            }
            NEXT_STATE(success, RunConfiguration);
            break;
        case RunConfiguration:
            NEXT_STATE(RunConfigurationProcess(), DisplayPostConfiguration);
            break;
        case DisplayPostConfiguration:
            DisplayPostConfigurationMessage();
            mNextState = Finished_NoError;
            break;
        case Finished_NoError:
        case Finished_Error:
            break;
    }
    return mNextState;
}

std::string CONSOLESetupWizard::ReadLine() {
    CONSOLELineBuffer buffer;
    mScreen.ReadLine(buffer.Data(), CONSOLELineBuffer::Limit());
    return std::string(buffer.Data());
}

std::string CONSOLESetupWizard::ReadLineWithDefault(const std::string iName,
                                                    const std::string iDefault) {
    // The default is only shown: a bare Enter gives the empty line.
    Print(iName + " [" + iDefault + "] :");
    return ReadLine();
}

std::string CONSOLESetupWizard::ReadLineWithNoDefault(const std::string iName) {
    Print(iName + " :");
    return ReadLine();
}

std::string CONSOLESetupWizard::GetIPAddressFromCommandLine(const std::string iCommandPrompt,
                                                            const std::string iDefaultValue,
                                                            bool iIsRequired) {
    for (;;) {
        std::string candidate = iDefaultValue;
        // An invalid or empty default is not offered.
        std::string line = IsIPv4Address(candidate)
                               ? ReadLineWithDefault(iCommandPrompt, iDefaultValue)
                               : ReadLineWithNoDefault(iCommandPrompt);
        if (!line.empty())
            candidate = line;
        if (IsIPv4Address(candidate))
            return candidate;
        if (!iIsRequired && line.empty())
            return std::string();
        Print("\t\t '" + candidate + "' is not a valid IP\n");
        Refresh();
    }
}

bool CONSOLESetupWizard::GetYesNoDefaultYes(const std::string iMessage) {
    for (;;) {
        Print(iMessage);
        std::string line = ReadLine();
        if (line.empty() || line == "y" || line == "Y")
            return true;
        if (line == "n" || line == "N")
            return false;
    }
}

void CONSOLESetupWizard::ReadPassword(const char* ipPrompt, std::string& oPassword) {
    Print(ipPrompt);
    Refresh();
    CONSOLELineBuffer buffer;
    mScreen.ReadHiddenLine(buffer.Data(), CONSOLELineBuffer::Limit());
    Refresh();
    WipeString(oPassword);
    oPassword.reserve(CONSOLELineBuffer::SIZE);
    oPassword.assign(buffer.Data());
}

std::string CONSOLESetupWizard::GetPassword(const char* ipPrompt) {
    std::string password;
    ReadPassword(ipPrompt, password);
    return password;
}

int CONSOLESetupWizard::GetPasswordChar() {
    struct termios saved;
    tcgetattr(0, &saved);
    struct termios raw = saved;
    raw.c_lflag &= ~(ICANON | ECHO);
    tcsetattr(0, TCSANOW, &raw);
    int c = getchar();
    tcsetattr(0, TCSANOW, &saved);
    return c;
}

std::string CONSOLESetupWizard::ConfigurationStepToString(int iStep) {
    switch (iStep) {
        case ConfigStepSubmitLicense:
            return "Configuring License";
        case ConfigStepEulaAccept:
            return "Accepting EULA";
        case ConfigStepConfigureDisks:
            return "Configure Disks";
        case ConfigStepJoinControllers:
            return "Joining Controllers";
        case ConfigStepEnableCache:
            return "Enable Read/Write Cache";
        case ConfigStepGenerateSSLKey:
            return "Generate SSL Key";
        case ConfigStepConfigureIoPorts:
            return "Configure I/O Ports";
        case ConfigStepConfigureBackendPorts:
            return "Configuring Backend Ports";
        case ConfigStepSetUserPassword:
            return "Setting User Password";
        case ConfigStepControllerUpdate:
            return "Updating Controller";
        case ConfigStepSetControllerIPAddress:
            return "Setting Secondary Management IP";
        case ConfigStepSetManagementIPAddress:
            return "Setting Primary Management IP";
        case ConfigStepConfigureKeyManagementServer:
            return "Configuring Key Server";
        default:
            return "Unknown";
    }
}

std::string CONSOLESetupWizard::ConfigurationStepStatusToString(int iStatus) {
    switch (iStatus) {
        case StepStatusComplete:
            return "Complete";
        case StepStatusInProgress:
            return "In Progress";
        case StepStatusConfiguredNotRun:
            return "Not Run";
        case StepStatusFailed:
            return "Failed";
        case StepStatusNotConfigured:
            return "Waiting For Configuration";
        default:
            return "Unknown";
    }
}

void CONSOLESetupWizard::DisplayStartBanner() {
    Print("\n=======   Setup Utility   =======\n");
    Print("\nThe setup utility establishes the initial\n");
    Print("network and storage configuration for a Storage Cell\n\n");
    Print("---Press Enter To Continue---\n");
    Refresh();
    ReadLine();
}

bool CONSOLESetupWizard::VerifyConfigurationState() {
    Print("Gathering required information for this controller... \n");
    Refresh();
    // Both handlers end with this step, and the objects they handed out with them.
    APIObjectHandler<const APIScController*, APIScController::APIScControllerGetListMethod>
        controllers;
    APIObjectHandler<const APIStorageCell*, APIStorageCell::APIStorageCellGetMethod> cells;
    mpController = controllers.GetFilteredObjectFromList(
        APIScController::GetHardwareSerialNumberAttr(), GetSSNAsString());
    const APIStorageCell* cell = cells.GetObject(GetSSNAsString());
    if (!mpController || !cell) {
        // No failure class is recorded: the process ends with status 0.
        mLastErrorString =
            "Unable to discover controller information.  A serious error has occurred.  "
            "Please contact KELT support.";
        return false;
    }
    if (cell->GetOperationMode() == StorageCellOperationModeEnum_Normal) {
        mLastErrorString =
            "The Storage Cell has already been initialized.  Please use Skylark for further "
            "management operations.";
        mLastErrorCode = ERRORSCAlreadyConfigured;
        return false;
    }
    return true;
}

bool CONSOLESetupWizard::MatchArrayToController() {
    Print("\nSearching for additional controllers on the network...\n");
    Print("This may take up to 60 seconds...\n");
    Refresh();
    std::vector<std::shared_ptr<IlswArray>> arrays;
    std::string message;
    long result =
        _GetArrays(arrays, DISCOVERY_PLATFORM_MASK, message, "", false, DISCOVERY_TIMEOUT, "");
    if (result != 0) {
        mLastErrorString = message;
        mLastErrorCode = ERRORSetupApiFailure;
        return false;
    }
    // Only each array's first controller is compared: the wizard runs on the controller
    // that sorts first.
    for (const std::shared_ptr<IlswArray>& array : arrays) {
        std::shared_ptr<IlswController> first = array ? array->getController(0) : nullptr;
        if (!first || first->getSerialNumber() != GetSSNAsString())
            continue;
        Print("Setup has found the following controllers that require configuration:\n");
        for (unsigned int i = 0; i < array->getControllerCount(); ++i)
            Print("Serial Number # " + array->getController(i)->getSerialNumber() + "\n");
        mArray = array;
        Refresh();
        return true;
    }
    mLastErrorString = "Setup was unable to discover this array";
    mLastErrorCode = ERRORUnableToDiscoverArray;
    Refresh();
    return false;
}

void CONSOLESetupWizard::DisplayPostConfigurationMessage() {
    Print("\nConfiguration has successfully completed!\n");
    Refresh();
}
