// SPDX-License-Identifier: Apache-2.0
#include "service/work/RunControl.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace norvex::service {

RunControl::RunControl() : m_news(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_news.Number() < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

void RunControl::NextFloor() {
    ++m_floorsToLetIn;
    Tell();
}

void RunControl::ReleaseFloors() {
    m_floorsToLetIn = 0;
    Wish(m_areFloorsHeld, false);
}

bool RunControl::TakeFloor() {
    int left = m_floorsToLetIn;
    while (left > 0 && !m_floorsToLetIn.compare_exchange_weak(left, left - 1)) {
    }
    return left > 0;
}

void RunControl::ClearNews() {
    std::uint64_t count = 0;
    // Nothing to read is as good as read.
    static_cast<void>(!read(m_news.Number(), &count, sizeof count));
}

// A handler must leave the interrupted code's error number alone.
void RunControl::Tell() {
    const int before = errno;
    const std::uint64_t one = 1;
    // It only fails when the counter is full, which is news enough.
    static_cast<void>(!write(m_news.Number(), &one, sizeof one));
    errno = before;
}

}  // namespace norvex::service
