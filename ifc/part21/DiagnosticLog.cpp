// SPDX-License-Identifier: Apache-2.0
#include "ifc/part21/DiagnosticLog.h"

#include <algorithm>

namespace norvex::ifc {

namespace {

// A line number costs at most one pass over this many bytes once the blocks before are counted.
constexpr std::size_t kLineBlock = std::size_t{1} << 16;

std::uint32_t CountBreaks(std::string_view text) {
    return static_cast<std::uint32_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

bool DiagnosticLog::Keeps(DiagnosticCode code) const {
    const std::size_t share = std::max<std::size_t>(1, limit_ / 4);
    return kept_.size() < limit_ && keptByCode_[static_cast<std::size_t>(code)] < share;
}

void DiagnosticLog::Add(Severity severity, DiagnosticCode code, std::size_t offset, std::string sentence) {
    Count(severity);
    if (!Keeps(code)) {
        return;
    }
    ++keptByCode_[static_cast<std::size_t>(code)];
    offset = std::min(offset, text_.size());
    kept_.push_back({severity, code, LineAt(offset), offset, std::move(sentence)});
}

void DiagnosticLog::AddGeneral(Severity severity, DiagnosticCode code, std::string sentence) {
    Count(severity);
    if (Keeps(code)) {
        ++keptByCode_[static_cast<std::size_t>(code)];
        kept_.push_back({severity, code, 0, 0, std::move(sentence)});
    }
}

void DiagnosticLog::Absorb(DiagnosticLog&& other) {
    for (std::size_t i = 0; i < totals_.size(); ++i) {
        totals_[i] += other.totals_[i];
    }
    for (Diagnostic& diagnostic : other.kept_) {
        if (Keeps(diagnostic.code)) {
            ++keptByCode_[static_cast<std::size_t>(diagnostic.code)];
            kept_.push_back(std::move(diagnostic));
        }
    }
}

std::uint32_t DiagnosticLog::LineAt(std::size_t offset) {
    offset = std::min(offset, text_.size());
    if (breaksBefore_.empty()) {
        breaksBefore_.push_back(0);
    }
    const std::size_t block = offset / kLineBlock;
    while (breaksBefore_.size() <= block) {
        const std::size_t begin = (breaksBefore_.size() - 1) * kLineBlock;
        breaksBefore_.push_back(breaksBefore_.back() + CountBreaks(text_.substr(begin, kLineBlock)));
    }
    const std::size_t begin = block * kLineBlock;
    return 1 + breaksBefore_[block] + CountBreaks(text_.substr(begin, offset - begin));
}

}  // namespace norvex::ifc
