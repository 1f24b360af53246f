#ifndef ARRAYSETUP_CONSOLESETUPWIZARDVESPER_H
#define ARRAYSETUP_CONSOLESETUPWIZARDVESPER_H

#include "consoleSetupWizard.h"

// The wizard of the two-controller array: its prompts, review and configuration run.
class CONSOLESetupWizardVesper : public CONSOLESetupWizard {
public:
    // The one wizard of the process, on the curses screen.
    static CONSOLESetupWizardVesper& GetInstance();

    ~CONSOLESetupWizardVesper() override;

protected:
    explicit CONSOLESetupWizardVesper(CONSOLEScreen& ioScreen);

    bool PromptForArrayConfigData(bool iRetry) override;
    bool ReviewArrayConfigData() override;
    bool RunConfigurationProcess() override;
    void DisplayPostConfigurationMessage() override;
};

#endif
