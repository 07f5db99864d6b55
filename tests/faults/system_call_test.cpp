// SPDX-License-Identifier: Apache-2.0
#include "FaultyProgram.h"

using namespace norvex::test;

namespace {

class SystemCalls : public FaultyProgram {};

// Reads and writes that do only part of what was asked for, or are interrupted, are everyday life on a network drive.
TEST_F(SystemCalls, ThatDoOnlyHalfOrAreInterruptedChangeNothing) {
    Learn();
    for (const Call call : {Call::Read, Call::Write, Call::Poll}) {
        for (const int error : {0, EINTR}) {
            if (error == 0 && call != Call::Read && call != Call::Write) {
                continue;
            }
            Forget();
            const Disturbed run = RunDisturbed(Arguments(), {.call = call,
                                                             .from = 1,
                                                             .times = std::numeric_limits<std::uint64_t>::max(),
                                                             .every = 2,
                                                             .error = error});
            SCOPED_TRACE(run.story);
            EXPECT_EQ(run.result.exitCode, 1) << run.result.err << run.result.out;
            EXPECT_EQ(Findings(Out("a.json")), m_expected);
            EXPECT_GT(run.failed, 0U);
        }
    }
}

TEST_F(SystemCalls, ThatFailEndACheckInGoodOrder) {
    Learn();
    ExpectOrderWhenCallsFail(3);
    EXPECT_GT(m_struck, 20U);
}

}  // namespace
