// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace norvex::ifc {

enum class Severity : std::uint8_t { Note, Warning, Error };

// What a diagnostic is about. The words that DiagnosticCodeName() gives are stable; programs may compare them.
enum class DiagnosticCode : std::uint8_t {
    None,
    CannotOpen,           // the file does not exist, is a folder or cannot be read
    FileTooLarge,         // beyond 2^32-1 bytes, which this reader's index does not address
    EmptyFile,            // no byte, or nothing but blanks
    NotPart21,            // does not begin with ISO-10303-21
    NotIfc,               // FILE_SCHEMA names no IFC schema, or there is none
    NoInstances,          // the DATA sections hold no readable instance
    BrokenHeader,         // a header statement that could not be read
    BrokenInstance,       // an instance that could not be read; reading went on behind its ';'
    IdOutOfRange,         // an instance number of 2^32 or more, or zero
    DuplicateId,          // the number was taken already; the first instance counts
    TooDeep,              // brackets nested deeper than kMaxNesting
    UnterminatedString,   // the closing apostrophe is missing
    UnterminatedComment,  // the closing */ is missing
    Truncated,            // the file ends before END-ISO-10303-21
    BadText,              // a string with an escape that means nothing; kept as it stands
    DanglingReference,    // a number that no instance bears
    CyclicReference,      // a chain of placements or containers that comes back to itself
    BadUnit,              // the length unit is missing or not understood; millimetres are assumed
    NoStorey,             // elements that lie on no storey
    NoGeometry,           // segments whose ends are not known
    BadGeometry,          // a representation with values that are not numbers, or of size zero
    RepeatedGlobalId,     // one GlobalId on several elements
    BadPort,              // a port of no element, or a connection of ports that are none
    LimitReached,         // a bound of the reader was met; what lies beyond is not in the model
};

// One thing that a reader noticed about its input.
struct Diagnostic {
    Severity severity = Severity::Note;
    DiagnosticCode code = DiagnosticCode::None;
    // 1-based line and 0-based byte offset in the file; line 0: about the file as a whole.
    std::uint32_t line = 0;
    std::uint64_t offset = 0;
    // One sentence for a person, in English, without the place and without a final line break.
    std::string sentence;
};

// Returns: a stable word such as "broken-instance".
std::string_view DiagnosticCodeName(DiagnosticCode code);
// Returns: "note", "warning" or "error".
std::string_view SeverityName(Severity severity);

}  // namespace norvex::ifc
