// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Mutator.h"
#include "fuzz/Promise.h"
#include "service/work/Wire.h"

#include <array>
#include <limits>
#include <type_traits>
#include <vector>

// Changes fields of worker messages, whose texts and whole have their lengths in front, and the order of messages.

namespace {

using namespace norvex::fuzz;
using namespace norvex::service;
using namespace norvex::service::work;

constexpr std::size_t kLengthSize = 4;
constexpr std::size_t kMostText = 64;

// The bytes of each message with its length; what is left over at the end is one more.
std::vector<std::string> Messages(std::string_view bytes) {
    std::vector<std::string> messages;
    while (!bytes.empty() && messages.size() < 64) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < kLengthSize && i < bytes.size(); ++i) {
            length |= static_cast<std::size_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
        }
        messages.emplace_back(bytes.substr(0, kLengthSize + length));
        bytes.remove_prefix(messages.back().size());
    }
    return messages;
}

std::uint64_t AnyNumber(Random& random) {
    static constexpr std::array<std::uint64_t, 10> kNumbers{0,
                                                            1,
                                                            2,
                                                            100,
                                                            101,
                                                            255,
                                                            std::numeric_limits<std::int32_t>::max(),
                                                            std::numeric_limits<std::uint32_t>::max(),
                                                            std::numeric_limits<std::int64_t>::max(),
                                                            std::numeric_limits<std::uint64_t>::max()};
    return Below(random, 2) == 0 ? random() : kNumbers[Below(random, kNumbers.size())];
}

double AnyReal(Random& random) {
    static constexpr std::array<double, 6> kReals{
        0.5, -0.0, 1e300, -1e300, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()};
    return kReals[Below(random, kReals.size())];
}

void ChangeText(std::string& text) {
    text = Changed(std::string_view(text).substr(0, kMostText), kMostText);
}

void ChangeFinding(FindingRecord& finding, Random& random) {
    const std::array<std::string*, 5> texts{&finding.category, &finding.subCategory, &finding.sentence,
                                            &finding.location, &finding.featureCode};
    switch (Below(random, 8)) {
        case 0:
            finding.severity = static_cast<Severity>(AnyNumber(random));
            break;
        case 1:
            finding.place = Below(random, 4) == 0
                                ? std::nullopt
                                : std::optional(Place{AnyReal(random), AnyReal(random), AnyReal(random)});
            break;
        case 2:
            finding.trusted = !finding.trusted;
            break;
        case 3:
            finding.objects.push_back(finding.objects.empty() ? FoundObject{} : finding.objects.front());
            break;
        case 4:
            if (!finding.objects.empty()) {
                finding.objects.pop_back();
            }
            break;
        case 5:
            if (!finding.objects.empty()) {
                ChangeText(finding.objects.back().name);
            }
            break;
        default:
            ChangeText(*texts[Below(random, texts.size())]);
    }
}

Moment AnyMoment(Random& random) {
    return Moment(std::chrono::nanoseconds(static_cast<std::int64_t>(AnyNumber(random))));
}

void ChangeFields(Message& message, Random& random) {
    std::visit(
        [&](auto& value) {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, TaskBegun>) {
                value = {AnyNumber(random), AnyMoment(random)};
            } else if constexpr (std::is_same_v<Value, TaskProgress>) {
                value.percent = static_cast<int>(AnyNumber(random));
            } else if constexpr (std::is_same_v<Value, TaskFound>) {
                ChangeFinding(value.finding, random);
            } else if constexpr (std::is_same_v<Value, TaskEnded>) {
                value.examined = AnyNumber(random);
                value.notExamined = AnyNumber(random);
                value.at = AnyMoment(random);
                ChangeText(value.reason);
            } else if constexpr (std::is_same_v<Value, WorkerFailed>) {
                ChangeText(value.reason);
            }
        },
        message);
}

void ChangeMessage(std::string& bytes, Random& random) {
    MessageReader reader;
    reader.Add(bytes);
    std::optional<Message> message = reader.Next();
    if (message && Below(random, 4) != 0) {
        ChangeFields(*message, random);
        bytes = Encode(*message);
        return;
    }
    // Anything at all, behind a length that is right.
    const std::string content = Changed(bytes.substr(std::min(kLengthSize, bytes.size())), bytes.size() + kMostText);
    bytes.clear();
    for (std::size_t i = 0; i < kLengthSize; ++i) {
        bytes += static_cast<char>(content.size() >> (8 * i) & 0xFF);
    }
    bytes += content;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    Random random(seed);
    std::vector<std::string> messages = Messages(TextOf(data, size));
    if (messages.empty() || Below(random, 16) == 0) {
        return LLVMFuzzerMutate(data, size, most);
    }
    const std::size_t at = Below(random, messages.size());
    switch (Below(random, 8)) {
        case 0:
            messages.insert(messages.begin() + static_cast<std::ptrdiff_t>(Below(random, messages.size())),
                            std::string(messages[at]));
            break;
        case 1:
            messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(at));
            break;
        default:
            ChangeMessage(messages[at], random);
    }
    std::string bytes;
    for (const std::string& message : messages) {
        bytes += message;
    }
    return Deliver(bytes, data, size, most);
}
