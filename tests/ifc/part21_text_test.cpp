// SPDX-License-Identifier: Apache-2.0
#include "ifc/part21/Text.h"
#include "ifc/part21/Value.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace norvex::ifc::part21 {
namespace {

struct TextCase {
    std::string_view encoded;
    std::string_view utf8;
    bool bad = false;
};

TEST(Part21Text, DecodesWhatTheStandardAndTheWildWrite) {
    using namespace std::string_view_literals;
    const TextCase cases[] = {
        {"plain", "plain"},
        {"", ""},
        {"it''s", "it's"},
        {R"(a\\b)", R"(a\b)"},
        {R"(W\X\E4rme)", "Wärme"},
        {R"(W\S\drme)", "Wärme"},
        {R"(\X2\041204430440043E\X0\ 1)", "Вуро 1"},
        {R"(\X2\D83DDD25\X0\)", "🔥"},
        {R"(\X4\0001F5250000007A\X0\)", "🔥z"},
        {R"(\PE\\S\0)", "А"},
        {R"(\PG\\S\Q)", "Ρ"},
        {"W\xC3\xA4rme", "Wärme"},
        {"W\xE4rme", "Wärme"},
        {"W\xE4rme \xC3\xA4", "Wärme Ã¤"},
        {R"(\X2\D83D\X0\!)", "\xEF\xBF\xBD!"},
        {R"(\X4\00110000\X0\)", "\xEF\xBF\xBD"},
        {"a\0b"sv,
         "a\xEF\xBF\xBD"
         "b"},
        {R"(C:\Temp\x)", R"(C:\Temp\x)", true},
        {R"(\X2\0041)", "A", true},
        {R"(\X\G4)", R"(\X\G4)", true},
        {R"(end\)", R"(end\)", true},
    };
    for (const TextCase& one : cases) {
        bool bad = false;
        EXPECT_EQ(DecodeText(one.encoded, &bad), one.utf8) << one.encoded;
        EXPECT_EQ(bad, one.bad) << one.encoded;
    }
}

TEST(Part21Value, ReadsEveryKindOfArgument) {
    ValueCursor cursor(
        R"(#12,'it''s', 3 ,-4.5E1,.T.,$,*,(1,(2,3)),IFCLABEL('x'),"1F3", /* no comma here: , */ 7,IFCREAL ( 2. ) );)");
    EXPECT_EQ(cursor.Next().Reference(), 12U);
    EXPECT_EQ(cursor.Next().Text(), "it's");
    EXPECT_EQ(cursor.Next().Integer(), 3);
    EXPECT_EQ(cursor.Next().Number(), -45.0);
    EXPECT_EQ(cursor.Next().Word(), "T");
    EXPECT_EQ(cursor.Next().kind, ValueKind::Null);
    EXPECT_EQ(cursor.Next().kind, ValueKind::Derived);
    const Value list = cursor.Next();
    ValueCursor members = Members(list);
    EXPECT_EQ(members.Next().Integer(), 1);
    EXPECT_EQ(members.Next().text, "2,3");
    EXPECT_EQ(members.Next().kind, ValueKind::Missing);
    const Value label = cursor.Next();
    EXPECT_EQ(label.TypeName(), "IFCLABEL");
    EXPECT_EQ(label.Text(), "x");
    const Value binary = cursor.Next();
    EXPECT_EQ(binary.kind, ValueKind::Binary);
    EXPECT_EQ(binary.text, "1F3");
    EXPECT_EQ(cursor.Next().Integer(), 7);
    EXPECT_EQ(cursor.Next().Number(), 2.0);
    EXPECT_EQ(cursor.Next().kind, ValueKind::Missing);
    EXPECT_EQ(cursor.Next().kind, ValueKind::Missing);
}

TEST(Part21Value, ReadsNumbersAsExportersWriteThem) {
    const auto number = [](std::string_view text) { return ValueCursor(text).Next().Number(); };
    EXPECT_EQ(number("1."), 1.0);
    EXPECT_EQ(number("+1.5"), 1.5);
    EXPECT_EQ(number("-.5"), -0.5);
    EXPECT_EQ(number("6.E-1"), 0.6);
    EXPECT_EQ(number("1e3"), 1000.0);
    EXPECT_EQ(number("1.E-400"), 0.0);
    EXPECT_EQ(number("1.E400"), std::nullopt);
    EXPECT_EQ(number("-1.E400"), std::nullopt);
    EXPECT_EQ(number("1" + std::string(500, '0') + ".E-5"), std::nullopt);
    EXPECT_EQ(number("1" + std::string(500, '0') + ".E-999"), 0.0);
    EXPECT_EQ(number("0." + std::string(500, '0') + "1"), 0.0);
    EXPECT_EQ(number("-0." + std::string(500, '0') + "1E+9"), 0.0);
    EXPECT_EQ(number("0." + std::string(500, '0') + "1E999"), std::nullopt);
    EXPECT_EQ(number("1.E99999999999999999999"), std::nullopt);
    EXPECT_EQ(number("1.E-99999999999999999999"), 0.0);
    EXPECT_EQ(number("1.2.3"), std::nullopt);
    EXPECT_EQ(number("nan"), std::nullopt);
    EXPECT_EQ(number("'1'"), std::nullopt);
}

TEST(Part21Value, GivesNothingForWhatIsBroken) {
    ValueCursor cursor("abc,,'open");
    EXPECT_EQ(cursor.Next().kind, ValueKind::Broken);
    EXPECT_EQ(cursor.Next().kind, ValueKind::Broken);
    const Value open = cursor.Next();
    EXPECT_EQ(open.kind, ValueKind::Broken);
    EXPECT_EQ(open.Text(), "");
    EXPECT_EQ(cursor.Next().kind, ValueKind::Missing);
    EXPECT_EQ(ValueCursor("#99999999999").Next().Reference(), 0U);
    EXPECT_EQ(ValueCursor("#").Next().Reference(), 0U);
}

}  // namespace
}  // namespace norvex::ifc::part21
