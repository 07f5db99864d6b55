// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "service/Project.h"
#include "tests/service/support/RunFixture.h"

namespace norvex::test {

// Runs the rules that ship on one floor, "1F", with the configuration that ships or, where a test gives one, with that
// in its place.
inline service::RunReport RunOnFloor(Drawing drawing, const std::string& configuration = {}) {
    const TemporaryFolder project;
    if (!configuration.empty()) {
        WriteFile(project / "NorvexConfig.xml",
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<norvex>" + configuration + "</norvex>\n");
    }
    std::string error;
    EXPECT_TRUE(service::UseConfiguration(project.Path(), service::ApplicationFolder(), error)) << error;
    DrawingFloors floors;
    floors.Add("1F", std::move(drawing));
    return RunShippedRules(floors);
}

}  // namespace norvex::test
