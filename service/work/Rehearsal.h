// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace norvex::service::work {

// Runs something that may crash or hang in a copy of this process. Returns how it went wrong, such as "it ended with
// signal 11 (SIGSEGV)" or "it did not end within 10 s"; empty when it came to its end. Requires: this process has one
// thread.
std::string Rehearse(const std::function<void()>& work, std::chrono::milliseconds budget);

}  // namespace norvex::service::work
