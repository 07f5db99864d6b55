// SPDX-License-Identifier: Apache-2.0
#include "service/store/TrustExchange.h"

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "platform/text/TerminalText.h"
#include "service/json/ReadJson.h"
#include "service/store/Rows.h"

namespace norvex::service::store {

namespace {

constexpr const char* kFormatName = "norvex-trust";
constexpr int kFormatVersion = 1;

struct TextField {
    const char* name;
    std::string TrustEntry::*member;
};

// Besides "kind"; in the order in which they are written.
constexpr std::array<TextField, 9> kFields{{{"rule", &TrustEntry::rule},
                                            {"specialty", &TrustEntry::specialty},
                                            {"floor", &TrustEntry::floor},
                                            {"subCategory", &TrustEntry::subCategory},
                                            {"featureCode", &TrustEntry::featureCode},
                                            {"reason", &TrustEntry::reason},
                                            {"person", &TrustEntry::person},
                                            {"added", &TrustEntry::addedOn},
                                            {"expires", &TrustEntry::expiresOn}}};

// Reads one member of an entry. Returns: what is wrong with it, as a sentence, or nothing.
std::optional<std::string> ReadMember(const std::string& name, const nlohmann::json& value, TrustEntry& entry,
                                      bool& hasKind) {
    if (!value.is_string()) {
        return json::QuotedBriefly(name) + " must be a text.";
    }
    const std::string& text = value.get_ref<const std::string&>();
    if (name == "kind") {
        const std::optional<TrustKind> kind = rows::TrustKindOf(text);
        if (!kind) {
            return "\"kind\" must be \"rule\", \"sub-category\" or \"finding\", not " + json::QuotedBriefly(text) + ".";
        }
        entry.kind = *kind;
        hasKind = true;
        return std::nullopt;
    }
    for (const TextField& field : kFields) {
        if (name == field.name) {
            entry.*field.member = text;
            return std::nullopt;
        }
    }
    // Passing over what is not understood could widen what is accepted.
    return json::QuotedBriefly(name) + " is not known.";
}

std::optional<std::string> ReadEntry(const nlohmann::json& object, TrustEntry& entry) {
    if (!object.is_object()) {
        return "it must be an object.";
    }
    bool hasKind = false;
    for (const auto& [name, value] : object.items()) {
        if (std::optional<std::string> fault = ReadMember(name, value, entry, hasKind)) {
            return fault;
        }
    }
    if (!hasKind) {
        return "\"kind\" is missing.";
    }
    return FaultOf(entry);
}

StoreError Invalid(std::string_view source, const std::string& sentence) {
    return {StoreErrorCode::InvalidInput, "The trust document \"" + std::string(source) + "\" " + sentence};
}

}  // namespace

std::string TrustDocument(const std::vector<TrustEntry>& entries) {
    auto document = nlohmann::ordered_json::object();
    document["format"] = kFormatName;
    document["version"] = kFormatVersion;
    document["entries"] = nlohmann::ordered_json::array();
    for (const TrustEntry& entry : entries) {
        // Not an empty value: that one becomes an object halfway, and breaks, when memory runs out just then.
        auto object = nlohmann::ordered_json::object();
        object["kind"] = rows::Word(entry.kind);
        for (const TextField& field : kFields) {
            if (!(entry.*field.member).empty()) {
                object[field.name] = entry.*field.member;
            }
        }
        document["entries"].push_back(std::move(object));
    }
    // Bytes that are no UTF-8 become U+FFFD instead of an exception.
    return text::SafeJson(document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace)) + "\n";
}

Result<std::vector<TrustEntry>> ReadTrustDocument(std::string_view text, std::string_view source) {
    const json::ReadResult read = json::ReadJson(text, {.maxBytes = kMaxTrustDocumentBytes});
    if (!read.document) {
        return Invalid(source, read.fault);
    }
    const nlohmann::json& document = *read.document;
    if (!document.is_object() || document.value("format", nlohmann::json()) != kFormatName) {
        return Invalid(source, "is not a list of trust entries: its \"format\" is not \"norvex-trust\".");
    }
    if (document.value("version", nlohmann::json()) != kFormatVersion) {
        return Invalid(source, "has a version that this program does not know; it knows version 1.");
    }
    const auto list = document.find("entries");
    if (list == document.end() || !list->is_array()) {
        return Invalid(source, "has no list of \"entries\".");
    }
    std::vector<TrustEntry> entries;
    for (const nlohmann::json& object : *list) {
        TrustEntry entry;
        if (const std::optional<std::string> fault = ReadEntry(object, entry)) {
            return Invalid(source, "is wrong in entry " + std::to_string(entries.size() + 1) + ": " + *fault);
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

}  // namespace norvex::service::store
