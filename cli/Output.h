// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "platform/kernel/WholeFile.h"

namespace norvex::cli {

// Makes sure that standard input, output and error are open files, so that no other file takes their numbers; writing
// to one that the caller has closed fails. Call it first.
void KeepStandardFiles();

// Writes text to standard output. Returns false, and says so on standard error, when not all of it could be written.
bool WriteOut(std::string_view text);

// Writes text to standard error; nobody is left to tell when that fails.
void WriteError(std::string_view text);

// "norvex: sentence" on standard error, control characters made visible.
void Complain(std::string_view sentence);

using kernel::WholeFile;

}  // namespace norvex::cli
