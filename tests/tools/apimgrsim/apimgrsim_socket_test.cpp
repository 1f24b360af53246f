// The simulator as a program: its command line and the files it refuses. What it serves is
// proven through the whole client by the object handler's socket test.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/CellsimProcess.h"

namespace {

int RunSim(const std::string& iArgs, std::string& oOutput) {
    return RunCommand(std::string(APIMGRSIM_BINARY) + " " + iArgs + " 2>&1", oOutput);
}

TEST(Apimgrsim, CommandLine) {
    const std::string examples = APIMGRSIM_EXAMPLES;
    const struct {
        std::string args;
        int status;
        std::string says;
    } cases[] = {
        {"--help", 0, "Usage: apimgrsim --config FILE"},
        {"--check --config " + examples + "/pair.ini", 0, "2 controllers, a storage cell"},
        {"--check --config " + examples + "/failing.ini", 0, "1 controller,"},
        {"", 2, "no configuration file"},
        {"--bogus", 2, "unknown option --bogus"},
        {"--check --config /nonexistent.ini", 2, "/nonexistent.ini: cannot be read"},
    };
    for (const auto& c : cases) {
        std::string out;
        EXPECT_EQ(RunSim(c.args, out), c.status) << c.args;
        EXPECT_NE(out.find(c.says), std::string::npos) << c.args << ": " << out;
    }
    // A refused file names the file, the section and the key.
    const struct {
        std::string ini, says;
    } refused[] = {
        {"[controller a]\nhardware_serial = 1\n",
         "[controller a] hardware_serial: names no attribute of ScController"},
        {"[storagecell]\nserial_number = 1\noperation_mode = Busy\n",
         "[storagecell] operation_mode: 'Busy' is no operation mode"},
        {"[faults]\nreturn_elements = 3\n", "[faults] return_elements: wants 0, 1 or 2"},
        {"[faults]\nfail_code = Nonsense\n", "[faults] fail_code: 'Nonsense' is no error state"},
        {"[elsewhere]\n", "[elsewhere]: is no section"},
    };
    char dir[] = "/tmp/apimgrsim-check-XXXXXX";
    ASSERT_TRUE(mkdtemp(dir));
    const std::string ini = std::string(dir) + "/bad.ini";
    for (const auto& r : refused) {
        std::ofstream(ini) << "[apimgrsim]\nsocket = s\naccess_key_file = k\n" + r.ini;
        std::string out;
        EXPECT_EQ(RunSim("--check --config " + ini, out), 2) << r.ini;
        EXPECT_NE(out.find(ini + ": " + r.says), std::string::npos) << out;
    }
    RemoveDir(dir);
}

}  // namespace
