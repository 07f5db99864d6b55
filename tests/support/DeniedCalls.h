// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cstddef>
#include <initializer_list>
#include <vector>

namespace norvex::test {

// From now on these calls of the system fail with that error in this process and in all that it starts, as on an old
// system, in a strict container, or when something has run out. For good, so a test that does it has a process of its
// own. Returns false when the system does not let a process do that.
inline bool DenyCalls(std::initializer_list<long> calls, int error) {
    std::vector<sock_filter> program{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned>(offsetof(seccomp_data, nr)))};
    for (const long call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// A thread is started by clone3, which the C library only does without when the system does not know it; a copy of a
// process is made by clone.
inline bool DenyThreads(int error) {
    return DenyCalls({SYS_clone3}, error);
}
inline bool DenyProcesses(int error) {
    return DenyCalls({SYS_clone}, error);
}

}  // namespace norvex::test
