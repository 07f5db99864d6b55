// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "ifc/part21/ExchangeFile.h"
#include "ifc/part21/Text.h"

#include <string>

// Whatever the bytes are, the index over an exchange file is an error with a place, or instances that lie in the text,
// are found by their numbers, and are read alike when they are written anew.

namespace {

using namespace norvex::fuzz;
using namespace norvex::ifc;
using namespace norvex::ifc::part21;

// Written values are not longer than this, so that deep nesting does not make an input slow.
constexpr std::size_t kMostWritten = 1U << 16U;

// Writes the value as the standard has it. Returns: false for one that the standard does not allow.
bool Write(const Value& value, std::string& out) {
    if (out.size() > kMostWritten) {
        return false;
    }
    switch (value.kind) {
        case ValueKind::String:
            out += "'" + std::string(value.text) + "'";
            return true;
        case ValueKind::Enumeration:
            out += "." + std::string(value.text) + ".";
            return true;
        case ValueKind::Reference:
            out += "#" + std::string(value.text);
            return value.Reference() != 0;
        case ValueKind::List: {
            out += "(";
            ValueCursor members = Members(value);
            bool isFirst = true;
            for (Value member = members.Next(); member.kind != ValueKind::Missing; member = members.Next()) {
                out += isFirst ? "" : ",";
                isFirst = false;
                if (!Write(member, out)) {
                    return false;
                }
            }
            out += ")";
            return true;
        }
        case ValueKind::Null:
        case ValueKind::Derived:
        case ValueKind::Integer:
        case ValueKind::Real:
            out += value.text;
            return true;
        default:
            // Typed and binary values are seldom enough to be left out; broken ones must be.
            return false;
    }
}

// The arguments of an instance, written; empty when one of them cannot be.
std::string Written(const ExchangeFile& file, std::uint32_t index) {
    ValueCursor arguments = file.Arguments(index);
    std::string out;
    for (Value value = arguments.Next(); value.kind != ValueKind::Missing; value = arguments.Next()) {
        out += out.empty() ? "(" : ",";
        if (!Write(value, out)) {
            return {};
        }
    }
    return out.empty() ? "()" : out + ")";
}

void CheckInstance(const ExchangeFile& file, std::uint32_t index, std::string_view text) {
    const std::uint32_t found = file.Find(file.Id(index));
    Require(found != kNoInstance && found <= index && file.Id(found) == file.Id(index),
            "an instance is found by its number, the first one of each");
    Require(file.Offset(index) < text.size() && text[file.Offset(index)] == '#', "an instance begins at a #");
    Require(file.Class(index) < file.ClassNames().size(), "an instance has a class");
    ValueCursor arguments = file.Arguments(index);
    std::size_t count = 0;
    for (Value value = arguments.Next(); value.kind != ValueKind::Missing; value = arguments.Next()) {
        Require(++count <= text.size(), "the walk over arguments ends");
        Require(value.text.data() >= text.data() && value.text.data() + value.text.size() <= text.data() + text.size(),
                "a value lies in the text");
        const std::string decoded = value.Text();
        Require(DecodeText(decoded).size() <= 3 * decoded.size(), "decoding does not blow up");
        Require(decoded.find('\0') == std::string::npos, "decoded text has no NUL");
        const std::uint32_t target = value.Reference();
        Require(target == 0 || file.Find(target) == kNoInstance || file.Id(file.Find(target)) == target,
                "a reference finds its own number");
        const std::optional<std::int64_t> integer = value.Integer();
        Require(!integer || value.Number().has_value(), "what is an integer is a number");
    }
}

// All instances whose arguments are sound, one on each line.
std::string WrittenAnew(const ExchangeFile& file) {
    std::string body;
    for (std::uint32_t i = 0; i < file.InstanceCount() && body.size() < kMostWritten; ++i) {
        const std::string arguments = Written(file, i);
        if (!arguments.empty() && file.Find(file.Id(i)) == i) {
            body += "#" + std::to_string(file.Id(i)) + "=" + file.ClassNames()[file.Class(i)] + arguments + ";\n";
        }
    }
    return "ISO-10303-21;\nHEADER;\nENDSEC;\nDATA;\n" + body + "ENDSEC;\nEND-ISO-10303-21;\n";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = TextOf(data, size);
    constexpr std::size_t kMostDiagnostics = 20;
    DiagnosticLog log(text, kMostDiagnostics);
    ExchangeFile file;
    if (const std::optional<Diagnostic> fatal = file.Read(text, log)) {
        Require(fatal->offset <= text.size() && !fatal->sentence.empty(), "an error has a place and a sentence");
        return 0;
    }
    Require(file.InstanceCount() + file.LostCount() <= text.size(), "an instance takes a byte at least");
    for (std::uint32_t i = 0; i < file.InstanceCount(); ++i) {
        CheckInstance(file, i, text);
    }
    const std::vector<Diagnostic> noticed = log.Take();
    Require(noticed.size() <= kMostDiagnostics + 1, "diagnostics are limited");
    for (const Diagnostic& one : noticed) {
        Require(one.offset <= text.size() && !one.sentence.empty(), "a diagnostic has a place and a sentence");
    }
    const std::string written = WrittenAnew(file);
    DiagnosticLog logAgain(written, kMostDiagnostics);
    ExchangeFile again;
    Require(!again.Read(written, logAgain) && again.LostCount() == 0 && !again.IsCutOff(),
            "what was written anew is whole");
    Require(WrittenAnew(again) == written, "what was written anew is read alike");
    return 0;
}
