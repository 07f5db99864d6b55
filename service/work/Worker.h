// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/datamng/ProjectData.h"
#include "service/FloorSource.h"
#include "service/Host.h"
#include "service/RunPlan.h"

namespace norvex::service::work {

// What a run gives its workers; all of it is the run's and outlives them.
struct WorkerScope {
    Host& host;
    FloorSource& source;
    const RunPlan& plan;
    const datamng::ProjectData& project;
    // By index into RunPlan::floors: the names under which the module knows them.
    std::vector<CString> moduleFloors;
};

// How the user's wishes stand when a worker begins.
struct WorkerStart {
    bool isPaused = false;
    bool isFloorHeld = false;
};

// Does tasks of one floor, given by ascending index, and says over the socket how it goes. Called by a WorkerProcess,
// which it ends. The calling thread becomes the control thread: it reads the service's orders and works the objects of
// CThreadManagement; a second thread, the check thread, does all rule work.
[[noreturn]] void RunWorker(const WorkerScope& scope, std::size_t floor, const std::vector<std::size_t>& tasks,
                            WorkerStart start, int socket);

}  // namespace norvex::service::work
