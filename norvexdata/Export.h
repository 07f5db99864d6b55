// SPDX-License-Identifier: Apache-2.0
#pragma once

// Marks what the module exports; everything else stays inside it.
#define NORVEXDATA_API __attribute__((visibility("default")))
