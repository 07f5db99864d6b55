// SPDX-License-Identifier: Apache-2.0
#include "ifc/part21/ExchangeFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::ifc::part21 {
namespace {

constexpr std::string_view kHead = "ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n";
constexpr std::string_view kTail = "ENDSEC;\nEND-ISO-10303-21;\n";

// A file that was read, with what was said about it.
struct Read {
    explicit Read(std::string_view given, std::size_t limit = 100) : text(given), log(text, limit) {
        fatal = file.Read(text, log);
        said = log.Take();
    }

    std::string Codes() const {
        std::string codes;
        for (const Diagnostic& one : said) {
            codes += std::string(codes.empty() ? "" : " ") + std::string(DiagnosticCodeName(one.code)) + "@" +
                     std::to_string(one.line);
        }
        return codes;
    }
    std::string Ids() const {
        std::string ids;
        for (std::uint32_t i = 0; i < file.InstanceCount(); ++i) {
            ids += (ids.empty() ? "" : " ") + std::to_string(file.Id(i));
        }
        return ids;
    }

    std::string text;
    DiagnosticLog log;
    ExchangeFile file;
    std::optional<Diagnostic> fatal;
    std::vector<Diagnostic> said;
};

std::string Wrapped(std::string_view data) {
    return std::string(kHead) + std::string(data) + std::string(kTail);
}

TEST(Part21, ReadsInstancesHoweverTheyAreLaidOut) {
    const Read read(
        Wrapped("#1 = IFCA ( 1 , 'a;b' ) ;\n"
                "#2=IFCB(#1,/* ; */2);#3=IfcA(());\r\n"
                "#7\n=\nIFCC\n(\n$\n)\n;\n"
                "/* #8=IFCD(); */\n"
                "#4=(IFCX(1)IFCY('y') IFCZ());\n"));
    EXPECT_FALSE(read.fatal);
    EXPECT_EQ(read.Codes(), "");
    EXPECT_EQ(read.Ids(), "1 2 3 7 4");
    EXPECT_EQ(read.file.LostCount(), 0U);
    EXPECT_EQ(read.file.Schemas(), std::vector<std::string>{"IFC4"});
    EXPECT_EQ(read.file.Class(0), read.file.Class(2)) << "class names do not depend on case";
    EXPECT_EQ(read.file.ClassNames()[read.file.Class(3)], "IFCC");
    const std::uint32_t complex = read.file.Find(4);
    ASSERT_NE(complex, kNoInstance);
    EXPECT_EQ(read.file.ClassNames()[read.file.Class(complex)], "IFCX");
    EXPECT_EQ(read.file.Record(complex, "IFCY")->Next().Text(), "y");
    EXPECT_FALSE(read.file.Record(complex, "IFCQ"));
    EXPECT_EQ(read.file.Find(8), kNoInstance);
    EXPECT_EQ(read.text.substr(read.file.Offset(3), 2), "#7");
}

TEST(Part21, ReadsAllDataSectionsAndPassesOverOthers) {
    const Read read(
        "ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4X3_ADD2','X'));ENDSEC;"
        "ANCHOR;<a>=#1;ENDSEC;REFERENCE;#9=<http://x>;ENDSEC;"
        "DATA('one',('IFC4X3_ADD2'));#1=IFCA(1);ENDSEC;DATA('two',('X'));#2=IFCA(2);ENDSEC;"
        "SIGNATURE;abc(((ENDSEC;END-ISO-10303-21;#3=IFCA(3);");
    EXPECT_EQ(read.Codes(), "");
    EXPECT_EQ(read.Ids(), "1 2");
    EXPECT_EQ(read.file.Schemas(), (std::vector<std::string>{"IFC4X3_ADD2", "X"}));
}

TEST(Part21, FindsInstancesByNumberDenseOrSparse) {
    const Read dense(Wrapped("#3=IFCA(3);#1=IFCA(1);#2=IFCA(2);"));
    const Read sparse(Wrapped("#4294967295=IFCA(3);#100000000=IFCA(1);#5=IFCA(2);"));
    for (const Read* read : {&dense, &sparse}) {
        for (std::uint32_t i = 0; i < 3; ++i) {
            EXPECT_EQ(read->file.Find(read->file.Id(i)), i);
        }
        EXPECT_EQ(read->file.Find(0), kNoInstance);
        EXPECT_EQ(read->file.Find(77), kNoInstance);
    }
    EXPECT_LT(sparse.file.IndexBytes(), 4096U) << "a large number must not cost a large table";
}

struct BrokenCase {
    std::string_view what;
    std::string_view data;  // stands from line 6 on
    std::string_view ids;   // what must still be read
    std::uint64_t lost;
    std::string_view codes;  // code@line of each diagnostic
};

TEST(Part21, GoesOnBehindABrokenInstance) {
    const BrokenCase cases[] = {
        {"no equals sign", "#1=A(1);\n#2 A(2);\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"no class", "#1=A(1);\n#2=(2);\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"no arguments", "#1=A(1);\n#2=A;\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"bracket missing", "#1=A(1);\n#2=A((2);\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"bracket too many", "#1=A(1);\n#2=A(2));\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"semicolon missing", "#1=A(1);\n#2=A(2)\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"semicolon and bracket missing", "#1=A(1);\n#2=A(2\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"string not closed", "#1=A('1');\n#2=A('2);\n#3=A('3');\n#4=A('4');\n", "1 3 4", 1, "unterminated-string@7"},
        {"last string not closed", "#1=A('1');\n#2=A('2);\n#3=A(3);\n", "1 3", 1, "unterminated-string@7"},
        {"binary not closed", "#1=A(\"1\");\n#2=A(\"2);\n#3=A(3);\n", "1 3", 1, "unterminated-string@7"},
        {"comment not closed", "#1=A(1);\n#2=A(/*2);\n#3=A(3);\n", "1 3", 1, "unterminated-comment@7"},
        {"control byte", "#1=A(1);\n#2=A(\x01);\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"byte of a flipped keyword", "#1=A(1);\n#2=A\xC1(2);\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"number too large", "#1=A(1);\n#4294967296=A(2);\n#3=A(3);\n", "1 3", 1, "id-out-of-range@7"},
        {"number far too large", "#1=A(1);\n#99999999999999999999999999=A(2);\n#3=A(3);\n", "1 3", 1,
         "id-out-of-range@7"},
        {"number zero", "#1=A(1);\n#0=A(2);\n#3=A(3);\n", "1 3", 1, "id-out-of-range@7"},
        {"number taken", "#1=A(1);\n#1=A(2);\n#3=A(3);\n", "1 1 3", 1, "duplicate-id@7"},
        {"noise", "#1=A(1);\n)))%&/\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"noise on the line", "#1=A(1);\n@!? #2=A(2);\n#3=A(3);\n", "1 3", 1, "broken-instance@7"},
        {"two of them", "#1=A(1;\n#2=A(2;\n#3=A(3);\n", "3", 2, "broken-instance@6 broken-instance@7"},
    };
    for (const BrokenCase& one : cases) {
        const Read read(Wrapped(one.data));
        EXPECT_FALSE(read.fatal) << one.what;
        EXPECT_EQ(read.Ids(), one.ids) << one.what;
        EXPECT_EQ(read.file.LostCount(), one.lost) << one.what;
        EXPECT_EQ(read.Codes(), one.codes) << one.what;
    }
}

TEST(Part21, SaysWhereAnInstanceBrokeAndWhatWasLost) {
    const std::string text = Wrapped("#1=A(1);\n#2=A(2;\n#3=A(3);\n");
    const Read read(text);
    ASSERT_EQ(read.said.size(), 1U);
    EXPECT_EQ(read.said[0].offset, text.find("#2="));
    EXPECT_EQ(read.said[0].line, 7U);
    EXPECT_EQ(read.said[0].severity, Severity::Warning);
    EXPECT_EQ(read.said[0].sentence, "Instance #2 has brackets that do not match (noticed at byte " +
                                         std::to_string(text.find("2;") + 1) + "); it is lost.");
}

TEST(Part21, KeepsTheFirstInstanceOfANumber) {
    const Read read(Wrapped("#1=A('first');#1=A('second');"));
    const std::uint32_t index = read.file.Find(1);
    ASSERT_NE(index, kNoInstance);
    EXPECT_EQ(read.file.Arguments(index).Next().Text(), "first");
}

TEST(Part21, SaysWhenAFileIsCutOff) {
    const std::string whole = Wrapped("#1=A(1);\n#2=A('2');\n");
    const Read atInstance(whole.substr(0, whole.find("'2'")));
    EXPECT_EQ(atInstance.Ids(), "1");
    EXPECT_EQ(atInstance.Codes(), "truncated@7 truncated@7");
    const Read atEnd(whole.substr(0, whole.find("ENDSEC", whole.find("DATA"))));
    EXPECT_EQ(atEnd.Ids(), "1 2");
    EXPECT_EQ(atEnd.Codes(), "truncated@8");
}

struct FatalCase {
    std::string_view text;
    DiagnosticCode code;
    std::uint32_t line;
};

TEST(Part21, RefusesWhatIsNoExchangeFile) {
    const FatalCase cases[] = {
        {"", DiagnosticCode::EmptyFile, 1},
        {" \r\n\t\n", DiagnosticCode::EmptyFile, 3},
        {"\xEF\xBB\xBF", DiagnosticCode::EmptyFile, 1},
        {"/* never closed", DiagnosticCode::UnterminatedComment, 1},
        {"<?xml version='1.0'?>", DiagnosticCode::NotPart21, 1},
        {"PK\x03\x04", DiagnosticCode::NotPart21, 1},
        {"\n\nISO-10303-2", DiagnosticCode::NotPart21, 3},
        {"I\0S\0O\0", DiagnosticCode::NotPart21, 1},
    };
    for (const FatalCase& one : cases) {
        const Read read(one.text);
        ASSERT_TRUE(read.fatal) << one.text;
        EXPECT_EQ(read.fatal->code, one.code) << one.text;
        EXPECT_EQ(read.fatal->line, one.line) << one.text;
        EXPECT_FALSE(read.fatal->sentence.empty());
    }
    EXPECT_FALSE(Read("\xEF\xBB\xBF /* by hand */ iso-10303-21;DATA;#1=A();ENDSEC;END-ISO-10303-21;").fatal);
}

TEST(Part21, BoundsAMillionNestedBrackets) {
    const std::string open(1'000'000, '(');
    const std::string close(1'000'000, ')');
    const Read read(Wrapped("#1=A(1);\n#2=A" + open + close + ";\n#3=A" + open + ";\n#4=A(4);\n"));
    EXPECT_EQ(read.Ids(), "1 4");
    EXPECT_EQ(read.Codes(), "too-deep@7 too-deep@8");
    const Read allowed(Wrapped("#1=A" + open.substr(0, kMaxNesting) + close.substr(0, kMaxNesting) + ";"));
    EXPECT_EQ(allowed.Ids(), "1");
}

TEST(Part21, KeepsABoundedNumberOfDiagnosticsAndCountsAll) {
    std::string data;
    for (int i = 1; i <= 5000; ++i) {
        data += "#" + std::to_string(i) + "=A(;\n";
    }
    Read read(Wrapped(data), 40);
    EXPECT_EQ(read.said.size(), 10U) << "one code may take a quarter of the room";
    EXPECT_EQ(read.log.Total(Severity::Warning), 5000U);
    EXPECT_EQ(read.file.LostCount(), 5000U);
}

// Each of these makes a reader that goes back to where an instance began read the rest of the text again and again.
// A quadratic reader needs hours here.
TEST(Part21, StaysLinearOnHostileText) {
    const auto repeated = [](std::string_view unit, std::size_t bytes) {
        std::string text;
        while (text.size() < bytes) {
            text += unit;
        }
        return text;
    };
    constexpr std::size_t kBytes = 3'000'000;
    const std::string hostile[] = {
        repeated("#1=A(/*;\n", kBytes), repeated("#1=A(/*;\n", kBytes) + "*/" + repeated("1,", kBytes),
        repeated("#1=A('';\n", kBytes), "#1=A('x;\n" + repeated("#1=A('';\n", kBytes),
        repeated("#1=A(\";\n", kBytes), repeated("#1=A((((;\n", kBytes),
        repeated("\n#1=", kBytes),      repeated("\n#111111111111111", kBytes),
        repeated(";#", kBytes),         repeated("FILE_X(;", kBytes),
        repeated("ANCHOR;", kBytes),    repeated("/", kBytes),
        std::string(kBytes, '\''),      std::string(kBytes, '\0'),
    };
    for (const std::string& data : hostile) {
        const Read read(std::string(kHead) + data);
        EXPECT_LE(read.said.size(), 100U);
        EXPECT_GT(read.log.Total(Severity::Warning), 0U);
    }
}

// Skipping takes a shorter way than reading, to the same place, whatever the text.
TEST(Values, AreSkippedAsTheyAreRead) {
    const std::vector<std::string> pieces = {",",      ",", ",",       "$",       "*",
                                             "#12",    "#", "'it''s'", "'",       "(1,(2,'),'))",
                                             "(",      ")", "1.5",     ".T.",     "IFCLABEL('x')",
                                             "\"0F\"", " ", "\n",      "/* , */", "/*",
                                             ";",      "",  "x",       "+",       "#3x"};
    std::minstd_rand random(7);
    for (int round = 0; round < 20'000; ++round) {
        std::string text;
        const std::size_t count = random() % 12;
        for (std::size_t i = 0; i < count; ++i) {
            text += pieces[random() % pieces.size()];
        }
        for (std::size_t skipped = 0; skipped < 8; ++skipped) {
            ValueCursor read(text);
            ValueKind last = ValueKind::Null;
            for (std::size_t i = 0; i < skipped && last != ValueKind::Missing; ++i) {
                last = read.Next().kind;
            }
            ValueCursor passed(text);
            passed.Skip(skipped);
            const Value expected = read.Next();
            const Value value = passed.Next();
            ASSERT_EQ(value.kind, expected.kind) << text << ", " << skipped << " skipped";
            ASSERT_EQ(value.text.data(), expected.text.data()) << text << ", " << skipped << " skipped";
            ASSERT_EQ(value.text.size(), expected.text.size()) << text << ", " << skipped << " skipped";
        }
    }
}

}  // namespace
}  // namespace norvex::ifc::part21
