// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace norvex::ifc {

// Tells which instances are met again. Most of what a file holds is used once, and keeping what was read of all of it
// would cost more than it saves; what is met a second time is read once more and then kept, so that nothing is read
// more than twice.
class Revisits {
  public:
    // `instances`: how many the file has.
    explicit Revisits(std::size_t instances) : seen_(instances, false) {}

    // Returns: whether this was asked before for the instance.
    bool IsSecond(std::uint32_t instance) {
        const bool seen = seen_[instance];
        seen_[instance] = true;
        return seen;
    }

  private:
    std::vector<bool> seen_;
};

}  // namespace norvex::ifc
