// A dead adapter during discovery: a device whose every read fails at once must cost
// neither a core nor a flooded trace.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <list>
#include <memory>
#include <string>

#include "LSWConfig4/LSWDiscovery4.h"
#include "support/ManualClock.h"
#include "support/MemoryDevice.h"
#include "zelutil/ZelTrace.h"

namespace {

// Fails every read at once with an error trace line, as a capture session does when its
// wait fails. Past a great many reads it moves the clock on, so that a discovery that does
// not pace itself still ends.
class DeadDevice : public MEMORYDevice {
public:
    explicit DeadDevice(std::string iMarker) : m_marker(std::move(iMarker)) {}
    int Read(void*, uint32_t, int) override {
        ++m_reads;
        ZelOutputDebugError(HERE, "%s", m_marker.c_str());
        if (m_reads % 10000 == 0)
            ManualClock::Advance(60);
        return 0;
    }
    long Reads() const { return m_reads; }

private:
    std::string m_marker;
    long m_reads = 0;
};

long TraceLinesWith(const std::string& iText) {
    std::ifstream trace(g_Tracer.LogFileName());
    long lines = 0;
    for (std::string line; std::getline(trace, line);)
        lines += line.find(iText) != std::string::npos;
    return lines;
}

TEST(HelloPacing, FailedReadsAreTenASecondAtMost) {
    ManualClock clock;
    const std::string marker = "dead adapter " + std::to_string(getpid());
    DeadDevice dev(marker);
    const int kTimeout = 5;
    const time_t start = ManualClock::Now();

    CHello4 hello(nullptr, 3);
    std::list<std::shared_ptr<IlswController>> found;
    EXPECT_EQ(hello.run(dev, found, kTimeout, ""), 0);
    EXPECT_TRUE(found.empty());
    EXPECT_EQ(dev.WriteCalls(), 2u);

    // One second between the requests, then the discovery time and the read that ends it.
    EXPECT_LE(ManualClock::Now() - start, 1 + kTimeout + 1);
    EXPECT_LE(dev.Reads(), 10 * (kTimeout + 1) + 1);
    EXPECT_GT(dev.Reads(), 10 * kTimeout - 1);
    // Each failed read wrote its line, and only those.
    EXPECT_EQ(TraceLinesWith(marker), dev.Reads());
}

}  // namespace
