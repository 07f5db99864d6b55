// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cstddef>
#include <initializer_list>
#include <vector>

// From a call of these on, calls of the system fail with an error in this process and in all that it starts, as on an
// old system, in a strict container, or when something has run out. For good, so a test that does it has a process of
// its own. They return false when the system does not let a process do that.

namespace norvex::test {

namespace denied {

inline sock_filter Load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned>(offset));
}

inline sock_filter Deny(int error) {
    return BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error));
}

inline bool Install(std::vector<sock_filter> program) {
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

}  // namespace denied

inline bool DenyCalls(std::initializer_list<long> calls, int error) {
    std::vector<sock_filter> program{denied::Load(offsetof(seccomp_data, nr))};
    for (const long call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
        program.push_back(denied::Deny(error));
    }
    return denied::Install(std::move(program));
}

// The C library starts a thread by clone3, and goes without only on a system that does not know it.
inline bool DenyThreads(int error) {
    return DenyCalls({SYS_clone3}, error);
}

// A copy of a process is made by a clone that does not share the memory; sanitizers make others.
inline bool DenyProcesses(int error) {
    return denied::Install({
        denied::Load(offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 3),
        denied::Load(offsetof(seccomp_data, args)),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, CLONE_VM, 1, 0),
        denied::Deny(error),
    });
}

}  // namespace norvex::test
