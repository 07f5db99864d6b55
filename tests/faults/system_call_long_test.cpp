// SPDX-License-Identifier: Apache-2.0
#include "FaultyProgram.h"

using namespace norvex::test;

namespace {

class SystemCallsLong : public FaultyProgram {};

TEST_F(SystemCallsLong, EachOfThemMayFail) {
    Learn();
    ExpectOrderWhenCallsFail(std::numeric_limits<std::uint64_t>::max());
}

// Six hundred moments of a whole check at which one allocation fails, and as many from which on all do.
TEST_F(SystemCallsLong, AllocationsMayFail) {
    Learn();
    const std::uint64_t count = m_calls[static_cast<std::size_t>(Call::Allocate)];
    constexpr std::uint64_t kMoments = 600;
    for (const std::uint64_t times : {std::uint64_t{1}, std::numeric_limits<std::uint64_t>::max()}) {
        for (std::uint64_t moment = 0; moment < kMoments; ++moment) {
            ExpectOrder({.call = Call::Allocate,
                         .from = 1 + moment * count / kMoments,
                         .times = times,
                         .every = 1,
                         .error = ENOMEM});
            if (HasFatalFailure()) {
                return;
            }
        }
    }
    std::cout << m_struck << " checks ran out of memory\n";
}

}  // namespace
