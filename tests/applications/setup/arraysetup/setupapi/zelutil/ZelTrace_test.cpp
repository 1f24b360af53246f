#include "zelutil/ZelTrace.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/CellsimProcess.h"
#include "support/Fields.h"
#include "support/ManualClock.h"

namespace {

namespace fs = std::filesystem;
const uid_t kNobody = 65534;

// Opens the tracer's insides that the settings decide but no accessor shows.
class TestTrace : public ZelTrace {
public:
    explicit TestTrace(const std::string& iConfig, bool iDbgPrintOnly = false)
        : ZelTrace("LSWConfig4", iDbgPrintOnly, iConfig.c_str()) {}
    using ZelTrace::m_LastError;
    using ZelTrace::m_maxLogSizeMB;
    using ZelTrace::m_rotateEnabled;
};

size_t CountOf(const std::string& haystack, const std::string& needle) {
    size_t count = 0;
    for (size_t at = haystack.find(needle); at != std::string::npos;
         at = haystack.find(needle, at + 1))
        ++count;
    return count;
}

// A home and a configuration of its own for each test; the working directory and HOME come
// back afterwards.
class ZelTraceTest : public ::testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/zeltrace_XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        m_dir = tmpl;
        m_home = m_dir + "/home";
        m_config = m_dir + "/zel.conf";
        m_logDir = m_home + "/.config/kelt/SkylarkClient";
        m_logFile = m_logDir + "/RSTraceLog.log";
        fs::create_directory(m_home);
        setenv("HOME", m_home.c_str(), 1);
    }

    void TearDown() override {
        fs::current_path(m_oldCwd);
        if (m_oldHome)
            setenv("HOME", m_oldHome->c_str(), 1);
        else
            unsetenv("HOME");
        chmod(m_logDir.c_str(), 0755);
        fs::remove_all(m_dir);
    }

    void MakeLogDir() { fs::create_directories(m_logDir); }

    void WriteConfig(const std::string& iBody) {
        std::ofstream(m_config, std::ios::trunc) << iBody;
        chmod(m_config.c_str(), 0644);
    }

    static long long SizeOf(const std::string& iPath) {
        std::error_code error;
        const auto size = fs::file_size(iPath, error);
        return error ? -1 : static_cast<long long>(size);
    }

    static std::vector<std::string> Lines(const std::string& iText) {
        std::vector<std::string> lines;
        std::stringstream ss(iText);
        for (std::string line; std::getline(ss, line);)
            lines.push_back(line);
        return lines;
    }

    ManualClock m_clock;
    const fs::path m_oldCwd = fs::current_path();
    const std::optional<std::string> m_oldHome =
        getenv("HOME") ? std::optional<std::string>(getenv("HOME")) : std::nullopt;
    std::string m_dir, m_home, m_config, m_logDir, m_logFile;
};

// Each configuration: the settings it gives and the levels whose lines reach the file.
TEST_F(ZelTraceTest, SettingsAndTheLevelGate) {
    MakeLogDir();
    struct Row {
        const char* config;  // nullptr: no configuration file at all
        unsigned level;
        bool rotate;
        unsigned maxMB;
    };
    const Row rows[] = {
        {nullptr, 2, false, 50},
        {"[HIT Params]\nDebugLevel = 0\n", 0, false, 50},
        {"[HIT Params]\nDebugLevel = 7\n", 3, false, 50},             // clamped
        {"[HIT Params]\nDebugLevel = -1\n", 0xFFFFFFFFu, false, 50},  // wraps: all on
        {"[HIT Params]\nRotateLogFiles=1\n", 2, true, 50},
        // Keys and section are case-insensitive; "LogDir" is read but steers nothing.
        {"[hit PARAMS]\ndebuglevel = 3\nROTATELOGFILES = yes\nmaxlogsizemb = 7\n"
         "logdir = /tmp/elsewhere-of-the-trace-test\n",
         3, true, 7},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.config ? r.config : "(no file)");
        unlink(m_logFile.c_str());
        unlink(m_config.c_str());
        if (r.config)
            WriteConfig(r.config);
        {
            TestTrace t(m_config);
            EXPECT_EQ(Fields(t.GetLevel(), t.m_rotateEnabled, t.m_maxLogSizeMB, t.GetFlags(),
                             t.LogFileName()),
                      Fields(r.level, r.rotate, r.maxMB, ZEL_DBG_FLAG_TRACE_DEFAULT, m_logFile));
            for (unsigned level : {1u, 2u, 3u, 1000u})
                t.OutputDebug(level, HERE, "line at %u", level);
        }
        const std::string text = FileText(m_logFile);
        for (unsigned level : {1u, 2u, 3u, 1000u})
            EXPECT_EQ(text.find("|line at " + std::to_string(level) + "\n") != std::string::npos,
                      level <= r.level)
                << level;
    }
    EXPECT_FALSE(fs::exists("/tmp/elsewhere-of-the-trace-test"));

    // A disabled line does not even evaluate its arguments.
    WriteConfig("[HIT Params]\nDebugLevel = 2\n");
    TestTrace t(m_config);
    int evaluated = 0;
    m_ZEL_TRACE_AT(t, ZEL_OUTPUT_DEBUG_VERBOSE, HERE, "verbose %d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    m_ZEL_TRACE_AT(t, ZEL_OUTPUT_DEBUG_PRINT, HERE, "print %d", ++evaluated);
    EXPECT_EQ(evaluated, 1);
}

TEST_F(ZelTraceTest, WithoutTheTraceDirectoryTheFileIsInTheWorkingDirectory) {
    ASSERT_EQ(chdir(m_dir.c_str()), 0);
    for (bool home : {false, true}) {
        if (home)
            setenv("HOME", m_home.c_str(), 1);
        else
            unsetenv("HOME");
        TestTrace t(m_dir + "/no-such.conf");
        EXPECT_STREQ(t.LogFileName(), ".//RSTraceLog.log");
        t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 1, "Fn", "home %d", home);
    }
    std::string file = FileText(m_dir + "/RSTraceLog.log");
    EXPECT_EQ(Fields(CountOf(file, "|home 0\n"), CountOf(file, "|home 1\n")), "1|1");
}

TEST_F(ZelTraceTest, LineFieldsAndWords) {
    MakeLogDir();
    WriteConfig("[HIT Params]\nDebugLevel=3\n");
    TestTrace t(m_config);
    EXPECT_EQ(t.SubSystem(), "LSWConfig4");
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "dir/source_file.cpp", 77, "MyFunc", "value=%d %s", 42,
                  "ok");
    t.OutputDebug(ZEL_OUTPUT_DEBUG_ERROR, "dir/source_file.cpp", 78, "MyFunc", "boom");
    t.OutputDebug(ZEL_OUTPUT_DEBUG_VERBOSE, "dir/source_file.cpp", 79, "Other", "detail");
    // Text given as a string is written as it stands, never taken as a format.
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 80, "Str", std::string("100% %s %n sure"));
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 81, "Wide", std::wstring(L"wide text"));

    std::string text = FileText(m_logFile);
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(text.find("source_file"), std::string::npos);  // the file name is not written
    std::vector<std::string> lines = Lines(text);
    ASSERT_EQ(lines.size(), 5u);

    char pid[16];
    snprintf(pid, sizeof(pid), "%4d", static_cast<int>(getpid()));
    const std::string head = std::string("LSWConfig4|") + pid + "|   0||";
    const char* expected[] = {
        "INFO|MyFunc|77|value=42 ok",  "ERROR|MyFunc|78|boom",   "INFO|Other|79|detail",
        "INFO|Str|80|100% %s %n sure", "INFO|Wide|81|wide text",
    };
    const std::regex date(R"(^\d{2}-[A-Z][a-z]{2}-\d{2} \d{2}:\d{2}:\d{2}\|)");
    for (size_t i = 0; i < lines.size(); ++i) {
        SCOPED_TRACE(lines[i]);
        std::smatch m;
        ASSERT_TRUE(std::regex_search(lines[i], m, date));
        EXPECT_EQ(lines[i].substr(m.length()), head + expected[i]);
    }
}

TEST_F(ZelTraceTest, OverlongLineIsCutAndNewlineTerminated) {
    MakeLogDir();
    WriteConfig("[HIT Params]\nDebugLevel=2\n");
    TestTrace t(m_config);
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 5, "Fn", "x");
    std::string first = FileText(m_logFile);
    const size_t prefix = first.size() - 2;  // everything before "x\n"
    ASSERT_LT(prefix, 200u);

    const size_t room = ZEL_TRACE_LINE_SIZE - 2 - prefix;  // text bytes that still fit
    const std::string fits(room, 'a'), oneMore(room + 1, 'b'), huge(5000, 'c');
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 5, "Fn", "%s", fits.c_str());
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 5, "Fn", "%s", oneMore.c_str());
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 5, "Fn", "%s%d", huge.c_str(), 12345);
    // A function name that fills the buffer before the text even starts.
    const std::string longName(3000, 'F');
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 5, longName.c_str(), "lost text");
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 5, "Fn", "after");

    std::vector<std::string> lines = Lines(FileText(m_logFile));
    ASSERT_EQ(lines.size(), 6u);
    const size_t full = ZEL_TRACE_LINE_SIZE - 2;  // without its newline
    const std::string kept[] = {fits, std::string(room, 'b'), std::string(room, 'c')};
    for (size_t i = 1; i <= 4; ++i)
        EXPECT_EQ(lines[i].size(), full) << i;
    for (size_t i = 1; i <= 3; ++i)
        EXPECT_EQ(lines[i].substr(prefix), kept[i - 1]) << i;
    EXPECT_EQ(lines[4].find("lost text"), std::string::npos);
    EXPECT_EQ(lines[5].substr(prefix), "after");
}

// CI runs as root, where every file opens; the child drops to an ordinary user first.
TEST_F(ZelTraceTest, UnprivilegedRunThatCannotOpenItsFileTracesErrorsToStandardError) {
    MakeLogDir();
    WriteConfig("[HIT Params]\nDebugLevel=3\n");
    ASSERT_EQ(chmod(m_dir.c_str(), 0755), 0);
    ASSERT_EQ(chmod(m_logDir.c_str(), 0555), 0);

    const std::string errFile = m_dir + "/stderr";  // opened before the privileges go
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        if (!freopen(errFile.c_str(), "w", stderr))
            _exit(99);
        if (geteuid() == 0 &&
            (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0))
            _exit(100);
        // A fall-back to "./" must not land anywhere writable either.
        if (chdir(m_dir.c_str()) != 0)
            _exit(101);
        int failures = 0;
        {
            TestTrace t(m_config);
            failures = (t.GetLevel() != ZEL_OUTPUT_DEBUG_ERROR) |
                       ((t.TraceType() != ZelTrace::TraceDbgPrint) << 1) |
                       (t.SetupSucceeded() << 2) | ((t.m_LastError != EACCES) << 3);
            t.OutputDebug(ZEL_OUTPUT_DEBUG_ERROR, "f", 9, "Fn", "first error");
            t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 9, "Fn", "print line");
            t.OutputDebug(ZEL_OUTPUT_DEBUG_VERBOSE, "f", 9, "Fn", "verbose line");
            // The next check retries the file, fails again and keeps the level at errors.
            ManualClock::Advance(31);
            t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 9, "Fn", "print after retry");
            t.OutputDebug(ZEL_OUTPUT_DEBUG_ERROR, "f", 9, "Fn", "second error");
            failures |= (t.GetLevel() != ZEL_OUTPUT_DEBUG_ERROR) << 4;
        }
        fflush(stderr);
        _exit(failures);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "failure bits of the child";
    const std::string err = FileText(errFile);

    // Construction, the first check and the one 31 seconds later: one attempt each.
    EXPECT_EQ(CountOf(err, "Failed to set up trace file, trying debug print"), 3u) << err;
    EXPECT_NE(err.find("||ERROR|Fn|9|first error\n"), std::string::npos) << err;
    EXPECT_NE(err.find("||ERROR|Fn|9|second error\n"), std::string::npos) << err;
    EXPECT_EQ(err.find("INFO|"), std::string::npos) << err;
    EXPECT_EQ(Fields(fs::exists(m_logFile), fs::exists(m_dir + "/RSTraceLog.log")), "0|0");
}

// A file that cannot be opened (a directory in its place: root opens anything else) sends
// the lines to standard error without lowering the level, and the next check returns to it.
TEST_F(ZelTraceTest, UnopenableFileFallsBackAndReturnsAtNextCheck) {
    MakeLogDir();
    WriteConfig("[HIT Params]\nDebugLevel=2\n");
    ASSERT_EQ(mkdir(m_logFile.c_str(), 0755), 0);
    TestTrace t(m_config);
    EXPECT_EQ(Fields(t.TraceType(), t.GetLevel()), Fields(ZelTrace::TraceDbgPrint, 2));
    ASSERT_EQ(rmdir(m_logFile.c_str()), 0);
    ManualClock::Advance(31);
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 1, "Fn", "back in file");
    EXPECT_EQ(t.TraceType(), ZelTrace::TraceFile);
    EXPECT_NE(FileText(m_logFile).find("|back in file\n"), std::string::npos);
}

TEST_F(ZelTraceTest, ChangedConfigurationIsReadAtNextCheckBeforeTheLevelTest) {
    MakeLogDir();
    WriteConfig("[HIT Params]\nDebugLevel=2\n");
    TestTrace t(m_config);
    t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 1, "Fn", "start");
    WriteConfig("[HIT Params]\nDebugLevel=3\n");
    const timespec stamp[2] = {{1000, 0}, {1000, 0}};  // a modification time surely different
    ASSERT_EQ(utimensat(AT_FDCWD, m_config.c_str(), stamp, 0), 0);
    t.OutputDebug(ZEL_OUTPUT_DEBUG_VERBOSE, "f", 1, "Fn", "too early");
    ManualClock::Advance(31);
    t.OutputDebug(ZEL_OUTPUT_DEBUG_VERBOSE, "f", 1, "Fn", "verbose now");
    EXPECT_EQ(t.GetLevel(), 3u);
    std::string file = FileText(m_logFile);
    EXPECT_EQ(file.find("too early"), std::string::npos);
    EXPECT_NE(file.find("|verbose now\n"), std::string::npos);
}

// The size is looked at only in the check, every 30 seconds and only with rotation and a
// limit; a roll keeps one generation.
TEST_F(ZelTraceTest, RollsOneByteAboveTheLimitOnlyWithRotationAndALimit) {
    MakeLogDir();
    const long long MB = 1048576;
    struct Row {
        const char* config;
        long long size;  // the file's size before the check
        bool rolls;
    };
    const Row rows[] = {
        {"RotateLogFiles=true\nMaxLogSizeMB=1\n", MB, false},
        {"RotateLogFiles=true\nMaxLogSizeMB=1\n", MB + 1, true},
        {"RotateLogFiles=true\nMaxLogSizeMB=1\n", 2 * MB, true},  // replaces the ".1"
        {"RotateLogFiles=true\nMaxLogSizeMB=0\n", 3 * MB + 1, false},
        {"RotateLogFiles=false\nMaxLogSizeMB=1\n", 3 * MB + 1, false},
        {"MaxLogSizeMB=1\n", 3 * MB + 1, false},
    };
    const std::string previous = m_logFile + ".1";
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.config) + std::to_string(r.size));
        WriteConfig(std::string("[HIT Params]\n") + r.config);
        TestTrace t(m_config);
        t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 1, "Fn", "start");
        ASSERT_EQ(truncate(m_logFile.c_str(), r.size), 0);
        const long long before = SizeOf(previous);
        ManualClock::Advance(31);
        t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 1, "Fn", "after the check");
        if (r.rolls) {
            // The old stream still takes the first notice before it is closed.
            std::string old = FileText(previous);
            ASSERT_GT(old.size(), static_cast<size_t>(r.size));
            EXPECT_NE(old.substr(r.size).find("|Reopening log file\n"), std::string::npos);
            std::string current = FileText(m_logFile);
            EXPECT_LT(current.size(), 1024u);
            EXPECT_NE(current.find("|Log file reopened\n"), std::string::npos);
            EXPECT_NE(current.find("|after the check\n"), std::string::npos);
            EXPECT_EQ(Fields(fs::exists(m_logFile + ".2"), fs::exists(previous + ".1")), "0|0");

        } else {
            EXPECT_EQ(SizeOf(previous), before);
            EXPECT_GT(SizeOf(m_logFile), r.size);
        }

        // A deleted file comes back at the next check only where the size is looked at.
        ASSERT_EQ(unlink(m_logFile.c_str()), 0);
        ManualClock::Advance(30);
        t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 1, "Fn", "not yet");
        EXPECT_FALSE(fs::exists(m_logFile));
        ManualClock::Advance(1);
        t.OutputDebug(ZEL_OUTPUT_DEBUG_PRINT, "f", 1, "Fn", "recreated");
        const bool sized = std::string(r.config).find("true\nMaxLogSizeMB=1") != std::string::npos;
        ASSERT_EQ(fs::exists(m_logFile), sized);
        EXPECT_EQ(FileText(m_logFile).find("not yet"), std::string::npos);
        unlink(m_logFile.c_str());
    }
}

}  // namespace
