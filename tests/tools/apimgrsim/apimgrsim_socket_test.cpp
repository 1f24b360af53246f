// The simulator as a program: its command line, its key file, its clean stop, and how it
// reads a request that is not well-formed XML.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "apiMgmt/proto/apiMgrMsg.pb.h"
#include "gpbcom/gpbcom.h"
#include "support/ApimgrsimProcess.h"
#include "support/CellsimProcess.h"

namespace {

// The exit status and output of one run.
int RunSim(const std::string& iArgs, std::string& oOutput) {
    oOutput.clear();
    FILE* p = popen((std::string(APIMGRSIM_BINARY) + " " + iArgs + " 2>&1").c_str(), "r");
    if (!p)
        return -1;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof(buf), p)) > 0)
        oOutput.append(buf, n);
    int status = pclose(p);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
        FILE* f = fopen(ini.c_str(), "w");
        ASSERT_TRUE(f);
        fputs(("[apimgrsim]\nsocket = s\naccess_key_file = k\n" + r.ini).c_str(), f);
        fclose(f);
        std::string out;
        EXPECT_EQ(RunSim("--check --config " + ini, out), 2) << r.ini;
        EXPECT_NE(out.find(ini + ": " + r.says), std::string::npos) << out;
    }
    unlink(ini.c_str());
    rmdir(dir);
}

TEST(Apimgrsim, KeyFileStopAndTolerantReading) {
    ApimgrsimProcess sim(APIMGRSIM_BINARY,
                         "[controller a]\nname = a-b\n[controller b]\nname = a b\n");
    ASSERT_TRUE(sim.WaitReady());
    struct stat st;
    ASSERT_EQ(stat(sim.KeyFile().c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    const std::string key = FileText(sim.KeyFile()).substr(0, 64);

    // The hyphen token is read back as written; anything else malformed is refused.
    const struct {
        std::string attributes;
        std::string reply;  // a fragment the reply must hold
    } cases[] = {
        {"<Filter>and Name = a&hy&b-</Filter>", "<Name>a-b</Name>"},
        {"<Filter>and Name = a&b-</Filter>", "<ErrorCode>ParsingError</ErrorCode>"},
    };
    for (const auto& c : cases) {
        protoIPCMsg::GPBIPCMsg request, reply;
        request.set_msgtype(protoIPCMsg::APIRequest);
        request.mutable_apireqmsg()->set_cmdtype(protoIPCMsg::Command);
        request.mutable_apireqmsg()->mutable_cmd()->set_cmddata(
            "<quillapi><ApiConnection><sessionkey>" + key +
            "</sessionkey></ApiConnection><ApiMethod><CommandType>Method</CommandType>"
            "<Object>ScController</Object><Command>GetList</Command><Async>false</Async>"
            "<ObjectEncodeType>xml</ObjectEncodeType><Attributes>" +
            c.attributes + "</Attributes></ApiMethod></quillapi>");
        GPBComClient client(GPBComEndpoint::CreateLocalEndpoint(sim.SocketPath(), 5, 5242880));
        client.SendReceiveMessage(request, reply);
        const std::string xml = reply.apirespmsg().cmd().respdata();
        EXPECT_NE(xml.find(c.reply), std::string::npos) << xml;
        EXPECT_EQ(xml.find("<Name>a b</Name>"), std::string::npos);
    }
    EXPECT_EQ(sim.Stop(SIGTERM), 0);
    EXPECT_NE(stat(sim.SocketPath().c_str(), &st), 0);
    const auto events = sim.Events();
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.back().value("event", ""), "stop");
    EXPECT_EQ(events.back().value("reason", ""), "SIGTERM");
}

}  // namespace
