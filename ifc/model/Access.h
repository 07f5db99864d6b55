// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/model/IfcClass.h"
#include "ifc/part21/ExchangeFile.h"

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

    // Returns: the index of the instance that a value refers to; kNoInstance for anything else and for dangling
    // numbers.
    std::uint32_t Follow(const part21::Value& value) const {
        const std::uint32_t id = value.Reference();
        return id == 0 ? part21::kNoInstance : file_->Find(id);
    }
    // Returns: argument `position`, counted from zero.
    part21::Value Argument(std::uint32_t index, std::size_t position) const {
        part21::ValueCursor cursor = Arguments(index);
        cursor.Skip(position);
        return cursor.Next();
    }

  private:
    const part21::ExchangeFile* file_;
    std::vector<const ClassInfo*> infos_;
};

}  // namespace norvex::ifc
