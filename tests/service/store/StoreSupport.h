// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "service/store/ProjectStore.h"

namespace norvex::test {

namespace store = norvex::service::store;

// A new folder that goes, with what is in it, when the object does. The name has a blank and Chinese characters in it:
// project folders do.
class ProjectFolder {
  public:
    ProjectFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "norvex 项目 XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ProjectFolder(const ProjectFolder&) = delete;
    ProjectFolder& operator=(const ProjectFolder&) = delete;
    ~ProjectFolder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }

    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path Database() const { return path_ / store::kDatabaseFileName; }

  private:
    std::filesystem::path path_;
};

// Stands still until it is set.
class SetClock final : public store::Clock {
  public:
    std::string Now() const override { return day + "T" + time + "Z"; }
    std::string Today() const override { return day; }

    std::string day = "2026-03-01";
    std::string time = "08:30:00";
};

inline store::ProjectStore OpenStore(const ProjectFolder& folder, const store::Clock* clock = nullptr) {
    auto opened = store::ProjectStore::Open(folder.Path(), {.clock = clock});
    if (!opened) {
        ADD_FAILURE() << opened.Error().sentence;
        std::abort();
    }
    return std::move(*opened);
}

// The value of a result that must be there.
template <typename Value>
Value Expect(store::Result<Value> result) {
    if (!result) {
        ADD_FAILURE() << result.Error().sentence;
        std::abort();
    }
    return std::move(*result);
}

template <typename Value>
store::StoreErrorCode CodeOf(const store::Result<Value>& result) {
    EXPECT_FALSE(result.Ok());
    return result.Error().code;
}

// A well-formed feature code for a one-digit number.
inline std::string Code(int digit) {
    return "_" + std::string(32, static_cast<char>('0' + digit));
}

inline const store::UnitKey kUnit{"3层", "给排水", "CCheckPipeLoop"};
inline const store::UnitKey kOtherFloor{"4层", "给排水", "CCheckPipeLoop"};

inline store::Finding FindingOf(const std::string& code, const std::vector<std::string>& globalIds = {"guid-1"}) {
    store::Finding finding;
    finding.featureCode = code;
    finding.category = "建模合理性";
    finding.subCategory = "环路";
    finding.severity = "ERR_SUSPECTED";
    finding.sentence = "Pipes form a loop.";
    finding.location = "location";
    for (const std::string& id : globalIds) {
        finding.objects.push_back({"2F", id, "pipe " + id, "给水管"});
    }
    return finding;
}

inline store::UnitOutcome Outcome(const store::UnitKey& unit, store::UnitResult result) {
    store::UnitOutcome outcome;
    outcome.unit = unit;
    outcome.result = result;
    outcome.entitiesExamined = 12;
    outcome.duration = std::chrono::microseconds(1500);
    return outcome;
}

inline store::RunIdentity Identity() {
    store::RunIdentity identity;
    identity.modelPath = "models/house.ifc";
    identity.modelDigest = "d1";
    identity.modelSize = 4711;
    identity.modelRead = store::ModelRead::Wholly;
    identity.configurationDigest = "c1";
    identity.programVersion = "0.1.0";
    identity.floors = {"3层", "4层"};
    identity.specialties = {"给排水"};
    identity.rules = {{"CCheckPipeLoop", "CheckPipeLoop.Arx", "aa", "1.0.0.0"}};
    return identity;
}

inline store::TrustEntry TrustedFinding(const std::string& code) {
    store::TrustEntry entry;
    entry.kind = store::TrustKind::Finding;
    entry.featureCode = code;
    entry.reason = "agreed with the owner";
    entry.person = "李工";
    return entry;
}

inline store::TrustEntry TrustedRule(const std::string& rule, const std::string& specialty = {}) {
    store::TrustEntry entry = TrustedFinding({});
    entry.kind = store::TrustKind::WholeRule;
    entry.rule = rule;
    entry.specialty = specialty;
    return entry;
}

inline store::TrustEntry TrustedSubCategory(const std::string& rule, const std::string& floor,
                                            const std::string& subCategory) {
    store::TrustEntry entry = TrustedRule(rule);
    entry.kind = store::TrustKind::SubCategory;
    entry.floor = floor;
    entry.subCategory = subCategory;
    return entry;
}

}  // namespace norvex::test
