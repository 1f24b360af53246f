#ifndef ARRAYSETUP_CONSOLESETUPWIZARD_H
#define ARRAYSETUP_CONSOLESETUPWIZARD_H

#include <memory>
#include <string>

#include "consoleScreen.h"

class APIScController;
class IlswArray;

// The field labels. The array-wide address is the one labelled primary and the per-controller
// address the one labelled secondary.
const std::string SKYLARK_MANAGEMENT_ADDRESS_STRING = "Primary Management Address(IPv4)";
const std::string STORAGE_CELL_NAME_STRING = "Storage Cell Name";
const std::string CONTROLLER_MANAGEMENT_ADDRESS_STRING = "Secondary Management Address(IPv4)";
const std::string CONTROLLER_DEFAULT_GATEWAY_STRING = "Default Gateway (IPv4)";
const std::string CONTROLLER_NETMASK_STRING = "Netmask (IPv4)";
const std::string CONTROLLER_PRIMARY_DNS_STRING = "Primary DNS Server (IPv4)";
const std::string CONTROLLER_SECONDARY_DNS_STRING = "Secondary DNS Server (IPv4)";
const std::string CONTROLLER_DOMAIN_NAME_STRING = "Domain Name";
const std::string ADMIN_EMAIL_ADDRESS_STRING = "Default Admin E-Mail Address";

// The system serial number: the host name's first label less its two-character prefix. A
// first label of one character throws std::out_of_range.
std::string GetSSNAsString();
// The same rule on a given node name.
std::string GetSSNAsString(const char* iNodeName);

// Overwrites a string's whole storage, then empties it.
void WipeString(std::string& ioText);

// The 256-byte buffer every console line is read into: zeroed before the read, wiped when it
// goes, since it may have held a password.
class CONSOLELineBuffer {
public:
    static const int SIZE = 256;
    CONSOLELineBuffer();
    ~CONSOLELineBuffer();
    CONSOLELineBuffer(const CONSOLELineBuffer&) = delete;
    CONSOLELineBuffer& operator=(const CONSOLELineBuffer&) = delete;

    char* Data() { return mText; }
    // The longest line that fits with its NUL.
    static int Limit() { return SIZE - 1; }

private:
    char mText[SIZE];
};

class CONSOLESetupWizard {
public:
    enum WIZARDState {
        Start = 0,
        DisplayBanner = 1,
        VerifyConfiguration = 2,
        MatchArray = 3,
        GetConfigData = 4,
        ReviewConfigData = 5,
        RunConfiguration = 6,
        DisplayPostConfiguration = 7,
        Finished_NoError = 8,
        Finished_Error = 9,
    };

    // Also the process exit status.
    enum ERRORCode {
        ERRORNoError = 0,
        ERRORUnableToDiscoverArray = 1,
        ERRORSetupApiFailure = 2,
        ERRORSCAlreadyConfigured = 3,
    };

    enum ConfigurationStepList {
        ConfigStepSubmitLicense = 1,
        ConfigStepEulaAccept = 2,
        ConfigStepConfigureDisks = 3,
        ConfigStepJoinControllers = 4,
        ConfigStepEnableCache = 5,
        ConfigStepGenerateSSLKey = 6,
        ConfigStepConfigureIoPorts = 7,
        ConfigStepConfigureBackendPorts = 8,
        ConfigStepSetUserPassword = 9,
        ConfigStepControllerUpdate = 10,
        ConfigStepSetControllerIPAddress = 11,
        ConfigStepSetManagementIPAddress = 12,
        ConfigStepConfigureKeyManagementServer = 13,
    };

    enum ConfigurationStepStatus {
        StepStatusComplete = 0,
        StepStatusInProgress = 1,
        StepStatusConfiguredNotRun = 2,
        StepStatusFailed = 3,
        StepStatusNotConfigured = 4,
    };

    virtual ~CONSOLESetupWizard();

    void StartWizard();
    WIZARDState NextState();
    std::string GetLastErrorString();
    ERRORCode GetLastErrorCode();

    std::string ReadLineWithDefault(const std::string iName, const std::string iDefault);
    std::string ReadLineWithNoDefault(const std::string iName);
    std::string GetIPAddressFromCommandLine(const std::string iCommandPrompt,
                                            const std::string iDefaultValue, bool iIsRequired);
    bool GetYesNoDefaultYes(const std::string iMessage);
    std::string GetPassword(const char* ipPrompt);
    int GetPasswordChar();
    std::string ConfigurationStepToString(int iStep);
    std::string ConfigurationStepStatusToString(int iStatus);

protected:
    explicit CONSOLESetupWizard(CONSOLEScreen& ioScreen);
    CONSOLESetupWizard(const CONSOLESetupWizard&) = delete;
    CONSOLESetupWizard& operator=(const CONSOLESetupWizard&) = delete;

    virtual void DisplayStartBanner();
    virtual bool VerifyConfigurationState();
    virtual bool MatchArrayToController();
    virtual bool PromptForArrayConfigData(bool iRetry) = 0;
    virtual bool ReviewArrayConfigData() = 0;
    virtual bool RunConfigurationProcess() = 0;
    virtual void DisplayPostConfigurationMessage();

    // Reads a password into oPassword, whose storage is reserved beforehand so that no
    // reallocation leaves a copy behind; the line buffer is wiped on the way out.
    void ReadPassword(const char* ipPrompt, std::string& oPassword);
    void Print(const std::string& iText) { mScreen.Print(iText); }
    void Refresh() { mScreen.Refresh(); }
    void Clear() { mScreen.Clear(); }

    const APIScController* mpController;
    std::shared_ptr<IlswArray> mArray;
    std::string mLastErrorString;
    ERRORCode mLastErrorCode;
    WIZARDState mNextState;
    CONSOLEScreen& mScreen;

private:
    std::string ReadLine();
};

#endif
