// SPDX-License-Identifier: Apache-2.0
#include "service/work/Wire.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <vector>

namespace norvex::service::work {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kLengthSize = 4;
// Far more than a finding with a hundred thousand objects takes.
constexpr std::size_t kMostBytes = 256U << 20U;

std::int64_t NumberOf(Moment moment) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(moment.time_since_epoch()).count();
}

// A moment that is still to come is none that a worker can have seen.
Moment MomentOf(const Json& json) {
    return std::min(Moment(std::chrono::nanoseconds(json.get<std::int64_t>())), std::chrono::steady_clock::now());
}

Json ToJson(const FindingRecord& finding) {
    Json objects = Json::array();
    for (const FoundObject& object : finding.objects) {
        objects.push_back({object.handle, object.globalId, object.name, object.subCategory});
    }
    const Json place = finding.place ? Json{finding.place->x, finding.place->y, finding.place->z} : Json();
    return Json::array({finding.category, finding.subCategory, static_cast<int>(finding.severity), finding.sentence,
                        finding.location, finding.featureCode, std::move(objects), place, finding.trusted});
}

FindingRecord FindingOf(const Json& json) {
    FindingRecord finding;
    finding.category = json.at(0);
    finding.subCategory = json.at(1);
    const int severity = json.at(2);
    finding.severity = severity == static_cast<int>(Severity::Suspected) ? Severity::Suspected
                       : severity == static_cast<int>(Severity::Remind)  ? Severity::Remind
                                                                         : Severity::Confirmed;
    finding.sentence = json.at(3);
    finding.location = json.at(4);
    finding.featureCode = json.at(5);
    for (const Json& object : json.at(6)) {
        finding.objects.push_back({object.at(0), object.at(1), object.at(2), object.at(3)});
    }
    if (const Json& place = json.at(7); !place.is_null()) {
        finding.place = Place{place.at(0), place.at(1), place.at(2)};
    }
    finding.trusted = json.at(8);
    return finding;
}

// What a message carries; null when its kind says all.
Json ContentOf(const Message& message) {
    return std::visit(
        [](const auto& value) -> Json {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, TaskBegun>) {
                return Json::array({value.index, NumberOf(value.at)});
            } else if constexpr (std::is_same_v<Value, TaskProgress>) {
                return value.percent;
            } else if constexpr (std::is_same_v<Value, TaskFound>) {
                return ToJson(value.finding);
            } else if constexpr (std::is_same_v<Value, TaskEnded>) {
                return Json::array(
                    {static_cast<int>(value.end), value.examined, value.notExamined, value.reason, NumberOf(value.at)});
            } else {
                return {};
            }
        },
        message);
}

// Errors: Json::exception.
Message MessageOf(std::size_t kind, const Json& content) {
    switch (kind) {
        case 0:
            return FloorEntered{};
        case 1:
            return TaskBegun{content.at(0), MomentOf(content.at(1))};
        case 2:
            return TaskProgress{content};
        case 3:
            return TaskFound{FindingOf(content)};
        case 4:
            return TaskEnded{static_cast<NS_NORVEX::RuleEnd>(content.at(0).get<int>()), content.at(1), content.at(2),
                             content.at(3), MomentOf(content.at(4))};
        case 5:
            return CheckWaits{};
        case 6:
            return CheckGoesOn{};
        default:
            return FloorDone{};
    }
}

static_assert(std::is_same_v<std::variant_alternative_t<4, Message>, TaskEnded> &&
                  std::is_same_v<std::variant_alternative_t<7, Message>, FloorDone>,
              "MessageOf names the kinds by their numbers.");

}  // namespace

std::string Encode(const Message& message) {
    std::string bytes(kLengthSize, '\0');
    Json::to_cbor(Json::array({message.index(), ContentOf(message)}), bytes);
    const std::size_t length = bytes.size() - kLengthSize;
    for (std::size_t i = 0; i < kLengthSize; ++i) {
        bytes[i] = static_cast<char>(length >> (8 * i) & 0xFF);
    }
    return bytes;
}

void MessageReader::Add(std::string_view bytes) {
    m_bytes.erase(0, m_begin);
    m_begin = 0;
    m_bytes += bytes;
}

std::optional<Message> MessageReader::Next() {
    if (m_isBroken || m_bytes.size() - m_begin < kLengthSize) {
        return std::nullopt;
    }
    std::size_t length = 0;
    for (std::size_t i = 0; i < kLengthSize; ++i) {
        length |= std::size_t{static_cast<unsigned char>(m_bytes[m_begin + i])} << (8 * i);
    }
    if (length > kMostBytes) {
        m_isBroken = true;
        return std::nullopt;
    }
    if (m_bytes.size() - m_begin - kLengthSize < length) {
        return std::nullopt;
    }
    const auto first = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin + kLengthSize);
    m_begin += kLengthSize + length;
    try {
        const Json json = Json::from_cbor(first, first + static_cast<std::ptrdiff_t>(length));
        return MessageOf(json.at(0), json.at(1));
    } catch (const Json::exception&) {
        m_isBroken = true;
        return std::nullopt;
    }
}

}  // namespace norvex::service::work
