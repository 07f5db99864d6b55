// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "report/TextStyle.h"

namespace norvex::report {

// Emphasis of a cell or a line. The values are the parameters of the terminal's "select graphic rendition".
enum class Tone : int { Plain = 0, Strong = 1, Faint = 2, Red = 31, Green = 32, Yellow = 33, Cyan = 36 };

// The text in a tone, when the style allows it.
std::string Toned(std::string_view text, Tone tone, const TextStyle& style);

// A table of text: columns as wide as their widest cell, except the last, which takes what is left of the line and
// wraps. Cells are sanitised here.
class Table {
  public:
    enum class Align : bool { Left, Right };

    struct Cell {
        std::string text;
        Tone tone = Tone::Plain;
    };

    struct Column {
        std::string title;
        Align align = Align::Left;
    };

    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    // Requires: as many cells as columns.
    void AddRow(std::vector<Cell> cells);
    // Lines below the row added last, from its second column on, as wide as the line allows.
    void AddText(const std::string& text);
    // The same in one faint line that is not wrapped, so that what it holds can be copied whole.
    void AddNote(const std::string& text);

    // With a head and an indent of two blanks; empty without rows.
    std::string ToText(const TextStyle& style) const;

  private:
    struct Below {
        std::string text;
        bool wraps = false;
    };
    struct Row {
        std::vector<Cell> cells;
        std::vector<Below> below;
    };

    std::vector<std::size_t> Widths(std::size_t lineWidth) const;
    void AppendRow(const Row& row, const std::vector<std::size_t>& widths, const TextStyle& style,
                   std::string& out) const;
    static void AppendBelow(const Row& row, std::size_t indent, const TextStyle& style, std::string& out);

    std::vector<Column> m_columns;
    std::vector<Row> m_rows;
};

}  // namespace norvex::report
