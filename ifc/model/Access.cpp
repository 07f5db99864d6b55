// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/Access.h"

#include <algorithm>

namespace norvex::ifc {

namespace {

// How often each byte of a file may be read, on average. Models of all exporters seen have theirs read less than twice.
constexpr std::uint64_t kMostPasses = 32;
// What any file may read beyond that, so that small ones may share as they like: a tenth of a second.
constexpr std::uint64_t kFreeBytes = std::uint64_t{64} << 20;

}  // namespace

Access::Access(const part21::ExchangeFile& exchange)
    : file_(&exchange), mostBytes_(kFreeBytes + kMostPasses * exchange.Text().size()) {
    infos_.reserve(exchange.ClassNames().size());
    for (const std::string& name : exchange.ClassNames()) {
        infos_.push_back(&InfoOfClass(name));
    }
}

void Access::Remember(const part21::Value& value, std::uint32_t id) const {
    // The text of a reference begins behind its '#'.
    Remember({static_cast<std::size_t>(value.text.data() - file_->Text().data()) - 1, id});
}

void Access::Remember(const Dangling& dangling) const {
    if (dangling_.size() >= kMostDangling) {
        danglingLimitReached_ = true;
        return;
    }
    if (danglingOffsets_.insert(dangling.offset).second) {
        dangling_.push_back(dangling);
    }
}

void Access::Absorb(const Access& other) const {
    for (const Dangling& dangling : other.dangling_) {
        Remember(dangling);
    }
    danglingLimitReached_ = danglingLimitReached_ || other.danglingLimitReached_;
    absorbedBytes_ += other.BytesRead();
    refused_ += other.refused_;
}

std::vector<Access::Dangling> Access::TakeDangling() const {
    std::vector<Dangling> taken;
    taken.swap(dangling_);
    danglingOffsets_.clear();
    std::sort(taken.begin(), taken.end(), [](const Dangling& a, const Dangling& b) { return a.offset < b.offset; });
    return taken;
}

}  // namespace norvex::ifc
