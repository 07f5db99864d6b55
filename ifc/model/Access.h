// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/model/IfcClass.h"
#include "ifc/part21/ExchangeFile.h"

#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <vector>

namespace norvex::ifc {

// An exchange file together with what is known of its classes, so that an instance's class is one look-up. Every look
// at what an instance holds goes through here and is counted: an instance that a million others refer to, or one that
// leads to itself by many ways, must not be read without end. Not thread-safe, because it remembers; threads that read
// the same file have one each.
class Access {
  public:
    explicit Access(const part21::ExchangeFile& exchange);

    const part21::ExchangeFile& File() const { return *file_; }
    // Requires: index < InstanceCount().
    const ClassInfo& Info(std::uint32_t index) const { return *infos_[file_->Class(index)]; }
    Shape ShapeOf(std::uint32_t index) const { return index == part21::kNoInstance ? Shape::None : Info(index).shape; }
    Role RoleOf(std::uint32_t index) const { return index == part21::kNoInstance ? Role::Ignored : Info(index).role; }
    std::string_view UpperName(std::uint32_t index) const { return file_->ClassNames()[file_->Class(index)]; }
    // Returns: the arguments; none once the instances of the file have been read more often than its size allows.
    part21::ValueCursor Arguments(std::uint32_t index) const {
        bytesRead_ += file_->ArgumentBytes(index);
        if (bytesRead_ > mostBytes_) [[unlikely]] {
            ++refused_;
            return {};
        }
        return file_->Arguments(index);
    }
    // Returns: how much text was walked or could have been: the sum of the lengths of what was asked for.
    std::uint64_t BytesRead() const { return bytesRead_ + absorbedBytes_; }
    // Returns: how often Arguments() gave nothing because too much had been asked for.
    std::uint64_t Refused() const { return refused_; }
    // Returns: whether half of what may be read is read. Who can leave something out stops here, so that the other half
    // is there for what everything else stands on, the placements above all.
    bool IsHalfSpent() const { return bytesRead_ > mostBytes_ / 2; }

    // Walks instances in their order. The text of those that follow is on its way from memory meanwhile: instances of
    // one class lie far apart in a large file.
    class Ahead {
      public:
        class Iterator {
          public:
            Iterator(const part21::ExchangeFile& file, const std::uint32_t* at, const std::uint32_t* end)
                : file_(&file), at_(at), end_(end) {}
            std::uint32_t operator*() const {
                if (end_ - at_ > kDistance) {
                    __builtin_prefetch(file_->ArgumentText(at_[kDistance]));
                }
                return *at_;
            }
            Iterator& operator++() {
                ++at_;
                return *this;
            }
            bool operator!=(const Iterator& other) const { return at_ != other.at_; }

          private:
            // Enough for the memory to answer in, and few enough to stay in the cache.
            static constexpr std::ptrdiff_t kDistance = 8;

            const part21::ExchangeFile* file_;
            const std::uint32_t* at_;
            const std::uint32_t* end_;
        };

        Ahead(const part21::ExchangeFile& file, const std::vector<std::uint32_t>& instances)
            : file_(&file), begin_(instances.data()), end_(instances.data() + instances.size()) {}
        Iterator begin() const { return {*file_, begin_, end_}; }
        Iterator end() const { return {*file_, end_, end_}; }

      private:
        const part21::ExchangeFile* file_;
        const std::uint32_t* begin_;
        const std::uint32_t* end_;
    };
    // The vector must outlive what is returned, and not change meanwhile.
    Ahead InTurn(const std::vector<std::uint32_t>& instances) const { return {*file_, instances}; }

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
    // Remembers what another one of the same file does, as if it had been followed here just now.
    void Absorb(const Access& other) const;
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
    void Remember(const Dangling& dangling) const;

    const part21::ExchangeFile* file_;
    std::vector<const ClassInfo*> infos_;
    std::uint64_t mostBytes_;
    mutable std::uint64_t bytesRead_ = 0;
    mutable std::uint64_t absorbedBytes_ = 0;
    mutable std::uint64_t refused_ = 0;
    mutable std::vector<Dangling> dangling_;  // in the order in which they were followed
    mutable std::unordered_set<std::size_t> danglingOffsets_;
    mutable bool danglingLimitReached_ = false;
};

}  // namespace norvex::ifc
