#include "apiMgmt/common/logs/appLogger.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

#include "apiMgmt/common/logs/logTask.h"
#include "support/Fields.h"

namespace {

// What the sink saw; it outlives the sink, which the task owns.
struct Record {
    std::mutex lock;
    std::condition_variable changed;
    std::vector<LOGMsg> lines;
    bool sinkGone = false;
    bool hold = false;  // a slow sink: each line waits until this is cleared

    template <typename Pred>
    void WaitFor(Pred pred) {
        std::unique_lock<std::mutex> guard(lock);
        changed.wait(guard, pred);
    }
};

class RecordingSink : public BASELogger {
public:
    explicit RecordingSink(Record& iRecord) : record(iRecord) {}
    ~RecordingSink() override {
        std::lock_guard<std::mutex> guard(record.lock);
        record.sinkGone = true;
        record.changed.notify_all();
    }
    void DoLog(const LOGMsg& iMsg) override {
        std::unique_lock<std::mutex> guard(record.lock);
        record.changed.wait(guard, [this] { return !record.hold; });
        record.lines.push_back(iMsg);
        record.changed.notify_all();
    }

private:
    Record& record;
};

class APPLoggerTest : public ::testing::Test {
protected:
    void TearDown() override {
        { APPLogger shutdown; }
        APPLogger::SetLogLevel(LOGLevel_Warning);
        APPLogger::SetLogModuleMask(0xFF);
    }
};

// The module text is a "|" list of numbers: 0 or anything unreadable opens every module.
TEST_F(APPLoggerTest, ModuleMaskFromTextAndCategories) {
    struct {
        const char* text;
        unsigned int mask;
    } masks[] = {{"", 0x55},     {"0", 0xFF},  {"1|0|3", 0xFF}, {"1|2|5", 0x13}, {"x", 0xFF},
                 {"1||3", 0xFF}, {"9", 0x100}, {"33", 0x1},     {"8|", 0x80}};
    for (const auto& c : masks) {
        APPLogger::SetLogModuleMask(0x55);
        APPLogger::SetLogModuleFromString(c.text);
        EXPECT_EQ(APPLogger::GetLogModuleMask(), c.mask) << '"' << c.text << '"';
    }
    struct {
        unsigned int mask;
        const char* category;
        bool passes;
    } categories[] = {
        {0x10, "cmdxml", true},           {0x01, "CmdXML", false}, {0x01, "ApiMgmtBaseTask", true},
        {0x00, "ApiMgmtBaseTask", false}, {0x02, "all", true},     {0x13, "SCTask", false}};
    for (const auto& c : categories) {
        APPLogger::SetLogModuleMask(c.mask);
        EXPECT_EQ(APPLogger::CheckCategory(c.category), c.passes) << c.category << c.mask;
    }
}

TEST_F(APPLoggerTest, StatementsAreSilentWithoutATaskOrBelowTheLevel) {
    int evaluated = 0;
    m_LOG_EMERG(LOG_CAT_SC, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);

    Record record;
    ASSERT_TRUE(APPLogger::SetLogTask(new LOGTask(new RecordingSink(record))));
    m_LOG_NOTICE(LOG_CAT_SC, "%d", ++evaluated);
    m_LOG_DEBUG(LOG_CAT_SC, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    m_LOG_WARNING(LOG_CAT_SC, "value %d", ++evaluated);
    EXPECT_EQ(evaluated, 1);
    record.WaitFor([&] { return record.lines.size() == 1; });
    const LOGMsg& line = record.lines[0];
    EXPECT_EQ(
        Fields(line.level == LOGLevel_Warning, line.message, line.category, line.fnName,
               line.fileName.find("appLogger_test.cpp") != std::string::npos, line.lineNo > 0),
        "1|value 1|SCObject|TestBody|1|1");
    { APPLogger shutdown; }  // before the record the sink writes to goes
}

TEST_F(APPLoggerTest, TaskDeliversInOrderAndStopsAtTheExitLine) {
    Record record;
    auto* task = new LOGTask(new RecordingSink(record));
    task->AddLogMsg(LOGMsg(LOGLevel_Error, "c", "before start"));  // no thread yet: dropped
    ASSERT_TRUE(APPLogger::SetLogTask(task));

    Record other;
    LOGTask second(new RecordingSink(other));
    EXPECT_FALSE(APPLogger::SetLogTask(&second));
    EXPECT_EQ(APPLogger::GetLogTask(), task);
    second.AddLogMsg(LOGMsg(LOGLevel_Error, "c", "never started"));

    for (int i = 0; i < 200; ++i)
        m_LOG_ERROR(LOG_CAT_APIMGR, "line %d", i);
    task->AddLogMsg(LOGMsg(LOG_TASK_EXIT, "c", "exit"));
    task->AddLogMsg(LOGMsg(LOGLevel_Error, "c", "after exit"));
    record.WaitFor([&] { return record.lines.size() == 200; });
    { APPLogger shutdown; }
    EXPECT_EQ(APPLogger::GetLogTask(), nullptr);
    EXPECT_TRUE(record.sinkGone);
    ASSERT_EQ(record.lines.size(), 200u);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(record.lines[i].message, "line " + std::to_string(i));
    EXPECT_TRUE(other.lines.empty());
}

// A sink still busy past the flush keeps its queue alive until its thread ends.
TEST_F(APPLoggerTest, ASinkBusyPastTheFlushFinishesOnLiveMemory) {
    Record record;
    record.hold = true;
    ASSERT_TRUE(APPLogger::SetLogTask(new LOGTask(new RecordingSink(record))));
    m_LOG_ERROR(LOG_CAT_APIMGR, "first");
    m_LOG_ERROR(LOG_CAT_APIMGR, "second");
    { APPLogger shutdown; }  // returns after two seconds with the sink still held
    EXPECT_FALSE(record.sinkGone);
    {
        std::lock_guard<std::mutex> guard(record.lock);
        record.hold = false;
        record.changed.notify_all();
    }
    record.WaitFor([&] { return record.sinkGone; });
    EXPECT_EQ(record.lines.size(), 2u);
}

}  // namespace
