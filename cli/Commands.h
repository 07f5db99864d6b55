// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "service/RunPlan.h"
#include "service/Verdict.h"

// What norvex does, one function for each of its commands. Each returns an ExitCode and has said on standard error why
// it is not zero, in one sentence, unless that is a finding.

namespace norvex::cli {

struct CheckOptions {
    std::string model;
    std::optional<std::string> project;
    service::RunRequest request;
    std::optional<std::string> json;  // "-": standard output, in place of the text
    std::optional<std::string> html;
    service::FailOn failOn = service::FailOn::Suspected;
    bool quiet = false;
    bool noColour = false;
};

struct InspectOptions {
    std::string model;
    std::optional<std::string> json;
    bool noColour = false;
};

struct RulesOptions {
    bool noColour = false;
};

int Check(const CheckOptions& options);
int Inspect(const InspectOptions& options);
int Rules(const RulesOptions& options);

}  // namespace norvex::cli
