// The simulator's configuration refusals, each naming the file, the section and the key, also
// from the built program. What a good file gives is proven on the wire by cellsim's own
// network tests.
#include "SimConfig.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <utility>

#include "support/CellsimProcess.h"

namespace {

// "" when the text is taken, else the refusal.
std::string Parse(const std::string& iText) {
    CSimConfig config;
    std::string error;
    if (ParseSimConfig(iText, "f.ini", "", config, error))
        return "";
    return error.empty() ? "<refused without a word>" : error;
}

// A minimal valid controller section, to which one bad line is added.
std::string WithLine(const std::string& iLine) {
    return "[cellsim]\ninterface = ctl0\n[controller a]\nmac = 02:00:00:00:00:01\n"
           "serial = 1\nservice_tag = T\n" +
           iLine + "\n";
}

}  // namespace

TEST(SimConfig, RefusalsNameFileSectionAndKey) {
    struct Case {
        std::string text;
        std::string expected;  // the start of the message, or a part of it
    };
    const std::string a = "f.ini: [controller a] ";
    const Case cases[] = {
        {WithLine("versions = 4,6"), a + "versions: unknown protocol version '6'"},
        {WithLine("versions = ,"), a + "versions: empty"},
        {WithLine("bogus = 1"), a + "bogus: unknown key"},
        {WithLine("serial = 2"), a + "serial: given 2 times"},
        {WithLine("model = 65536"), a + "model: '65536' is not a whole number from 0 to 65535"},
        {WithLine("primary = maybe"), a + "primary: 'maybe' is not true or false"},
        {WithLine("eth0_ip = 10.1.2"), a + "eth0_ip: '10.1.2' is not an IPv4 address"},
        {WithLine("eth0_ipv6 = fd00:::1:::"), a + "eth0_ipv6: 'fd00:::1:::' is not an IPv6"},
        {WithLine("software_version = 7.1"), a + "software_version: '7.1' is not MAJOR.MINOR"},
        {WithLine("port = fd=1 slot=1"), a + "port: fault domain 1 is not given"},
        {WithLine("port = slot=1"), a + "port: attribute 'fd' is missing"},
        {WithLine("fault_domain = id=1\nfault_domain = id=1"),
         a + "fault_domain #2: fault domain id 1 given twice"},
        {WithLine("fault_domain = id=1 ipp=10.0.0.1"), a + "fault_domain: unknown attribute 'ipp'"},
        {WithLine("fault_domain = id=300"), a + "fault_domain: attribute id='300' is not a number"},
        {WithLine("disk = product=\"open"), a + "disk: unterminated quote"},
        {WithLine("disk = size=1 size=2"), a + "disk: attribute 'size' given twice"},
        {WithLine("disk_count = 2000"), a + "disk_count: the disk reply would be"},
        {WithLine("disk_lists = some"), a + "disk_lists: 'some' is not both"},
        {WithLine("steps = SubmitLicense"), a + "steps: 'SubmitLicense' is not STEP:STATUS"},
        {WithLine("answer_first = -2"), a + "answer_first:"},
        {WithLine("silent_to = SETUP_RSP"), a + "silent_to: 'SETUP_RSP' is not a request"},
        {WithLine("hardware_serial ="), a + "hardware_serial: empty"},
        {"[cellsim]\ninterface=x\n[controller a]\nmac=02:00:00:00:00:zz\nserial=1\nservice_tag=T\n",
         a + "mac: '02:00:00:00:00:zz' is not a MAC address"},
        {"[cellsim]\ninterface=x\n[controller a]\nmac=03:00:00:00:00:01\nserial=1\nservice_tag=T\n",
         a + "mac: '03:00:00:00:00:01' is a group address"},
        {"[cellsim]\ninterface=x\n[controller a]\nserial=1\nservice_tag=T\n",
         a + "mac: missing; this key is required"},
        {WithLine("") + "[controller b]\nmac=02:00:00:00:00:01\nserial=2\nservice_tag=T\n",
         "f.ini: [controller b] mac: 02:00:00:00:00:01 is already the MAC of [controller a]"},
        {WithLine("") + "[controller a]\nmac=02:00:00:00:00:02\n",
         a + "mac: given 2 times"},  // SimpleIni folds a repeated section into one
        {WithLine("") + "[controllers]\nx=1\n", "f.ini: [controllers] unknown section"},
        {WithLine("") + "[controller bad/name]\n",
         "f.ini: [controller bad/name] the controller name"},
        {"stray = 1\n" + WithLine(""), "f.ini: stray: stands before any section"},
        {"[controller a]\nmac=02:00:00:00:00:01\nserial=1\nservice_tag=T\n",
         "f.ini: [cellsim] interface: missing: no [cellsim] section"},
        {"[cellsim]\n[controller a]\nmac=02:00:00:00:00:01\nserial=1\nservice_tag=T\n",
         "f.ini: [cellsim] interface: missing; name the interface"},
        {"[cellsim]\ninterface = ctl0\n", "f.ini: no [controller NAME] section"},
    };
    for (const Case& c : cases) {
        std::string error = Parse(c.text);
        EXPECT_NE(std::string::npos, error.find(c.expected))
            << "file:\n"
            << c.text << "\nexpected: " << c.expected << "\ngot: " << error;
    }

    // The limit of a version 5 message holds only where version 5 is spoken: a version 4
    // controller cuts its disk list to one frame instead.
    EXPECT_EQ("", Parse(WithLine("disk_count = 2000\nversions = 4")));
    // 1 + 1 + 16 + 127 x 32 bytes still make a valid port record; 128 ports do not count.
    std::string many = WithLine("fault_domain = id=1");
    for (int i = 0; i < 128; ++i)
        many += "port = fd=1 slot=" + std::to_string(i % 100) + "\n";
    EXPECT_NE(std::string::npos, Parse(many).find("port #128: more than 127 ports"));
}

TEST(SimConfig, TheProgramRefusesABadFileWithAClearMessageAndExitStatus) {
    char dir[] = "/tmp/cellsim-config-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(dir));
    const std::string bad = std::string(dir) + "/bad.ini", sim = CELLSIM_BINARY;
    std::ofstream(bad) << WithLine("versions = 3");

    // Refused before anything is opened, so it needs no privilege and no interface.
    std::string err;
    EXPECT_EQ(2, RunCommand(sim + " --config " + bad + " 2>&1 >/dev/null", err));
    EXPECT_EQ("cellsim: " + bad +
                  ": [controller a] versions: unknown protocol version '3'; a "
                  "controller speaks 4, 5 or both (4,5)\n",
              err);
    const std::pair<std::string, const char*> refused[] = {
        {"--config " + std::string(dir) + "/missing.ini --check", "missing.ini: cannot be read"},
        {"--check", "no configuration file"}};
    for (const auto& r : refused) {
        EXPECT_EQ(2, RunCommand(sim + " " + r.first + " 2>&1", err)) << r.first;
        EXPECT_NE(std::string::npos, err.find(r.second)) << err;
    }
    // The examples shipped with the tool are all good.
    for (const char* example : {"single.ini", "pair.ini", "pair-v4-peer.ini"})
        EXPECT_EQ(
            0, RunCommand(sim + " --check --config " CELLSIM_EXAMPLES "/" + example + " 2>&1", err))
            << example << ": " << err;
    RemoveDir(dir);
}
