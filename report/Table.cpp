// SPDX-License-Identifier: Apache-2.0
#include "report/Table.h"

#include <fmt/format.h>
#include <algorithm>

#include "report/DisplayText.h"

namespace norvex::report {
namespace {

constexpr std::size_t kIndent = 2;
constexpr std::size_t kGap = 2;
// A last column narrower than this is not worth wrapping: lines grow longer instead.
constexpr std::size_t kNarrowestLastColumn = 24;
// A column does not grow beyond this, which no name needs that people read: one very long cell moves what stands behind
// it in its own row, where it would put blanks into all others.
constexpr std::size_t kWidestColumn = 200;

}  // namespace

std::string Toned(std::string_view text, Tone tone, const TextStyle& style) {
    if (!style.colour || tone == Tone::Plain || text.empty()) {
        return std::string(text);
    }
    return fmt::format("\x1B[{}m{}\x1B[0m", static_cast<int>(tone), text);
}

void Table::AddRow(std::vector<Cell> cells) {
    for (Cell& cell : cells) {
        cell.text = Sanitised(cell.text);
    }
    m_rows.push_back({std::move(cells), {}});
}

void Table::AddText(const std::string& text) {
    m_rows.back().below.push_back({Sanitised(text), true});
}

void Table::AddNote(const std::string& text) {
    m_rows.back().below.push_back({Sanitised(text), false});
}

std::vector<std::size_t> Table::Widths(std::size_t lineWidth) const {
    std::vector<std::size_t> widths;
    std::size_t used = kIndent;
    for (std::size_t column = 0; column + 1 < m_columns.size(); ++column) {
        std::size_t width = DisplayWidth(m_columns[column].title);
        for (const Row& row : m_rows) {
            width = std::max(width, std::min(DisplayWidth(row.cells[column].text), kWidestColumn));
        }
        widths.push_back(width);
        used += width + kGap;
    }
    const std::size_t left = lineWidth > used ? lineWidth - used : 0;
    widths.push_back(std::max(left, kNarrowestLastColumn));
    return widths;
}

void Table::AppendRow(const Row& row, const std::vector<std::size_t>& widths, const TextStyle& style,
                      std::string& out) const {
    std::string head(kIndent, ' ');
    std::size_t before = kIndent;
    for (std::size_t column = 0; column + 1 < m_columns.size(); ++column) {
        const Cell& cell = row.cells[column];
        const std::size_t taken = std::min(DisplayWidth(cell.text), widths[column]);
        const std::string padding(widths[column] - taken, ' ');
        const bool isRight = m_columns[column].align == Align::Right;
        head += (isRight ? padding : "") + Toned(cell.text, cell.tone, style) + (isRight ? "" : padding);
        head.append(kGap, ' ');
        before += widths[column] + kGap;
    }
    const Cell& last = row.cells.back();
    for (const std::string& line : Wrapped(last.text, widths.back())) {
        std::string whole = head + Toned(line, last.tone, style);
        whole.erase(whole.find_last_not_of(' ') + 1);
        out += whole + "\n";
        head.assign(before, ' ');
    }
    AppendBelow(row, kIndent + widths.front() + kGap, style, out);
}

void Table::AppendBelow(const Row& row, std::size_t indent, const TextStyle& style, std::string& out) {
    const std::size_t width = std::max(style.width > indent ? style.width - indent : 0, kNarrowestLastColumn);
    for (const Below& below : row.below) {
        if (!below.wraps) {
            out += std::string(indent, ' ') + Toned(below.text, Tone::Faint, style) + "\n";
            continue;
        }
        for (const std::string& line : Wrapped(below.text, width)) {
            out += std::string(indent, ' ') + line + "\n";
        }
    }
}

std::string Table::ToText(const TextStyle& style) const {
    if (m_rows.empty()) {
        return "";
    }
    const std::vector<std::size_t> widths = Widths(style.width);
    Row head;
    for (const Column& column : m_columns) {
        head.cells.push_back({column.title, Tone::Strong});
    }
    std::string out;
    AppendRow(head, widths, style, out);
    for (const Row& row : m_rows) {
        AppendRow(row, widths, style, out);
    }
    return out;
}

}  // namespace norvex::report
