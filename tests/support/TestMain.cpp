// The entry of the unit and network suites. The process tracer must touch neither the
// product's trace configuration nor a trace directory under the real home: the suites run
// with a fresh home of their own, where the product's trace directory does not exist, so the
// trace file lands in the working directory, and with a trace configuration of their own at
// "DebugLevel" 2, the level the tests that read the trace need.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
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
        const std::string config = m_dir + "/zel.conf";
        std::ofstream out(config);
        out << "[HIT Params]\nDebugLevel = 2\n";
        if (out.flush())
            m_config = config;
    }
    // Only the process that made them removes them, not a forked child that exits.
    ~TestHome() {
        if (getpid() != m_owner || m_dir.empty())
            return;
        if (!m_config.empty())
            unlink(m_config.c_str());
        rmdir(m_dir.c_str());
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
