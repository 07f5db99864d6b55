// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/Synchronization.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

namespace {

// Long enough for a thread that may run to have run; only promises that something stays blocked depend on it, and they
// cannot fail by being slow.
constexpr DWORD kBlockedMilliseconds = 50;
// How long the tests wait for something that must happen.
constexpr DWORD kPatienceMilliseconds = 30'000;

HANDLE ManualEvent(bool signalled = false) {
    return CreateEventW(nullptr, true, signalled, nullptr);
}

HANDLE FreeMutex() {
    return CreateMutexW(nullptr, false, nullptr);
}

void RunInThread(const std::function<void()>& work) {
    std::thread(work).join();
}

TEST(KernelHandle, FailsAtOnceWhenItIsNull) {
    EXPECT_EQ(WaitForSingleObject(nullptr, INFINITE), WAIT_FAILED);
    EXPECT_EQ(WaitForSingleObject(INVALID_HANDLE_VALUE, INFINITE), WAIT_FAILED);
    EXPECT_FALSE(SetEvent(nullptr));
    EXPECT_FALSE(ResetEvent(nullptr));
    EXPECT_FALSE(ReleaseMutex(nullptr));
}

TEST(KernelHandle, FailsWhereTheOtherKindIsNeeded) {
    HANDLE event = ManualEvent();
    HANDLE mutex = FreeMutex();
    EXPECT_FALSE(ReleaseMutex(event));
    EXPECT_FALSE(SetEvent(mutex));
    EXPECT_FALSE(ResetEvent(mutex));
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
}

TEST(KernelHandle, IsNullWhenANameIsAskedFor) {
    EXPECT_EQ(CreateEventW(nullptr, true, false, u"name"), nullptr);
    EXPECT_EQ(CreateMutexW(nullptr, false, u"name"), nullptr);
}

TEST(ManualResetEvent, StaysSignalledUntilItIsReset) {
    HANDLE event = ManualEvent();
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(SetEvent(event));
    for (int count = 0; count < 3; ++count) {
        EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
    }
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_EQ(WaitForSingleObject(event, 1), WAIT_TIMEOUT);
}

TEST(ManualResetEvent, MayBeginSignalled) {
    EXPECT_EQ(WaitForSingleObject(ManualEvent(true), INFINITE), WAIT_OBJECT_0);
}

TEST(ManualResetEvent, ReleasesEveryWaiterWhenSetAndResetInOneBreath) {
    constexpr int kWaiters = 16;
    HANDLE event = ManualEvent();
    std::atomic<int> released = 0;
    std::vector<std::thread> waiters;
    for (int index = 0; index < kWaiters; ++index) {
        waiters.emplace_back([&] {
            EXPECT_EQ(WaitForSingleObject(event, kPatienceMilliseconds), WAIT_OBJECT_0);
            ++released;
        });
    }
    // Nobody can tell from outside that a thread has begun to wait, so they get ample time to.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(released, 0);
    SetEvent(event);
    ResetEvent(event);
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(released, kWaiters);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
}

TEST(AutoResetEvent, ReleasesOneWaitPerSet) {
    HANDLE event = CreateEventW(nullptr, false, false, nullptr);
    SetEvent(event);
    SetEvent(event);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
}

TEST(KernelMutex, IsTakenByAWaitAndFreedByARelease) {
    HANDLE mutex = FreeMutex();
    EXPECT_EQ(WaitForSingleObject(mutex, INFINITE), WAIT_OBJECT_0);
    RunInThread([&] { EXPECT_EQ(WaitForSingleObject(mutex, kBlockedMilliseconds), WAIT_TIMEOUT); });
    EXPECT_TRUE(ReleaseMutex(mutex));
    RunInThread([&] {
        EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
        EXPECT_TRUE(ReleaseMutex(mutex));
    });
}

TEST(KernelMutex, CountsHowOftenItsOwnerEntered) {
    HANDLE mutex = FreeMutex();
    for (int count = 0; count < 3; ++count) {
        EXPECT_EQ(WaitForSingleObject(mutex, INFINITE), WAIT_OBJECT_0);
    }
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(ReleaseMutex(mutex));
    RunInThread([&] { EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT); });
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
    RunInThread([&] { EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0); });
}

TEST(KernelMutex, IgnoresAReleaseByAStranger) {
    HANDLE mutex = FreeMutex();
    EXPECT_FALSE(ReleaseMutex(mutex));
    WaitForSingleObject(mutex, INFINITE);
    RunInThread([&] {
        EXPECT_FALSE(ReleaseMutex(mutex));
        EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);
    });
    EXPECT_TRUE(ReleaseMutex(mutex));
}

TEST(KernelMutex, MayBeginOwned) {
    HANDLE mutex = CreateMutexW(nullptr, true, nullptr);
    RunInThread([&] { EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT); });
    EXPECT_TRUE(ReleaseMutex(mutex));
}

TEST(KernelMutex, GoesToTheNextWaiterOnceWhenItsOwnerEnds) {
    HANDLE mutex = FreeMutex();
    RunInThread([&] {
        WaitForSingleObject(mutex, INFINITE);
        WaitForSingleObject(mutex, INFINITE);
    });
    EXPECT_EQ(WaitForSingleObject(mutex, INFINITE), WAIT_ABANDONED);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitForSingleObject(mutex, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
}

TEST(KernelMutex, WakesAWaiterWhenItsOwnerEnds) {
    HANDLE mutex = FreeMutex();
    HANDLE owned = ManualEvent();
    HANDLE mayEnd = ManualEvent();
    std::thread owner([&] {
        WaitForSingleObject(mutex, INFINITE);
        SetEvent(owned);
        WaitForSingleObject(mayEnd, INFINITE);
    });
    WaitForSingleObject(owned, INFINITE);
    std::thread waiter([&] { EXPECT_EQ(WaitForSingleObject(mutex, kPatienceMilliseconds), WAIT_ABANDONED); });
    EXPECT_EQ(WaitForSingleObject(mutex, kBlockedMilliseconds), WAIT_TIMEOUT);
    SetEvent(mayEnd);
    owner.join();
    waiter.join();
    // The waiter ended as owner, too.
    EXPECT_EQ(WaitForSingleObject(mutex, kPatienceMilliseconds), WAIT_ABANDONED);
}

TEST(KernelMutex, LetsOneThreadAtATimeThrough) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 2000;
    HANDLE mutex = FreeMutex();
    int counted = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                WaitForSingleObject(mutex, INFINITE);
                ++counted;
                ReleaseMutex(mutex);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counted, kThreads * kRounds);
}

}  // namespace
