// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/model/IfcClass.h"
#include "ifc/part21/ExchangeFile.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace norvex::ifc {

// An exchange file together with what is known of its classes, so that an instance's class is one look-up.
class Access {
  public:
    explicit Access(const part21::ExchangeFile& exchange);

    const part21::ExchangeFile& File() const { return *file_; }
    // Requires: index < InstanceCount().
    const ClassInfo& Info(std::uint32_t index) const { return *infos_[file_->Class(index)]; }
    Shape ShapeOf(std::uint32_t index) const { return index == part21::kNoInstance ? Shape::None : Info(index).shape; }
    Role RoleOf(std::uint32_t index) const { return index == part21::kNoInstance ? Role::Ignored : Info(index).role; }
    std::string_view UpperName(std::uint32_t index) const { return file_->ClassNames()[file_->Class(index)]; }
    part21::ValueCursor Arguments(std::uint32_t index) const { return file_->Arguments(index); }

    // A reference to an instance that the file does not hold.
    struct Dangling {
        std::size_t offset;  // of the reference, in bytes from the beginning of the file
        std::uint32_t id;
    };

    // Returns: the index of the instance that a value refers to; kNoInstance for anything else and for dangling
    // numbers, which are remembered.
    std::uint32_t Follow(const part21::Value& value) const {
        const std::uint32_t id = value.Reference();
        const std::uint32_t index = id == 0 ? part21::kNoInstance : file_->Find(id);
        if (id != 0 && index == part21::kNoInstance) {
            Remember(value, id);
        }
        return index;
    }
    // Returns: the dangling references that were followed, each once, in file order; forgets them.
    std::vector<Dangling> TakeDangling() const;
    bool DanglingLimitReached() const { return danglingLimitReached_; }
    // Returns: argument `position`, counted from zero.
    part21::Value Argument(std::uint32_t index, std::size_t position) const {
        part21::ValueCursor cursor = Arguments(index);
        cursor.Skip(position);
        return cursor.Next();
    }

  private:
    // A broken file may repeat one reference millions of times; nobody reads a list of that length.
    static constexpr std::size_t kMostDangling = 10'000;

    void Remember(const part21::Value& value, std::uint32_t id) const;

    const part21::ExchangeFile* file_;
    std::vector<const ClassInfo*> infos_;
    mutable std::map<std::size_t, std::uint32_t> dangling_;
    mutable bool danglingLimitReached_ = false;
};

}  // namespace norvex::ifc
