// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "norvexdata/module/ThreadManagement.h"

namespace {

using namespace std::chrono_literals;

// Long enough for a thread that may run to have run; a test that waits it out expects the thread to be blocked.
constexpr auto kBlocked = 150ms;
// A thread that is released but has not run by then counts as stuck.
constexpr auto kReleased = 20s;

using Step = void (*)();

// A thread that does one step; whether it came back is asked with a time-out.
class Walker {
  public:
    explicit Walker(Step step)
        : m_future(m_promise.get_future()), m_thread([this, step] {
              step();
              m_promise.set_value();
          }) {}
    ~Walker() { m_thread.join(); }
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    bool IsBlocked() const { return m_future.wait_for(kBlocked) == std::future_status::timeout; }
    bool IsBack() const { return m_future.wait_for(kReleased) == std::future_status::ready; }

  private:
    std::promise<void> m_promise;
    std::future<void> m_future;
    std::thread m_thread;
};

struct EventOperations {
    const char* name;
    Step set;
    Step reset;
    Step wait;
    HANDLE* slot;
};

// Both events of the module behave alike.
class EventContract : public ::testing::TestWithParam<EventOperations> {
  protected:
    EventContract() { *GetParam().slot = nullptr; }
    ~EventContract() override { *GetParam().slot = nullptr; }
};

class WriteResultContract : public ::testing::Test {
  protected:
    WriteResultContract() { CThreadManagement::s_hWaitResultMutex = nullptr; }
    ~WriteResultContract() override { CThreadManagement::s_hWaitResultMutex = nullptr; }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(, EventContract,
                         ::testing::Values(EventOperations{"StopContinue", &CThreadManagement::SetStopContinueEvent,
                                                           &CThreadManagement::ResetStopContinueEvent,
                                                           &CThreadManagement::WaitForStopContinueEvent,
                                                           &CThreadManagement::s_hStopSignal},
                                           EventOperations{"ChangeFloor", &CThreadManagement::SetChangeFloorEvent,
                                                           &CThreadManagement::ResetChangeFloorEvent,
                                                           &CThreadManagement::WaitForChangeFloorEvent,
                                                           &CThreadManagement::s_hChangeFloorSignal}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(EventContract, AWaitBeforeTheFirstSetReturnsAtOnceAndCreatesNothing) {
    GetParam().wait();
    EXPECT_EQ(*GetParam().slot, nullptr);
}

TEST_P(EventContract, AResetBeforeTheFirstSetDoesNothing) {
    GetParam().reset();
    EXPECT_EQ(*GetParam().slot, nullptr);
    GetParam().wait();
}

TEST_P(EventContract, TheFirstSetCreatesASignalledEventAndLaterOnesKeepIt) {
    GetParam().set();
    const HANDLE created = *GetParam().slot;
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(WaitForSingleObject(created, 0), WAIT_OBJECT_0);
    GetParam().set();
    GetParam().reset();
    GetParam().set();
    EXPECT_EQ(*GetParam().slot, created);
}

TEST_P(EventContract, WaitsReturnAtOnceUntilTheReset) {
    GetParam().set();
    for (int round = 0; round < 100; ++round) {
        GetParam().wait();
    }
    EXPECT_EQ(WaitForSingleObject(*GetParam().slot, 0), WAIT_OBJECT_0);
    GetParam().reset();
    EXPECT_EQ(WaitForSingleObject(*GetParam().slot, 0), WAIT_TIMEOUT);
}

TEST_P(EventContract, AResetBlocksTheWaitUntilTheNextSet) {
    GetParam().set();
    GetParam().reset();
    const Walker walker(GetParam().wait);
    EXPECT_TRUE(walker.IsBlocked());
    GetParam().set();
    EXPECT_TRUE(walker.IsBack());
}

TEST_P(EventContract, OneSetReleasesEveryWaitingThread) {
    GetParam().set();
    GetParam().reset();
    const Walker first(GetParam().wait);
    const Walker second(GetParam().wait);
    const Walker third(GetParam().wait);
    EXPECT_TRUE(third.IsBlocked());
    GetParam().set();
    EXPECT_TRUE(first.IsBack());
    EXPECT_TRUE(second.IsBack());
    EXPECT_TRUE(third.IsBack());
}

TEST(EventPairContract, TheTwoEventsDoNotAffectEachOther) {
    CThreadManagement::SetStopContinueEvent();
    CThreadManagement::SetChangeFloorEvent();
    EXPECT_NE(CThreadManagement::s_hStopSignal, CThreadManagement::s_hChangeFloorSignal);
    CThreadManagement::ResetChangeFloorEvent();
    EXPECT_EQ(WaitForSingleObject(CThreadManagement::s_hStopSignal, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(CThreadManagement::s_hChangeFloorSignal, 0), WAIT_TIMEOUT);
}

TEST_F(WriteResultContract, AWaitBeforeTheFirstSetReturnsAtOnceAndCreatesNothing) {
    CThreadManagement::WaitForWriteResultEvent();
    EXPECT_EQ(CThreadManagement::s_hWaitResultMutex, nullptr);
}

TEST_F(WriteResultContract, TheFirstSetCreatesAMutexThatIsFreeForTheNextWait) {
    CThreadManagement::SetWriteResultEvent();
    ASSERT_NE(CThreadManagement::s_hWaitResultMutex, nullptr);
    {
        // The other thread ends while it owns the mutex only if it does not release it, so it does.
        const Walker other([] {
            CThreadManagement::WaitForWriteResultEvent();
            CThreadManagement::SetWriteResultEvent();
        });
        EXPECT_TRUE(other.IsBack());
    }
    CThreadManagement::WaitForWriteResultEvent();
    CThreadManagement::SetWriteResultEvent();
}

TEST_F(WriteResultContract, AResetLetsNobodyInAndTheOwnersSetDoes) {
    CThreadManagement::SetWriteResultEvent();
    CThreadManagement::WaitForWriteResultEvent();
    const Walker next([] {
        CThreadManagement::WaitForWriteResultEvent();
        CThreadManagement::SetWriteResultEvent();
    });
    EXPECT_TRUE(next.IsBlocked());
    CThreadManagement::ResetWriteResultEvent();
    EXPECT_TRUE(next.IsBlocked());
    CThreadManagement::SetWriteResultEvent();
    EXPECT_TRUE(next.IsBack());
}

TEST_F(WriteResultContract, ASetByAThreadThatDoesNotOwnItLetsNobodyIn) {
    CThreadManagement::SetWriteResultEvent();
    CThreadManagement::WaitForWriteResultEvent();
    {
        const Walker stranger(&CThreadManagement::SetWriteResultEvent);
        EXPECT_TRUE(stranger.IsBack());
    }
    const Walker next([] {
        CThreadManagement::WaitForWriteResultEvent();
        CThreadManagement::SetWriteResultEvent();
    });
    EXPECT_TRUE(next.IsBlocked());
    CThreadManagement::SetWriteResultEvent();
    EXPECT_TRUE(next.IsBack());
}

TEST_F(WriteResultContract, OneThreadAtATimeIsInTheWritingStep) {
    CThreadManagement::SetWriteResultEvent();
    // Plain on purpose: the mutex alone keeps it from being raced for.
    int written = 0;
    std::atomic<int> inside{0};
    std::atomic<bool> met{false};
    std::vector<std::thread> writers;
    for (int index = 0; index < 4; ++index) {
        writers.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                CThreadManagement::WaitForWriteResultEvent();
                met = met || inside.fetch_add(1) != 0;
                ++written;
                inside.fetch_sub(1);
                CThreadManagement::SetWriteResultEvent();
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_FALSE(met);
    EXPECT_EQ(written, 800);
}

TEST_F(WriteResultContract, TheSignalSlotIsNeverTouched) {
    CThreadManagement::SetWriteResultEvent();
    CThreadManagement::WaitForWriteResultEvent();
    CThreadManagement::ResetWriteResultEvent();
    CThreadManagement::SetWriteResultEvent();
    EXPECT_EQ(CThreadManagement::s_hWriteResultSignal, nullptr);
}

TEST(CancelFlagContract, KeepsWhatWasSet) {
    CThreadManagement::SetIsUserCancle(true);
    EXPECT_TRUE(CThreadManagement::GetIsUserCancle());
    EXPECT_TRUE(CThreadManagement::s_bUserCancleCheck);
    CThreadManagement::SetIsUserCancle(false);
    EXPECT_FALSE(CThreadManagement::GetIsUserCancle());
    CThreadManagement::s_bUserCancleCheck = true;
    EXPECT_TRUE(CThreadManagement::GetIsUserCancle());
    CThreadManagement::s_bUserCancleCheck = false;
}

TEST(CancelFlagContract, NoOperationWritesTheSlotsOfTheCallers) {
    int mark = 0;
    CThreadManagement::s_cRunningThread = &mark;
    CThreadManagement::s_cPreNoDoneThread = &mark;
    CThreadManagement::s_cRunningThreadId = 9;
    CThreadManagement::SetStopContinueEvent();
    CThreadManagement::SetChangeFloorEvent();
    CThreadManagement::SetWriteResultEvent();
    CThreadManagement::SetIsUserCancle(true);
    EXPECT_EQ(CThreadManagement::s_cRunningThread, &mark);
    EXPECT_EQ(CThreadManagement::s_cPreNoDoneThread, &mark);
    EXPECT_EQ(CThreadManagement::s_cRunningThreadId, 9U);
}
