// SPDX-License-Identifier: Apache-2.0
#include "report/page/Packer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

using namespace norvex::report::page;

namespace {

std::string Hex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        for (const unsigned shift : {4U, 0U}) {
            text += "0123456789abcdef"[static_cast<std::uint8_t>(byte) >> shift & 15U];
        }
    }
    return text;
}

std::string Unsigned(std::uint64_t value) {
    ByteWriter writer;
    writer.Unsigned(value);
    return Hex(writer.Data());
}

std::string Signed(std::int64_t value) {
    ByteWriter writer;
    writer.Signed(value);
    return Hex(writer.Data());
}

}  // namespace

TEST(ByteWriter, WritesSevenBitsPerByteLeastFirst) {
    EXPECT_EQ(Unsigned(0), "00");
    EXPECT_EQ(Unsigned(127), "7f");
    EXPECT_EQ(Unsigned(128), "8001");
    EXPECT_EQ(Unsigned(300), "ac02");
    EXPECT_EQ(Unsigned(std::numeric_limits<std::uint64_t>::max()), "ffffffffffffffffff01");
}

TEST(ByteWriter, KeepsSmallNegativeNumbersSmall) {
    EXPECT_EQ(Signed(0), "00");
    EXPECT_EQ(Signed(-1), "01");
    EXPECT_EQ(Signed(1), "02");
    EXPECT_EQ(Signed(-64), "7f");
    EXPECT_EQ(Signed(64), "8001");
    EXPECT_EQ(Signed(std::numeric_limits<std::int64_t>::min()), "ffffffffffffffffff01");
}

TEST(StringTable, HoldsEachTextOnceAndTheEmptyOneFirst) {
    StringTable texts;
    EXPECT_EQ(texts.Index("管"), 1U);
    EXPECT_EQ(texts.Index(""), 0U);
    EXPECT_EQ(texts.Index("b"), 2U);
    EXPECT_EQ(texts.Index("管"), 1U);
    ByteWriter out;
    texts.Write(out);
    EXPECT_EQ(Hex(out.Data()), "03000301e7aea162");
}

TEST(PackGlobalId, TurnsTwentyTwoDigitsIntoSixteenBytes) {
    EXPECT_EQ(Hex(PackGlobalId("0000000000000000000000")), "00000000000000000000000000000000");
    EXPECT_EQ(Hex(PackGlobalId("3$$$$$$$$$$$$$$$$$$$$$")), "ffffffffffffffffffffffffffffffff");
    EXPECT_EQ(Hex(PackGlobalId("1000000000000000000001")), "40000000000000000000000000000001");
}

TEST(PackGlobalId, LeavesOtherTextsToTheirCaller) {
    EXPECT_EQ(PackGlobalId(""), "");
    EXPECT_EQ(PackGlobalId("000000000000000000000"), "");
    EXPECT_EQ(PackGlobalId("4000000000000000000000"), "") << "more than 128 bits";
    EXPECT_EQ(PackGlobalId("000000000000000000000<"), "");
}

TEST(Encode85, WritesFiveCharactersForFourBytes) {
    EXPECT_EQ(Encode85(""), "");
    EXPECT_EQ(Encode85(std::string(4, '\0')), "00000");
    EXPECT_EQ(Encode85("\xff\xff\xff\xff"), "%nSc0");
    EXPECT_EQ(Encode85("a").size(), 2U);
    EXPECT_EQ(Encode85("abcdefg").size(), 9U);
}

TEST(Encode85, HoldsNothingThatHtmlReads) {
    std::string bytes;
    for (unsigned value = 0; value < 0x20000U; ++value) {
        bytes.push_back(static_cast<char>(static_cast<std::uint8_t>(value * 2654435761U >> 24U)));
    }
    const std::string text = Encode85(bytes);
    EXPECT_EQ(text.find_first_of("<>&\"'\\ \r\n"), std::string::npos);
    for (const char character : text) {
        ASSERT_TRUE(character > ' ' && character < 127) << static_cast<int>(character);
    }
}
