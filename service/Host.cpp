// SPDX-License-Identifier: Apache-2.0
#include "service/Host.h"

#include <dlfcn.h>

#include <fmt/format.h>
#include <algorithm>

#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/NorvexRule.h"
#include "platform/text/Utf8.h"
#include "service/Words.h"
#include "service/work/Rehearsal.h"
#include "service/work/WorkerProcess.h"

namespace norvex::service {
namespace {

constexpr const char* kModuleName = "NorvexData.arx";
constexpr const char* kRuleFolder = "Norvex";
constexpr const char* kRuleExtension = ".arx";
constexpr const char* kNotWatched =
    "This system does not let a program watch its processes (pidfd_open is missing or forbidden), so that the ends of "
    "workers are looked for at intervals; results are the same.";

using RuleApiVersionFunction = int (*)();
// CNorvexData::GetNorvexService() as the loader knows it.
constexpr const char* kGetServiceSymbol = "_ZN11CNorvexData16GetNorvexServiceEv";

// Libraries whose state is one for the process, each with a name that it alone defines.
struct OneOfAKind {
    const char* fileName;
    const char* symbol;
};
constexpr OneOfAKind kOnesOfAKind[] = {{kModuleName, kGetServiceSymbol},
                                       {"libNorvexPlatform.so", "_Z15acrxSysRegistryv"}};

RuleRecord RecordOf(const NS_NORVEX::RuleInfo& info, const Module& module) {
    RuleRecord record{.name = text::ToUtf8(info.strName),
                      .shortName = text::ToUtf8(info.strShortName),
                      .title = text::ToUtf8(info.strTitle),
                      .category = text::ToUtf8(info.strCategory),
                      .version = text::ToUtf8(info.strVersion),
                      .module = module.Name(),
                      .specialties = {},
                      .md5 = {},
                      .why = text::ToUtf8(info.strWhy),
                      .howToFix = text::ToUtf8(info.strHowToFix),
                      .what = text::ToUtf8(info.strWhat),
                      .severity = text::ToUtf8(info.strSeverity)};
    for (const CString& specialty : info.vecSpecialties) {
        record.specialties.push_back(text::ToUtf8(specialty));
    }
    return record;
}

// Rule modules in a folder, by file name. Errors: the system's words in error.
std::vector<std::filesystem::path> RuleFiles(const std::filesystem::path& folder, std::error_code& error) {
    std::vector<std::filesystem::path> files;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (EqualsIgnoringCase(entry->path().extension().string(), kRuleExtension)) {
            files.push_back(entry->path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The file of the module that this program is linked with.
std::filesystem::path LinkedModule() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&CNorvexData::GetNorvexService), &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    return std::filesystem::absolute(info.dli_fname).lexically_normal();
}

// Whether a file is another one than the linked module. A missing file is not: loading it says why.
bool IsAnotherFile(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::exists(file, error) && !std::filesystem::equivalent(file, LinkedModule(), error) && !error;
}

// Why a file among the rule modules must not even be loaded, because another one is in the process already; empty when
// it may. A second copy of the module would at best bring a state that nobody looks at.
std::string ReasonNotToLoadBeside(const std::vector<Module>& loaded, const std::filesystem::path& file) {
    for (const Module& module : loaded) {
        std::error_code error;
        if (std::filesystem::equivalent(file, module.File(), error)) {
            return fmt::format("it is the same file as {}, which is loaded already", module.Name());
        }
    }
    for (const OneOfAKind& one : kOnesOfAKind) {
        if (EqualsIgnoringCase(file.filename().string(), one.fileName) || DefinesSymbol(file, one.symbol)) {
            return fmt::format("it is a second copy of {}, which is loaded already; take it out of the folder",
                               one.fileName);
        }
    }
    return {};
}

std::string MixedInstallation(const std::filesystem::path& file) {
    return fmt::format("{} is not the module that this program runs on; the installation mixes two of them.",
                       file.string());
}

}  // namespace

bool LoadedRule::AppliesTo(const std::string& specialty) const {
    return record.specialties.empty() ||
           std::find(record.specialties.begin(), record.specialties.end(), specialty) != record.specialties.end();
}

std::filesystem::path ApplicationFolder() {
    return LinkedModule().parent_path();
}

Host::Host(TrustStore& trust) : m_service(trust) {
}

Host::~Host() {
    try {
        Broadcast(AcRx::kQuitMsg);
        for (auto module = m_modules.rbegin(); module != m_modules.rend(); ++module) {
            module->Send(AcRx::kUnloadAppMsg);
        }
    } catch (...) {
        // A module that fails now fails nobody any more.
    }
    if (CNorvexData::GetNorvexService() == &m_service) {
        CNorvexData::SetNorvexService(nullptr);
    }
}

std::optional<std::string> Host::Start(const std::filesystem::path& applicationFolder) {
    m_folder = applicationFolder;
    const std::filesystem::path file = m_folder / kModuleName;
    if (IsAnotherFile(file)) {
        return MixedInstallation(file);
    }
    std::string error;
    const std::optional<Module> module = Module::Load(file, error);
    if (!module) {
        return fmt::format("{} cannot be loaded: {}.", file.string(), error);
    }
    // A file that was replaced meanwhile is loaded a second time, with a second state: the loaded function must be the
    // very one that is linked.
    if (module->OwnSymbol(kGetServiceSymbol) != reinterpret_cast<void*>(&CNorvexData::GetNorvexService)) {
        return MixedInstallation(file);
    }
    CNorvexData::SetNorvexService(&m_service);
    if (module->Send(AcRx::kInitAppMsg) != AcRx::kRetOK) {
        return fmt::format("{} refused to start.", file.string());
    }
    m_modules.push_back(*module);
    return std::nullopt;
}

void Host::LoadRules(std::chrono::milliseconds budget) {
    const std::filesystem::path folder = m_folder / kRuleFolder;
    std::error_code error;
    const std::vector<std::filesystem::path> files = RuleFiles(folder, error);
    if (error) {
        m_loadFailures.push_back(
            fmt::format("The folder of rule modules {} cannot be read: {}.", folder.string(), error.message()));
        return;
    }
    if (files.empty()) {
        m_loadFailures.push_back(fmt::format("The folder {} holds no rule module.", folder.string()));
    }
    for (const std::filesystem::path& file : files) {
        LoadRuleModule(file, budget);
    }
    if (!work::WorkerProcess::CanBeWatched()) {
        m_remarks.emplace_back(kNotWatched);
    }
    std::sort(m_rules.begin(), m_rules.end(),
              [](const LoadedRule& left, const LoadedRule& right) { return left.record.name < right.record.name; });
}

// A module has the run of the process from the moment in which it is loaded, so it is tried in a copy of it first.
void Host::LoadRuleModule(const std::filesystem::path& file, std::chrono::milliseconds budget) {
    if (const std::string reason = ReasonNotToLoadBeside(m_modules, file); !reason.empty()) {
        m_loadFailures.push_back(fmt::format("Rule module {} cannot be used: {}.", file.filename().string(), reason));
        return;
    }
    const auto rehearsal = [&] {
        std::string ignored;
        if (const std::optional<Module> module = Initialised(file, ignored)) {
            module->Send(AcRx::kQuitMsg);
            module->Send(AcRx::kUnloadAppMsg);
        }
    };
    const std::string disaster = work::Rehearse(rehearsal, budget);
    std::string error = disaster.empty() ? "" : "when it was loaded, " + disaster;
    std::optional<Module> module;
    if (disaster.empty()) {
        // It may do another time what it did not do when it was tried.
        try {
            module = Initialised(file, error);
        } catch (const std::exception& escaped) {
            error = fmt::format("when it was loaded, it let an exception escape: {}", escaped.what());
        } catch (...) {
            error = "when it was loaded, it let an exception of unknown kind escape";
        }
    }
    if (!module) {
        m_loadFailures.push_back(fmt::format("Rule module {} cannot be used: {}.", file.filename().string(), error));
        return;
    }
    m_modules.push_back(*module);
}

// Errors: nothing, and error says why.
std::optional<Module> Host::Initialised(const std::filesystem::path& file, std::string& error) {
    std::optional<Module> module = Module::Load(file, error);
    if (module) {
        error = InitialiseRuleModule(*module);
    }
    return error.empty() ? module : std::nullopt;
}

// Returns why the module cannot be used; empty when it can.
std::string Host::InitialiseRuleModule(const Module& module) {
    const auto version = reinterpret_cast<RuleApiVersionFunction>(module.OwnSymbol("norvexGetRuleApiVersion"));
    if (version == nullptr) {
        return "it holds no rule: it does not export norvexGetRuleApiVersion";
    }
    if (version() != kNorvexRuleApiVersion) {
        return fmt::format("it was built for version {} of the rule interface, and this program has version {}",
                           version(), kNorvexRuleApiVersion);
    }
    m_service.TakeRegistered();
    if (module.Send(AcRx::kInitAppMsg) != AcRx::kRetOK) {
        return "it refused to start";
    }
    std::string error;
    if (!TakeRules(module, error)) {
        module.Send(AcRx::kUnloadAppMsg);
    }
    return error;
}

// All rules of a module or none. Errors: false, and error says why.
bool Host::TakeRules(const Module& module, std::string& error) {
    std::vector<LoadedRule> taken;
    for (INorvexRule* rule : m_service.TakeRegistered()) {
        taken.push_back({rule, RecordOf(rule->GetInfo(), module)});
        const std::string& name = taken.back().record.name;
        const auto isNamesake = [&](const LoadedRule& other) { return other.record.name == name; };
        if (name.empty()) {
            error = "it registers a rule without a name";
        } else if (const auto other = std::find_if(m_rules.begin(), m_rules.end(), isNamesake);
                   other != m_rules.end()) {
            error = fmt::format("its rule {} is already there from {}", name, other->record.module);
        } else if (std::count_if(taken.begin(), taken.end(), isNamesake) > 1) {
            error = fmt::format("it registers the rule {} twice", name);
        }
    }
    if (taken.empty()) {
        error = "it registers no rule";
    }
    if (!error.empty()) {
        return false;
    }
    m_rules.insert(m_rules.end(), taken.begin(), taken.end());
    return true;
}

void Host::OpenDrawing(AcDbDatabase& drawing) {
    acdbHostApplicationServices()->setWorkingDatabase(&drawing);
    Broadcast(AcRx::kLoadDwgMsg);
}

void Host::CloseDrawing() {
    Broadcast(AcRx::kUnloadDwgMsg);
    acdbHostApplicationServices()->setWorkingDatabase(nullptr);
}

void Host::Broadcast(AcRx::AppMsgCode message) const {
    for (const Module& module : m_modules) {
        module.Send(message);
    }
}

}  // namespace norvex::service
