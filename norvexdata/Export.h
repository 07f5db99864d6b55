// SPDX-License-Identifier: Apache-2.0
#pragma once

// Marks what the module exports; everything else stays inside it. docs/interface.md says what is exported and what a
// rule module may rely on.
#define NORVEXDATA_API __attribute__((visibility("default")))

// Marks the private members of exported classes that the interface does not name.
#define NORVEXDATA_LOCAL __attribute__((visibility("hidden")))
