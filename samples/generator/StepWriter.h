// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace norvex::samples {

// An instance number of the file. 0: none.
using Id = std::uint32_t;

// Writes the instances of an ISO 10303-21 file one after the other, numbered from 1, without keeping them.
// Instances are put together by chained calls: writer.Begin("IFCDIRECTION").Reals({x, y, z}).End(). One at a time.
class StepWriter {
  public:
    // `out` is not owned. A failed write shows in the stream's state.
    explicit StepWriter(std::ostream& out) : out_(out) {}
    StepWriter(const StepWriter&) = delete;
    StepWriter& operator=(const StepWriter&) = delete;

    // `name` is UTF-8, the file's own name. The header carries no time of writing: the same building gives the same
    // bytes.
    void Header(std::string_view name, std::string_view description);
    void Footer();

    StepWriter& Begin(std::string_view className);
    StepWriter& Null();
    StepWriter& Derived();
    StepWriter& Reference(Id id);  // 0 writes $
    StepWriter& References(std::span<const Id> ids);
    // UTF-8 in; what is not printable ASCII is written as the format's \X2\ escapes. Empty writes $.
    StepWriter& Text(std::string_view utf8);
    StepWriter& Enumerator(std::string_view name);
    StepWriter& Integer(std::int64_t value);
    // `decimals` digits behind the point are kept at most, trailing zeros are not written.
    StepWriter& Real(double value, int decimals);
    StepWriter& Reals(std::span<const double> values, int decimals);
    // Puts an attribute as it stands, for the few with a type name: IFCTEXT('x').
    StepWriter& Raw(std::string_view text);
    // Returns: the instance's number.
    Id End();

    // Returns: how many instances were written.
    Id Count() const { return last_; }

  private:
    void Separate();
    void Flush();

    std::ostream& out_;
    std::string buffer_;
    Id last_ = 0;
    bool firstAttribute_ = true;
};

// Returns: the text as a string of the exchange format, apostrophes around it.
std::string EncodeStepText(std::string_view utf8);
// Returns: a REAL of the exchange format: with a point, no more than `decimals` digits behind it.
std::string EncodeStepReal(double value, int decimals);

}  // namespace norvex::samples
