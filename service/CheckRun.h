// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <vector>

#include "platform/datamng/ProjectData.h"
#include "service/FloorSource.h"
#include "service/Host.h"
#include "service/RunPlan.h"
#include "service/RunReport.h"
#include "service/work/ControlSocket.h"
#include "service/work/RunControl.h"

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
    // The user paused, continued or cancelled the run, or holds floors or lets them go on; RunControl says which.
    virtual void OnWish() {}
};

struct RunSettings {
    // Floors that are checked side by side, each in a process of its own; 0: as many as there are processors. Results
    // do not depend on it.
    std::size_t jobs = 1;
    // Time that one rule may take for one floor and specialty, pauses not included; ten minutes are far more than any
    // rule of ours takes for a city block.
    std::chrono::milliseconds budget = std::chrono::minutes{10};
    // Findings that one rule may report on one floor and specialty, about half a gigabyte of them; a rule that reports
    // more has lost its way, and would take the memory of the whole run.
    std::size_t mostFindings = 250'000;
    // And what they may take of text, for a rule whose findings are few and huge.
    std::size_t mostFindingBytes = std::size_t{512} << 20U;
    // By which other processes may wish something of the run; borrowed. Null: by none.
    const ControlSocket* socket = nullptr;
    // What an earlier part of the same run has done; these tasks are not run again, and nobody hears of them.
    std::map<std::size_t, TaskResult> finished = {};
};

// Runs a plan: has every floor checked by a worker process that drives CNorvexData and calls the rules. A rule that
// crashes, ends the process, reports without end or does not end within the budget is an outcome of that rule, floor
// and specialty. Returns the report without the parts that only the caller knows (tool, model, project, comparison);
// its order is the plan's. A run that is cancelled ends soon, and what was found stays in the report. CNorvexData keeps
// the counts of the run afterwards. Requires: the process has one thread.
RunReport ExecuteRun(Host& host, FloorSource& source, const RunPlan& plan, const datamng::ProjectData& project,
                     RunObserver& observer, RunControl& control, RunSettings settings = {});

}  // namespace norvex::service
