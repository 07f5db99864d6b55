// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/Diagnostic.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::ifc {

// Collects what a reader notices. Keeps the first `limit` diagnostics and, so that one frequent trouble cannot hide the
// others, at most a quarter of the limit for each code; counts all of them.
class DiagnosticLog {
  public:
    // `text` is the file the offsets refer to; must outlive the log's calls to Add().
    DiagnosticLog(std::string_view text, std::size_t limit) : text_(text), limit_(limit) {}

    // `offset` beyond the text means its end.
    void Add(Severity severity, DiagnosticCode code, std::size_t offset, std::string sentence);
    // About the file as a whole.
    void AddGeneral(Severity severity, DiagnosticCode code, std::string sentence);
    // Returns: whether Add() would still keep the sentence. Spares building it.
    bool Keeps(DiagnosticCode code) const;
    // Counts without keeping.
    void Count(Severity severity) { ++totals_[static_cast<std::size_t>(severity)]; }

    std::uint64_t Total(Severity severity) const { return totals_[static_cast<std::size_t>(severity)]; }
    std::vector<Diagnostic> Take() { return std::move(kept_); }

    // Returns: a log of the same text and limit that has noticed nothing yet.
    DiagnosticLog Another() const { return {text_, limit_}; }
    // Adds what another log of the same text and limit noticed, as if it had been added here just now. So parts that
    // are read side by side, each with a log of its own, leave behind what reading them in turn would.
    void Absorb(DiagnosticLog&& other);

    // Returns: the 1-based line of a byte.
    std::uint32_t LineAt(std::size_t offset);

  private:
    std::string_view text_;
    std::size_t limit_;
    std::vector<Diagnostic> kept_;
    std::array<std::uint64_t, 3> totals_{};
    std::array<std::size_t, 64> keptByCode_{};
    // Line breaks before each block of the text, filled as far as it was asked for.
    std::vector<std::uint32_t> breaksBefore_;
};

}  // namespace norvex::ifc
