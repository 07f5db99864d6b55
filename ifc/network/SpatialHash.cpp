// SPDX-License-Identifier: Apache-2.0
#include "ifc/network/SpatialHash.h"

#include <bit>

namespace norvex::ifc {

std::uint64_t SpatialHash::Key(const Cell& cell) {
    // Odd multipliers spread neighbouring cells over all bits; the final mix brings them down to the low ones.
    std::uint64_t key = static_cast<std::uint64_t>(cell.x) * 0x9E3779B97F4A7C15ULL;
    key ^= std::rotl(static_cast<std::uint64_t>(cell.y) * 0xC2B2AE3D27D4EB4FULL, 21);
    key ^= std::rotl(static_cast<std::uint64_t>(cell.z) * 0x165667B19E3779F9ULL, 42);
    key ^= key >> 29;
    key *= 0xBF58476D1CE4E5B9ULL;
    return key ^ (key >> 32);
}

void SpatialHash::WantOnly(const std::vector<Point>& points) {
    wanted_.assign(std::bit_ceil(points.size() * 16 + 1), false);
    for (const Point& point : points) {
        wanted_[Key(CellOf(point)) & (wanted_.size() - 1)] = true;
    }
}

// A counting sort by bucket: the order within one is the order of Add(), whatever the platform.
void SpatialHash::Build() {
    const std::size_t buckets = std::bit_ceil(entries_.size() * 2 + 1);
    mask_ = buckets - 1;
    firsts_.assign(buckets + 1, 0);
    for (const Entry& entry : entries_) {
        ++firsts_[(entry.key & mask_) + 1];
    }
    for (std::size_t i = 1; i < firsts_.size(); ++i) {
        firsts_[i] += firsts_[i - 1];
    }
    items_.resize(entries_.size());
    std::vector<std::uint32_t> next(firsts_.begin(), firsts_.end() - 1);
    for (const Entry& entry : entries_) {
        items_[next[entry.key & mask_]++] = entry.item;
    }
    std::vector<Entry>().swap(entries_);
}

std::span<const std::uint32_t> SpatialHash::At(std::uint64_t key) const {
    if (items_.empty()) {
        return {};
    }
    const std::uint64_t bucket = key & mask_;
    return std::span(items_).subspan(firsts_[bucket], firsts_[bucket + 1] - firsts_[bucket]);
}

}  // namespace norvex::ifc
