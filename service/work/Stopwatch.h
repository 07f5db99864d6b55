// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace norvex::service::work {

// Time that passes for somebody, pauses not included.
class Stopwatch {
  public:
    using Clock = std::chrono::steady_clock;

    // Begins again at zero; goes on standing still when it did.
    void Restart() {
        m_before = Clock::duration::zero();
        m_since = Clock::now();
    }
    void Pause() {
        m_before = Elapsed();
        m_isRunning = false;
    }
    void Continue() {
        m_since = Clock::now();
        m_isRunning = true;
    }
    bool IsRunning() const { return m_isRunning; }
    Clock::duration Elapsed() const { return m_before + (m_isRunning ? Clock::now() - m_since : Clock::duration{}); }

  private:
    Clock::duration m_before{};
    Clock::time_point m_since = Clock::now();
    bool m_isRunning = true;
};

}  // namespace norvex::service::work
