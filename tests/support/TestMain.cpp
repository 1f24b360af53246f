// The entry of the unit and network suites. The process tracer must touch neither the
// product's trace configuration nor a trace file another test writes: each test process runs
// with a fresh home of its own, holding the trace directory, so its trace lands there, and
// with a trace configuration of its own at "DebugLevel" 2, the level the tests that read the
// trace need.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "zelutil/ZelTrace.h"

namespace {

class TestHome {
public:
    TestHome() : m_owner(getpid()) {
        char dir[] = "/tmp/arraysetup-home-XXXXXX";
        if (!mkdtemp(dir))
            return;
        m_dir = dir;
        setenv("HOME", m_dir.c_str(), 1);
        std::string trace = m_dir;
        for (const char* part : {"/.config", "/kelt", "/SkylarkClient"}) {
            trace += part;
            mkdir(trace.c_str(), 0700);
        }
        const std::string config = m_dir + "/zel.conf";
        std::ofstream out(config);
        out << "[HIT Params]\nDebugLevel = 2\n";
        if (out.flush())
            m_config = config;
    }
    // Only the process that made them removes them, not a forked child that exits.
    ~TestHome() {
        std::error_code ignored;
        if (getpid() == m_owner && !m_dir.empty())
            std::filesystem::remove_all(m_dir, ignored);
    }
    TestHome(const TestHome&) = delete;
    TestHome& operator=(const TestHome&) = delete;

    const std::string& Config() const { return m_config; }

private:
    pid_t m_owner;
    std::string m_dir;
    std::string m_config;
};

// Made before every other global object, the process tracer among them, which looks for its
// trace directory under the home as it is constructed; and so undone after it, at exit.
TestHome g_TestHome __attribute__((init_priority(101)));

}  // namespace

int main(int argc, char** argv) {
    if (g_TestHome.Config().empty()) {
        fprintf(stderr, "cannot make the test home and trace configuration\n");
        return 1;
    }
    // The tracer was made with the product's configuration path; from here on it reads ours.
    g_Tracer.SetConfigPath(g_TestHome.Config().c_str());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
