// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tests/service/support/RunFixture.h"

// Read by the thread sanitizer in every process of a test: a race in a worker ends the worker, which the test sees.
extern "C" const char* __tsan_default_options();
inline constexpr const char* kStopAtTheFirstRace = "halt_on_error=1";

namespace norvex::test {

// Floors of one water pipe each, under these names.
inline DrawingFloors FloorsWithWater(const std::vector<std::string>& names) {
    DrawingFloors floors;
    for (const std::string& name : names) {
        Drawing drawing;
        drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str());
        floors.Add(name, std::move(drawing));
    }
    return floors;
}

// Rule modules of the tests, and perhaps the loop rule that ships, on the floors.
inline service::RunReport RunModules(DrawingFloors& floors, const std::vector<std::string>& modules,
                                     service::RunSettings settings, service::RunObserver& observer,
                                     service::RunControl& control) {
    ApplicationFolderCopy application;
    for (const std::string& module : modules) {
        application.With(module.starts_with("Check") ? ShippedRule(module) : TestModule(module));
    }
    service::NothingTrusted trust;
    return RunEverything(floors, application.Path(), trust, observer, control, std::move(settings));
}

inline service::RunReport RunModules(DrawingFloors& floors, const std::vector<std::string>& modules,
                                     service::RunSettings settings = {}) {
    SilentObserver observer;
    service::RunControl control;
    return RunModules(floors, modules, std::move(settings), observer, control);
}

}  // namespace norvex::test
