// SPDX-License-Identifier: Apache-2.0
#include "service/work/Wire.h"

#include <gtest/gtest.h>

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

TEST(Wire, RefusesALengthThatNoMessageHas) {
    MessageReader reader;
    reader.Add("\xFF\xFF\xFF\xFF");
    EXPECT_FALSE(reader.Next().has_value());
    EXPECT_TRUE(reader.IsBroken());
}

}  // namespace
