// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "service/CheckRun.h"
#include "service/TrustStore.h"
#include "service/Verdict.h"
#include "support/Process.h"
#include "tests/service/support/DrawingFloors.h"

namespace norvex::test {

class SilentObserver : public service::RunObserver {
  public:
    void OnTask(std::size_t, const service::TaskRecord&) override {}
    void OnTaskProgress(std::size_t, int) override {}
    void OnTaskEnd(std::size_t, const service::TaskResult&) override {}
};

// An application folder of its own: the program's module, and the rule modules that a test asks for.
class ApplicationFolderCopy {
  public:
    ApplicationFolderCopy() {
        std::filesystem::create_directory(m_folder / "Norvex");
        std::filesystem::create_symlink(service::ApplicationFolder() / "NorvexData.arx", m_folder / "NorvexData.arx");
    }

    ApplicationFolderCopy& With(const std::filesystem::path& module) {
        std::filesystem::copy(module, m_folder.Path() / "Norvex" / module.filename());
        return *this;
    }
    const std::filesystem::path& Path() const { return m_folder.Path(); }

  private:
    TemporaryFolder m_folder;
};

inline std::filesystem::path ShippedRule(const std::string& name) {
    return service::ApplicationFolder() / "Norvex" / (name + ".Arx");
}

// Rule modules that misbehave, see tests/service/modules.
inline std::filesystem::path TestModule(const std::string& name) {
    return std::filesystem::path(NORVEX_TEST_MODULES) / (name + ".Arx");
}

// Starts a host on an application folder and runs everything on the floors.
inline service::RunReport RunEverything(DrawingFloors& floors, const std::filesystem::path& application,
                                        service::TrustStore& trust, service::RunObserver& observer,
                                        service::RunControl& control, service::RunSettings settings = {}) {
    service::Host host(trust);
    EXPECT_EQ(host.Start(application), std::nullopt);
    host.LoadRules();
    std::string error;
    const std::optional<service::RunPlan> plan = service::MakeRunPlan({}, floors, host.Rules(), error);
    EXPECT_EQ(error, "");
    datamng::ProjectData project;
    project.folder = u"\\tmp\\project";
    return service::ExecuteRun(host, floors, *plan, project, observer, control, std::move(settings));
}

inline service::RunReport RunEverything(DrawingFloors& floors, const std::filesystem::path& application) {
    service::NothingTrusted trust;
    SilentObserver observer;
    service::RunControl control;
    return RunEverything(floors, application, trust, observer, control);
}

// With the rules that ship.
inline service::RunReport RunShippedRules(DrawingFloors& floors) {
    return RunEverything(floors, service::ApplicationFolder());
}

// The task of a rule on a floor in a specialty; fails the test when there is none.
inline service::TaskRecord TaskOf(const service::RunReport& report, const std::string& rule, const std::string& floor,
                                  const std::string& specialty) {
    for (const service::TaskRecord& task : report.tasks) {
        if (task.rule == rule && task.floor == floor && task.specialty == specialty) {
            return task;
        }
    }
    ADD_FAILURE() << "no task of " << rule << " on " << floor << " in " << specialty;
    return {};
}

}  // namespace norvex::test
