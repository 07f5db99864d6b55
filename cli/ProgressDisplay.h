// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <map>
#include <string>

#include "service/CheckRun.h"

namespace norvex::cli {

// Shows on standard error how a run goes on: one line that is redrawn on a terminal, a line for each finished check
// elsewhere, or nothing.
class ProgressDisplay final : public service::RunObserver {
  public:
    enum class Kind { None, Lines, Bar };

    // total: the checks that the run does itself. The control says whether the run is paused or being cancelled.
    ProgressDisplay(Kind kind, std::size_t total, const service::RunControl& control)
        : m_kind(kind), m_total(total), m_control(control) {}
    // Clears the line that is being redrawn.
    ~ProgressDisplay() override;

    void OnTask(std::size_t index, const service::TaskRecord& task) override;
    void OnTaskProgress(std::size_t index, int percent) override;
    void OnTaskEnd(std::size_t index, const service::TaskResult& result) override;
    void OnWish() override;

  private:
    struct Task {
        std::string label;
        int percent = 0;
    };

    // "paused", "cancelling" or nothing.
    std::string State() const;
    std::string Labels() const;
    std::size_t Percent() const;
    void Draw(bool evenIfJustDrawn);

    Kind m_kind;
    std::size_t m_total;
    const service::RunControl& m_control;
    std::map<std::size_t, Task> m_tasks;  // under way, by index
    std::size_t m_done = 0;
    std::size_t m_shownPercent = 0;
    std::string m_shownState;
    bool m_isDrawn = false;
    std::chrono::steady_clock::time_point m_drawnAt;
};

}  // namespace norvex::cli
