// SPDX-License-Identifier: Apache-2.0
#include "service/work/Wire.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <random>

namespace {

using namespace norvex::service;
using namespace norvex::service::work;

const Moment kMoment(std::chrono::nanoseconds(123'456'789));

FindingRecord WholeFinding() {
    FindingRecord finding;
    finding.category = "建模合理性";
    finding.subCategory = "管道闭合成环";
    finding.severity = Severity::Remind;
    finding.sentence = std::string("with a null \0 inside", 20);
    finding.location = "定位:构件定位:1:构件错误:1F";
    finding.featureCode = "_0123";
    finding.objects = {{"1F", "guid", "name", "管道"}, {"20", "", "", ""}};
    finding.place = Place{1.5, -0.0, 1e300};
    finding.trusted = true;
    return finding;
}

TEST(Wire, BringsAFindingOverWhole) {
    MessageReader reader;
    reader.Add(Encode(TaskFound{WholeFinding()}));
    const auto message = reader.Next();
    ASSERT_TRUE(message.has_value());
    const FindingRecord& arrived = std::get<TaskFound>(*message).finding;
    const FindingRecord sent = WholeFinding();
    EXPECT_EQ(arrived.category, sent.category);
    EXPECT_EQ(arrived.subCategory, sent.subCategory);
    EXPECT_EQ(arrived.severity, sent.severity);
    EXPECT_EQ(arrived.sentence, sent.sentence);
    EXPECT_EQ(arrived.location, sent.location);
    EXPECT_EQ(arrived.featureCode, sent.featureCode);
    EXPECT_TRUE(arrived.trusted);
    ASSERT_EQ(arrived.objects.size(), 2U);
    EXPECT_EQ(arrived.objects[0].handle, "1F");
    EXPECT_EQ(arrived.objects[0].globalId, "guid");
    EXPECT_EQ(arrived.objects[0].name, "name");
    EXPECT_EQ(arrived.objects[0].subCategory, "管道");
    ASSERT_TRUE(arrived.place.has_value());
    EXPECT_EQ(arrived.place->x, 1.5);
    EXPECT_TRUE(std::signbit(arrived.place->y));
    EXPECT_EQ(arrived.place->z, 1e300);
}

TEST(Wire, BringsEveryKindOverInAnyPieces) {
    const std::string bytes = Encode(FloorEntered{}) + Encode(TaskBegun{70000, kMoment}) + Encode(TaskProgress{99}) +
                              Encode(TaskEnded{NS_NORVEX::eRuleTrusted, 3, 4, "because", kMoment}) +
                              Encode(CheckWaits{}) + Encode(CheckGoesOn{}) + Encode(FloorDone{});
    for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
        MessageReader reader;
        std::vector<Message> arrived;
        for (std::size_t begin = 0; begin < bytes.size(); begin += piece) {
            reader.Add(std::string_view(bytes).substr(begin, piece));
            while (auto message = reader.Next()) {
                arrived.push_back(std::move(*message));
            }
        }
        ASSERT_EQ(arrived.size(), 7U) << piece;
        EXPECT_EQ(std::get<TaskBegun>(arrived[1]).index, 70000U);
        EXPECT_EQ(std::get<TaskBegun>(arrived[1]).at, kMoment);
        EXPECT_EQ(std::get<TaskEnded>(arrived[3]).at, kMoment);
        EXPECT_EQ(std::get<TaskProgress>(arrived[2]).percent, 99);
        EXPECT_EQ(std::get<TaskEnded>(arrived[3]).end, NS_NORVEX::eRuleTrusted);
        EXPECT_EQ(std::get<TaskEnded>(arrived[3]).examined, 3U);
        EXPECT_EQ(std::get<TaskEnded>(arrived[3]).notExamined, 4U);
        EXPECT_EQ(std::get<TaskEnded>(arrived[3]).reason, "because");
        EXPECT_TRUE(std::holds_alternative<FloorEntered>(arrived[0]));
        EXPECT_TRUE(std::holds_alternative<CheckWaits>(arrived[4]));
        EXPECT_TRUE(std::holds_alternative<CheckGoesOn>(arrived[5]));
        EXPECT_TRUE(std::holds_alternative<FloorDone>(arrived[6]));
    }
}

TEST(Wire, NobodyHasSeenTheFuture) {
    MessageReader reader;
    reader.Add(Encode(TaskBegun{1, Moment::max()}));
    const Moment arrived = std::get<TaskBegun>(*reader.Next()).at;
    EXPECT_LE(arrived, std::chrono::steady_clock::now());
}

TEST(Wire, TakesNoHarmFromBytesThatAreNoMessage) {
    std::mt19937 random(7);
    for (int round = 0; round < 20'000; ++round) {
        std::string bytes = Encode(TaskFound{WholeFinding()});
        for (unsigned change = 0; change <= random() % 4; ++change) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        MessageReader reader;
        reader.Add(bytes);
        while (reader.Next()) {
        }
    }
}

// A message of any content.
std::string Framed(std::string_view content) {
    std::string bytes;
    for (unsigned i = 0; i < 4; ++i) {
        bytes += static_cast<char>(content.size() >> (8 * i));
    }
    return bytes.append(content);
}

// Whether the reader takes it for a message; if not, it must have seen that it is none.
bool IsTaken(const std::string& bytes) {
    MessageReader reader;
    reader.Add(bytes);
    const bool isTaken = reader.Next().has_value();
    EXPECT_NE(isTaken, reader.IsBroken());
    return isTaken;
}

TEST(Wire, RefusesWhatGeneralFormatsNestWithoutEnd) {
    for (const char first : {'\x81', '\x9F', '\x7F', '\x5F', '\xA1', '\xBF', '\xC1', '[', '{', '(', '\0', '\x03'}) {
        EXPECT_FALSE(IsTaken(Framed(std::string(1'000'000, first)))) << static_cast<int>(first);
    }
}

TEST(Wire, RefusesNumbersOfOtherFormats) {
    // Lists of a number that is none, negative, far too large, and of a text, in a well-known binary format.
    for (const std::string& content :
         {std::string("\x82\xFA\x7F\xC0\0\0\xF4", 7), std::string("\x82\xFA\x61\x61\x9E\x54\xF4"),
          std::string("\x82\x20\xF4"), std::string("\x82\xFB\x7E\x37\xE4\x3C\x88\x00\x75\x9C\xF4", 11),
          std::string("\x82\x61\x33\xF4"), std::string("\xA2\x00\x01\x00\x02", 5)}) {
        EXPECT_FALSE(IsTaken(Framed(content)));
    }
}

TEST(Wire, RefusesEveryValueThatIsOutOfBounds) {
    const auto isEndTaken = [](const TaskEnded& end) { return IsTaken(Encode(end)); };
    const auto isFindingTaken = [](const auto& change) {
        FindingRecord finding = WholeFinding();
        change(finding);
        return IsTaken(Encode(TaskFound{finding}));
    };
    constexpr std::size_t kMost = std::numeric_limits<int>::max();
    EXPECT_TRUE(IsTaken(Encode(TaskProgress{100})));
    EXPECT_FALSE(IsTaken(Encode(TaskProgress{101})));
    EXPECT_FALSE(IsTaken(Encode(TaskProgress{-1})));
    EXPECT_TRUE(isEndTaken({NS_NORVEX::eRuleCrashed, kMost, kMost, "", kMoment}));
    EXPECT_FALSE(isEndTaken({static_cast<NS_NORVEX::RuleEnd>(4), 0, 0, "", kMoment}));
    EXPECT_FALSE(isEndTaken({static_cast<NS_NORVEX::RuleEnd>(-1), 0, 0, "", kMoment}));
    EXPECT_FALSE(isEndTaken({NS_NORVEX::eRuleDone, kMost + 1, 0, "", kMoment}));
    EXPECT_FALSE(isEndTaken({NS_NORVEX::eRuleDone, 0, ~std::size_t{0}, "", kMoment}));
    EXPECT_FALSE(isEndTaken({NS_NORVEX::eRuleDone, 0, 0, "\xFF", kMoment}));
    EXPECT_FALSE(IsTaken(Encode(TaskBegun{1, Moment(std::chrono::nanoseconds(-1))})));
    EXPECT_FALSE(IsTaken(Encode(TaskBegun{1, Moment::min()})));
    EXPECT_TRUE(isFindingTaken([](FindingRecord&) {}));
    EXPECT_FALSE(isFindingTaken([](FindingRecord& f) { f.severity = static_cast<Severity>(3); }));
    // Cut off, overlong, half of a surrogate pair, beyond Unicode.
    for (const char* text : {"\xE7\xBB", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80"}) {
        EXPECT_FALSE(isFindingTaken([&](FindingRecord& f) { f.sentence = text; })) << text;
        EXPECT_FALSE(isFindingTaken([&](FindingRecord& f) { f.objects[1].name = text; })) << text;
    }
    for (const double number : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                                -std::numeric_limits<double>::infinity()}) {
        EXPECT_FALSE(isFindingTaken([&](FindingRecord& f) { f.place->y = number; }));
    }
}

TEST(Wire, RefusesListsAndTextsThatAreLongerThanTheirMessage) {
    std::string bytes = Encode(TaskFound{{}});
    const std::string whole = bytes;
    // Kind and severity are single bytes; lengths and counts lie between.
    for (const std::size_t at : {5U, 9U, 14U, 18U, 22U, 26U}) {
        for (const char highest : {'\x7F', '\xFF', '\x01'}) {
            bytes = whole;
            bytes.at(at + 3) = highest;
            EXPECT_FALSE(IsTaken(bytes)) << at;
        }
    }
}

std::vector<std::string> OneOfEach() {
    return {Encode(FloorEntered{}),
            Encode(TaskBegun{70000, kMoment}),
            Encode(TaskProgress{99}),
            Encode(TaskFound{WholeFinding()}),
            Encode(TaskEnded{NS_NORVEX::eRuleTrusted, 3, 4, "because", kMoment}),
            Encode(CheckWaits{}),
            Encode(CheckGoesOn{}),
            Encode(FloorDone{}),
            Encode(WorkerFailed{"no thread"})};
}

TEST(Wire, RefusesAMessageWithAByteTooFewOrTooMany) {
    for (const std::string& bytes : OneOfEach()) {
        const std::string content = bytes.substr(4);
        EXPECT_TRUE(IsTaken(Framed(content)));
        EXPECT_FALSE(IsTaken(Framed(content + '\0')));
        for (std::size_t length = 0; length < content.size(); ++length) {
            EXPECT_FALSE(IsTaken(Framed(content.substr(0, length)))) << length;
        }
    }
}

// There is one way to write a message: what is taken is written again as it came. Moments are kept out of the future.
TEST(Wire, TakesOnlyWhatAWorkerCouldHaveWritten) {
    for (const std::string& bytes : OneOfEach()) {
        for (std::size_t at = 4; at < bytes.size(); ++at) {
            for (int value = 0; value < 256; ++value) {
                std::string changed = bytes;
                changed[at] = static_cast<char>(value);
                MessageReader reader;
                reader.Add(changed);
                if (const auto message = reader.Next()) {
                    const bool hasMoment =
                        std::holds_alternative<TaskBegun>(*message) || std::holds_alternative<TaskEnded>(*message);
                    ASSERT_TRUE(hasMoment || Encode(*message) == changed) << at << ' ' << value;
                    ASSERT_EQ(Encode(*message).size(), changed.size());
                    ASSERT_EQ(reader.Size(), changed.size());
                }
            }
        }
    }
}

TEST(Wire, RefusesALengthThatNoMessageHas) {
    MessageReader reader;
    reader.Add("\xFF\xFF\xFF\xFF");
    EXPECT_FALSE(reader.Next().has_value());
    EXPECT_TRUE(reader.IsBroken());
}

}  // namespace
