// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// What a check run was about and what came of it: plain values for whoever shows or stores them. All text is UTF-8 and
// stands as the model has it, control characters included; lengths are millimetres.

namespace norvex::service {

// From the gravest to the mildest, so that "at least" is a comparison.
enum class Severity : std::uint8_t { Confirmed, Suspected, Remind };

enum class Outcome : std::uint8_t {
    Passed,         // looked at something; nothing confirmed or suspected
    Failed,         // at least one confirmed or suspected finding that is not trusted
    NotApplicable,  // there was nothing for the rule to look at
    Skipped,        // the rule is trusted as a whole; nothing was looked at
    Crashed,        // the rule could not finish
    Cancelled,      // the run was cancelled before the rule could finish or begin
};

struct Place {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

struct FoundObject {
    std::string handle;
    std::string globalId;
    std::string name;
    std::string subCategory = {};  // the object's component sub-category
};

// Why and by whom a finding was accepted.
struct Acceptance {
    std::int64_t entry = 0;  // number of the trust entry
    std::string reason;
    std::string person;
    std::string addedOn;    // days, "2026-03-01"
    std::string expiresOn;  // empty: never
};

// How a finding stands to the run that this one was compared with.
enum class Novelty : std::uint8_t {
    Unknown,     // there was nothing to compare with
    New,         // the earlier run does not have it
    Persisting,  // the earlier run has it too
};

struct FindingRecord {
    std::size_t number = 0;  // from 1, in the order of the report
    std::string rule;
    std::string floor;
    std::string specialty;
    std::string category;
    std::string subCategory = {};
    Severity severity = Severity::Confirmed;
    std::string sentence;
    std::string location;
    std::string featureCode;
    std::vector<FoundObject> objects;
    std::optional<Place> place;
    bool trusted = false;
    std::optional<Acceptance> acceptance;  // of a trusted finding, as far as it is known
    std::size_t occurrence = 0;            // among the findings of equal feature code, from 0
    Novelty novelty = Novelty::Unknown;
    // UTC; start of the oldest run that the project remembers with this finding. Empty: nobody asked, or it has none.
    std::string firstReportedAt = {};
    bool trustChanged = false;               // persisting, and trusted in one of the two runs only
    std::optional<Acceptance> expired = {};  // of a finding that is back, the acceptance that held until it expired
};

// One rule's look at one floor and specialty.
struct TaskRecord {
    std::string rule;
    std::string floor;
    std::string specialty;
    Outcome outcome = Outcome::NotApplicable;
    std::size_t examined = 0;
    std::size_t notExamined = 0;
    std::size_t findings = 0;   // trusted ones not included
    std::size_t reminders = 0;  // of these
    std::size_t trusted = 0;
    std::string reason;  // a clause; empty when there is nothing to add
    // Time that the rule had, pauses not included. Differs from run to run, so it stands in no report unless asked for.
    std::chrono::microseconds duration{0};
};

struct RuleRecord {
    std::string name;
    std::string shortName;
    std::string title;
    std::string category;
    std::string version;
    std::string module;                    // file name
    std::vector<std::string> specialties;  // empty: all
    std::string md5 = {};                  // of the module's file, as the module inventory has it
    std::string why = {};                  // why the rule cares, whole sentences
    std::string howToFix = {};             // whole sentences
    std::string what = {};                 // what exactly it looks at, whole sentences
    std::string severity = {};             // how grave what it finds is, whole sentences
};

struct FloorRecord {
    std::string name;
    std::optional<double> elevation;  // nothing for the floor of what has no storey
    std::size_t elements = 0;
    std::size_t withoutPlace = 0;  // of these, elements that are in no drawing, because the model says no place
    bool withoutStorey = false;
};

// Something that the reader of the model noticed.
struct Notice {
    std::string severity;  // note, warning or error
    std::string code;
    std::uint64_t line = 0;  // 0: about the file as a whole
    std::uint64_t offset = 0;
    std::string sentence;
};

struct ModelRecord {
    std::string path;  // as it was given
    std::string sha256;
    std::string schema;
    std::string project;
    std::string lengthUnit;
    std::uint64_t lostInstances = 0;
    bool isCutOff = false;  // the file ends too early
    std::size_t elements = 0;
    std::map<std::string, std::size_t> elementsOfSpecialties = {};
    std::size_t elementsWithoutStorey = 0;
    std::size_t segmentsWithoutEnds = 0;
    std::uint64_t noticeCount = 0;   // those included that were not kept
    std::uint64_t warningCount = 0;  // of these, warnings and errors; notes tell more of what a warning sums up
    std::vector<Notice> notices;
};

struct CategoryTotal {
    std::string category;
    std::size_t checks = 0;
    std::size_t confirmed = 0;
    std::size_t suspected = 0;
    std::size_t reminders = 0;
    std::vector<std::pair<std::string, std::size_t>> subCategories;  // by name; only those with findings
};

// The run before, and what of it is no longer found.
struct Comparison {
    std::int64_t run = 0;
    std::string startedAt;              // UTC, "2026-03-01T08:30:00Z"
    std::vector<FindingRecord> gone;    // looked for and not found
    std::vector<FindingRecord> hidden;  // no longer looked for, because a rule or sub-category was trusted
    std::size_t notVisited = 0;         // findings where this run did not look or had nothing to look at
    std::vector<std::string> remarks;   // what makes the two runs hard to compare, one sentence each
};

// What an acceptance does in this run.
enum class AcceptanceState : std::uint8_t {
    Hides,        // at least one finding
    Stale,        // nothing, although all that it speaks of was looked at
    NotLookedAt,  // nobody can tell
    Expired,      // it does not hold any more: what it hid is back
};

struct AcceptanceRecord {
    Acceptance acceptance;
    std::string target;  // in words: a whole rule, a sub-category on a floor, or one finding
    AcceptanceState state = AcceptanceState::NotLookedAt;
    std::size_t findings = 0;  // hidden, or of an expired one: back
};

struct RunReport {
    std::string toolVersion;
    ModelRecord model;
    std::string projectFolder;
    std::int64_t run = 0;   // number of the run in its project; 0: the project does not remember it
    std::string startedAt;  // UTC, "2026-03-01T08:30:00Z"; empty: the project does not remember the run
    bool resumed = false;   // part of it was done before an interruption
    // What was checked, in the order in which it was; the same lists for a narrowed run hold less.
    std::vector<FloorRecord> floors;
    std::vector<std::string> specialties;
    std::vector<RuleRecord> rules;
    bool narrowed = false;
    std::vector<TaskRecord> tasks;
    std::vector<FindingRecord> findings;
    std::vector<CategoryTotal> totals;  // by category name
    // Why the run cannot vouch for the whole scope: one sentence each. Empty: it can.
    std::vector<std::string> incomplete;
    std::optional<Comparison> comparison;
    std::vector<AcceptanceRecord> acceptances;  // everything that is accepted in the project, by number of the entry
};

}  // namespace norvex::service
