// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>

#include "platform/datamng/ProjectData.h"
#include "service/FloorSource.h"
#include "service/Host.h"
#include "service/RunPlan.h"
#include "service/RunReport.h"

namespace norvex::service {

// Hears how a run goes on, on the thread that runs it.
class RunObserver {
  public:
    virtual ~RunObserver() = default;
    // Before a task; done tasks out of total.
    virtual void OnTask(const TaskRecord& task, std::size_t done, std::size_t total) = 0;
    // While a task runs, as often as the rule likes; percent is 0 to 100 of this task.
    virtual void OnTaskProgress(int percent) = 0;
    virtual void OnTaskEnd(const TaskRecord& task, std::size_t done, std::size_t total) = 0;
};

// Runs a plan in this process: makes every floor the working database in its turn, drives CNorvexData, and calls the
// rules. Returns the report without the parts that only the caller knows (tool, model, project folder). Setting cancel,
// from any thread or a signal handler, ends the run soon; what was found stays in the report. CNorvexData keeps the
// counts of the run afterwards.
RunReport ExecuteRun(Host& host, FloorSource& source, const RunPlan& plan, const datamng::ProjectData& project,
                     RunObserver& observer, const std::atomic<bool>& cancel);

}  // namespace norvex::service
