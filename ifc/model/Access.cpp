// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/Access.h"

namespace norvex::ifc {

Access::Access(const part21::ExchangeFile& exchange) : file_(&exchange) {
    infos_.reserve(exchange.ClassNames().size());
    for (const std::string& name : exchange.ClassNames()) {
        infos_.push_back(&InfoOfClass(name));
    }
}

void Access::Remember(const part21::Value& value, std::uint32_t id) const {
    if (dangling_.size() >= kMostDangling) {
        danglingLimitReached_ = true;
        return;
    }
    // The text of a reference begins behind its '#'.
    dangling_.emplace(static_cast<std::size_t>(value.text.data() - file_->Text().data()) - 1, id);
}

std::vector<Access::Dangling> Access::TakeDangling() const {
    std::vector<Dangling> taken;
    for (const auto& [offset, id] : dangling_) {
        taken.push_back({offset, id});
    }
    dangling_.clear();
    return taken;
}

}  // namespace norvex::ifc
