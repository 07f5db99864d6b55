// SPDX-License-Identifier: Apache-2.0
#include "tests/samples/StepFile.h"

#include <cctype>
#include <charconv>

namespace norvex::test {
namespace {

constexpr std::string_view kHead = "ISO-10303-21;\nHEADER;\n";
constexpr std::string_view kData = "ENDSEC;\nDATA;\n";
constexpr std::string_view kTail = "ENDSEC;\nEND-ISO-10303-21;\n";

// Splits "a,(b,c),'d,e'" at the commas of its own level. Returns false when brackets or apostrophes do not match.
bool SplitAttributes(std::string_view text, std::vector<std::string>& out) {
    int depth = 0;
    bool quoted = false;
    std::string current;
    for (const char character : text) {
        if (quoted) {
            quoted = character != '\'';
        } else if (character == '\'') {
            quoted = true;
        } else if (character == '(') {
            ++depth;
        } else if (character == ')') {
            if (--depth < 0) {
                return false;
            }
        } else if (character == ',' && depth == 0) {
            out.push_back(current);
            current.clear();
            continue;
        }
        current += character;
    }
    out.push_back(current);
    return depth == 0 && !quoted;
}

void ParseLine(std::string_view line, StepFile& file) {
    const auto fault = [&](std::string_view what) {
        file.faults.push_back(std::string(what) + ": " + std::string(line));
    };
    const std::size_t equals = line.find('=');
    const std::size_t open = line.find('(');
    if (line.empty() || line[0] != '#' || equals == std::string_view::npos || open == std::string_view::npos ||
        open < equals || !line.ends_with(");")) {
        return fault("not an instance");
    }
    const std::uint32_t id = ReferenceOf(line.substr(0, equals));
    StepInstance instance;
    instance.className = line.substr(equals + 1, open - equals - 1);
    for (const char character : instance.className) {
        if (std::isupper(static_cast<unsigned char>(character)) == 0 &&
            std::isdigit(static_cast<unsigned char>(character)) == 0) {
            return fault("class name");
        }
    }
    if (!SplitAttributes(line.substr(open + 1, line.size() - open - 3), instance.attributes)) {
        return fault("unbalanced");
    }
    for (const std::string& attribute : instance.attributes) {
        if (attribute.empty()) {
            return fault("empty attribute");
        }
    }
    for (const char character : line) {
        if (character < 0x20 || character > 0x7E) {
            return fault("not printable ASCII");
        }
    }
    if (id == 0 || !file.instances.emplace(id, std::move(instance)).second) {
        fault("number missing or used twice");
    }
}

}  // namespace

StepFile ParseStep(std::string_view text) {
    StepFile file;
    const std::size_t data = text.find(kData);
    if (!text.starts_with(kHead) || data == std::string_view::npos || !text.ends_with(kTail)) {
        file.faults.emplace_back("the sections are not those of an exchange file");
        return file;
    }
    text = text.substr(data + kData.size(), text.size() - data - kData.size() - kTail.size());
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        ParseLine(text.substr(0, end), file);
        text.remove_prefix(end + 1);
    }
    return file;
}

std::vector<std::uint32_t> ReferencesIn(std::string_view attribute) {
    std::vector<std::uint32_t> found;
    bool quoted = false;
    for (std::size_t position = 0; position < attribute.size(); ++position) {
        if (attribute[position] == '\'') {
            quoted = !quoted;
        } else if (!quoted && attribute[position] == '#') {
            std::uint32_t id = 0;
            std::from_chars(attribute.data() + position + 1, attribute.data() + attribute.size(), id);
            found.push_back(id);
        }
    }
    return found;
}

std::uint32_t ReferenceOf(std::string_view attribute) {
    std::uint32_t id = 0;
    if (attribute.starts_with('#')) {
        std::from_chars(attribute.data() + 1, attribute.data() + attribute.size(), id);
    }
    return id;
}

std::vector<double> NumbersIn(std::string_view attribute) {
    std::vector<double> numbers;
    if (attribute.size() < 2) {
        return numbers;
    }
    attribute = attribute.substr(1, attribute.size() - 2);
    while (true) {
        const std::size_t comma = attribute.find(',');
        numbers.push_back(NumberOf(attribute.substr(0, comma)));
        if (comma == std::string_view::npos) {
            return numbers;
        }
        attribute.remove_prefix(comma + 1);
    }
}

double NumberOf(std::string_view attribute) {
    double number = 0.0;
    std::from_chars(attribute.data(), attribute.data() + attribute.size(), number);
    return number;
}

std::string TextOf(std::string_view attribute) {
    if (attribute.size() < 2 || attribute.front() != '\'' || attribute.back() != '\'') {
        return {};
    }
    return std::string(attribute.substr(1, attribute.size() - 2));
}

}  // namespace norvex::test
