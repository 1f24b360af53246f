#include "apiMgmt/common/threadpool/threadWrapper.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <future>

#include "apiMgmt/common/error/generalError.h"
#include "apiMgmt/common/threadpool/scopedMutex.h"

namespace {

struct Probe {
    std::promise<void> go;  // the name is set once Run has the handle
    std::promise<std::string> name;
    std::atomic<int> runs{0};
};

void* Record(void* ipArg) {
    auto* probe = static_cast<Probe*>(ipArg);
    probe->go.get_future().wait();
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    probe->runs++;
    probe->name.set_value(name);
    return nullptr;
}

TEST(THREADWrapperTest, StartsOneNamedThreadInItsLife) {
    char mainName[16] = {};
    pthread_getname_np(pthread_self(), mainName, sizeof mainName);
    struct {
        const char* name;
        std::string seen;
    } cases[] = {{"Logging Task", "Logging Task"},
                 {"A name of more than fifteen", "A name of more "},
                 {"", mainName}};
    // Static: a detached thread may still be leaving set_value when the check has passed.
    static Probe probes[3];
    for (size_t i = 0; i < 3; ++i) {
        const auto& c = cases[i];
        Probe& probe = probes[i];
        THREADWrapper thread;
        ASSERT_EQ(thread.Run(c.name, Record, &probe), 0);
        probe.go.set_value();
        EXPECT_EQ(probe.name.get_future().get(), c.seen);
        EXPECT_EQ(thread.Run(c.name, Record, &probe), 0);  // started already: nothing more runs
        EXPECT_EQ(probe.runs.load(), 1);
        EXPECT_EQ(thread.GetName(), c.name);
    }
    THREADWrapper none;
    EXPECT_EQ(none.Run("x", nullptr, nullptr), -1);
    EXPECT_TRUE(none.GetName().empty() && none.GetTaskIdentifier() == pthread_t());
}

TEST(SCOPEDMutexTest, AFailedLockThrowsTheCodeAndReleasesNothing) {
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_ERRORCHECK);
    MUTEXWrapper mutex(nullptr, &attr);
    pthread_mutexattr_destroy(&attr);
    ASSERT_EQ(mutex.Acquire(), 0);
    try {
        SCOPEDMutex again(mutex);
        FAIL() << "a second lock by the same thread must fail";
    } catch (const GENERALError& e) {
        EXPECT_EQ(e.GetMessage(),
                  "Error acquiring scoped mutex, error code[" + std::to_string(EDEADLK) + "]");
    }
    EXPECT_EQ(mutex.TryAcquire(), EBUSY);  // still held: the failed scope released nothing
    EXPECT_EQ(mutex.Release(), 0);
    {
        SCOPEDMutex held(mutex);
        EXPECT_EQ(mutex.TryAcquire(), EBUSY);
    }
    EXPECT_EQ(mutex.TryAcquire(), 0);
    mutex.Release();
}

}  // namespace
