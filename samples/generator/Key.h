// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace norvex::samples {

// What a thing of the building is called, however often the building is generated: a path such as wing 0 / floor 2 /
// water / bay 1 / valve, kept as its 128-bit hash. GlobalIds come from it, so planting a defect changes the identity of
// what the defect consists of and of nothing else.
class Key {
  public:
    // `seed` tells buildings of the same shape apart.
    static Key Root(std::uint64_t seed);

    Key Child(std::string_view name) const;
    Key Child(std::string_view name, std::uint64_t number) const;
    // The key of what joins two things; the order counts.
    Key With(const Key& other) const;

    // Returns: the 22 characters of the exchange format's compressed GUID; the first is one of 0 to 3.
    std::string GlobalId() const;

  private:
    std::uint64_t high_ = 0;
    std::uint64_t low_ = 0;
};

}  // namespace norvex::samples
