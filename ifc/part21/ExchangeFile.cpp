// SPDX-License-Identifier: Apache-2.0
#include "ifc/part21/ExchangeFile.h"

#include "ifc/LargePages.h"
#include "ifc/part21/CharClass.h"
#include "ifc/part21/Scanner.h"

#include <algorithm>

namespace norvex::ifc::part21 {

namespace {

// Numbers are looked up by position while that table stays below this many entries an instance; sixteen bytes.
constexpr std::uint64_t kDenseFactor = 4;

}  // namespace

std::optional<Diagnostic> ExchangeFile::Read(std::string_view text, DiagnosticLog& log) {
    text_ = text;
    if (std::optional<Diagnostic> fatal = Scanner(text, *this, log).Scan()) {
        return fatal;
    }
    BuildLookup(log);
    return std::nullopt;
}

void ExchangeFile::BuildLookup(DiagnosticLog& log) {
    std::uint32_t maxId = 0;
    for (const std::uint32_t id : ids_) {
        maxId = std::max(maxId, id);
    }
    if (maxId <= kDenseFactor * ids_.size() + 1024) {
        BuildDense(maxId, log);
    } else {
        BuildSparse(log);
    }
}

void ExchangeFile::BuildDense(std::uint32_t maxId, DiagnosticLog& log) {
    AssignInLargePages(dense_, std::size_t{maxId} + 1, kNoInstance);
    for (std::uint32_t index = 0; index < ids_.size(); ++index) {
        std::uint32_t& place = dense_[ids_[index]];
        if (place != kNoInstance) {
            LoseDuplicate(index, log);
            continue;
        }
        place = index;
    }
}

void ExchangeFile::BuildSparse(DiagnosticLog& log) {
    sparse_.resize(ids_.size());
    for (std::uint32_t index = 0; index < ids_.size(); ++index) {
        sparse_[index] = {ids_[index], index};
    }
    const auto before = [](const Entry& a, const Entry& b) { return a.id != b.id ? a.id < b.id : a.index < b.index; };
    if (!std::is_sorted(sparse_.begin(), sparse_.end(), before)) {
        std::sort(sparse_.begin(), sparse_.end(), before);
    }
    for (std::size_t i = 1; i < sparse_.size(); ++i) {
        if (sparse_[i].id == sparse_[i - 1].id) {
            LoseDuplicate(sparse_[i].index, log);
        }
    }
}

void ExchangeFile::LoseDuplicate(std::uint32_t index, DiagnosticLog& log) {
    ++lost_;
    if (!log.Keeps(DiagnosticCode::DuplicateId)) {
        log.Count(Severity::Warning);
        return;
    }
    log.Add(
        Severity::Warning, DiagnosticCode::DuplicateId, Offset(index),
        "The number #" + std::to_string(ids_[index]) + " is taken already; references to it mean the first instance.");
}

std::uint32_t ExchangeFile::Find(std::uint32_t id) const {
    if (!dense_.empty()) {
        return id < dense_.size() ? dense_[id] : kNoInstance;
    }
    const auto place = std::lower_bound(sparse_.begin(), sparse_.end(), id,
                                        [](const Entry& entry, std::uint32_t wanted) { return entry.id < wanted; });
    return place != sparse_.end() && place->id == id ? place->index : kNoInstance;
}

std::optional<ValueCursor> ExchangeFile::Record(std::uint32_t index, std::string_view className) const {
    if (classNames_[classes_[index]] == className) {
        return Arguments(index);
    }
    // The bracket around the records stands before the first keyword.
    const std::size_t open = text_.rfind('(', offsets_[index] - 1);
    const std::size_t equals = text_.rfind('=', offsets_[index] - 1);
    if (open == std::string_view::npos || equals == std::string_view::npos || open < equals) {
        return std::nullopt;
    }
    ValueCursor records(text_.substr(open + 1));
    for (Value record = records.Next(); record.kind != ValueKind::Missing; record = records.Next()) {
        const std::string_view name = record.TypeName();
        if (std::equal(name.begin(), name.end(), className.begin(), className.end(),
                       [](char a, char b) { return ToUpper(a) == b; })) {
            return ValueCursor(record.text.substr(record.text.find('(') + 1));
        }
    }
    return std::nullopt;
}

std::size_t ExchangeFile::Offset(std::uint32_t index) const {
    const std::size_t hash = text_.rfind('#', offsets_[index]);
    return hash == std::string_view::npos ? offsets_[index] : hash;
}

std::size_t ExchangeFile::BytesBeforeGap(std::uint32_t index, std::size_t bytes) const {
    const auto gap = std::lower_bound(gaps_.begin(), gaps_.end(), index,
                                      [](const Gap& one, std::uint32_t wanted) { return one.index < wanted; });
    return gap != gaps_.end() && gap->index == index ? gap->offset - offsets_[index] : bytes;
}

std::size_t ExchangeFile::IndexBytes() const {
    return ids_.capacity() * sizeof(std::uint32_t) + offsets_.capacity() * sizeof(std::uint32_t) +
           classes_.capacity() * sizeof(ClassId) + dense_.capacity() * sizeof(std::uint32_t) +
           sparse_.capacity() * sizeof(Entry) + gaps_.capacity() * sizeof(Gap);
}

}  // namespace norvex::ifc::part21
