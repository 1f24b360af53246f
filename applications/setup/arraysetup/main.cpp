// arraysetup: the console setup wizard of a controller fresh from the factory. It takes no
// command line; the exit status is the wizard's error class.
#include <curses.h>

#include "consoleSetupWizardVesper.h"
#include "target/targetCurrent.h"

namespace {
// The one platform this wizard configures.
const int SUPPORTED_TARGET_TYPE = 9;
}  // namespace

int main() {
    initscr();
    scrollok(stdscr, TRUE);
    clear();
    refresh();

    if (platform::TargetCurrent::Instance()->GetTargetType() != SUPPORTED_TARGET_TYPE) {
        printw("The Setup Wizard is not compatible with this version of controller.\n");
        printw("Please contact Kelt Support for further assistance.");
    } else {
        CONSOLESetupWizardVesper& wizard = CONSOLESetupWizardVesper::GetInstance();
        wizard.StartWizard();
        CONSOLESetupWizard::WIZARDState state;
        do {
            state = wizard.NextState();
        } while (state != CONSOLESetupWizard::Finished_NoError &&
                 state != CONSOLESetupWizard::Finished_Error);
        if (state == CONSOLESetupWizard::Finished_Error) {
            printw("Setup failed with the following error:\n %s\n",
                   wizard.GetLastErrorString().c_str());
            refresh();
            endwin();
            return wizard.GetLastErrorCode();
        }
    }
    refresh();
    endwin();
    return 0;
}
