// SPDX-License-Identifier: Apache-2.0
#include "service/json/ReadJson.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

namespace norvex::service::json {

namespace {

using nlohmann::json;

// What is wrong with a document: how the sentence goes on, the place still to come.
struct Fault {
    std::string text;
};

// Goes through the text and counts, because the library tells the place of some faults only.
class CountingIterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, std::size_t* taken) : m_at(at), m_taken(taken) {}

    reference operator*() const { return *m_at; }
    CountingIterator& operator++() {
        ++m_at;
        ++*m_taken;
        return *this;
    }
    CountingIterator operator++(int) {
        const CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator& other) const { return m_at == other.m_at; }

  private:
    const char* m_at;
    std::size_t* m_taken;
};

// Looks at each step of the reading. Throws Fault.
class Guard {
  public:
    explicit Guard(const ReadLimits& limits) : m_limits(limits) {}

    void Note(json::parse_event_t event, const json& parsed) {
        switch (event) {
            case json::parse_event_t::object_start:
            case json::parse_event_t::array_start:
                Count();
                if (m_names.size() == m_limits.maxDepth) {
                    throw Fault{"is nested more than " + std::to_string(m_limits.maxDepth) + " deep"};
                }
                m_names.emplace_back();
                break;
            case json::parse_event_t::object_end:
            case json::parse_event_t::array_end:
                m_names.pop_back();
                break;
            case json::parse_event_t::key:
                if (!m_names.back().insert(parsed.get_ref<const std::string&>()).second) {
                    throw Fault{"has two values for " + QuotedBriefly(parsed.get_ref<const std::string&>())};
                }
                break;
            case json::parse_event_t::value:
                Count();
                break;
        }
    }

  private:
    void Count() {
        if (++m_values > m_limits.maxValues) {
            throw Fault{"holds more than " + std::to_string(m_limits.maxValues) + " values"};
        }
    }

    const ReadLimits& m_limits;
    std::size_t m_values = 0;
    std::vector<std::set<std::string>> m_names;  // of each object that is open; of an open array none
};

// "in line 3 (byte 57)"; bytes count from 1.
std::string PlaceText(std::string_view text, std::size_t byte) {
    const std::string_view before = text.substr(0, byte == 0 ? 0 : byte - 1);
    return "in line " + std::to_string(std::count(before.begin(), before.end(), '\n') + 1) + " (byte " +
           std::to_string(byte) + ")";
}

// What tells before any reading that the text is no JSON of ours; empty when nothing does.
std::string FaultAtFirstSight(std::string_view text, const ReadLimits& limits) {
    if (text.size() > limits.maxBytes) {
        return "is larger than " + std::to_string(limits.maxBytes >> 20U) + " MiB.";
    }
    if (text.empty()) {
        return "is empty.";
    }
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        return "is written in UTF-16; it must be UTF-8.";
    }
    if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos) {
        return "is not JSON: there is a zero byte " + PlaceText(text, zero + 1) + ".";
    }
    return {};
}

}  // namespace

ReadResult ReadJson(std::string_view text, const ReadLimits& limits) {
    if (std::string fault = FaultAtFirstSight(text, limits); !fault.empty()) {
        return {std::nullopt, std::move(fault)};
    }
    std::size_t taken = 0;
    Guard guard(limits);
    try {
        const CountingIterator begin(text.data(), &taken);
        const CountingIterator end(text.data() + text.size(), &taken);
        json document = json::parse(begin, end, [&](int, json::parse_event_t event, const json& parsed) {
            guard.Note(event, parsed);
            return true;
        });
        return {std::move(document), {}};
    } catch (const Fault& fault) {
        return {std::nullopt, fault.text + " " + PlaceText(text, taken) + "."};
    } catch (const json::parse_error& error) {
        return {std::nullopt, "is not JSON: it cannot be understood " + PlaceText(text, error.byte) + "."};
    } catch (const json::exception&) {
        // All that is left is a number; the character behind it, which may be a line break, has been taken as well.
        return {std::nullopt, "has a number that is out of all bounds " + PlaceText(text, taken - 1) + "."};
    }
}

std::string QuotedBriefly(std::string_view text) {
    // As much as tells which text is meant.
    constexpr std::size_t kMost = 80;
    std::size_t size = std::min(text.size(), kMost);
    while (size > 0 && size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) {
        --size;
    }
    return "\"" + std::string(text.substr(0, size)) + (size < text.size() ? "…\"" : "\"");
}

}  // namespace norvex::service::json
