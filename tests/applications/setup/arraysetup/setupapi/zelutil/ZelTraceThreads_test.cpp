// The tracer written from many threads while it rolls its file: discovery runs a thread per
// adapter and the simulator several, all through one tracer. Under ThreadSanitizer this is
// where an unsynchronised check, roll or write shows.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "zelutil/ZelClock.h"
#include "zelutil/ZelTrace.h"

namespace {

// Every reading of the clock is 31 seconds on, so every line runs the settings check and,
// past the size limit, the roll.
std::atomic<time_t> g_Now{1000000};
time_t Leap() {
    return g_Now.fetch_add(31);
}

// The writers' lines in a file; oBadLines counts those that are not whole.
long CountLines(const std::string& iPath, const std::string& iTail, long& oBadLines) {
    std::ifstream in(iPath);
    long lines = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.find("|writer ") == std::string::npos)
            continue;  // the tracer's own lines about reopening its file
        ++lines;
        if (line.size() < iTail.size() ||
            line.compare(line.size() - iTail.size(), iTail.size(), iTail) != 0)
            ++oBadLines;
    }
    return lines;
}

TEST(ZelTraceThreads, EightWritersWhileTheFileRolls) {
    char dir[] = "/tmp/arraysetup-trace-threads-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string home = dir;
    const std::string traceDir = home + "/.config/kelt/SkylarkClient";
    std::filesystem::create_directories(traceDir);
    const std::string config = home + "/zel.conf";
    std::ofstream(config) << "[HIT Params]\nRotateLogFiles=true\nMaxLogSizeMB=1\nDebugLevel=2\n";

    // The tracer finds its directory under the home as it is made.
    const std::string savedHome = getenv("HOME") ? getenv("HOME") : "";
    setenv("HOME", home.c_str(), 1);
    ZelClock::SetSource(&Leap);
    const int kThreads = 8, kLines = 1500;
    const std::string tail(900, 'x');
    {
        ZelTrace tracer("LSWConfig4", false, config.c_str());
        std::vector<std::thread> writers;
        for (int t = 0; t < kThreads; ++t)
            writers.emplace_back([&tracer, &tail, t] {
                for (int i = 0; i < kLines; ++i)
                    tracer.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, HERE, "writer %d line %d %s", t, i,
                                       tail.c_str());
            });
        for (auto& w : writers)
            w.join();
    }
    ZelClock::SetSource(nullptr);
    setenv("HOME", savedHome.c_str(), 1);

    // About 12 MB went out, so the file rolled; what stands in the last two files is whole
    // lines, and the current file is no more than a roll's worth over the limit.
    const std::string log = traceDir + "/RSTraceLog.log";
    long bad = 0;
    long current = CountLines(log, tail, bad);
    long previous = CountLines(log + ".1", tail, bad);
    EXPECT_GT(previous, 0);
    EXPECT_LE(current + previous, kThreads * kLines);
    EXPECT_EQ(bad, 0) << "torn or foreign lines";
    struct stat st {};
    ASSERT_EQ(stat(log.c_str(), &st), 0);
    EXPECT_LE(st.st_size, 2 * 1048576);

    std::filesystem::remove_all(home);
}

}  // namespace
