// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

// Takes away the right to pass over file permissions while it lives: root acts as nobody. Others act as themselves.
class WithoutPrivileges {
  public:
    WithoutPrivileges() {
        constexpr uid_t kNobody = 65534;
        m_dropped = geteuid() == 0 && seteuid(kNobody) == 0;
    }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
    ~WithoutPrivileges() {
        if (m_dropped && seteuid(0) != 0) {
            _exit(1);
        }
    }

  private:
    bool m_dropped;
};
