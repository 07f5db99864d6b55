// SPDX-License-Identifier: Apache-2.0
#include "report/sarif/CheckSarif.h"

#include <fmt/format.h>
#include <map>
#include <utility>

#include "report/Json.h"
#include "report/bcf/Identity.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

using service::FindingRecord;
using service::Outcome;
using service::RunReport;
using service::Severity;
using service::TaskRecord;

constexpr const char* kSchema =
    "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/sarif-schema-2.1.0.json";

// What a notification is about, by name and meaning; tools filter by the name.
struct NoticeKind {
    const char* id;
    const char* meaning;
};
constexpr NoticeKind kNoticeKinds[] = {
    {"incomplete", "Why the run cannot vouch for its whole scope."},
    {"crashed", "A rule could not finish on a floor."},
    {"cancelled", "The run was cancelled before a rule could finish on a floor."},
    {"skipped", "A rule was not run on a floor, because it is trusted as a whole."},
    {"not-examined", "Entities that a rule is about, but could not examine."},
    {"not-compared", "Findings of the run before of which nobody can tell whether they are gone."},
    {"trust-expired", "An acceptance has expired, and what it hid is back."},
    {"trust-stale", "An acceptance hides nothing any more."}};

std::string_view LevelOf(Severity severity) {
    switch (severity) {
        case Severity::Confirmed:
            return "error";
        case Severity::Suspected:
            return "warning";
        case Severity::Remind:
            return "note";
    }
    return "error";
}

std::string_view BaselineState(service::Novelty novelty) {
    switch (novelty) {
        case service::Novelty::New:
            return "new";
        case service::Novelty::Persisting:
            return "unchanged";
        case service::Novelty::Unknown:
            return "";
    }
    return "";
}

Json Message(std::string_view text) {
    return {{"text", SarifMessageText(text)}};
}

std::string Guid(const std::string& name) {
    return bcf::NameUuid(bcf::kNamespace, name);
}

std::string Compact(const Json& value) {
    return text::SafeJson(value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

// A JSON array in the making, one entry a line: a log of many findings is written as it is made, not held as a tree.
class Lines {
  public:
    // Returns the entry's index.
    std::size_t Add(const Json& entry) {
        m_text += (m_size == 0 ? "[\n" : ",\n") + Compact(entry);
        return m_size++;
    }
    std::string Finish() && { return m_size == 0 ? "[]" : std::move(m_text) + "\n]"; }

  private:
    std::string m_text;
    std::size_t m_size = 0;
};

class Log {
  public:
    Log(const RunReport& report, Times times)
        : m_report(report), m_times(times), m_modelUri(UriOfPath(report.model.path)), m_runGuid(RunGuid(report.run)) {}

    std::string Document();

  private:
    std::string RunGuid(std::int64_t run) const;
    Json Rules();
    Json Driver();
    Json Artifacts() const;
    Json PlaceOnFloor(const std::string& floor);
    std::size_t FloorIndex(const std::string& floor);
    std::size_t ObjectIndex(const std::string& floor, const service::FoundObject& object);
    Json RelatedLocations(const FindingRecord& finding);
    Json Suppressions(const FindingRecord& finding) const;
    Json Properties(const FindingRecord& finding) const;
    Json Result(const FindingRecord& finding, std::string_view baselineState);
    std::string Results();
    void Notify(Json& notifications, std::string_view kind, std::string_view level, const std::string& text) const;
    void NotifyOfTask(Json& notifications, const TaskRecord& task);
    Json Notifications();
    Json Invocation();

    const RunReport& m_report;
    Times m_times;
    std::string m_modelUri;
    std::string m_runGuid;
    std::map<std::string, std::size_t> m_rules;                           // index by name
    std::map<std::string, std::string> m_ruleIds;                         // by name
    std::map<std::pair<std::string, std::string>, std::size_t> m_places;  // index by floor and handle
    Lines m_logicalLocations;
};

// One for each run that a project remembers. Others share one as long as the model is the same.
std::string Log::RunGuid(std::int64_t run) const {
    return Guid(run == 0 ? "run of " + m_report.model.sha256
                         : fmt::format("run {} in {}", run, m_report.projectFolder));
}

Json Log::Rules() {
    Json rules = Json::array();
    for (const service::RuleRecord& rule : m_report.rules) {
        const std::string id = rule.shortName.empty() ? rule.name : rule.shortName;
        m_rules[rule.name] = rules.size();
        m_ruleIds[rule.name] = id;
        Json entry = {{"id", id}, {"name", rule.name}, {"guid", Guid("rule " + rule.name)}};
        if (!rule.title.empty()) {
            entry["shortDescription"] = Message(rule.title);
        }
        if (!rule.why.empty()) {
            entry["fullDescription"] = Message(rule.why);
        }
        if (!rule.why.empty() || !rule.howToFix.empty()) {
            const std::string blank = rule.why.empty() || rule.howToFix.empty() ? "" : "\n\n";
            entry["help"] = Message(rule.why + blank + rule.howToFix);
        }
        entry["properties"] = {{"category", rule.category},
                               {"version", rule.version},
                               {"module", rule.module},
                               {"md5", rule.md5},
                               {"specialties", rule.specialties}};
        rules.push_back(std::move(entry));
    }
    return rules;
}

Json Log::Driver() {
    Json kinds = Json::array();
    for (const NoticeKind& kind : kNoticeKinds) {
        kinds.push_back({{"id", kind.id}, {"shortDescription", Message(kind.meaning)}});
    }
    return {{"name", "norvex"},
            {"version", m_report.toolVersion},
            {"language", "en"},
            {"rules", Rules()},
            {"notifications", std::move(kinds)}};
}

Json Log::Artifacts() const {
    Json model = {{"location", {{"uri", m_modelUri}}}, {"roles", {"analysisTarget"}}};
    if (!m_report.model.sha256.empty()) {
        model["hashes"] = {{"sha-256", m_report.model.sha256}};
    }
    return Json::array({std::move(model)});
}

std::size_t Log::FloorIndex(const std::string& floor) {
    const auto known = m_places.find({floor, ""});
    if (known != m_places.end()) {
        return known->second;
    }
    return m_places[{floor, ""}] =
               m_logicalLocations.Add({{"name", floor}, {"fullyQualifiedName", floor}, {"kind", "floor"}});
}

std::size_t Log::ObjectIndex(const std::string& floor, const service::FoundObject& object) {
    const auto known = m_places.find({floor, "#" + object.handle});
    if (known != m_places.end()) {
        return known->second;
    }
    const std::size_t parent = FloorIndex(floor);
    // GlobalIds repeat in real models; with the handle the name is the object's alone.
    return m_places[{floor, "#" + object.handle}] = m_logicalLocations.Add(
               {{"name", object.name.empty() ? "#" + object.handle : object.name},
                {"fullyQualifiedName", floor + "/" + object.globalId + "#" + object.handle},
                {"kind", "object"},
                {"parentIndex", parent},
                {"properties",
                 {{"handle", object.handle}, {"globalId", object.globalId}, {"subCategory", object.subCategory}}}});
}

Json Log::PlaceOnFloor(const std::string& floor) {
    return {{"physicalLocation", {{"artifactLocation", {{"uri", m_modelUri}, {"index", 0}}}}},
            {"logicalLocations", {{{"fullyQualifiedName", floor}, {"index", FloorIndex(floor)}}}}};
}

Json Log::RelatedLocations(const FindingRecord& finding) {
    Json related = Json::array();
    for (const service::FoundObject& object : finding.objects) {
        related.push_back({{"id", related.size()},
                           {"logicalLocations", {{{"index", ObjectIndex(finding.floor, object)}}}},
                           {"message", Message(object.name.empty() ? "#" + object.handle : object.name)}});
    }
    return related;
}

Json Log::Suppressions(const FindingRecord& finding) const {
    if (!finding.trusted) {
        return Json::array();
    }
    Json suppression = {{"kind", "external"}, {"status", "accepted"}};
    if (finding.acceptance) {
        const service::Acceptance& acceptance = *finding.acceptance;
        suppression["guid"] = Guid(fmt::format("trust {} in {}", acceptance.entry, m_report.projectFolder));
        suppression["justification"] =
            fmt::format("{} ({}, {}; {})", acceptance.reason, acceptance.person, acceptance.addedOn,
                        acceptance.expiresOn.empty() ? "does not expire" : "until " + acceptance.expiresOn);
        suppression["properties"] = {{"entry", acceptance.entry},
                                     {"reason", acceptance.reason},
                                     {"person", acceptance.person},
                                     {"addedOn", acceptance.addedOn},
                                     {"expiresOn", acceptance.expiresOn}};
    }
    return Json::array({std::move(suppression)});
}

Json Log::Properties(const FindingRecord& finding) const {
    Json properties = {{"floor", finding.floor},
                       {"specialty", finding.specialty},
                       {"category", finding.category},
                       {"subCategory", finding.subCategory},
                       {"location", finding.location}};
    if (finding.number > 0) {
        properties["number"] = finding.number;
    }
    if (finding.place) {
        properties["place"] = {
            {"x", Rounded(finding.place->x)}, {"y", Rounded(finding.place->y)}, {"z", Rounded(finding.place->z)}};
    }
    return properties;
}

Json Log::Result(const FindingRecord& finding, std::string_view baselineState) {
    const std::string identity = bcf::TopicGuid(finding.featureCode, finding.occurrence);
    Json result = {{"ruleId", finding.rule}};
    if (const auto rule = m_rules.find(finding.rule); rule != m_rules.end()) {
        result["ruleId"] = m_ruleIds[finding.rule];
        result["ruleIndex"] = rule->second;
    }
    result["level"] = LevelOf(finding.severity);
    result["message"] = Message(finding.sentence);
    result["guid"] = bcf::NameUuid(m_runGuid, std::string(baselineState == "absent" ? "absent " : "") + identity);
    result["correlationGuid"] = identity;
    result["partialFingerprints"] = {{"norvexFeatureCode/v1", finding.featureCode},
                                     {"norvexOccurrence/v1", std::to_string(finding.occurrence)}};
    result["locations"] = Json::array({PlaceOnFloor(finding.floor)});
    if (!finding.objects.empty()) {
        result["relatedLocations"] = RelatedLocations(finding);
    }
    // A result without the property would leave open whether it is suppressed.
    result["suppressions"] = Suppressions(finding);
    if (!baselineState.empty()) {
        result["baselineState"] = baselineState;
    }
    result["properties"] = Properties(finding);
    return result;
}

std::string Log::Results() {
    Lines results;
    for (const FindingRecord& finding : m_report.findings) {
        results.Add(Result(finding, BaselineState(finding.novelty)));
    }
    if (m_report.comparison) {
        for (const FindingRecord& finding : m_report.comparison->gone) {
            results.Add(Result(finding, "absent"));
        }
    }
    return std::move(results).Finish();
}

void Log::Notify(Json& notifications, std::string_view kind, std::string_view level, const std::string& text) const {
    notifications.push_back({{"descriptor", {{"id", kind}}}, {"level", level}, {"message", Message(text)}});
}

void Log::NotifyOfTask(Json& notifications, const TaskRecord& task) {
    const std::string what = fmt::format("Rule {} on floor \"{}\"{}", m_ruleIds[task.rule], task.floor,
                                         task.specialty.empty() ? "" : ", " + task.specialty);
    const std::size_t before = notifications.size();
    if (task.outcome == Outcome::Crashed) {
        Notify(notifications, "crashed", "error", fmt::format("{}: crashed: {}.", what, task.reason));
    } else if (task.outcome == Outcome::Cancelled) {
        Notify(notifications, "cancelled", "error", fmt::format("{}: {}.", what, task.reason));
    } else if (task.outcome == Outcome::Skipped) {
        Notify(notifications, "skipped", "note", fmt::format("{}: {}.", what, task.reason));
    } else if (task.notExamined > 0) {
        Notify(notifications, "not-examined", "warning",
               fmt::format("{}: {} not examined, because {}.", what, task.notExamined, task.reason));
    }
    if (notifications.size() > before) {
        Json& notification = notifications.back();
        if (const auto rule = m_rules.find(task.rule); rule != m_rules.end()) {
            notification["associatedRule"] = {{"id", m_ruleIds[task.rule]}, {"index", rule->second}};
        }
        notification["locations"] = Json::array({PlaceOnFloor(task.floor)});
    }
}

Json Log::Notifications() {
    Json notifications = Json::array();
    for (const std::string& reason : m_report.incomplete) {
        Notify(notifications, "incomplete", "error", reason);
    }
    for (const TaskRecord& task : m_report.tasks) {
        NotifyOfTask(notifications, task);
    }
    if (m_report.comparison) {
        const service::Comparison& comparison = *m_report.comparison;
        if (comparison.notVisited > 0) {
            Notify(notifications, "not-compared", "note",
                   fmt::format(
                       "{} of run {} lie where this run did not look or had nothing to look at.",
                       comparison.notVisited == 1 ? "1 finding" : fmt::format("{} findings", comparison.notVisited),
                       comparison.run));
        }
        for (const FindingRecord& finding : comparison.hidden) {
            Notify(notifications, "not-compared", "note",
                   fmt::format("{} of run {} was not looked for, because its rule or sub-category has been trusted.",
                               finding.featureCode, comparison.run));
        }
        for (const std::string& remark : comparison.remarks) {
            Notify(notifications, "not-compared", "note", remark);
        }
    }
    for (const service::AcceptanceRecord& record : m_report.acceptances) {
        if (record.state == service::AcceptanceState::Expired) {
            Notify(
                notifications, "trust-expired", "warning",
                fmt::format("The acceptance of {} by {} expired on {}; {} back.", record.target,
                            record.acceptance.person, record.acceptance.expiresOn,
                            record.findings == 1 ? "1 finding is" : fmt::format("{} findings are", record.findings)));
        } else if (record.state == service::AcceptanceState::Stale) {
            Notify(notifications, "trust-stale", "note",
                   fmt::format("The acceptance of {} by {} hides nothing any more.", record.target,
                               record.acceptance.person));
        }
    }
    return notifications;
}

Json Log::Invocation() {
    Json invocation = {{"executionSuccessful", m_report.incomplete.empty()}};
    if (m_times == Times::Show && !m_report.startedAt.empty()) {
        invocation["startTimeUtc"] = m_report.startedAt;
    }
    invocation["toolExecutionNotifications"] = Notifications();
    return invocation;
}

std::string Log::Document() {
    // The order of these steps matters: rules are named first, and logical locations are collected on the way.
    const Json driver = Driver();
    const std::string results = Results();
    const Json invocation = Invocation();
    Json run = {{"tool", {{"driver", driver}}},
                {"automationDetails", {{"id", fmt::format("norvex/{}", m_report.run)}, {"guid", m_runGuid}}},
                {"invocations", Json::array({invocation})},
                {"artifacts", Artifacts()},
                {"columnKind", "utf16CodeUnits"}};
    if (m_report.comparison) {
        run["baselineGuid"] = RunGuid(m_report.comparison->run);
    }
    std::string text = fmt::format("{{\n\"$schema\": \"{}\",\n\"version\": \"2.1.0\",\n\"runs\": [\n{{\n", kSchema);
    for (const auto& [name, value] : run.items()) {
        text += fmt::format("\"{}\": {},\n", name, Compact(value));
    }
    text += "\"logicalLocations\": " + std::move(m_logicalLocations).Finish() + ",\n\"results\": ";
    return text + results + "\n}\n]\n}\n";
}

// The characters that need no encoding in the path of a URI.
bool IsPathCharacter(char character) {
    constexpr std::string_view kOthers = "-._~/!$&'()*+,;=@:";
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || kOthers.find(character) != std::string_view::npos;
}

}  // namespace

std::string CheckSarif(const RunReport& report, Times times) {
    return Log(report, times).Document();
}

std::string UriOfPath(std::string_view path) {
    std::string uri = path.starts_with('/') ? "file://" : "";
    // A colon in the first piece would make a scheme of it.
    if (!path.starts_with('/') && path.substr(0, path.find('/')).find(':') != std::string_view::npos) {
        uri = "./";
    }
    for (const char character : path) {
        uri += IsPathCharacter(character) ? std::string(1, character)
                                          : fmt::format("%{:02X}", static_cast<unsigned char>(character));
    }
    return uri;
}

std::string SarifMessageText(std::string_view text) {
    const bool mayBeLink = text.find("](") != std::string_view::npos;
    std::string out;
    for (const char character : text) {
        if (character == '{' || character == '}') {
            out += character;
        } else if (mayBeLink && (character == '[' || character == ']')) {
            out += '\\';
        }
        out += character;
    }
    return out;
}

}  // namespace norvex::report
