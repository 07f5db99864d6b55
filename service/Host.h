// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/arx/AcDbDatabase.h"
#include "service/CheckService.h"
#include "service/Module.h"
#include "service/RunReport.h"

namespace norvex::service {

// A rule with what the run needs to know of it besides.
struct LoadedRule {
    INorvexRule* rule = nullptr;  // lives as long as the process
    RuleRecord record;

    // Whether the rule has something to say about a specialty.
    bool AppliesTo(const std::string& specialty) const;
};

// The application folder of the running program: where the linked NorvexData.arx lies, with the rule modules in its
// subfolder Norvex.
std::filesystem::path ApplicationFolder();

// Plays the CAD host: loads NorvexData.arx and the rule modules, tells them about drawings, and ends them. One at a
// time in a process. All of it on one thread.
class Host {
  public:
    explicit Host(TrustStore& trust);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host();

    // Loads the module and makes the check service known to it. Returns a sentence when that is not possible; nothing
    // else may be called then.
    std::optional<std::string> Start(const std::filesystem::path& applicationFolder);

    // Loads every *.Arx in the application folder's Norvex, in the order of the file names. One that cannot be loaded
    // is left out and named in LoadFailures(); so is one that crashes then, or takes longer than the budget. Requires:
    // the process has one thread.
    void LoadRules(std::chrono::milliseconds budget = std::chrono::seconds{10});

    // By name.
    const std::vector<LoadedRule>& Rules() const { return m_rules; }
    // One sentence for each rule module, or the folder of them, that could not be used.
    const std::vector<std::string>& LoadFailures() const { return m_loadFailures; }
    // What the user should know of this system; nothing is missing for it. One sentence each.
    const std::vector<std::string>& Remarks() const { return m_remarks; }
    CheckService& Service() { return m_service; }

    // Makes a drawing the working database and tells the modules; CloseDrawing takes it back.
    void OpenDrawing(AcDbDatabase& drawing);
    void CloseDrawing();

  private:
    void LoadRuleModule(const std::filesystem::path& file, std::chrono::milliseconds budget);
    std::optional<Module> Initialised(const std::filesystem::path& file, std::string& error);
    std::string InitialiseRuleModule(const Module& module);
    bool TakeRules(const Module& module, std::string& error);
    void Broadcast(AcRx::AppMsgCode message) const;

    CheckService m_service;
    std::filesystem::path m_folder;
    std::vector<Module> m_modules;  // NorvexData.arx first
    std::vector<LoadedRule> m_rules;
    std::vector<std::string> m_loadFailures;
    std::vector<std::string> m_remarks;
};

}  // namespace norvex::service
