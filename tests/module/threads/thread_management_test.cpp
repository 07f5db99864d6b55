// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/module/ThreadManagement.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

namespace {

void Pause(int milliseconds = 100) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// Runs work in a thread of its own and says whether it has ended.
class Worker {
  public:
    explicit Worker(std::function<void()> work)
        : m_thread([this, work = std::move(work)] {
              work();
              m_ended = true;
          }) {}
    ~Worker() { Join(); }

    bool HasEnded() const { return m_ended; }
    void Join() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

  private:
    std::atomic<bool> m_ended = false;
    std::thread m_thread;
};

TEST(ThreadManagement, BeginsWithNothing) {
    EXPECT_EQ(CThreadManagement::s_cRunningThread, nullptr);
    EXPECT_EQ(CThreadManagement::s_cRunningThreadId, 0U);
    EXPECT_FALSE(CThreadManagement::s_bUserCancleCheck);
    EXPECT_EQ(CThreadManagement::s_cPreNoDoneThread, nullptr);
    EXPECT_EQ(CThreadManagement::s_hStopSignal, nullptr);
    EXPECT_EQ(CThreadManagement::s_hChangeFloorSignal, nullptr);
    EXPECT_EQ(CThreadManagement::s_hWriteResultSignal, nullptr);
    EXPECT_EQ(CThreadManagement::s_hWaitResultMutex, nullptr);
}

TEST(ThreadManagement, KeepsTheCancelFlagUntilItIsSetAgain) {
    EXPECT_FALSE(CThreadManagement::GetIsUserCancle());
    CThreadManagement::SetIsUserCancle(true);
    EXPECT_TRUE(CThreadManagement::GetIsUserCancle());
    EXPECT_TRUE(CThreadManagement::s_bUserCancleCheck);
    EXPECT_TRUE(CThreadManagement::GetIsUserCancle());
    CThreadManagement::SetIsUserCancle(false);
    EXPECT_FALSE(CThreadManagement::GetIsUserCancle());
}

// The two events behave alike; each is tested through its own operations.
struct EventOperations {
    const char* name;
    void (*set)();
    void (*reset)();
    void (*wait)();
    HANDLE* handle;
};

void PrintTo(const EventOperations& operations, std::ostream* out) {
    *out << operations.name;
}

class CoordinationEvent : public testing::TestWithParam<EventOperations> {};

TEST_P(CoordinationEvent, IsNotWaitedForBeforeTheFirstSet) {
    GetParam().wait();
    EXPECT_EQ(*GetParam().handle, nullptr);
}

TEST_P(CoordinationEvent, IsNotMadeByAReset) {
    GetParam().reset();
    EXPECT_EQ(*GetParam().handle, nullptr);
    GetParam().wait();
}

TEST_P(CoordinationEvent, LetsEveryWaitPassUntilItIsReset) {
    GetParam().set();
    for (int count = 0; count < 5; ++count) {
        GetParam().wait();
    }
    GetParam().reset();
    Worker worker([] { GetParam().wait(); });
    Pause();
    EXPECT_FALSE(worker.HasEnded());
    GetParam().set();
    worker.Join();
    GetParam().wait();
}

TEST_P(CoordinationEvent, IsMadeOnce) {
    GetParam().set();
    const HANDLE made = *GetParam().handle;
    EXPECT_NE(made, nullptr);
    GetParam().reset();
    GetParam().set();
    EXPECT_EQ(*GetParam().handle, made);
}

TEST_P(CoordinationEvent, ReleasesEveryWaiterWhenSetAndResetInOneBreath) {
    GetParam().set();
    GetParam().reset();
    std::atomic<int> released = 0;
    std::vector<std::thread> waiters;
    for (int index = 0; index < 8; ++index) {
        waiters.emplace_back([&] {
            GetParam().wait();
            ++released;
        });
    }
    Pause(300);
    EXPECT_EQ(released, 0);
    GetParam().set();
    GetParam().reset();
    // A waiter that was left behind would wait for ever; the test's time limit would tell.
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(released, 8);
}

TEST_P(CoordinationEvent, IsMadeAgainWhenItsHandleWasLost) {
    GetParam().set();
    *GetParam().handle = nullptr;
    GetParam().reset();
    GetParam().wait();
    GetParam().set();
    EXPECT_NE(*GetParam().handle, nullptr);
}

INSTANTIATE_TEST_SUITE_P(ThreadManagement, CoordinationEvent,
                         testing::Values(EventOperations{"StopContinue", &CThreadManagement::SetStopContinueEvent,
                                                         &CThreadManagement::ResetStopContinueEvent,
                                                         &CThreadManagement::WaitForStopContinueEvent,
                                                         &CThreadManagement::s_hStopSignal},
                                         EventOperations{"ChangeFloor", &CThreadManagement::SetChangeFloorEvent,
                                                         &CThreadManagement::ResetChangeFloorEvent,
                                                         &CThreadManagement::WaitForChangeFloorEvent,
                                                         &CThreadManagement::s_hChangeFloorSignal}),
                         [](const auto& instance) { return instance.param.name; });

TEST(StopContinueEvent, AndChangeFloorEventAreTwoObjects) {
    CThreadManagement::SetStopContinueEvent();
    EXPECT_EQ(CThreadManagement::s_hChangeFloorSignal, nullptr);
    CThreadManagement::SetChangeFloorEvent();
    EXPECT_NE(CThreadManagement::s_hStopSignal, CThreadManagement::s_hChangeFloorSignal);
    CThreadManagement::ResetStopContinueEvent();
    CThreadManagement::WaitForChangeFloorEvent();
}

TEST(WriteResultMutex, IsNotWaitedForBeforeTheFirstSet) {
    CThreadManagement::WaitForWriteResultEvent();
    EXPECT_EQ(CThreadManagement::s_hWaitResultMutex, nullptr);
}

TEST(WriteResultMutex, IsMadeFreeByTheFirstSet) {
    CThreadManagement::SetWriteResultEvent();
    EXPECT_NE(CThreadManagement::s_hWaitResultMutex, nullptr);
    Worker([] { CThreadManagement::WaitForWriteResultEvent(); }).Join();
    CThreadManagement::WaitForWriteResultEvent();
}

TEST(WriteResultMutex, LetsTheNextOneInOnlyWhenItsOwnerSetsIt) {
    CThreadManagement::SetWriteResultEvent();
    CThreadManagement::WaitForWriteResultEvent();
    Worker waiter([] {
        CThreadManagement::WaitForWriteResultEvent();
        CThreadManagement::SetWriteResultEvent();
    });
    CThreadManagement::ResetWriteResultEvent();
    Worker([] { CThreadManagement::SetWriteResultEvent(); }).Join();
    Pause();
    EXPECT_FALSE(waiter.HasEnded());
    CThreadManagement::SetWriteResultEvent();
    waiter.Join();
}

TEST(WriteResultMutex, IsTakenAgainByItsOwnerAndSetAsOften) {
    CThreadManagement::SetWriteResultEvent();
    CThreadManagement::WaitForWriteResultEvent();
    CThreadManagement::WaitForWriteResultEvent();
    CThreadManagement::SetWriteResultEvent();
    Worker waiter([] {
        CThreadManagement::WaitForWriteResultEvent();
        CThreadManagement::SetWriteResultEvent();
    });
    Pause();
    EXPECT_FALSE(waiter.HasEnded());
    CThreadManagement::SetWriteResultEvent();
    waiter.Join();
}

TEST(WriteResultMutex, GoesToTheNextWaiterWhenItsOwnerEnded) {
    CThreadManagement::SetWriteResultEvent();
    Worker([] { CThreadManagement::WaitForWriteResultEvent(); }).Join();
    CThreadManagement::WaitForWriteResultEvent();
    CThreadManagement::SetWriteResultEvent();
    Worker([] { CThreadManagement::WaitForWriteResultEvent(); }).Join();
}

TEST(WriteResultMutex, LeavesTheSpareSlotAlone) {
    CThreadManagement::SetWriteResultEvent();
    CThreadManagement::WaitForWriteResultEvent();
    CThreadManagement::ResetWriteResultEvent();
    EXPECT_EQ(CThreadManagement::s_hWriteResultSignal, nullptr);
}

}  // namespace
