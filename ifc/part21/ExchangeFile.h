// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/part21/DiagnosticLog.h"
#include "ifc/part21/Value.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::ifc::part21 {

// Brackets nested deeper than this make an instance broken. IFC itself nests four deep.
inline constexpr std::size_t kMaxNesting = 256;

using ClassId = std::uint16_t;
inline constexpr ClassId kNoClass = 0xFFFF;
inline constexpr std::uint32_t kNoInstance = 0xFFFFFFFFU;

// The instances of an ISO 10303-21 file as an index over its text: number, place and class of each, ten bytes an
// instance plus the table that finds a number. Arguments are read when they are asked for. The text is not owned and
// must outlive this. Const calls are safe from any number of threads.
class ExchangeFile {
  public:
    // Reads the index. What is broken is passed over, counted and told to `log`.
    // Returns: the fatal diagnostic when the text is no exchange file at all, else nothing.
    std::optional<Diagnostic> Read(std::string_view text, DiagnosticLog& log);

    // Names in FILE_SCHEMA, decoded.
    const std::vector<std::string>& Schemas() const { return schemas_; }

    std::uint32_t InstanceCount() const { return static_cast<std::uint32_t>(ids_.size()); }
    // Instances that could not be read, and those whose number was taken already: nothing can refer to them.
    std::uint64_t LostCount() const { return lost_; }
    // Whether the text ends before the exchange structure does; what may have followed is not counted as lost.
    bool IsCutOff() const { return isCutOff_; }

    // Returns: the index of the instance with this number, or kNoInstance.
    std::uint32_t Find(std::uint32_t id) const;

    // Requires for all below: index < InstanceCount().
    std::uint32_t Id(std::uint32_t index) const { return ids_[index]; }
    ClassId Class(std::uint32_t index) const { return classes_[index]; }
    // A complex instance #1=(A(..)B(..)) has the class of its first record and gives that record's arguments.
    ValueCursor Arguments(std::uint32_t index) const { return ValueCursor(text_.substr(offsets_[index] + 1)); }
    // Returns: how many bytes of text a walk over all that Arguments() gives can pass, blanks behind it included.
    std::size_t ArgumentBytes(std::uint32_t index) const {
        const std::size_t next = index + 1 < offsets_.size() ? offsets_[index + 1] : text_.size();
        const std::size_t bytes = next - offsets_[index];
        return bytes <= kTightBytes || gaps_.empty() ? bytes : BytesBeforeGap(index, bytes);
    }
    // Returns: where the arguments stand in the text.
    const char* ArgumentText(std::uint32_t index) const { return text_.data() + offsets_[index]; }
    // Returns: the arguments of the record of this class in a complex instance, or of the instance itself; else empty.
    std::optional<ValueCursor> Record(std::uint32_t index, std::string_view className) const;
    // Returns: the offset of the instance's '#'.
    std::size_t Offset(std::uint32_t index) const;

    // Class names in upper case, by ClassId, in the order they were met.
    const std::vector<std::string>& ClassNames() const { return classNames_; }

    // The text that was read.
    std::string_view Text() const { return text_; }

    // Returns: bytes that the index takes, the text not included.
    std::size_t IndexBytes() const;

  private:
    friend class Scanner;

    // Instances follow each other so closely that the next one tells where an instance ends. Where that would be wrong
    // by more than this many bytes, because a comment or something broken stands between them, a gap is noted.
    static constexpr std::size_t kTightBytes = 64;

    std::size_t BytesBeforeGap(std::uint32_t index, std::size_t bytes) const;
    void BuildLookup(DiagnosticLog& log);
    void BuildDense(std::uint32_t maxId, DiagnosticLog& log);
    void BuildSparse(DiagnosticLog& log);
    void LoseDuplicate(std::uint32_t index, DiagnosticLog& log);

    std::string_view text_;
    std::vector<std::string> schemas_;
    std::vector<std::uint32_t> ids_;
    std::vector<std::uint32_t> offsets_;  // of the '(' that opens the arguments
    std::vector<ClassId> classes_;
    std::vector<std::string> classNames_;
    std::uint64_t lost_ = 0;
    bool isCutOff_ = false;
    // Instance by number: by position when numbers are dense, else by search through pairs ordered by number.
    std::vector<std::uint32_t> dense_;
    struct Entry {
        std::uint32_t id;
        std::uint32_t index;
    };
    std::vector<Entry> sparse_;
    // What follows an instance that is none, by index.
    struct Gap {
        std::uint32_t index;   // of the instance before
        std::uint32_t offset;  // where that one ends
    };
    std::vector<Gap> gaps_;
};

}  // namespace norvex::ifc::part21
