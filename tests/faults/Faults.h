// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

// The state of the fault shim (FaultShim.cpp): one page that a process, the processes it forks and the test that
// started it share. A program that runs with the shim preloaded keeps it in the file that NORVEX_FAULTS names; the test
// fills the plan in before and reads the counts afterwards.

namespace norvex::test {

enum class Call : std::uint32_t {
    Allocate,  // malloc and its relatives, and with them new
    Open,      // for writing
    Read,
    Write,
    Sync,
    Resize,
    Rename,
    Remove,
    MakeFolder,
    Lock,
    Fork,
    Thread,
    Pipe,  // and socket pairs
    Socket,
    Poll,
    Count
};

inline constexpr std::array<const char*, static_cast<std::size_t>(Call::Count)> kCallNames{
    "allocate", "open", "read", "write",  "sync", "resize", "rename", "remove",
    "mkdir",    "lock", "fork", "thread", "pipe", "socket", "poll"};

struct FaultPlan {
    Call call = Call::Count;  // Count: nothing fails
    // The first call that fails, counted from one over all processes.
    std::uint64_t from = 0;
    // How many calls from there on fail; the largest number: all.
    std::uint64_t times = 1;
    // Of the calls in that range only every so many-th fails.
    std::uint64_t every = 1;
    // What errno says. 0: the call does only half of what it was asked for, where it can (read and write).
    int error = 0;
};

struct FaultState {
    FaultPlan plan;
    std::array<std::atomic<std::uint64_t>, static_cast<std::size_t>(Call::Count)> calls{};
    std::atomic<std::uint64_t> failed{0};
    // Allocations that were not freed, of this process; meaningful where there is one process.
    std::atomic<std::int64_t> live{0};
    // Seconds that the system's clock is ahead, so that a test need not wait for the next second.
    std::int64_t clockAhead = 0;
};

}  // namespace norvex::test

// The state of this process. Null until the shim is ready, and in a program that runs without it.
extern "C" norvex::test::FaultState* norvex_fault_state() noexcept;
