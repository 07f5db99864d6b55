// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace norvex::test {

// The folder with real models and truth tables. It lies beside the checkout and is not part of it. ctest names it in
// NORVEX_SHARED; without that it is looked for beside the current folder.
inline std::filesystem::path SharedDir() {
    const char* const given = std::getenv("NORVEX_SHARED");
    return given != nullptr ? given : "../shared";
}

}  // namespace norvex::test

// Skips the test, loudly, when a file or folder below the shared folder is missing.
#define NORVEX_REQUIRE_SHARED(relative)                                                                     \
    do {                                                                                                    \
        if (!std::filesystem::exists(norvex::test::SharedDir() / (relative))) {                             \
            GTEST_SKIP() << "SKIPPED: " << (norvex::test::SharedDir() / (relative)).string()                \
                         << " is missing; this promise was not tested. Set NORVEX_SHARED to the folder.";   \
        }                                                                                                   \
    } while (false)
