// SPDX-License-Identifier: Apache-2.0
#include "ifc/mapping/CategoryTable.h"

#include "ifc/mapping/DefaultTable.h"

#include <algorithm>
#include <cassert>
#include <fstream>
#include <utility>

namespace norvex::ifc {

namespace {

constexpr std::size_t kMaxTableBytes = std::size_t{1} << 22;

std::vector<std::string_view> Split(std::string_view line, char separator) {
    std::vector<std::string_view> fields;
    for (;;) {
        const std::size_t at = line.find(separator);
        fields.push_back(line.substr(0, at));
        if (at == std::string_view::npos) {
            return fields;
        }
        line.remove_prefix(at + 1);
    }
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
        text.remove_suffix(1);
    }
    return text;
}

bool IsLetterByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte >= 0x80;
}

std::optional<ElementKind> KindOfWord(std::string_view word) {
    constexpr std::pair<std::string_view, ElementKind> kKinds[] = {{"fitting", ElementKind::Fitting},
                                                                   {"inline", ElementKind::InlineDevice},
                                                                   {"equipment", ElementKind::Equipment},
                                                                   {"terminal", ElementKind::Terminal},
                                                                   {"other", ElementKind::Other}};
    for (const auto& [name, kind] : kKinds) {
        if (word == name) {
            return kind;
        }
    }
    return std::nullopt;
}

Diagnostic TableError(DiagnosticCode code, std::size_t line, std::string sentence) {
    return {Severity::Error, code, static_cast<std::uint32_t>(line), 0, std::move(sentence)};
}

}  // namespace

std::string LowerCase(std::string_view utf8) {
    std::string lower(utf8);
    for (std::size_t i = 0; i < lower.size(); ++i) {
        const auto byte = static_cast<unsigned char>(lower[i]);
        if (byte >= 'A' && byte <= 'Z') {
            lower[i] = static_cast<char>(byte + 0x20);
            continue;
        }
        if (i + 1 == lower.size()) {
            break;
        }
        const auto next = static_cast<unsigned char>(lower[i + 1]);
        if (byte == 0xC3 && next >= 0x80 && next <= 0x9E && next != 0x97) {
            lower[++i] = static_cast<char>(next + 0x20);
        } else if (byte == 0xD0 && next >= 0x90 && next <= 0x9F) {
            lower[++i] = static_cast<char>(next + 0x20);
        } else if (byte == 0xD0 && next >= 0xA0 && next <= 0xAF) {
            lower[i] = static_cast<char>(0xD1);
            lower[++i] = static_cast<char>(next - 0x20);
        } else if (byte == 0xD0 && next == 0x81) {
            lower[i] = static_cast<char>(0xD1);
            lower[++i] = static_cast<char>(0x91);
        }
    }
    return lower;
}

CategoryTableResult CategoryTable::Parse(std::string_view text) {
    CategoryTableResult result;
    if (text.size() > kMaxTableBytes) {
        result.error = TableError(DiagnosticCode::FileTooLarge, 0, "A category table this large is none.");
        return result;
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    CategoryTable table;
    std::size_t number = 0;
    for (const std::string_view raw : Split(text, '\n')) {
        ++number;
        const std::string_view line = Trimmed(raw);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::vector<std::string_view> fields = Split(line, '\t');
        std::transform(fields.begin(), fields.end(), fields.begin(), Trimmed);
        std::string problem;
        if (!table.AddLine(fields, problem)) {
            result.error = TableError(DiagnosticCode::BadText, number, std::move(problem));
            return result;
        }
    }
    if (table.classes_.empty()) {
        result.error =
            TableError(DiagnosticCode::EmptyFile, 0, "The category table holds no line that begins with class.");
        return result;
    }
    result.table = std::move(table);
    return result;
}

CategoryTableResult CategoryTable::Load(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::error_code error;
    if (!stream || std::filesystem::is_directory(path, error)) {
        CategoryTableResult result;
        result.error = TableError(DiagnosticCode::CannotOpen, 0, "The category table cannot be opened.");
        return result;
    }
    std::string text(kMaxTableBytes + 1, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return Parse(text);
}

const CategoryTable& CategoryTable::Default() {
    static const CategoryTable table = [] {
        CategoryTableResult result = Parse(kDefaultTable);
        assert(result.table && "the table that ships with the program must be well-formed");
        return std::move(*result.table);
    }();
    return table;
}

// Returns: false, with a sentence, when the line cannot be used.
bool CategoryTable::AddLine(const std::vector<std::string_view>& fields, std::string& problem) {
    const std::string_view kind = fields[0];
    const bool isSystem = kind == "system" || kind == "system-word";
    if (!isSystem && kind != "name-word" && kind != "class") {
        problem = "A line begins with system, system-word, name-word or class, not with \"" + std::string(kind) + "\".";
        return false;
    }
    const std::size_t expected = isSystem ? 3 : 5;
    const bool namesKind = kind == "name-word" && fields.size() == 6;
    if (fields.size() != expected && !namesKind) {
        problem = "A line that begins with " + std::string(kind) + " has " + std::to_string(expected) +
                  " fields with tabs between them, this one has " + std::to_string(fields.size()) + ".";
        return false;
    }
    for (std::size_t i = 1; i < fields.size(); ++i) {
        // A name may leave a part open with a dash; everything else must be there.
        const bool open = fields[i] == "-" && kind == "name-word" && i >= 2 && i <= 4;
        if (fields[i].empty() || (fields[i] == "-" && !open) || fields[i].find('\\') != std::string_view::npos) {
            problem = "Field " + std::to_string(i + 1) + " of a line that begins with " + std::string(kind) +
                      " is empty, a dash or holds a backslash.";
            return false;
        }
    }
    std::optional<ElementKind> elementKind;
    if (namesKind && !(elementKind = KindOfWord(fields[5]))) {
        problem = "The kind is one of fitting, inline, equipment, terminal and other, not \"" + std::string(fields[5]) +
                  "\".";
        return false;
    }
    const auto part = [&](std::size_t i) { return fields[i] == "-" ? std::string_view() : texts_.Intern(fields[i]); };
    const CategoryPath path{part(2), isSystem ? std::string_view() : part(3), isSystem ? std::string_view() : part(4)};
    if (kind == "class") {
        classes_[std::string(fields[1])] = path;
        return true;
    }
    for (const std::string_view raw : Split(fields[1], '|')) {
        const std::string_view word = Trimmed(raw);
        if (word.empty() || word == "=") {
            problem = "A list of words separated by | holds an empty one.";
            return false;
        }
        if (kind == "system") {
            systemTypes_[std::string(word)] = path.specialty;
            continue;
        }
        const bool whole = word.front() == '=';
        (isSystem ? systemWords_ : nameWords_)
            .push_back({LowerCase(whole ? word.substr(1) : word), whole, path, elementKind});
    }
    return true;
}

std::string_view CategoryTable::OfSystemType(std::string_view predefinedType) const {
    const auto found = systemTypes_.find(std::string(predefinedType));
    return found == systemTypes_.end() ? std::string_view() : found->second;
}

const CategoryTable::Word* CategoryTable::Match(const std::vector<Word>& words, std::string_view utf8) {
    if (utf8.empty()) {
        return nullptr;
    }
    const std::string lower = LowerCase(utf8);
    for (const Word& word : words) {
        for (std::size_t at = lower.find(word.text); at != std::string::npos; at = lower.find(word.text, at + 1)) {
            const std::size_t end = at + word.text.size();
            const bool apart =
                (at == 0 || !IsLetterByte(lower[at - 1])) && (end == lower.size() || !IsLetterByte(lower[end]));
            if (!word.whole || apart) {
                return &word;
            }
        }
    }
    return nullptr;
}

std::string_view CategoryTable::OfSystemName(std::string_view utf8) const {
    const Word* word = Match(systemWords_, utf8);
    return word == nullptr ? std::string_view() : word->path.specialty;
}

NamedCategory CategoryTable::OfName(std::string_view utf8) const {
    const Word* word = Match(nameWords_, utf8);
    if (word == nullptr) {
        return {};
    }
    return {word->path, word->kind, LowerCase(utf8) == word->text};
}

CategoryPath CategoryTable::OfClass(std::string_view key, std::string_view predefinedType) const {
    if (!predefinedType.empty()) {
        const auto special = classes_.find(std::string(key) + '.' + std::string(predefinedType));
        if (special != classes_.end()) {
            return special->second;
        }
    }
    const auto found = classes_.find(std::string(key));
    return found == classes_.end() ? CategoryPath() : found->second;
}

}  // namespace norvex::ifc
