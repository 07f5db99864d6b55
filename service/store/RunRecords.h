// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What the project remembers of check runs, as plain values. All text is UTF-8 and is kept byte for byte.

namespace norvex::service::store {

// Grows with every run of the project and is never used again: the order of runs, whatever the clock says.
using RunId = std::int64_t;

enum class RunStatus : std::uint8_t {
    Running,    // under way, or killed before it could end
    Complete,   // every unit of its scope was looked at or had nothing to look at
    Partial,    // ended by itself, but something of its scope was not looked at to the end
    Cancelled,  // ended by the user; what was found until then is kept
};

enum class UnitResult : std::uint8_t {
    Passed,         // looked at something and found nothing that counts
    Failed,         // looked at something and found what counts
    NotApplicable,  // there was nothing to look at
    Skipped,        // not looked at because the whole rule is trusted
    Crashed,        // could not finish
    Cancelled,      // the run was cancelled before it could finish
};

// How much of its model a run had before it. What the reader could not read may hold anything, on any floor.
enum class ModelRead : std::uint8_t {
    Wholly,
    Partly,   // instances were lost, or the file ends too early
    Unknown,  // the run was kept by a program that did not record it
};

// The smallest piece of a run: one rule on one floor in one specialty. Ordered by floor, specialty, rule, bytewise.
struct UnitKey {
    // The floor's label (FloorNames.h).
    std::string floor;
    std::string specialty;
    // The rule's name, such as "CCheckPipeLoop".
    std::string rule;

    auto operator<=>(const UnitKey&) const = default;
};

struct UnitOutcome {
    UnitKey unit;
    UnitResult result = UnitResult::NotApplicable;
    std::int64_t entitiesExamined = 0;
    // Entities that belong to the rule but could not be looked at.
    std::int64_t entitiesNotExamined = 0;
    std::chrono::microseconds duration{0};
    // A clause that says why; empty when there is nothing to add.
    std::string reason;
    // What trust keeps from the rule was looked at too, and is among the findings, marked as trusted. Without it the
    // findings under a trusted rule or sub-category are simply not there.
    bool looksThroughTrust = false;
};

struct FindingObject {
    std::string handle;
    // Identity across exports of the model; empty when the object has none.
    std::string globalId;
    std::string name;
    // The object's component sub-category, which is what trust on a floor names.
    std::string subCategory;

    bool operator==(const FindingObject&) const = default;
};

struct Finding {
    std::string featureCode;
    std::string category;
    // The kind of error; not the component sub-category of the objects.
    std::string subCategory;
    std::string severity;
    std::string sentence;
    std::string location;
    std::vector<FindingObject> objects;
    // Where to look, millimetres.
    std::optional<std::array<double, 3>> place;
    // Accepted by the user: reported, but not counted.
    bool trusted = false;

    bool operator==(const Finding&) const = default;
};

struct StoredFinding {
    UnitKey unit;
    Finding finding;
    // Position among the run's findings of equal feature code, from 0; decided by unit, texts and objects, never by
    // which worker was first.
    int occurrence = 0;

    bool operator==(const StoredFinding&) const = default;
};

// What a finding is called across runs.
struct FindingName {
    std::string featureCode;
    int occurrence = 0;  // StoredFinding::occurrence
};

// A rule of a run with the module that it came from.
struct RuleModule {
    std::string rule;
    // The module's file name.
    std::string file;
    std::string md5;
    std::string version;

    bool operator==(const RuleModule&) const = default;
};

// All that decides what a run finds, trust apart. Lists stand in the order in which the run takes them.
struct RunIdentity {
    std::string modelPath;
    // Digest of the model's bytes, in whatever form the caller chooses, and their number.
    std::string modelDigest;
    std::int64_t modelSize = 0;
    // Follows from the bytes and the program, so that it never changes under a resumed run.
    ModelRead modelRead = ModelRead::Unknown;
    std::string configurationDigest;
    std::string programVersion;
    // Labels (FloorNames.h).
    std::vector<std::string> floors;
    std::vector<std::string> specialties;
    std::vector<RuleModule> rules;
    // Some floors, specialties or rules of the project were left out by request.
    bool narrowed = false;

    bool operator==(const RunIdentity&) const = default;
};

struct RunRecord {
    RunId id = 0;
    RunStatus status = RunStatus::Running;
    RunIdentity identity;
    // UTC, "2026-03-01T08:30:00Z"; ended is empty while the run is under way.
    std::string startedAt;
    std::string endedAt;
    // An earlier run claims a later time: one of the two clocks was wrong.
    bool clockWentBack = false;
};

// How much a run has left behind.
struct RunTally {
    std::int64_t units = 0;
    std::int64_t findings = 0;  // trusted ones not included
    std::int64_t trusted = 0;
};

// Whether the rule really looked at the unit, so that a finding which is no longer there is gone.
bool IsVisited(const UnitOutcome& outcome);

// Whether a resumed run leaves the unit alone. A crash is an outcome like any other; only what was cancelled is open.
bool IsDone(UnitResult result);

// Why a run that began as `earlier` cannot go on as `now`: one sentence that names each thing that changed. Nothing
// when it can. The model's path does not count, its bytes do.
std::optional<std::string> ChangeThatPreventsResume(const RunIdentity& earlier, const RunIdentity& now);

// Gives equal feature codes their occurrence and sorts by unit; inside a unit the order stays.
void NumberOccurrences(std::vector<StoredFinding>& findings);

}  // namespace norvex::service::store
