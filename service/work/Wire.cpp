// SPDX-License-Identifier: Apache-2.0
#include "service/work/Wire.h"

#include <unicode/ustring.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

// Every message is one of a few flat records, written field by field in the order of their members. A general format
// would have to be kept from nesting, from numbers of the wrong kind and from lists that are far larger in memory than
// on the wire; here none of these can be said.

namespace norvex::service::work {
namespace {

constexpr std::size_t kLengthSize = 4;
constexpr std::uint64_t kMostCount = std::numeric_limits<int>::max();

// The kinds of the message's variant, by their numbers.
template <class Value, std::size_t kind = 0>
constexpr std::size_t KindOf() {
    if constexpr (std::is_same_v<Value, std::variant_alternative_t<kind, Message>>) {
        return kind;
    } else {
        return KindOf<Value, kind + 1>();
    }
}

std::int64_t NumberOf(Moment moment) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(moment.time_since_epoch()).count();
}

// Writes the fields of messages.
class Writer {
  public:
    explicit Writer(std::string& bytes) : m_bytes(bytes) {}

    void Number(std::uint64_t number, std::size_t size = sizeof(std::uint64_t)) {
        for (std::size_t i = 0; i < size; ++i) {
            m_bytes += static_cast<char>(number >> (8 * i) & 0xFF);
        }
    }
    void Byte(std::size_t value) { m_bytes += static_cast<char>(value); }
    void Flag(bool value) { Byte(value ? 1 : 0); }
    void Real(double value) { Number(std::bit_cast<std::uint64_t>(value)); }
    void Time(Moment moment) { Number(static_cast<std::uint64_t>(NumberOf(moment))); }
    void Text(std::string_view text) {
        Number(text.size(), kLengthSize);
        m_bytes += text;
    }

  private:
    std::string& m_bytes;
};

// Requires: no longer than a message.
bool IsUtf8(std::string_view text) {
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(nullptr, 0, &length, text.data(), static_cast<std::int32_t>(text.size()), &status);
    return status != U_INVALID_CHAR_FOUND;
}

// Reads the fields of one message. What is no such field makes the rest of the message wrong, and reads as zero.
class Reader {
  public:
    explicit Reader(std::string_view bytes) : m_rest(bytes) {}

    // All of it was read, and nothing was wrong.
    bool IsRight() const { return m_isRight && m_rest.empty(); }

    std::uint64_t Number(std::uint64_t most = std::numeric_limits<std::uint64_t>::max(),
                         std::size_t size = sizeof(std::uint64_t)) {
        const std::string_view bytes = Take(size);
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            number |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
        }
        return Within(number <= most) ? number : 0;
    }
    std::size_t Byte(std::size_t most) { return Number(most, 1); }
    bool Flag() { return Byte(1) == 1; }
    double Real() {
        const auto value = std::bit_cast<double>(Number());
        return Within(std::isfinite(value)) ? value : 0.0;
    }
    // A moment that is still to come is none that a worker can have seen, and neither is one before the clock began.
    Moment Time() {
        const std::chrono::nanoseconds since(Number(std::numeric_limits<std::int64_t>::max()));
        return std::min(Moment(since), std::chrono::steady_clock::now());
    }
    std::string Text() {
        const std::string_view text = Take(Number(kMostMessageBytes, kLengthSize));
        return Within(IsUtf8(text)) ? std::string(text) : std::string();
    }
    // How many records of at least so many bytes follow.
    std::size_t Count(std::size_t leastSize) {
        const std::size_t count = Number(kMostCount, kLengthSize);
        return Within(count <= m_rest.size() / leastSize) ? count : 0;
    }

  private:
    bool Within(bool isRight) { return m_isRight = m_isRight && isRight; }
    std::string_view Take(std::size_t size) {
        if (!Within(size <= m_rest.size())) {
            return {};
        }
        const std::string_view taken = m_rest.substr(0, size);
        m_rest.remove_prefix(size);
        return taken;
    }

    std::string_view m_rest;
    bool m_isRight = true;
};

void Write(Writer& writer, const FindingRecord& finding) {
    writer.Text(finding.category);
    writer.Text(finding.subCategory);
    writer.Byte(static_cast<std::size_t>(finding.severity));
    writer.Text(finding.sentence);
    writer.Text(finding.location);
    writer.Text(finding.featureCode);
    writer.Number(finding.objects.size(), kLengthSize);
    for (const FoundObject& object : finding.objects) {
        for (const std::string* text : {&object.handle, &object.globalId, &object.name, &object.subCategory}) {
            writer.Text(*text);
        }
    }
    writer.Flag(finding.place.has_value());
    if (finding.place) {
        writer.Real(finding.place->x);
        writer.Real(finding.place->y);
        writer.Real(finding.place->z);
    }
    writer.Flag(finding.trusted);
}

// Members of a braced list are read from left to right.
FindingRecord ReadFinding(Reader& reader) {
    constexpr std::size_t kLeastObject = 4 * kLengthSize;
    FindingRecord finding;
    finding.category = reader.Text();
    finding.subCategory = reader.Text();
    finding.severity = static_cast<Severity>(reader.Byte(static_cast<std::size_t>(Severity::Remind)));
    finding.sentence = reader.Text();
    finding.location = reader.Text();
    finding.featureCode = reader.Text();
    for (std::size_t left = reader.Count(kLeastObject); left > 0; --left) {
        finding.objects.push_back(FoundObject{reader.Text(), reader.Text(), reader.Text(), reader.Text()});
    }
    if (reader.Flag()) {
        finding.place = Place{reader.Real(), reader.Real(), reader.Real()};
    }
    finding.trusted = reader.Flag();
    return finding;
}

void Write(Writer& writer, const Message& message) {
    std::visit(
        [&](const auto& value) {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, TaskBegun>) {
                writer.Number(value.index);
                writer.Time(value.at);
            } else if constexpr (std::is_same_v<Value, TaskProgress>) {
                writer.Byte(static_cast<std::size_t>(value.percent));
            } else if constexpr (std::is_same_v<Value, TaskFound>) {
                Write(writer, value.finding);
            } else if constexpr (std::is_same_v<Value, TaskEnded>) {
                writer.Byte(static_cast<std::size_t>(value.end));
                writer.Number(value.examined);
                writer.Number(value.notExamined);
                writer.Text(value.reason);
                writer.Time(value.at);
            } else if constexpr (std::is_same_v<Value, WorkerFailed>) {
                writer.Text(value.reason);
            }
        },
        message);
}

Message ReadMessage(Reader& reader) {
    switch (reader.Byte(std::variant_size_v<Message> - 1)) {
        case KindOf<TaskBegun>():
            return TaskBegun{reader.Number(), reader.Time()};
        case KindOf<TaskProgress>():
            return TaskProgress{static_cast<int>(reader.Byte(100))};
        case KindOf<TaskFound>():
            return TaskFound{ReadFinding(reader)};
        case KindOf<TaskEnded>():
            return TaskEnded{static_cast<NS_NORVEX::RuleEnd>(reader.Byte(NS_NORVEX::eRuleCrashed)),
                             reader.Number(kMostCount), reader.Number(kMostCount), reader.Text(), reader.Time()};
        case KindOf<CheckWaits>():
            return CheckWaits{};
        case KindOf<CheckGoesOn>():
            return CheckGoesOn{};
        case KindOf<FloorDone>():
            return FloorDone{};
        case KindOf<WorkerFailed>():
            return WorkerFailed{reader.Text()};
        default:
            return FloorEntered{};
    }
}

}  // namespace

std::string Encode(const Message& message) {
    std::string bytes(kLengthSize, '\0');
    Writer writer(bytes);
    writer.Byte(message.index());
    Write(writer, message);
    std::string length;
    Writer(length).Number(bytes.size() - kLengthSize, kLengthSize);
    bytes.replace(0, kLengthSize, length);
    return bytes;
}

void MessageReader::Add(std::string_view bytes) {
    m_bytes.erase(0, m_begin);
    m_begin = 0;
    m_bytes += bytes;
}

std::optional<Message> MessageReader::Next() {
    const std::string_view arrived = std::string_view(m_bytes).substr(m_begin);
    if (m_isBroken || arrived.size() < kLengthSize) {
        return std::nullopt;
    }
    const std::size_t length = Reader(arrived.substr(0, kLengthSize)).Number(~std::uint64_t{0}, kLengthSize);
    if (length > kMostMessageBytes) {
        m_isBroken = true;
        return std::nullopt;
    }
    if (arrived.size() - kLengthSize < length) {
        return std::nullopt;
    }
    m_size = kLengthSize + length;
    m_begin += m_size;
    Reader reader(arrived.substr(kLengthSize, length));
    Message message = ReadMessage(reader);
    if (!reader.IsRight()) {
        m_isBroken = true;
        return std::nullopt;
    }
    return message;
}

}  // namespace norvex::service::work
