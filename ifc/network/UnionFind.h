// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <numeric>
#include <vector>

namespace norvex::ifc {

// Sets of numbers that are joined and never split. The root of a set is its smallest member, so that results do not
// depend on the order of joining.
class UnionFind {
  public:
    explicit UnionFind(std::size_t size = 0) : parents_(size) { std::iota(parents_.begin(), parents_.end(), 0U); }

    std::uint32_t Add() {
        const auto item = static_cast<std::uint32_t>(parents_.size());
        parents_.push_back(item);
        return item;
    }
    std::size_t Size() const { return parents_.size(); }

    std::uint32_t Find(std::uint32_t item) {
        while (parents_[item] != item) {
            parents_[item] = parents_[parents_[item]];
            item = parents_[item];
        }
        return item;
    }
    void Join(std::uint32_t a, std::uint32_t b) {
        a = Find(a);
        b = Find(b);
        if (a < b) {
            parents_[b] = a;
        } else {
            parents_[a] = b;
        }
    }

  private:
    std::vector<std::uint32_t> parents_;
};

}  // namespace norvex::ifc
