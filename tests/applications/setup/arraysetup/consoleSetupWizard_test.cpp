#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>

#include "LSWConfig4/LSWConfigModel.h"
#include "consoleSetupWizardVesper.h"

namespace {

// Plays the operator's lines and keeps what the terminal would show: echoed lines appear
// with their Enter, hidden ones not at all, and each clear as "<clear>".
class ScriptedScreen : public CONSOLEScreen {
public:
    // What the operator types, each line ended by its Enter.
    explicit ScriptedScreen(const std::string& iTyped) : mTyped(iTyped) {}
    std::istringstream mTyped;
    std::string mOut;

    void Print(const std::string& iText) override { mOut += iText; }
    void Refresh() override {}
    void Clear() override { mOut += "<clear>"; }
    void ReadLine(char* oBuffer, int iLimit) override { Take(oBuffer, iLimit, true); }
    void ReadHiddenLine(char* oBuffer, int iLimit) override { Take(oBuffer, iLimit, false); }
    void Move(int, int) override {}
    void ClearToEndOfLine() override {}
    void GetCursor(int& oY, int& oX) override { oY = oX = 0; }

private:
    void Take(char* oBuffer, int iLimit, bool iEcho) {
        std::string line;
        if (!std::getline(mTyped, line))
            throw std::runtime_error("the operator has typed everything");
        line.resize(std::min<size_t>(line.size(), iLimit));
        memcpy(oBuffer, line.c_str(), line.size() + 1);
        if (iEcho)
            mOut += line + "\n";
    }
};

// Every step scripted: each logs its name on the screen and returns the next result given.
class TableWizard : public CONSOLESetupWizard {
public:
    // iResults: t or f for each step called in turn, then t.
    explicit TableWizard(ScriptedScreen& ioScreen, WIZARDState iState = Start,
                         std::string iResults = "")
        : CONSOLESetupWizard(ioScreen), mResults(std::move(iResults)) {
        mNextState = iState;
    }
    std::string mResults;

protected:
    bool Step(const char* iName) {
        Print(iName);
        return mNext >= mResults.size() || mResults[mNext++] == 't';
    }
    size_t mNext = 0;
    void DisplayStartBanner() override { Step("banner "); }
    bool VerifyConfigurationState() override { return Step("verify "); }
    bool MatchArrayToController() override { return Step("match "); }
    bool PromptForArrayConfigData(bool iRetry) override {
        return Step(iRetry ? "prompt(retry) " : "prompt ");
    }
    bool ReviewArrayConfigData() override { return Step("review "); }
    bool RunConfigurationProcess() override { return Step("run "); }
    void DisplayPostConfigurationMessage() override { Step("post "); }
};

class VesperWizard : public CONSOLESetupWizardVesper {
public:
    explicit VesperWizard(ScriptedScreen& ioScreen) : CONSOLESetupWizardVesper(ioScreen) {}
    void Enter(WIZARDState iState) { mNextState = iState; }
    void SetArray(std::shared_ptr<IlswArray> iArray) { mArray = std::move(iArray); }
};

using W = CONSOLESetupWizard;

TEST(ConsoleSetupWizard, NextStateRoutesEachStepAndEndsOnFailure) {
    const struct {
        W::WIZARDState entry;
        const char* results;
        W::WIZARDState next;
        const char* shown;
    } cases[] = {
        {W::Start, "", W::DisplayBanner, ""},
        {W::DisplayBanner, "", W::VerifyConfiguration, "banner "},
        {W::VerifyConfiguration, "t", W::MatchArray, "verify "},
        {W::VerifyConfiguration, "f", W::Finished_Error, "verify "},
        {W::MatchArray, "t", W::GetConfigData, "match "},
        {W::MatchArray, "f", W::Finished_Error, "match "},
        {W::GetConfigData, "t", W::ReviewConfigData, "prompt "},
        {W::GetConfigData, "f", W::Finished_Error, "prompt "},
        {W::ReviewConfigData, "t", W::RunConfiguration, "review "},
        {W::ReviewConfigData, "ftft", W::RunConfiguration,
         "review <clear>prompt(retry) review <clear>prompt(retry) review "},
        // Only the last prompting pass counts, and only once a review is accepted.
        {W::ReviewConfigData, "fft", W::Finished_Error, "review <clear>prompt(retry) review "},
        {W::ReviewConfigData, "fffttt", W::RunConfiguration,
         "review <clear>prompt(retry) review <clear>prompt(retry) review "},
        {W::RunConfiguration, "t", W::DisplayPostConfiguration, "run "},
        {W::RunConfiguration, "f", W::Finished_Error, "run "},
        {W::DisplayPostConfiguration, "", W::Finished_NoError, "post "},
        {W::Finished_NoError, "", W::Finished_NoError, ""},
        {W::Finished_Error, "", W::Finished_Error, ""}};
    for (const auto& c : cases) {
        ScriptedScreen screen("");
        TableWizard wizard(screen, c.entry, c.results);
        EXPECT_EQ(wizard.NextState(), c.next) << c.entry << " " << c.results;
        EXPECT_EQ(screen.mOut, c.shown) << c.entry << " " << c.results;
        EXPECT_EQ(wizard.GetLastErrorCode(), W::ERRORNoError);
    }
}

TEST(ConsoleSetupWizard, AddressPromptTakesOnlyIPv4AndFallsBackToAValidDefault) {
    const struct {
        const char* fallback;
        bool required;
        const char* typed;
        const char* expected;
        const char* shown;
    } cases[] = {
        {"10.0.0.1", false, "\n", "10.0.0.1", "IP [10.0.0.1] :\n"},
        {"10.0.0.1", true, "300.1.1.1\n10.0.0.9\n", "10.0.0.9",
         "IP [10.0.0.1] :300.1.1.1\n\t\t '300.1.1.1' is not a valid IP\nIP [10.0.0.1] :10.0.0.9\n"},
        {"", true, "\n10.0.0.2\n", "10.0.0.2", "IP :\n\t\t '' is not a valid IP\nIP :10.0.0.2\n"},
        {"", false, "\n", "", "IP :\n"},
        {"", false, "1.2.3\n\n", "", "IP :1.2.3\n\t\t '1.2.3' is not a valid IP\nIP :\n"},
        {"bad", true, "::1\n 10.0.0.3\n10.0.0.3\n", "10.0.0.3",
         "IP :::1\n\t\t '::1' is not a valid IP\nIP : 10.0.0.3\n\t\t ' 10.0.0.3' is not a valid "
         "IP\nIP :10.0.0.3\n"}};
    for (const auto& c : cases) {
        ScriptedScreen screen(c.typed);
        TableWizard wizard(screen);
        EXPECT_EQ(wizard.GetIPAddressFromCommandLine("IP", c.fallback, c.required), c.expected);
        EXPECT_EQ(screen.mOut, c.shown);
        EXPECT_EQ(screen.mTyped.peek(), EOF) << c.shown;
    }
}

// A bare Enter is yes; anything but y, Y, n and N asks again with no complaint.
TEST(ConsoleSetupWizard, YesNoPrimitiveAndLineReading) {
    const struct {
        const char* typed;
        bool expected;
        const char* shown;
    } cases[] = {
        {"\n", true, "Q?\n"},    {"y\n", true, "Q?y\n"},
        {"Y\n", true, "Q?Y\n"},  {"n\n", false, "Q?n\n"},
        {"N\n", false, "Q?N\n"}, {"yes\n y\nno\nnN\nN\n", false, "Q?yes\nQ? y\nQ?no\nQ?nN\nQ?N\n"}};
    for (const auto& c : cases) {
        ScriptedScreen screen(c.typed);
        TableWizard wizard(screen);
        EXPECT_EQ(wizard.GetYesNoDefaultYes("Q?"), c.expected);
        EXPECT_EQ(screen.mOut, c.shown);
    }
    // A line is cut to what the 256-byte buffer holds with its NUL.
    ScriptedScreen screen(std::string(300, 'x') + "\n");
    EXPECT_EQ(TableWizard(screen).ReadLineWithNoDefault("Name"), std::string(255, 'x'));
}

TEST(ConsoleSetupWizard, StepAndStatusTexts) {
    ScriptedScreen screen("");
    TableWizard wizard(screen);
    std::string texts;
    for (int i = -1; i < 15; ++i)
        texts += wizard.ConfigurationStepToString(i) + "|";
    for (int i = -1; i < 6; ++i)
        texts += wizard.ConfigurationStepStatusToString(i) + "|";
    EXPECT_EQ(texts,
              "Unknown|Unknown|Configuring License|Accepting EULA|Configure Disks|Joining "
              "Controllers|Enable Read/Write Cache|Generate SSL Key|Configure I/O Ports|"
              "Configuring Backend Ports|Setting User Password|Updating Controller|Setting "
              "Secondary Management IP|Setting Primary Management IP|Configuring Key Server|"
              "Unknown|Unknown|Complete|In Progress|Not Run|Failed|Waiting For Configuration|"
              "Unknown|");
}

TEST(ConsoleSetupWizard, SerialNumberIsTheFirstLabelLessTwoCharacters) {
    const std::pair<const char*, const char*> cases[] = {{"SN2000001.lab.example", "2000001"},
                                                         {"SN2000001", "2000001"},
                                                         {"SN", ""},
                                                         {"SN.lab", ""},
                                                         {"", ""},
                                                         {"..SN42.x", "42"}};
    for (const auto& c : cases)
        EXPECT_EQ(GetSSNAsString(c.first), c.second) << c.first;
    EXPECT_THROW(GetSSNAsString("S.lab"), std::out_of_range);
    EXPECT_THROW(GetSSNAsString("S"), std::out_of_range);
}

TEST(ConsoleSetupWizard, SecretsAreWipedFromTheirStorage) {
    alignas(CONSOLELineBuffer) unsigned char storage[sizeof(CONSOLELineBuffer)];
    CONSOLELineBuffer* buffer = new (storage) CONSOLELineBuffer;
    EXPECT_EQ(CONSOLELineBuffer::Limit() + 1, int(sizeof(CONSOLELineBuffer)));
    strcpy(buffer->Data(), "a password");
    buffer->~CONSOLELineBuffer();
    EXPECT_EQ(std::string(reinterpret_cast<char*>(storage), sizeof(storage)),
              std::string(sizeof(storage), '\0'));

    std::string password(40, 'p');
    password.resize(10);  // the rest still lies in the storage
    const char* bytes = password.data();
    const size_t capacity = password.capacity();
    WipeString(password);
    EXPECT_TRUE(password.empty());
    ASSERT_EQ(password.data(), bytes);
    EXPECT_EQ(std::string(bytes, capacity), std::string(capacity, '\0'));
}

std::shared_ptr<CLSWVesperController> Discovered(const std::string& iSerial, const char* iAddress) {
    auto c = std::make_shared<CLSWVesperController>();
    c->setHWAddress("HW" + iSerial);
    c->SetSerialNumberFromController(iSerial);
    c->setServiceTag("TAG");
    c->SetProductVersionFromController(ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_EHV);
    c->setMgmtIp4Address("10.0.0.5");
    c->setEth0Ip4Address(iAddress);
    c->setEth0Ip4Netmask("255.255.255.0");
    c->setEth0Ip4Gateway("10.0.0.1");
    c->setPrimaryDns("10.0.0.2");
    return c;
}

// A turned-down review asks every field again with the last answers as defaults, the
// password afresh, and leaves a bare Enter at the name as an empty name.
TEST(ConsoleSetupWizard, ReviewTurnedDownAsksAgainWithTheFirstAnswers) {
    // First pass: a mismatched password, then a no at the review; second pass: bare Enters.
    ScriptedScreen screen(
        "\nCell1\n10.0.0.50\n255.255.0.0\n\nlab\n10.0.0.3\n10.0.0.4\n\n10.0.0.22\n"
        "a@b\np1\np2\np3\np3\nn\n" +
        std::string(10, '\n') + "q\nq\ny\n");
    VesperWizard wizard(screen);
    std::shared_ptr<IlswArray> array = ClswConfigFactory::getVesperArray("array");
    ASSERT_TRUE(array->addController(Discovered("2000001", "10.0.0.11")));
    ASSERT_TRUE(array->addController(Discovered("2000002", "10.0.0.12")));
    wizard.SetArray(array);
    wizard.Enter(W::GetConfigData);
    ASSERT_EQ(wizard.NextState(), W::ReviewConfigData);
    ASSERT_EQ(wizard.NextState(), W::RunConfiguration);
    EXPECT_EQ(screen.mTyped.peek(), EOF);

    // The second pass offers every answer of the first (its screen is written out in the
    // console test) and asks for the password afresh.
    const size_t second = screen.mOut.find("n\n<clear><clear>");
    const size_t review = screen.mOut.find("<clear>", second + 16);
    std::string pass = screen.mOut.substr(second, review - second);
    for (const char* offered : {"Name [Cell1] :\n", "(IPv4) [10.0.0.50] :\n", "[255.255.0.0] :\n",
                                "[10.0.0.1] :\n", "Name [lab] :\n", "[10.0.0.3] :\n",
                                "[10.0.0.4] :\n", "[10.0.0.11] :\n", "[10.0.0.22] :\n",
                                "[a@b] :\nEnter A New Password for the Admin User: Re-Enter The "
                                "Password: "})
        EXPECT_NE(pass.find(offered), std::string::npos) << offered;
    // The bare Enters emptied the name and the e-mail but kept the addresses.
    EXPECT_NE(screen.mOut.find(
                  "\nStorage Cell Name : \nPrimary Management Address(IPv4) : 10.0.0.50", review),
              std::string::npos);
    EXPECT_NE(screen.mOut.find("Default Admin E-Mail Address : \n", review), std::string::npos);
    // The array-wide answers reached the second controller too.
    auto peer = std::static_pointer_cast<IlswVesperController>(array->getController(1));
    EXPECT_EQ(peer->getMgmtIp4Address(), "10.0.0.50");
    EXPECT_EQ(peer->getSecondaryDns(), "10.0.0.4");
}

}  // namespace
