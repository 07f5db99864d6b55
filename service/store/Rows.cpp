// SPDX-License-Identifier: Apache-2.0
#include "service/store/Rows.h"

#include <sqlite3.h>

#include <array>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>

namespace norvex::service::store::rows {

namespace {

// In the order of the enumerators.
constexpr std::array<std::string_view, 4> kRunStatusWords{"running", "complete", "partial", "cancelled"};
constexpr std::array<std::string_view, 6> kUnitResultWords{"passed",  "failed",  "not applicable",
                                                           "skipped", "crashed", "cancelled"};
constexpr std::array<std::string_view, 3> kModelReadWords{"wholly", "partly", "unknown"};
constexpr std::array<std::string_view, 3> kTrustKindWords{"rule", "sub-category", "finding"};

template <typename Enumeration, std::size_t kCount>
std::optional<Enumeration> ValueOf(const std::array<std::string_view, kCount>& words, std::string_view word) {
    for (std::size_t i = 0; i < kCount; ++i) {
        if (words[i] == word) {
            return static_cast<Enumeration>(i);
        }
    }
    return std::nullopt;
}

// The file may have been written by anyone, so that a word of ours is not certain.
template <typename Enumeration, std::size_t kCount>
Enumeration ReadWord(const std::array<std::string_view, kCount>& words, const std::string& word) {
    if (const std::optional<Enumeration> value = ValueOf<Enumeration>(words, word)) {
        return *value;
    }
    throw sqlite::DatabaseFailure{SQLITE_CORRUPT, 0, "a row holds the unknown word \"" + word + "\""};
}

// Numbers grow one by one, so that the largest one was not given by this program. SQLite would call the disk full.
void RefuseWhenNumbersAreUsedUp(sqlite::Connection& connection, const char* table) {
    const std::int64_t last = sqlite::QueryInteger(
        connection, std::string("SELECT max(coalesce((SELECT max(id) FROM ") + table +
                        "), 0), coalesce((SELECT max(CAST(seq AS INTEGER)) FROM sqlite_sequence WHERE name = '" +
                        table + "'), 0))");
    if (last == std::numeric_limits<std::int64_t>::max()) {
        throw sqlite::DatabaseFailure{
            SQLITE_CORRUPT, 0,
            std::string("the table ") + table + " has used the number " + std::to_string(last) + ", and none follows"};
    }
}

std::vector<std::string> ReadNames(sqlite::Connection& connection, std::string_view text, RunId run) {
    sqlite::Statement statement(connection, text);
    statement.Bind(run);
    std::vector<std::string> names;
    while (statement.Step()) {
        names.push_back(statement.Text(0));
    }
    return names;
}

void InsertNames(sqlite::Connection& connection, std::string_view text, RunId run,
                 const std::vector<std::string>& names) {
    sqlite::Statement statement(connection, text);
    std::int64_t position = 0;
    for (const std::string& name : names) {
        statement.Bind(run).Bind(position++).Bind(name).Run();
    }
}

// The column model_read of the table run, or what version 2 of the tables makes of the rows of version 1.
std::string_view ModelReadColumn(sqlite::Connection& connection) {
    const bool isThere =
        sqlite::QueryInteger(connection, "SELECT count(*) FROM pragma_table_info('run') WHERE name = 'model_read'") > 0;
    return isThere ? "model_read" : "CASE status WHEN 'complete' THEN 'wholly' ELSE 'unknown' END";
}

void ReadScope(sqlite::Connection& connection, RunId run, RunIdentity& identity) {
    identity.floors = ReadNames(connection, "SELECT name FROM run_floor WHERE run_id = ? ORDER BY position", run);
    identity.specialties =
        ReadNames(connection, "SELECT name FROM run_specialty WHERE run_id = ? ORDER BY position", run);
    sqlite::Statement rules(connection,
                            "SELECT name, file, md5, version FROM run_rule WHERE run_id = ? ORDER BY position");
    rules.Bind(run);
    while (rules.Step()) {
        identity.rules.push_back({rules.Text(0), rules.Text(1), rules.Text(2), rules.Text(3)});
    }
}

UnitOutcome UnitOf(const sqlite::Statement& row) {
    UnitOutcome outcome;
    outcome.unit = {row.Text(0), row.Text(1), row.Text(2)};
    outcome.result = ReadWord<UnitResult>(kUnitResultWords, row.Text(3));
    outcome.entitiesExamined = row.Integer(4);
    outcome.entitiesNotExamined = row.Integer(5);
    outcome.duration = std::chrono::microseconds(row.Integer(6));
    outcome.reason = row.Text(7);
    outcome.looksThroughTrust = row.Integer(8) != 0;
    return outcome;
}

void InsertFinding(sqlite::Connection& connection, std::int64_t unit, std::int64_t position, const Finding& finding,
                   sqlite::Statement& findings, sqlite::Statement& objects) {
    findings.Bind(unit).Bind(position).Bind(finding.featureCode).Bind(finding.category).Bind(finding.subCategory);
    findings.Bind(finding.severity).Bind(finding.sentence).Bind(finding.location);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (finding.place) {
            findings.Bind((*finding.place)[axis]);
        } else {
            findings.BindNull();
        }
    }
    findings.Bind(std::int64_t{finding.trusted}).Run();
    const std::int64_t id = connection.LastInsertedRow();
    std::int64_t objectPosition = 0;
    for (const FindingObject& object : finding.objects) {
        objects.Bind(id).Bind(objectPosition++).Bind(object.handle).Bind(object.globalId).Bind(object.name);
        objects.Bind(object.subCategory).Run();
    }
}

constexpr std::string_view kFindingsOf =
    "SELECT u.floor, u.specialty, u.rule, f.id, f.feature_code, f.category, f.sub_category, f.severity, f.sentence, "
    "f.location, f.x, f.y, f.z, f.trusted FROM unit u JOIN finding f ON f.unit_id = u.id WHERE u.run_id = ?1 ";
constexpr std::string_view kObjectsOf =
    "SELECT o.finding_id, o.handle, o.global_id, o.name, o.sub_category FROM unit u JOIN finding f ON f.unit_id = u.id "
    "JOIN finding_object o ON o.finding_id = f.id WHERE u.run_id = ?1 ";
constexpr std::string_view kOfUnit = "AND u.floor = ?2 AND u.specialty = ?3 AND u.rule = ?4 ";

// Of one unit, or of all of the run. Occurrences are not numbered.
std::vector<StoredFinding> ReadFindings(sqlite::Connection& connection, RunId run, const UnitKey* unit) {
    const auto query = [&](std::string_view what, std::string_view order) {
        return std::string(what).append(unit == nullptr ? "" : kOfUnit).append(order);
    };
    const auto bind = [&](sqlite::Statement& statement) {
        statement.Bind(run);
        if (unit != nullptr) {
            statement.Bind(unit->floor).Bind(unit->specialty).Bind(unit->rule);
        }
    };
    sqlite::Statement row(connection, query(kFindingsOf, "ORDER BY u.floor, u.specialty, u.rule, f.position"));
    bind(row);
    std::vector<StoredFinding> findings;
    std::unordered_map<std::int64_t, std::size_t> indexOf;
    while (row.Step()) {
        StoredFinding stored;
        stored.unit = {row.Text(0), row.Text(1), row.Text(2)};
        indexOf.emplace(row.Integer(3), findings.size());
        stored.finding.featureCode = row.Text(4);
        stored.finding.category = row.Text(5);
        stored.finding.subCategory = row.Text(6);
        stored.finding.severity = row.Text(7);
        stored.finding.sentence = row.Text(8);
        stored.finding.location = row.Text(9);
        if (!row.IsNull(10)) {
            stored.finding.place = {row.Real(10), row.Real(11), row.Real(12)};
        }
        stored.finding.trusted = row.Integer(13) != 0;
        findings.push_back(std::move(stored));
    }
    sqlite::Statement object(connection, query(kObjectsOf, "ORDER BY o.finding_id, o.position"));
    bind(object);
    while (object.Step()) {
        const auto index = indexOf.find(object.Integer(0));
        if (index == indexOf.end()) {
            throw sqlite::DatabaseFailure{SQLITE_CORRUPT, 0, "an object belongs to no finding"};
        }
        findings[index->second].finding.objects.push_back(
            {object.Text(1), object.Text(2), object.Text(3), object.Text(4)});
    }
    return findings;
}

constexpr std::string_view kTrustColumns =
    "SELECT id, kind, rule, specialty, floor, sub_category, feature_code, reason, person, added_on, expires_on, "
    "removed_on, removed_by, removed_because FROM trust ";

TrustEntry TrustOf(const sqlite::Statement& row) {
    TrustEntry entry;
    entry.id = row.Integer(0);
    entry.kind = ReadWord<TrustKind>(kTrustKindWords, row.Text(1));
    entry.rule = row.Text(2);
    entry.specialty = row.Text(3);
    entry.floor = row.Text(4);
    entry.subCategory = row.Text(5);
    entry.featureCode = row.Text(6);
    entry.reason = row.Text(7);
    entry.person = row.Text(8);
    entry.addedOn = row.Text(9);
    entry.expiresOn = row.Text(10);
    return entry;
}

}  // namespace

std::string_view Word(RunStatus status) {
    return kRunStatusWords[static_cast<std::size_t>(status)];
}

std::string_view Word(UnitResult result) {
    return kUnitResultWords[static_cast<std::size_t>(result)];
}

std::string_view Word(TrustKind kind) {
    return kTrustKindWords[static_cast<std::size_t>(kind)];
}

std::optional<TrustKind> TrustKindOf(std::string_view word) {
    return ValueOf<TrustKind>(kTrustKindWords, word);
}

std::vector<RunRecord> ReadRuns(sqlite::Connection& connection, std::string_view condition, std::int64_t parameter) {
    std::string query =
        "SELECT id, status, model_path, model_digest, model_size, configuration_digest, program_version, narrowed, "
        "started_at, ended_at, clock_went_back, ";
    query.append(ModelReadColumn(connection)).append(" FROM run ").append(condition);
    sqlite::Statement row(connection, query);
    if (condition.find('?') != std::string_view::npos) {
        row.Bind(parameter);
    }
    std::vector<RunRecord> runs;
    while (row.Step()) {
        RunRecord run;
        run.id = row.Integer(0);
        run.status = ReadWord<RunStatus>(kRunStatusWords, row.Text(1));
        run.identity.modelPath = row.Text(2);
        run.identity.modelDigest = row.Text(3);
        run.identity.modelSize = row.Integer(4);
        run.identity.configurationDigest = row.Text(5);
        run.identity.programVersion = row.Text(6);
        run.identity.narrowed = row.Integer(7) != 0;
        run.startedAt = row.Text(8);
        run.endedAt = row.Text(9);
        run.clockWentBack = row.Integer(10) != 0;
        run.identity.modelRead = ReadWord<ModelRead>(kModelReadWords, row.Text(11));
        ReadScope(connection, run.id, run.identity);
        runs.push_back(std::move(run));
    }
    return runs;
}

RunId InsertRun(sqlite::Connection& connection, const RunIdentity& identity, std::string_view startedAt) {
    RefuseWhenNumbersAreUsedUp(connection, "run");
    sqlite::Statement statement(
        connection,
        "INSERT INTO run (status, model_path, model_digest, model_size, configuration_digest, program_version, "
        "narrowed, started_at, clock_went_back, model_read) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, EXISTS (SELECT 1 "
        "FROM run WHERE started_at > ?8 OR ended_at > ?8), ?9)");
    statement.Bind(Word(RunStatus::Running)).Bind(identity.modelPath).Bind(identity.modelDigest);
    statement.Bind(identity.modelSize).Bind(identity.configurationDigest).Bind(identity.programVersion);
    statement.Bind(std::int64_t{identity.narrowed}).Bind(startedAt);
    statement.Bind(kModelReadWords[static_cast<std::size_t>(identity.modelRead)]).Run();
    const RunId run = connection.LastInsertedRow();
    InsertNames(connection, "INSERT INTO run_floor VALUES (?, ?, ?)", run, identity.floors);
    InsertNames(connection, "INSERT INTO run_specialty VALUES (?, ?, ?)", run, identity.specialties);
    sqlite::Statement rule(connection, "INSERT INTO run_rule VALUES (?, ?, ?, ?, ?, ?)");
    std::int64_t position = 0;
    for (const RuleModule& each : identity.rules) {
        rule.Bind(run).Bind(position++).Bind(each.rule).Bind(each.file).Bind(each.md5).Bind(each.version).Run();
    }
    return run;
}

std::vector<UnitOutcome> ReadUnits(sqlite::Connection& connection, RunId run) {
    sqlite::Statement row(connection,
                          "SELECT floor, specialty, rule, result, examined, not_examined, microseconds, reason, "
                          "looks_through_trust FROM unit WHERE run_id = ? ORDER BY floor, specialty, rule");
    row.Bind(run);
    std::vector<UnitOutcome> units;
    while (row.Step()) {
        units.push_back(UnitOf(row));
    }
    return units;
}

void WriteUnit(sqlite::Connection& connection, RunId run, const UnitOutcome& outcome,
               const std::vector<Finding>& findings) {
    const UnitKey& unit = outcome.unit;
    sqlite::Statement remove(connection,
                             "DELETE FROM unit WHERE run_id = ? AND floor = ? AND specialty = ? AND rule = ?");
    remove.Bind(run).Bind(unit.floor).Bind(unit.specialty).Bind(unit.rule).Run();
    sqlite::Statement insert(connection,
                             "INSERT INTO unit (run_id, floor, specialty, rule, result, examined, not_examined, "
                             "microseconds, reason, looks_through_trust) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    insert.Bind(run).Bind(unit.floor).Bind(unit.specialty).Bind(unit.rule).Bind(Word(outcome.result));
    insert.Bind(outcome.entitiesExamined).Bind(outcome.entitiesNotExamined);
    insert.Bind(std::int64_t{outcome.duration.count()}).Bind(outcome.reason);
    insert.Bind(std::int64_t{outcome.looksThroughTrust}).Run();
    const std::int64_t id = connection.LastInsertedRow();
    sqlite::Statement finding(connection,
                              "INSERT INTO finding (unit_id, position, feature_code, category, sub_category, severity, "
                              "sentence, location, x, y, z, trusted) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    sqlite::Statement object(connection, "INSERT INTO finding_object VALUES (?, ?, ?, ?, ?, ?)");
    std::int64_t position = 0;
    for (const Finding& each : findings) {
        InsertFinding(connection, id, position++, each, finding, object);
    }
}

EarlierUnits::EarlierUnits(sqlite::Connection& connection, const UnitKey& unit, RunId before,
                           std::string_view modelPath)
    : row_(connection, std::string("SELECT u.floor, u.specialty, u.rule, u.result, u.examined, u.not_examined, "
                                   "u.microseconds, u.reason, u.looks_through_trust, r.id, ")
                           .append(ModelReadColumn(connection))
                           .append(" FROM unit u JOIN run r ON r.id = u.run_id WHERE u.rule = ? AND u.specialty = ? "
                                   "AND u.floor = ? AND r.id < ? AND r.model_path = ? ORDER BY r.id DESC")) {
    row_.Bind(unit.rule).Bind(unit.specialty).Bind(unit.floor).Bind(before).Bind(modelPath);
}

bool EarlierUnits::Next() {
    return row_.Step();
}

RunId EarlierUnits::Run() const {
    return row_.Integer(9);
}

UnitOutcome EarlierUnits::Outcome() const {
    return UnitOf(row_);
}

bool EarlierUnits::WasModelReadWholly() const {
    return ReadWord<ModelRead>(kModelReadWords, row_.Text(10)) == ModelRead::Wholly;
}

std::vector<Finding> ReadFindingsOfUnit(sqlite::Connection& connection, RunId run, const UnitKey& unit) {
    std::vector<Finding> findings;
    for (StoredFinding& stored : ReadFindings(connection, run, &unit)) {
        findings.push_back(std::move(stored.finding));
    }
    return findings;
}

RunContents ReadContents(sqlite::Connection& connection, const RunRecord& run) {
    RunContents contents;
    contents.run = run;
    contents.units = ReadUnits(connection, run.id);
    contents.findings = ReadFindings(connection, run.id, nullptr);
    NumberOccurrences(contents.findings);
    contents.trust = ReadTrustOfRun(connection, run.id);
    return contents;
}

std::vector<TrustEntry> ReadTrust(sqlite::Connection& connection) {
    sqlite::Statement row(connection, std::string(kTrustColumns) + "WHERE removed_on IS NULL ORDER BY id");
    std::vector<TrustEntry> entries;
    while (row.Step()) {
        entries.push_back(TrustOf(row));
    }
    return entries;
}

std::vector<TrustEntry> ReadTrustOfRun(sqlite::Connection& connection, RunId run) {
    sqlite::Statement row(connection, std::string(kTrustColumns) +
                                          "WHERE id IN (SELECT trust_id FROM run_trust WHERE run_id = ?) ORDER BY id");
    row.Bind(run);
    std::vector<TrustEntry> entries;
    while (row.Step()) {
        entries.push_back(TrustOf(row));
    }
    return entries;
}

std::vector<RemovedTrustEntry> ReadRemovedTrust(sqlite::Connection& connection) {
    sqlite::Statement row(connection, std::string(kTrustColumns) + "WHERE removed_on IS NOT NULL ORDER BY id");
    std::vector<RemovedTrustEntry> entries;
    while (row.Step()) {
        entries.push_back({TrustOf(row), row.Text(11), row.Text(12), row.Text(13)});
    }
    return entries;
}

TrustId InsertTrust(sqlite::Connection& connection, const TrustEntry& entry) {
    RefuseWhenNumbersAreUsedUp(connection, "trust");
    sqlite::Statement statement(connection,
                                "INSERT INTO trust (kind, rule, specialty, floor, sub_category, feature_code, reason, "
                                "person, added_on, expires_on) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    statement.Bind(Word(entry.kind)).Bind(entry.rule).Bind(entry.specialty).Bind(entry.floor);
    statement.Bind(entry.subCategory).Bind(entry.featureCode).Bind(entry.reason).Bind(entry.person);
    statement.Bind(entry.addedOn).Bind(entry.expiresOn).Run();
    return connection.LastInsertedRow();
}

bool MarkTrustRemoved(sqlite::Connection& connection, TrustId id, std::string_view day, std::string_view person,
                      std::string_view reason) {
    sqlite::Statement statement(connection,
                                "UPDATE trust SET removed_on = ?, removed_by = ?, removed_because = ? WHERE id = ? AND "
                                "removed_on IS NULL");
    statement.Bind(day).Bind(person).Bind(reason).Bind(id).Run();
    return connection.ChangedRows() == 1;
}

}  // namespace norvex::service::store::rows
