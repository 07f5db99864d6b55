// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/Reader.h"
#include "support/SharedData.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::ifc {

// One line of the table of the real models: column by name.
using IndexRow = std::map<std::string, std::string>;

inline std::vector<IndexRow> ReadIndex() {
    std::ifstream stream(test::SharedDir() / "models" / "INDEX.tsv");
    const auto split = [](const std::string& line) {
        std::vector<std::string> fields;
        std::istringstream rest(line);
        for (std::string field; std::getline(rest, field, '\t');) {
            fields.push_back(field);
        }
        return fields;
    };
    std::string line;
    std::getline(stream, line);
    const std::vector<std::string> names = split(line);
    std::vector<IndexRow> rows;
    while (std::getline(stream, line)) {
        const std::vector<std::string> fields = split(line);
        IndexRow row;
        for (std::size_t i = 0; i < names.size() && i < fields.size(); ++i) {
            row[names[i]] = fields[i];
        }
        rows.push_back(row);
    }
    return rows;
}

inline std::string SharedText(const std::string& name) {
    std::ifstream stream(test::SharedDir() / "models" / name, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

inline ReadResult ReadText(std::string_view text, const ReadOptions& options = {}) {
    return ReadIfcBytes(std::as_bytes(std::span(text.data(), text.size())), options);
}

inline BuildingModel ReadShared(const std::string& name) {
    ReadResult result = ReadIfcFile(test::SharedDir() / "models" / name);
    EXPECT_TRUE(result.Ok()) << result.error.sentence;
    return result.Ok() ? std::move(*result.model) : BuildingModel();
}

}  // namespace norvex::ifc
