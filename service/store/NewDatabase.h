// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

// Internal to the store: how a project's database comes into being.

namespace norvex::service::store {

// Makes a database with the newest tables and none of its rows under another name beside `path`, and gives it its name
// only when it is whole and on the disk: nobody ever sees an unfinished one, so that one that is empty was truncated.
// Does nothing when there is a file of that name, or another process is faster. Where the file system knows no way to
// give a name without taking it from another file, nothing is made either, and SQLite makes the database in its place.
// A process that is killed meanwhile leaves a file norvex-new-*.db behind that nobody reads. Throws DatabaseFailure.
void MakeDatabaseUnlessThere(const std::filesystem::path& path);

// Removes from a project's folder what killed processes have left of new databases.
void RemoveAbandonedDatabases(const std::filesystem::path& folder);

}  // namespace norvex::service::store
