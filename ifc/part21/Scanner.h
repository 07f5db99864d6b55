// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/part21/ExchangeFile.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::ifc::part21 {

// One pass over the text of an exchange file that fills its index. Takes time linear in the text whatever it holds.
class Scanner {
  public:
    Scanner(std::string_view text, ExchangeFile& file, DiagnosticLog& log);

    // Returns: the fatal diagnostic, if any.
    std::optional<Diagnostic> Scan();

  private:
    enum class Outcome : std::uint8_t {
        Done,
        MissingEquals,
        MissingClass,
        BadByte,
        StrayEquals,
        StrayEnd,
        Unbalanced,
        TooDeep,
        UnterminatedString,
        UnterminatedComment,
        IdOutOfRange,
        EndOfFile,
    };

    std::optional<Diagnostic> ScanMagic();
    void ScanStatements();
    bool ScanKeywordStatement();
    bool ScanHeaderStatement(std::string_view keyword);
    void ScanInstance();
    Outcome ScanInstanceText(std::uint32_t& id, std::size_t& open, ClassId& classId);
    Outcome ScanRecord(std::size_t& open, ClassId& classId);
    Outcome ScanComplex(std::size_t& open, ClassId& classId);
    Outcome ScanBrackets();
    Outcome ScanTail();
    Outcome PassString();
    Outcome PassBlanks();
    void NoteGap(const char* from);
    void TellBroken(Outcome outcome, std::size_t begin, std::size_t problem);
    void Resynchronise(std::size_t begin);
    bool LooksLikeStatement(std::size_t at) const;
    void SkipSection(std::size_t from);
    ClassId Intern(const char* begin, std::size_t size);
    void GrowClassTable();
    Diagnostic Fatal(DiagnosticCode code, std::size_t offset, std::string sentence);

    std::string_view text_;
    ExchangeFile& file_;
    DiagnosticLog& log_;
    const char* begin_;
    const char* at_;
    const char* end_;
    // Bytes that were read twice because a broken instance was left behind where it began. Bounded, so that no input
    // costs more than a few passes.
    std::size_t reread_ = 0;
    // No comment that opens here or later is ever closed.
    const char* unclosedComments_ = nullptr;
    // The comment that was passed last: when it is met again its end is known.
    const char* commentBegin_ = nullptr;
    const char* commentEnd_ = nullptr;
    bool sawEnd_ = false;
    bool sawHeader_ = false;
    std::vector<ClassId> classTable_;
};

}  // namespace norvex::ifc::part21
