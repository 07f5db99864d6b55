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

    // total: the checks that the run does itself.
    ProgressDisplay(Kind kind, std::size_t total) : m_kind(kind), m_total(total) {}
    // Clears the line that is being redrawn.
    ~ProgressDisplay() override;

    void OnTask(std::size_t index, const service::TaskRecord& task) override;
    void OnTaskProgress(std::size_t index, int percent) override;
    void OnTaskEnd(std::size_t index, const service::TaskResult& result) override;

  private:
    void Draw(int taskPercent);

    Kind m_kind;
    std::size_t m_total;
    std::string m_label;
    std::size_t m_done = 0;
    bool m_isDrawn = false;
    std::chrono::steady_clock::time_point m_drawnAt;
};

}  // namespace norvex::cli
