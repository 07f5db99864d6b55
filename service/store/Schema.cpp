// SPDX-License-Identifier: Apache-2.0
#include "service/store/Schema.h"

#include <array>
#include <string>

namespace norvex::service::store {

namespace {

constexpr const char* kVersion1 = R"sql(
CREATE TABLE run (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    status TEXT NOT NULL CHECK (status IN ('running', 'complete', 'partial', 'cancelled')),
    model_path TEXT NOT NULL,
    model_digest TEXT NOT NULL,
    model_size INTEGER NOT NULL,
    configuration_digest TEXT NOT NULL,
    program_version TEXT NOT NULL,
    narrowed INTEGER NOT NULL,
    started_at TEXT NOT NULL,
    ended_at TEXT NOT NULL DEFAULT '',
    clock_went_back INTEGER NOT NULL
);
CREATE TABLE run_floor (
    run_id INTEGER NOT NULL REFERENCES run (id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    name TEXT NOT NULL,
    PRIMARY KEY (run_id, position)
) WITHOUT ROWID;
CREATE TABLE run_specialty (
    run_id INTEGER NOT NULL REFERENCES run (id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    name TEXT NOT NULL,
    PRIMARY KEY (run_id, position)
) WITHOUT ROWID;
CREATE TABLE run_rule (
    run_id INTEGER NOT NULL REFERENCES run (id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    name TEXT NOT NULL,
    file TEXT NOT NULL,
    md5 TEXT NOT NULL,
    version TEXT NOT NULL,
    PRIMARY KEY (run_id, position)
) WITHOUT ROWID;
CREATE TABLE unit (
    id INTEGER PRIMARY KEY,
    run_id INTEGER NOT NULL REFERENCES run (id) ON DELETE CASCADE,
    floor TEXT NOT NULL,
    specialty TEXT NOT NULL,
    rule TEXT NOT NULL,
    result TEXT NOT NULL
        CHECK (result IN ('passed', 'failed', 'not applicable', 'skipped', 'crashed', 'cancelled')),
    examined INTEGER NOT NULL,
    not_examined INTEGER NOT NULL,
    microseconds INTEGER NOT NULL,
    reason TEXT NOT NULL,
    looks_through_trust INTEGER NOT NULL,
    UNIQUE (run_id, floor, specialty, rule)
);
CREATE INDEX unit_by_place ON unit (rule, specialty, floor, run_id);
CREATE TABLE finding (
    id INTEGER PRIMARY KEY,
    unit_id INTEGER NOT NULL REFERENCES unit (id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    feature_code TEXT NOT NULL,
    category TEXT NOT NULL,
    sub_category TEXT NOT NULL,
    severity TEXT NOT NULL,
    sentence TEXT NOT NULL,
    location TEXT NOT NULL,
    x REAL,
    y REAL,
    z REAL,
    trusted INTEGER NOT NULL,
    UNIQUE (unit_id, position)
);
CREATE INDEX finding_by_code ON finding (feature_code);
CREATE TABLE finding_object (
    finding_id INTEGER NOT NULL REFERENCES finding (id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    handle TEXT NOT NULL,
    global_id TEXT NOT NULL,
    name TEXT NOT NULL,
    sub_category TEXT NOT NULL,
    PRIMARY KEY (finding_id, position)
) WITHOUT ROWID;
CREATE TABLE trust (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    kind TEXT NOT NULL CHECK (kind IN ('rule', 'sub-category', 'finding')),
    rule TEXT NOT NULL,
    specialty TEXT NOT NULL,
    floor TEXT NOT NULL,
    sub_category TEXT NOT NULL,
    feature_code TEXT NOT NULL,
    reason TEXT NOT NULL,
    person TEXT NOT NULL,
    added_on TEXT NOT NULL,
    expires_on TEXT NOT NULL,
    removed_on TEXT,
    removed_by TEXT,
    removed_because TEXT
);
CREATE TABLE run_trust (
    run_id INTEGER NOT NULL REFERENCES run (id) ON DELETE CASCADE,
    trust_id INTEGER NOT NULL REFERENCES trust (id),
    PRIMARY KEY (run_id, trust_id)
) WITHOUT ROWID;
)sql";

// A complete run had read all of its model. Of the others nobody can tell: a crash or a cancel hid whether parts of
// the model were missing too.
constexpr const char* kVersion2 = R"sql(
ALTER TABLE run ADD COLUMN model_read TEXT NOT NULL DEFAULT 'unknown'
    CHECK (model_read IN ('wholly', 'partly', 'unknown'));
UPDATE run SET model_read = 'wholly' WHERE status = 'complete';
)sql";

constexpr std::array<MigrationStep, 2> kSteps{{{1, kVersion1}, {2, kVersion2}}};

}  // namespace

std::span<const MigrationStep> MigrationSteps() {
    return kSteps;
}

int NewestSchemaVersion() {
    return kSteps.back().version;
}

void Migrate(sqlite::Connection& connection, std::span<const MigrationStep> steps) {
    if (sqlite::QueryInteger(connection, "PRAGMA user_version") >= steps.back().version) {
        return;
    }
    sqlite::Transaction transaction(connection, sqlite::Transaction::Kind::Write);
    // Asked again under the lock: another process may have been faster.
    const std::int64_t version = sqlite::QueryInteger(connection, "PRAGMA user_version");
    for (const MigrationStep& step : steps) {
        if (step.version > version) {
            connection.Execute(step.statements);
            connection.Execute(("PRAGMA user_version = " + std::to_string(step.version)).c_str());
        }
    }
    connection.Execute(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
    transaction.Commit();
}

}  // namespace norvex::service::store
