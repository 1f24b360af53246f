#include "consoleSetupWizardVesper.h"

#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/LSWConfigAPI.h"
#include "zelutil/ZelClock.h"

namespace {

// The pause between two status polls.
const unsigned int STATUS_POLL_PAUSE_MS = 500;

std::shared_ptr<IlswVesperController> ControllerAt(const std::shared_ptr<IlswArray>& iArray,
                                                   unsigned int iIndex) {
    return std::static_pointer_cast<IlswVesperController>(iArray->getController(iIndex));
}

}  // namespace

CONSOLESetupWizardVesper& CONSOLESetupWizardVesper::GetInstance() {
    static CONSOLESetupWizardVesper wizard(CONSOLECursesScreen::Instance());
    return wizard;
}

CONSOLESetupWizardVesper::CONSOLESetupWizardVesper(CONSOLEScreen& ioScreen)
    : CONSOLESetupWizard(ioScreen) {}

CONSOLESetupWizardVesper::~CONSOLESetupWizardVesper() {}

bool CONSOLESetupWizardVesper::PromptForArrayConfigData(bool iRetry) {
    if (!iRetry && !GetYesNoDefaultYes("Do you wish to continue with configuration [Y/n]?"))
        return false;
    Clear();
    Refresh();
    // The first controller holds the array-wide answers; the others receive copies.
    std::shared_ptr<IlswVesperController> templateController = ControllerAt(mArray, 0);
    Print("\n =======  Set System Information ======= \n\n");
    Refresh();

    // The model is the only store of the answers, so each goes in before the next question
    // and a later pass shows it as the default.
    templateController->setScName(
        ReadLineWithDefault(STORAGE_CELL_NAME_STRING, templateController->getScName()));
    templateController->setMgmtIp4Address(GetIPAddressFromCommandLine(
        SKYLARK_MANAGEMENT_ADDRESS_STRING, templateController->getMgmtIp4Address(), true));
    templateController->setEth0Ip4Netmask(GetIPAddressFromCommandLine(
        CONTROLLER_NETMASK_STRING, templateController->getEth0Ip4Netmask(), true));
    templateController->setEth0Ip4Gateway(GetIPAddressFromCommandLine(
        CONTROLLER_DEFAULT_GATEWAY_STRING, templateController->getEth0Ip4Gateway(), true));
    templateController->setDomainName(
        ReadLineWithDefault(CONTROLLER_DOMAIN_NAME_STRING, templateController->getDomainName()));
    templateController->setPrimaryDns(GetIPAddressFromCommandLine(
        CONTROLLER_PRIMARY_DNS_STRING, templateController->getPrimaryDns(), true));
    std::string secondaryDns = GetIPAddressFromCommandLine(
        CONTROLLER_SECONDARY_DNS_STRING, templateController->getSecondaryDns(), false);
    if (!secondaryDns.empty())
        templateController->setSecondaryDns(secondaryDns);

    const unsigned int count = mArray->getControllerCount();
    for (unsigned int i = 1; i < count; ++i) {
        std::shared_ptr<IlswVesperController> controller = ControllerAt(mArray, i);
        controller->setMgmtIp4Address(templateController->getMgmtIp4Address());
        controller->setScName(templateController->getScName());
        controller->setEth0Ip4Netmask(templateController->getEth0Ip4Netmask());
        controller->setEth0Ip4Gateway(templateController->getEth0Ip4Gateway());
        controller->setDomainName(templateController->getDomainName());
        controller->setPrimaryDns(templateController->getPrimaryDns());
        controller->setSecondaryDns(templateController->getSecondaryDns());
    }

    for (unsigned int i = 0; i < count; ++i) {
        std::shared_ptr<IlswVesperController> controller = ControllerAt(mArray, i);
        Print("\n =======  Set Controller Specific Information (SN # " +
              controller->getSerialNumber() + ")  ======= \n\n");
        Refresh();
        controller->setEth0Ip4Address(GetIPAddressFromCommandLine(
            CONTROLLER_MANAGEMENT_ADDRESS_STRING, controller->getEth0Ip4Address(), true));
    }

    Print("\n=======  Set User Information =======\n\n");
    Refresh();
    templateController->setEmailAddress(
        ReadLineWithDefault(ADMIN_EMAIL_ADDRESS_STRING, templateController->getEmailAddress()));

    // The two words differ only so that the loop is entered. Their storage is reserved up
    // front so that no plaintext is left behind by a reallocation.
    std::string passwordFirst;
    std::string passwordSecond;
    passwordFirst.reserve(CONSOLELineBuffer::SIZE);
    passwordSecond.reserve(CONSOLELineBuffer::SIZE);
    passwordFirst = "first";
    passwordSecond = "second";
    for (unsigned int attempts = 0; passwordFirst != passwordSecond; ++attempts) {
        if (attempts > 0)
            Print("The passwords did not match. Try again.\n");
        ReadPassword("Enter A New Password for the Admin User: ", passwordFirst);
        ReadPassword("Re-Enter The Password: ", passwordSecond);
    }
    templateController->setPassword(passwordSecond);
    WipeString(passwordFirst);
    WipeString(passwordSecond);
    return true;
}

bool CONSOLESetupWizardVesper::ReviewArrayConfigData() {
    Clear();
    Refresh();
    std::shared_ptr<IlswVesperController> templateController = ControllerAt(mArray, 0);
    Print("\n=======  Review Configuration Data   =======\n\n");
    Print("\n=======  System Information =======\n\n");
    const std::pair<const std::string*, std::string> system[] = {
        {&STORAGE_CELL_NAME_STRING, templateController->getScName()},
        {&SKYLARK_MANAGEMENT_ADDRESS_STRING, templateController->getMgmtIp4Address()},
        {&CONTROLLER_NETMASK_STRING, templateController->getEth0Ip4Netmask()},
        {&CONTROLLER_DEFAULT_GATEWAY_STRING, templateController->getEth0Ip4Gateway()},
        {&CONTROLLER_DOMAIN_NAME_STRING, templateController->getDomainName()},
        {&CONTROLLER_PRIMARY_DNS_STRING, templateController->getPrimaryDns()},
        {&CONTROLLER_SECONDARY_DNS_STRING, templateController->getSecondaryDns()},
    };
    for (const auto& field : system)
        Print(*field.first + " : " + field.second + "\n");
    for (unsigned int i = 0; i < mArray->getControllerCount(); ++i) {
        std::shared_ptr<IlswVesperController> controller = ControllerAt(mArray, i);
        Print("\n=======  Controller SN # " + controller->getSerialNumber() + "  ======= \n\n");
        Print(CONTROLLER_MANAGEMENT_ADDRESS_STRING + " : " + controller->getEth0Ip4Address() +
              "\n");
    }
    Print("\n=======  User Information =======\n\n");
    Print(ADMIN_EMAIL_ADDRESS_STRING + " : " + templateController->getEmailAddress() + "\n");
    Print("\n============================================\n\n");
    Refresh();
    return GetYesNoDefaultYes("Do you wish to continue with this configuration [Y/n]?");
}

bool CONSOLESetupWizardVesper::RunConfigurationProcess() {
    static const char progInd[] = {'-', '\\', '_', '/'};
    std::shared_ptr<IlswConfigurationStatusResponse> status =
        ClswConfigFactory::getConfigurationStatusResponseObj();
    bool isInitialized = false;
    bool isError = false;
    unsigned int inProgressCount = 0;

    Clear();
    Refresh();
    Print("\nStorage Cell will now begin its configuration process.\n");
    Print("Please be patient as this operation may take up to 10 minutes\n");
    Refresh();

    ApiResult result = mArray->initialize();
    if (result.resultCode != 0) {
        mLastErrorString = result.resultMsg;
        mLastErrorCode = ERRORSetupApiFailure;
        return false;
    }
    std::shared_ptr<IlswController> controller = mArray->getController(0);
    Print("==== Configuring the Storage Cell ==== \n");
    Refresh();
    int stepYCursorPos = 0;
    int stepXCursorPos = 0;
    mScreen.GetCursor(stepYCursorPos, stepXCursorPos);

    // Only the controller's report ends the wait: a failed poll leaves the last response in
    // force, and an empty step list counts as done.
    while (!isInitialized && !isError) {
        controller->getInitializeStatus(status);
        if (status) {
            std::vector<std::shared_ptr<IlswConfigurationStepList>> steps =
                status->getConfigurationStepList();
            ++inProgressCount;
            isInitialized = true;
            // One line, rewritten on every poll.
            mScreen.Move(stepYCursorPos, 0);
            mScreen.ClearToEndOfLine();
            mScreen.GetCursor(stepYCursorPos, stepXCursorPos);
            for (const std::shared_ptr<IlswConfigurationStepList>& step : steps) {
                switch (step->getStepStatus()) {
                    case StepStatusInProgress:
                        Print(ConfigurationStepToString(step->getStepId()) + " ----> " +
                              ConfigurationStepStatusToString(step->getStepStatus()) + " " +
                              progInd[inProgressCount % 4]);
                        Refresh();
                        isInitialized = false;
                        break;
                    case StepStatusFailed:
                        isError = true;
                        mLastErrorString = status->getErrorMessage();
                        mLastErrorCode = ERRORSetupApiFailure;
                        break;
                    case StepStatusComplete:
                        break;
                    default:
                        isInitialized = false;
                        break;
                }
            }
        }
        ZelClock::Pause(STATUS_POLL_PAUSE_MS);
    }
    return !isError;
}

void CONSOLESetupWizardVesper::DisplayPostConfigurationMessage() {
    std::shared_ptr<IlswVesperController> controller = ControllerAt(mArray, 0);
    Print("\nConfiguration has successfully completed!\n");
    Print("You may now use Skylark to connect to this array\n");
    Print("(use the following IP Address: " + controller->getMgmtIp4Address() + ")\n");
    Refresh();
}
