// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>

namespace norvex::service::work {

// Time that passes for somebody, pauses not included.
class Stopwatch {
  public:
    using Clock = std::chrono::steady_clock;

    // Begins again at zero at a moment that has passed; goes on standing still when it did.
    void Restart(Clock::time_point at) {
        m_before = Clock::duration::zero();
        m_since = at;
    }
    void Pause() {
        m_before = Elapsed(Clock::now());
        m_isRunning = false;
    }
    void Continue() {
        m_since = Clock::now();
        m_isRunning = true;
    }
    // A moment before the last pause counts as that pause.
    Clock::duration Elapsed(Clock::time_point at) const {
        return m_before + (m_isRunning ? std::max(at - m_since, Clock::duration::zero()) : Clock::duration::zero());
    }

  private:
    Clock::duration m_before{};
    Clock::time_point m_since = Clock::now();
    bool m_isRunning = true;
};

}  // namespace norvex::service::work
