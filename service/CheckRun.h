// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <map>
#include <vector>

#include "platform/datamng/ProjectData.h"
#include "service/FloorSource.h"
#include "service/Host.h"
#include "service/RunPlan.h"
#include "service/RunReport.h"

namespace norvex::service {

// What came of one task: its record, and what was found in it in the order of reporting.
struct TaskResult {
    TaskRecord task;
    std::vector<FindingRecord> findings;  // not numbered yet
};

// Hears how a run goes on, on the thread that runs it. Tasks are named by their index in RunPlan::tasks; several may be
// under way at a time, and they end in any order.
class RunObserver {
  public:
    virtual ~RunObserver() = default;
    virtual void OnTask(std::size_t index, const TaskRecord& task) = 0;
    // As often as the rule likes; percent is 0 to 100 of this task.
    virtual void OnTaskProgress(std::size_t index, int percent) = 0;
    // Once for every task that this run does itself, cancelled ones included.
    virtual void OnTaskEnd(std::size_t index, const TaskResult& result) = 0;
};

struct RunSettings {
    // Floors that are checked side by side. Results do not depend on it.
    std::size_t jobs = 1;
    // Time that one rule may take for one floor and specialty, pauses not included; ten minutes are far more than any
    // rule of ours takes for a city block.
    std::chrono::milliseconds budget = std::chrono::minutes{10};
    // What an earlier part of the same run has done; these tasks are not run again, and nobody hears of them.
    std::map<std::size_t, TaskResult> finished;
};

// Runs a plan: makes every floor the working database in its turn, drives CNorvexData, and calls the rules. Returns the
// report without the parts that only the caller knows (tool, model, project, comparison). Setting cancel, from any
// thread or a signal handler, ends the run soon; what was found stays in the report. CNorvexData keeps the counts of
// the run afterwards.
RunReport ExecuteRun(Host& host, FloorSource& source, const RunPlan& plan, const datamng::ProjectData& project,
                     RunObserver& observer, const std::atomic<bool>& cancel, RunSettings settings = {});

}  // namespace norvex::service
