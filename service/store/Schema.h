// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "service/store/Sqlite.h"

namespace norvex::service::store {

// "NRVX" as a big-endian number; written into every project database so that other programs' files are recognised.
inline constexpr int kApplicationId = 0x4E525658;

// Statements that bring a database from the version before to this one.
struct MigrationStep {
    int version;
    const char* statements;
};

// All steps, ascending from version 1; docs/project-database.md describes the tables.
std::span<const MigrationStep> MigrationSteps();

// The version that this program writes.
int NewestSchemaVersion();

// The oldest version that is read without being brought up to date first: what may not be written to can still be read.
inline constexpr int kOldestReadableVersion = 1;

// Runs the steps above the database's version, all in one transaction: the database is at the newest version or as it
// was. Another process may do the same at the same time. Throws DatabaseFailure.
void Migrate(sqlite::Connection& connection, std::span<const MigrationStep> steps);

}  // namespace norvex::service::store
