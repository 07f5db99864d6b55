// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ifc/BuildingModel.h"
#include "service/RunReport.h"

namespace norvex::report::bcf {

// What a topic stands for.
enum class Grouping : std::uint8_t {
    Finding,
    Rule,
    Floor,
    System,  // the system that most objects of a finding belong to
};

// "rule", "floor" or "system"; nothing for any other text.
std::optional<Grouping> GroupingOfName(std::string_view name);

struct BcfOptions {
    Grouping grouping = Grouping::Finding;
    // The time of a run that does not know its own: UTC, "2026-03-01T08:30:00Z".
    std::string moment;
    // Asked while pictures are drawn, which is what takes time; true: the archive gets no more of them.
    std::function<bool()> shouldStop = {};
};

struct BcfArchive {
    std::string bytes;
    std::size_t picturesLeftOut = 0;  // because it was told to stop
    std::uint64_t steps = 0;          // elements drawn and looked at for all pictures
};

// The run as a BCF 3.0 archive (docs/bcf.md). `floors` are the floors of the whole building: one for each storey, in
// their order, then perhaps one for what has no storey. A finding's objects are found by their handles; of those that
// the building does not hold, only the identity is given. Equal input gives equal bytes, unless it is told to stop.
// Errors: throws std::runtime_error for lack of memory in a library.
BcfArchive MakeBcf(const service::RunReport& report, const ifc::BuildingModel& building,
                   const std::vector<service::FloorRecord>& floors, const BcfOptions& options);

}  // namespace norvex::report::bcf
