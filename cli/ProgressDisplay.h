// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

#include "service/CheckRun.h"

namespace norvex::cli {

// Shows on standard error how a run goes on: one line that is redrawn on a terminal, a line for each finished check
// elsewhere, or nothing.
class ProgressDisplay final : public service::RunObserver {
  public:
    enum class Kind { None, Lines, Bar };

    explicit ProgressDisplay(Kind kind) : m_kind(kind) {}
    // Clears the line that is being redrawn.
    ~ProgressDisplay() override;

    void OnTask(const service::TaskRecord& task, std::size_t done, std::size_t total) override;
    void OnTaskProgress(int percent) override;
    void OnTaskEnd(const service::TaskRecord& task, std::size_t done, std::size_t total) override;

  private:
    void Draw(int taskPercent);

    Kind m_kind;
    std::string m_label;
    std::size_t m_done = 0;
    std::size_t m_total = 0;
    bool m_isDrawn = false;
    std::chrono::steady_clock::time_point m_drawnAt;
};

}  // namespace norvex::cli
