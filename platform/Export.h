// SPDX-License-Identifier: Apache-2.0
#pragma once

// Marks what libNorvexPlatform.so offers; everything else in it is hidden.
#define NORVEX_PLATFORM_API __attribute__((visibility("default")))
