// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace norvex::ifc {

// Keeps text alive at a fixed address. Equal texts given to Intern() share one copy. Not thread-safe.
class TextPool {
  public:
    TextPool() = default;
    TextPool(TextPool&&) noexcept = default;
    TextPool& operator=(TextPool&&) noexcept = default;
    TextPool(const TextPool&) = delete;
    TextPool& operator=(const TextPool&) = delete;

    // Returns: a view of a copy that lives as long as the pool, moves included.
    std::string_view Keep(std::string_view text);
    // As Keep(), but the same text gives the same view.
    std::string_view Intern(std::string_view text);
    // Returns: how many bytes of text were given and copied.
    std::size_t KeptBytes() const { return kept_; }

  private:
    void GrowTable();

    std::vector<std::unique_ptr<char[]>> blocks_;
    std::size_t used_ = 0;
    std::size_t capacity_ = 0;
    std::size_t kept_ = 0;
    // Open addressing; an entry without data is free. The size is a power of two.
    std::vector<std::string_view> table_;
    std::size_t interned_ = 0;
};

}  // namespace norvex::ifc
