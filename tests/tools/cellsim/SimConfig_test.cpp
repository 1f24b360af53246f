// The simulator's configuration file: what a full file gives, and the refusals, each naming
// the file, the section and the key, also from the built program.
#include "SimConfig.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

const char kFull[] = R"(
; a comment
[cellsim]
interface = veth7

[controller top]
mac = 02:CE:11:00:01:0a
serial = 2000001
hardware_serial = HW-2000001
service_tag = SIMTAG2
model = 13
family = 2
versions = 5,4
initialized = yes
ip_configured = on
primary = true
canister = 1
model_number = 3020
management_ip = 10.1.2.3
eth0_ip = 10.1.2.10
eth0_netmask = 255.255.255.0
eth0_gateway = 10.1.2.1
primary_dns = 10.1.2.53
secondary_dns = 10.1.2.54
bmc_ip = 10.1.3.10
bmc_gateway = 10.1.3.1
bmc_netmask = 255.255.255.0
management_ipv6 = fd00::3
eth0_ipv6 = fd00::10
eth0_ipv6_prefix = 64
system_name = Cell One
domain_name = lab.example
ethernet_device = eth0
raid_level = RAID6
locale = en_US
software_version = 7.1.2
licensed_controllers = 2
iscsi_ports = 4
unified_block_file = false
vlan_id = 0x0102
dcb_on = true
status_error = 7
fault_domain = id=2 ip=10.20.2.0 netmask=255.255.255.0 gateway=10.20.2.1 transport=1 embedded=true
fault_domain = id=1 ip=10.20.1.0 netmask=255.255.255.0 gateway=10.20.1.1
port = fd=1 slot=3 slot_port=1 ip=10.20.1.11 netmask=255.255.255.0 gateway=10.20.1.1 transport=1 configured=true embedded=false network=2 status=1 location=4 controller_index=-1 card_model=5
port = fd=2 slot=3 slot_port=2
disk = enclosure=1 position=7 status=2 class=SSD product="Flash 1.9T" revision=B2 size=1920383410176 healthy=false
disk_count = 3
disk_lists = extended
disk_error_state = 9
setup_status = 0
password_failure_status = 17
steps = SubmitLicense:InProgress 9:2
steps = submitlicense:complete SetUserPassword:Failed
step_error = Password rejected
status_code = 3
orchestrator_state = 4
blink = 1
blink_status = 70000
blink_follows_command = true
drop_every = 3
delay_ms = 250
corrupt_checksum = true
reverse_fragments = true
answer_first = 5

[controller bottom]
mac = 02-ce-11-00-01-0b
serial = 2000002
service_tag = SIMTAG2
)";

std::string Parse(const std::string& iText, CSimConfig& oConfig, const std::string& iIf = "") {
    std::string error;
    if (ParseSimConfig(iText, "f.ini", iIf, oConfig, error))
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

TEST(SimConfig, AFullFileGivesEveryValueInOrder) {
    CSimConfig c;
    ASSERT_EQ("", Parse(kFull, c));
    EXPECT_EQ("veth7", c.interface);
    ASSERT_EQ(2u, c.controllers.size());
    const CSimControllerConfig& t = c.controllers[0];
    EXPECT_EQ("top", t.name);
    EXPECT_EQ("controller top", t.section);
    EXPECT_EQ("02:ce:11:00:01:0a", SimMacText(t.mac));
    EXPECT_EQ("2000001", t.serial);
    EXPECT_EQ("HW-2000001", t.hardwareSerial);
    EXPECT_EQ(13, t.model);
    EXPECT_EQ(2, t.family);
    EXPECT_TRUE(t.speaksV4 && t.speaksV5);
    EXPECT_TRUE(t.initialized && t.ipConfigured && t.primary);
    EXPECT_EQ(3020, t.modelNumber);
    ASSERT_TRUE(t.managementIp.has_value());
    EXPECT_EQ((SimIPv4{10, 1, 2, 3}), *t.managementIp);  // network order
    ASSERT_TRUE(t.managementIpv6.has_value());
    EXPECT_EQ(0xfd, (*t.managementIpv6)[0]);
    EXPECT_EQ(3, (*t.managementIpv6)[15]);
    EXPECT_EQ(64, *t.eth0Ipv6Prefix);
    EXPECT_EQ("Cell One", t.systemName);
    EXPECT_EQ(7, t.major);
    EXPECT_EQ(1, t.minor);
    EXPECT_EQ(2, t.maintenance);
    EXPECT_EQ(0x0102, *t.vlanId);
    EXPECT_TRUE(*t.dcbOn);
    EXPECT_FALSE(*t.unifiedBlockFile);
    EXPECT_EQ(7, t.statusErrorInfo);

    // Repeated keys keep the file's order.
    ASSERT_EQ(2u, t.faultDomains.size());
    EXPECT_EQ(2, t.faultDomains[0].id);
    EXPECT_TRUE(t.faultDomains[0].embedded);
    EXPECT_EQ(1, t.faultDomains[1].id);
    EXPECT_EQ((SimIPv4{10, 20, 1, 1}), t.faultDomains[1].gateway);
    ASSERT_EQ(2u, t.ports.size());
    EXPECT_EQ(1, t.ports[0].faultDomain);
    EXPECT_EQ(3, t.ports[0].slot);
    EXPECT_EQ(-1, t.ports[0].controllerIndex);
    EXPECT_EQ(5, t.ports[0].cardModel);
    EXPECT_EQ(4, t.ports[0].location);
    EXPECT_TRUE(t.ports[0].configured);
    EXPECT_EQ(2, t.ports[1].faultDomain);
    EXPECT_EQ((SimIPv4{0, 0, 0, 0}), t.ports[1].ip);

    // The listed disk first (quoted text with a space), then the made-up ones.
    ASSERT_EQ(4u, t.disks.size());
    EXPECT_EQ("Flash 1.9T", t.disks[0].product);
    EXPECT_EQ(1920383410176LL, t.disks[0].size);
    EXPECT_EQ(0, t.disks[0].healthy);
    EXPECT_EQ(0, t.disks[1].enclosure);
    EXPECT_EQ(2, t.disks[3].position);
    EXPECT_FALSE(t.plainDiskList);
    EXPECT_TRUE(t.extendedDiskList);
    EXPECT_EQ(9, t.diskErrorState);

    EXPECT_EQ(17, t.passwordFailureStatus);
    ASSERT_EQ(2u, t.steps.size());
    ASSERT_EQ(2u, t.steps[0].size());
    EXPECT_EQ(1, t.steps[0][0].id);
    EXPECT_EQ(1, t.steps[0][0].status);
    EXPECT_EQ(9, t.steps[0][1].id);  // numbers stand for themselves
    EXPECT_EQ(2, t.steps[0][1].status);
    EXPECT_EQ(9, t.steps[1][1].id);  // names ignore case
    EXPECT_EQ(3, t.steps[1][1].status);
    EXPECT_EQ("Password rejected", t.stepError);
    EXPECT_EQ(3, t.statusCode);
    EXPECT_EQ(4, t.orchestratorState);
    EXPECT_EQ(1, t.blinkValue);
    EXPECT_EQ(70000u, t.blinkStatus);
    EXPECT_TRUE(t.blinkFollowsCommand);
    EXPECT_EQ(3u, t.faults.dropEvery);
    EXPECT_EQ(250u, t.faults.delayMs);
    EXPECT_TRUE(t.faults.corruptChecksum);
    EXPECT_TRUE(t.faults.reverseFragments);
    EXPECT_EQ(5, t.faults.answerFirst);

    // Defaults of a bare controller; '-' is as good as ':' in a MAC address.
    const CSimControllerConfig& b = c.controllers[1];
    EXPECT_EQ("02:ce:11:00:01:0b", SimMacText(b.mac));
    EXPECT_EQ("2000002", b.hardwareSerial);  // the serial stands in
    EXPECT_EQ(11, b.model);
    EXPECT_EQ(2, b.family);
    EXPECT_TRUE(b.speaksV4 && b.speaksV5);
    EXPECT_FALSE(b.initialized || b.primary);
    EXPECT_FALSE(b.managementIp.has_value());
    EXPECT_EQ(1, b.passwordFailureStatus);
    EXPECT_EQ(-1, b.faults.answerFirst);
    EXPECT_TRUE(b.steps.empty());
    EXPECT_TRUE(b.plainDiskList && b.extendedDiskList);

    // The command line's interface wins over the file's.
    ASSERT_EQ("", Parse(kFull, c, "ctl3"));
    EXPECT_EQ("ctl3", c.interface);
}

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
        {WithLine("software_version = 7.1.256"), a + "software_version:"},
        {WithLine("port = fd=1 slot=1"), a + "port: fault domain 1 is not given"},
        {WithLine("port = slot=1"), a + "port: attribute 'fd' is missing"},
        {WithLine("fault_domain = id=1\nfault_domain = id=1"),
         a + "fault_domain #2: fault domain id 1 given twice"},
        {WithLine("fault_domain = id=1 ipp=10.0.0.1"), a + "fault_domain: unknown attribute 'ipp'"},
        {WithLine("fault_domain = id=300"), a + "fault_domain: attribute id='300' is not a number"},
        {WithLine("fault_domain = id=1 ip"), a + "fault_domain: expected name=value"},
        {WithLine("disk = product=\"open"), a + "disk: unterminated quote"},
        {WithLine("disk = size=1 size=2"), a + "disk: attribute 'size' given twice"},
        {WithLine("disk_count = 2000"), a + "disk_count: the disk reply would be"},
        {WithLine("disk_lists = some"), a + "disk_lists: 'some' is not both"},
        {WithLine("steps = SubmitLicense"), a + "steps: 'SubmitLicense' is not STEP:STATUS"},
        {WithLine("steps = 1:0\nsteps = Nope:Complete"), a + "steps #2: 'Nope:Complete'"},
        {WithLine("steps = 1:Done"), a + "steps: '1:Done'"},
        {WithLine("answer_first = -2"), a + "answer_first:"},
        {WithLine("hardware_serial ="), a + "hardware_serial: empty"},
        {"[cellsim]\ninterface=x\n[controller a]\nmac=02:00:00:00:00:zz\nserial=1\nservice_tag=T\n",
         a + "mac: '02:00:00:00:00:zz' is not a MAC address"},
        {"[cellsim]\ninterface=x\n[controller a]\nmac=03:00:00:00:00:01\nserial=1\nservice_tag=T\n",
         a + "mac: '03:00:00:00:00:01' is a group address"},
        {"[cellsim]\ninterface=x\n[controller a]\nmac=00:00:00:00:00:00\nserial=1\nservice_tag=T\n",
         a + "mac: the all-zero address"},
        {"[cellsim]\ninterface=x\n[controller a]\nserial=1\nservice_tag=T\n",
         a + "mac: missing; this key is required"},
        {"[cellsim]\ninterface=x\n[controller a]\nmac=02:00:00:00:00:01\nservice_tag=T\n",
         a + "serial: missing; this key is required"},
        {"[cellsim]\ninterface=x\n[controller a]\nmac=02:00:00:00:00:01\nserial=1\n",
         a + "service_tag: missing"},
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
        CSimConfig config;
        std::string error = Parse(c.text, config);
        EXPECT_NE(std::string::npos, error.find(c.expected))
            << "file:\n"
            << c.text << "\nexpected: " << c.expected << "\ngot: " << error;
    }

    // The limit of a version 5 message holds only where version 5 is spoken: a version 4
    // controller cuts its disk list to one frame instead.
    CSimConfig config;
    EXPECT_EQ("", Parse(WithLine("disk_count = 2000\nversions = 4"), config));
    // 1 + 1 + 16 + 127 x 32 bytes still make a valid port record; 128 ports do not count.
    std::string many = WithLine("fault_domain = id=1");
    for (int i = 0; i < 128; ++i)
        many += "port = fd=1 slot=" + std::to_string(i % 100) + "\n";
    EXPECT_NE(std::string::npos, Parse(many, config).find("port #128: more than 127 ports"));
}

TEST(SimConfig, DiskReplySizeFollowsTheRecords) {
    CSimConfig c;
    ASSERT_EQ("", Parse(WithLine("disk_count = 200"), c));
    const CSimControllerConfig& ctl = c.controllers[0];
    // Block length 2, error state 3 + 2, plain list 3 + 8 + 24 a disk, extended list 3 + 8 +
    // (2 + 3 "SAS") + (2 + 10 "SIM-HDD-4T") + (2 + 3 "1.0") + 8 + 1 a disk.
    EXPECT_EQ(2u + 5 + 11 + 11, SimDiskReplyBytes(ctl, 0));
    EXPECT_EQ(2u + 5 + (11 + 24 * 200) + (11 + 31 * 200), SimDiskReplyBytes(ctl, 200));
    EXPECT_EQ(SimDiskReplyBytes(ctl, 200), SimDiskReplyBytes(ctl, 5000));
}

TEST(SimConfig, TheProgramRefusesABadFileWithAClearMessageAndExitStatus) {
    char dir[] = "/tmp/cellsim-config-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(dir));
    const std::string bad = std::string(dir) + "/bad.ini";
    const std::string err = std::string(dir) + "/stderr";
    {
        std::ofstream f(bad);
        f << WithLine("versions = 3");
    }
    auto run = [&](const std::string& iArgs) {
        std::string cmd = std::string(CELLSIM_BINARY) + " " + iArgs + " >/dev/null 2>" + err;
        int status = system(cmd.c_str());
        std::ifstream in(err);
        std::stringstream text;
        text << in.rdbuf();
        return std::make_pair(status, text.str());
    };

    // Refused before anything is opened, so it needs no privilege and no interface.
    auto r = run("--config " + bad);
    ASSERT_TRUE(WIFEXITED(r.first)) << "the program died of a signal";
    EXPECT_EQ(2, WEXITSTATUS(r.first));
    EXPECT_EQ("cellsim: " + bad +
                  ": [controller a] versions: unknown protocol version '3'; a "
                  "controller speaks 4, 5 or both (4,5)\n",
              r.second);

    r = run("--config " + std::string(dir) + "/missing.ini --check");
    ASSERT_TRUE(WIFEXITED(r.first));
    EXPECT_EQ(2, WEXITSTATUS(r.first));
    EXPECT_NE(std::string::npos, r.second.find("missing.ini: cannot be read"));

    r = run("--check");
    ASSERT_TRUE(WIFEXITED(r.first));
    EXPECT_EQ(2, WEXITSTATUS(r.first));
    EXPECT_NE(std::string::npos, r.second.find("no configuration file"));

    r = run("--config " + bad + " --frobnicate");
    ASSERT_TRUE(WIFEXITED(r.first));
    EXPECT_EQ(2, WEXITSTATUS(r.first));
    EXPECT_NE(std::string::npos, r.second.find("unknown option --frobnicate"));

    r = run("--config " + bad + " --duration soon");
    EXPECT_EQ(2, WEXITSTATUS(r.first));
    EXPECT_NE(std::string::npos, r.second.find("--duration wants a number of seconds"));

    // The examples shipped with the tool are all good.
    for (const char* example : {"single.ini", "pair.ini", "pair-v4-peer.ini"}) {
        r = run("--check --config " + std::string(CELLSIM_EXAMPLES) + "/" + example);
        ASSERT_TRUE(WIFEXITED(r.first));
        EXPECT_EQ(0, WEXITSTATUS(r.first)) << example << ": " << r.second;
    }

    r = run("--help");
    EXPECT_EQ(0, WEXITSTATUS(r.first));
    unlink(bad.c_str());
    unlink(err.c_str());
    rmdir(dir);
}
