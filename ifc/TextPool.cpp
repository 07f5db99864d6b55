// SPDX-License-Identifier: Apache-2.0
#include "ifc/TextPool.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace norvex::ifc {

namespace {

// Large enough that a block serves thousands of names, small enough not to matter for a model of one pipe.
constexpr std::size_t kBlockSize = std::size_t{1} << 16;

}  // namespace

std::string_view TextPool::Keep(std::string_view text) {
    if (text.empty()) {
        return "";
    }
    if (capacity_ - used_ < text.size()) {
        capacity_ = std::max(kBlockSize, text.size());
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(capacity_));
        used_ = 0;
    }
    char* place = blocks_.back().get() + used_;
    std::memcpy(place, text.data(), text.size());
    used_ += text.size();
    kept_ += text.size();
    return {place, text.size()};
}

std::string_view TextPool::Intern(std::string_view text) {
    if (text.empty()) {
        return "";
    }
    if ((interned_ + 1) * 2 > table_.size()) {
        GrowTable();
    }
    const std::size_t mask = table_.size() - 1;
    std::size_t slot = std::hash<std::string_view>{}(text)&mask;
    while (table_[slot].data() != nullptr) {
        if (table_[slot] == text) {
            return table_[slot];
        }
        slot = (slot + 1) & mask;
    }
    ++interned_;
    return table_[slot] = Keep(text);
}

void TextPool::GrowTable() {
    std::vector<std::string_view> old(std::max<std::size_t>(64, table_.size() * 2));
    old.swap(table_);
    const std::size_t mask = table_.size() - 1;
    for (const std::string_view text : old) {
        if (text.data() == nullptr) {
            continue;
        }
        std::size_t slot = std::hash<std::string_view>{}(text)&mask;
        while (table_[slot].data() != nullptr) {
            slot = (slot + 1) & mask;
        }
        table_[slot] = text;
    }
}

}  // namespace norvex::ifc
