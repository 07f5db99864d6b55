// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the report page shows: plain values in the order in which they are to be shown. All text is UTF-8 and stands as
// the model has it; the page never reads it as markup. Text that is not valid UTF-8 is shown with replacement
// characters. All lengths are millimetres, +x east, +y north, +z up.

namespace norvex::report::page {

// "None" wherever an index is expected.
inline constexpr std::uint32_t kNoIndex = 0xFFFFFFFFU;

// From the gravest to the mildest: ERR_CONFIRMED, ERR_SUSPECTED, ERR_REMIND.
enum class Severity : std::uint8_t { Confirmed, Suspected, Remind };

// Against the run that PageModel::comparison names.
enum class Change : std::uint8_t {
    None,        // nothing was compared
    New,         // not in the run before
    Persisting,  // in both runs
    Gone,        // in the run before only; objects may be empty
};

enum class TrustState : std::uint8_t {
    None,
    Trusted,      // accepted: shown, but not counted as open
    Expired,      // was accepted until a day that has passed: open again
    Stale,        // an entry that matches nothing any more
    NotLookedAt,  // an entry of which nobody can tell: this run looked at nothing that it speaks of
};

enum class Outcome : std::uint8_t { Passed, Failed, NotApplicable, Skipped, Crashed, Cancelled };

enum class ElementKind : std::uint8_t {
    Segment,       // pipe, duct, cable, cable carrier: drawn as a line between its ends
    Fitting,       // drawn as a round joint
    InlineDevice,  // valve, damper, meter: drawn as a bow tie
    Equipment,     // drawn as a crossed box of its size
    Terminal,      // drawn as a ring with a dot
    Other,         // drawn as a small square
};

struct Point {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

struct Box {
    Point low;
    Point high;
};

// Texts that identify the run. Empty ones are left out of the page.
struct RunInfo {
    std::string modelName;    // file name without folders
    std::string projectName;  // as the model names it
    std::string schema;       // IFC4 ...
    std::string toolVersion;  // without the tool's name
    std::int64_t number = 0;  // of the run in its project; 0: it has none
    std::string startedAt;    // UTC, "2026-03-01T08:30:00Z"; empty: not known
    // Why the run cannot vouch for its whole scope: one sentence each. Empty: it can.
    std::vector<std::string> incomplete;
    bool partial = false;   // cancelled or crashed before its end
    bool narrowed = false;  // asked for less than the whole model
    bool resumed = false;   // went on where an interrupted run ended
    // Why there are no elements to draw, one sentence. Empty: there are, or the model has none.
    std::string planMissing;
};

// A specialty that no rule of the run looks at, and how many elements of the model are of it.
struct WithoutRule {
    std::string specialty;
    std::size_t elements = 0;
};

// The run before, as far as its findings are not in PageModel::findings.
struct Comparison {
    std::int64_t run = 0;
    std::string startedAt;             // UTC, as RunInfo::startedAt
    std::size_t hidden = 0;            // its findings that nothing looks for any more, because that is trusted
    std::size_t notVisited = 0;        // its findings where this run did not look or had nothing to look at
    std::vector<std::string> remarks;  // what makes the two runs hard to compare, one sentence each
};

// Something that the reader of the model noticed.
struct Notice {
    std::string severity;    // note, warning or error
    std::uint64_t line = 0;  // 0: about the file as a whole
    std::string sentence;
};

struct Floor {
    std::string name;
    std::optional<double> elevation;
};

// What stays the same for all findings of a rule. Texts are plain sentences, paragraphs parted by an empty line.
struct Rule {
    std::string name;   // CCheckPipeLinkInvalid
    std::string title;  // for people; empty: the name stands for it
    std::string why;
    std::string howToFix;
};

// The texts are borrowed: they must live until WritePage returns.
struct Element {
    std::string_view handle;    // handle text: upper-case hexadecimal
    std::string_view globalId;  // may repeat, may be empty
    std::string_view className;
    std::string_view name;
    std::string_view specialty;
    std::string_view category;
    std::string_view subCategory;
    std::string_view detailName;
    std::string_view noFloorReason;  // a clause; only for elements without a floor
    ElementKind kind = ElementKind::Other;
    std::uint32_t floor = kNoIndex;  // index into PageModel::floors

    // One of the two, or neither when the element has no place; places that are not finite count as none. Only what
    // has two ends is drawn as a line.
    bool hasEnds = false;
    Point start;
    Point end;
    std::optional<Point> position;
    double diameter = 0.0;  // mm; 0: not known, a line then takes its width from the box
    std::optional<Box> box;
};

struct Trust {
    TrustState state = TrustState::None;
    std::string reason;
    std::string person;
    std::string date;     // of the acceptance, as it is to be shown
    std::string expires;  // empty: never
};

struct Finding {
    std::uint32_t number = 0;        // from 1, unique; of what is gone, that in the run before, or 0
    std::uint32_t rule = kNoIndex;   // index into PageModel::rules; required
    std::uint32_t floor = kNoIndex;  // index into PageModel::floors
    std::string specialty;
    std::string category;
    std::string subCategory;
    Severity severity = Severity::Confirmed;
    std::string sentence;
    std::string location;                // location string, to the letter
    std::string featureCode;             // to the letter
    std::vector<std::uint32_t> objects;  // indices into PageModel::elements
    std::optional<Point> place;          // nothing: the middle of the objects
    Change change = Change::None;
    Trust trust;
};

// One rule's look at one floor and specialty.
struct OutcomeRecord {
    std::uint32_t rule = kNoIndex;   // index into PageModel::rules; required
    std::uint32_t floor = kNoIndex;  // index into PageModel::floors
    std::string specialty;           // empty: the rule has nothing to do with any in the run
    Outcome outcome = Outcome::Passed;
    std::size_t examined = 0;     // entities looked at
    std::size_t notExamined = 0;  // entities that the rule is about but could not look at
    std::string reason;           // a clause; empty when there is nothing to add
};

// An entry of the trust list with what it does in this run.
struct TrustEntry {
    std::string scope;  // what is trusted, for people: a rule, a sub-category on a floor, one finding
    Trust trust;
    std::size_t hidden = 0;  // findings that it hides now
};

// What the run itself counted. The page says so when its own list does not agree.
struct Totals {
    std::size_t confirmed = 0;  // open: neither trusted nor stale nor gone
    std::size_t suspected = 0;
    std::size_t reminders = 0;
    std::size_t trusted = 0;
    std::size_t gone = 0;
    std::size_t elements = 0;
    std::size_t withoutFloor = 0;

    bool operator==(const Totals&) const = default;
};

struct PageModel {
    RunInfo run;
    std::vector<Floor> floors;  // from the lowest to the highest
    std::vector<Rule> rules;
    std::vector<Element> elements;
    std::vector<Finding> findings;
    std::vector<OutcomeRecord> outcomes;
    std::vector<TrustEntry> trustEntries;
    std::optional<Comparison> comparison;
    std::vector<Notice> notices;
    std::uint64_t noticeCount = 0;   // those included that are not in the list
    std::uint64_t warningCount = 0;  // of these, warnings and errors
    std::vector<WithoutRule> withoutRule;
    Totals totals;
};

// Counts what the lists of a model hold, its totals left aside.
Totals CountTotals(const PageModel& model);

}  // namespace norvex::report::page
