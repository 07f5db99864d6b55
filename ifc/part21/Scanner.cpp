// SPDX-License-Identifier: Apache-2.0
#include "ifc/part21/Scanner.h"

#include "ifc/LargePages.h"
#include "ifc/part21/CharClass.h"

#include <algorithm>
#include <cstring>

namespace norvex::ifc::part21 {

namespace {

constexpr std::string_view kMagic = "ISO-10303-21";
constexpr std::string_view kEndMagic = "END-ISO-10303-21";

// More classes than any schema has; beyond it the text is no model but noise.
constexpr std::size_t kMaxClasses = 0x4000;
// No EXPRESS schema has a longer name.
constexpr std::size_t kMaxClassName = 128;
// Schema names are identifiers.
constexpr std::size_t kMaxSchemaName = kMaxClassName;
// Passes over the text that broken instances may cost before the reader stops going back to where they began.
constexpr std::size_t kRereadPasses = 4;

bool EqualsUpper(std::string_view text, std::string_view upper) {
    return text.size() == upper.size() &&
           std::equal(text.begin(), text.end(), upper.begin(), [](char a, char b) { return ToUpper(a) == b; });
}

// How the instance that begins at the front of `text` is shown in a sentence: by its number as it stands.
std::string InstanceLabel(std::string_view text) {
    constexpr std::size_t kShown = 24;
    std::size_t size = 1;
    while (size < text.size() && size < kShown && IsDigit(text[size])) {
        ++size;
    }
    return size == 1 ? std::string("An instance") : "Instance " + std::string(text.substr(0, size));
}

}  // namespace

Scanner::Scanner(std::string_view text, ExchangeFile& file, DiagnosticLog& log)
    : text_(text), file_(file), log_(log), begin_(text.data()), at_(text.data()), end_(text.data() + text.size()) {
}

std::optional<Diagnostic> Scanner::Scan() {
    if (std::optional<Diagnostic> fatal = ScanMagic()) {
        return fatal;
    }
    // A typical instance takes fifty bytes and more. Memory that stays unused is never touched.
    const std::size_t expected = text_.size() / 40 + 16;
    ReserveInLargePages(file_.ids_, expected);
    ReserveInLargePages(file_.offsets_, expected);
    ReserveInLargePages(file_.classes_, expected);
    GrowClassTable();
    ScanStatements();
    if (!sawEnd_) {
        file_.isCutOff_ = true;
        log_.Add(Severity::Warning, DiagnosticCode::Truncated, text_.size(),
                 "The file ends without " + std::string(kEndMagic) + "; what may have followed is lost.");
    }
    return std::nullopt;
}

Diagnostic Scanner::Fatal(DiagnosticCode code, std::size_t offset, std::string sentence) {
    return {Severity::Error, code, log_.LineAt(offset), offset, std::move(sentence)};
}

std::optional<Diagnostic> Scanner::ScanMagic() {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text_.starts_with(kByteOrderMark)) {
        at_ += kByteOrderMark.size();
    }
    if (PassBlanks() == Outcome::UnterminatedComment) {
        return Fatal(DiagnosticCode::UnterminatedComment, static_cast<std::size_t>(at_ - begin_),
                     "A comment before the first statement is never closed; nothing could be read.");
    }
    const auto offset = static_cast<std::size_t>(at_ - begin_);
    if (at_ == end_) {
        return Fatal(DiagnosticCode::EmptyFile, offset, "The file is empty.");
    }
    const std::string_view rest = text_.substr(offset);
    if (!EqualsUpper(rest.substr(0, kMagic.size()), kMagic)) {
        return Fatal(DiagnosticCode::NotPart21, offset,
                     "The file does not begin with " + std::string(kMagic) +
                         "; it is not a STEP physical file (IFC-XML and zipped IFC are not read).");
    }
    at_ += kMagic.size();
    if (PassBlanks() == Outcome::Done && at_ < end_ && *at_ == ';') {
        ++at_;
    }
    return std::nullopt;
}

void Scanner::ScanStatements() {
    for (;;) {
        const char* before = at_;
        if (PassBlanks() == Outcome::UnterminatedComment) {
            NoteGap(before);
            log_.Add(Severity::Warning, DiagnosticCode::UnterminatedComment, static_cast<std::size_t>(at_ - begin_),
                     "A comment is never closed; everything behind it is lost.");
            ++file_.lost_;
            return;
        }
        if (at_ == end_) {
            NoteGap(before);
            return;
        }
        if (*at_ != '#' || static_cast<std::size_t>(at_ - before) > ExchangeFile::kTightBytes) {
            NoteGap(before);
        }
        if (*at_ == '#') {
            ScanInstance();
        } else if (IsKeywordByte(*at_)) {
            if (!ScanKeywordStatement()) {
                return;
            }
        } else if (*at_ == ';') {
            ++at_;
        } else {
            const auto place = static_cast<std::size_t>(at_ - begin_);
            log_.Add(Severity::Warning, DiagnosticCode::BrokenInstance, place,
                     "Bytes that begin no statement; what stands before the next instance is lost.");
            ++file_.lost_;
            Resynchronise(static_cast<std::size_t>(std::max(before, at_) - begin_));
        }
    }
}

// Reads HEADER; ENDSEC; DATA; FILE_NAME(...); and the like. Returns: false at the end of the exchange structure.
bool Scanner::ScanKeywordStatement() {
    const char* word = at_;
    while (at_ < end_ && IsKeywordByte(*at_)) {
        ++at_;
    }
    const std::string_view keyword(word, static_cast<std::size_t>(at_ - word));
    if (EqualsUpper(keyword, kEndMagic)) {
        sawEnd_ = true;
        return false;
    }
    if (EqualsUpper(keyword, "ANCHOR") || EqualsUpper(keyword, "REFERENCE") || EqualsUpper(keyword, "SIGNATURE")) {
        SkipSection(static_cast<std::size_t>(at_ - begin_));
        return true;
    }
    Outcome outcome = PassBlanks();
    const char* open = at_;
    if (outcome == Outcome::Done && at_ < end_ && *at_ == '(') {
        outcome = ScanBrackets();
    }
    if (outcome == Outcome::Done) {
        outcome = ScanTail();
    }
    if (outcome != Outcome::Done) {
        const auto begin = static_cast<std::size_t>(word - begin_);
        log_.Add(Severity::Warning, DiagnosticCode::BrokenHeader, begin,
                 "The statement " + std::string(keyword.substr(0, 32)) + " could not be read and is lost.");
        Resynchronise(begin);
        return true;
    }
    if (EqualsUpper(keyword, "FILE_SCHEMA") && !sawHeader_ && *open == '(') {
        ValueCursor cursor(text_.substr(static_cast<std::size_t>(open - begin_) + 1));
        ValueCursor names = Members(cursor.Next());
        for (Value name = names.Next(); name.kind != ValueKind::Missing; name = names.Next()) {
            file_.schemas_.push_back(name.Text(kMaxSchemaName));
        }
        sawHeader_ = true;
    }
    return true;
}

void Scanner::SkipSection(std::size_t from) {
    const std::size_t close = text_.find("ENDSEC", from);
    at_ = close == std::string_view::npos ? end_ : begin_ + close;
}

void Scanner::ScanInstance() {
    const char* begin = at_;
    std::uint32_t id = 0;
    std::size_t open = 0;
    ClassId classId = kNoClass;
    const Outcome outcome = ScanInstanceText(id, open, classId);
    if (outcome == Outcome::Done) [[likely]] {
        file_.ids_.push_back(id);
        file_.offsets_.push_back(static_cast<std::uint32_t>(open));
        file_.classes_.push_back(classId);
        return;
    }
    NoteGap(begin);
    ++file_.lost_;
    TellBroken(outcome, static_cast<std::size_t>(begin - begin_), static_cast<std::size_t>(at_ - begin_));
    Resynchronise(static_cast<std::size_t>(begin - begin_));
}

// Requires: *at_ is '#'. Leaves at_ behind the ';', or at the trouble.
Scanner::Outcome Scanner::ScanInstanceText(std::uint32_t& id, std::size_t& open, ClassId& classId) {
    ++at_;
    std::uint64_t number = 0;
    const char* digits = at_;
    while (at_ < end_ && IsDigit(*at_)) {
        // Stops growing well before it could wrap.
        number = number > 0xFFFFFFFFFFFULL ? number : number * 10 + static_cast<std::uint64_t>(*at_ - '0');
        ++at_;
    }
    const bool inRange = at_ != digits && number != 0 && number <= 0xFFFFFFFFULL;
    id = inRange ? static_cast<std::uint32_t>(number) : 0;
    Outcome outcome = PassBlanks();
    if (outcome != Outcome::Done) {
        return outcome;
    }
    if (at_ == end_ || *at_ != '=') {
        return at_ == end_ ? Outcome::EndOfFile : Outcome::MissingEquals;
    }
    ++at_;
    outcome = PassBlanks();
    if (outcome != Outcome::Done) {
        return outcome;
    }
    outcome = at_ < end_ && *at_ == '(' ? ScanComplex(open, classId) : ScanRecord(open, classId);
    if (outcome != Outcome::Done) {
        return outcome;
    }
    outcome = ScanTail();
    return outcome == Outcome::Done && id == 0 ? Outcome::IdOutOfRange : outcome;
}

// Reads KEYWORD(...).
Scanner::Outcome Scanner::ScanRecord(std::size_t& open, ClassId& classId) {
    const char* word = at_;
    while (at_ < end_ && IsKeywordByte(*at_)) {
        ++at_;
    }
    const auto size = static_cast<std::size_t>(at_ - word);
    const Outcome outcome = PassBlanks();
    if (outcome != Outcome::Done) {
        return outcome;
    }
    if (at_ == end_ || *at_ != '(') {
        return at_ == end_ ? Outcome::EndOfFile : Outcome::MissingClass;
    }
    classId = Intern(word, size);
    if (classId == kNoClass) {
        return Outcome::MissingClass;
    }
    open = static_cast<std::size_t>(at_ - begin_);
    return ScanBrackets();
}

// Reads (A(...) B(...)). Requires: *at_ is '('. The first record stands for the whole.
Scanner::Outcome Scanner::ScanComplex(std::size_t& open, ClassId& classId) {
    ++at_;
    for (bool first = true;; first = false) {
        Outcome outcome = PassBlanks();
        if (outcome == Outcome::Done && !first && at_ < end_ && *at_ == ')') {
            ++at_;
            return Outcome::Done;
        }
        if (outcome == Outcome::Done) {
            std::size_t recordOpen = 0;
            ClassId recordClass = kNoClass;
            outcome = ScanRecord(recordOpen, recordClass);
            open = first ? recordOpen : open;
            classId = first ? recordClass : classId;
        }
        if (outcome != Outcome::Done) {
            return outcome;
        }
    }
}

// Requires: *at_ is '('. Leaves at_ behind the bracket that closes it, or at the trouble.
Scanner::Outcome Scanner::ScanBrackets() {
    std::size_t depth = 0;
    const char* at = at_;
    const char* const end = end_;
    for (;;) {
        // Blank and Plain come first.
        while (at < end && ClassOf(*at) <= CharClass::Plain) {
            ++at;
        }
        at_ = at;
        if (at == end) {
            return Outcome::EndOfFile;
        }
        Outcome outcome = Outcome::Done;
        switch (ClassOf(*at)) {
            case CharClass::Open:
                if (++depth > kMaxNesting) {
                    return Outcome::TooDeep;
                }
                ++at;
                continue;
            case CharClass::Close:
                ++at;
                if (--depth == 0) {
                    at_ = at;
                    return Outcome::Done;
                }
                continue;
            case CharClass::Quote:
                outcome = PassString();
                break;
            case CharClass::Binary: {
                const void* close = std::memchr(at + 1, '"', static_cast<std::size_t>(end - at - 1));
                if (close == nullptr) {
                    return Outcome::UnterminatedString;
                }
                at_ = static_cast<const char*>(close) + 1;
                break;
            }
            case CharClass::Slash:
                outcome = PassBlanks();
                if (outcome == Outcome::Done && at_ == at) {
                    return Outcome::BadByte;
                }
                break;
            case CharClass::End:
                return Outcome::StrayEnd;
            case CharClass::Equals:
                return Outcome::StrayEquals;
            default:
                return Outcome::BadByte;
        }
        if (outcome != Outcome::Done) {
            return outcome;
        }
        at = at_;
    }
}

// Passes the ';' that ends a statement.
Scanner::Outcome Scanner::ScanTail() {
    const Outcome outcome = PassBlanks();
    if (outcome != Outcome::Done) {
        return outcome;
    }
    if (at_ == end_) {
        return Outcome::EndOfFile;
    }
    if (*at_ != ';') {
        return Outcome::Unbalanced;
    }
    ++at_;
    return Outcome::Done;
}

// Requires: *at_ is an apostrophe.
Scanner::Outcome Scanner::PassString() {
    const char* at = at_ + 1;
    while (at < end_) {
        const void* quote = std::memchr(at, '\'', static_cast<std::size_t>(end_ - at));
        if (quote == nullptr) {
            break;
        }
        at = static_cast<const char*>(quote) + 1;
        if (at == end_ || *at != '\'') {
            at_ = at;
            return Outcome::Done;
        }
        ++at;
    }
    return Outcome::UnterminatedString;
}

Scanner::Outcome Scanner::PassBlanks() {
    for (;;) {
        while (at_ < end_ && ClassOf(*at_) == CharClass::Blank) {
            ++at_;
        }
        if (end_ - at_ < 2 || at_[0] != '/' || at_[1] != '*') {
            return Outcome::Done;
        }
        if (unclosedComments_ != nullptr && at_ >= unclosedComments_) {
            return Outcome::UnterminatedComment;
        }
        if (at_ >= commentBegin_ && commentEnd_ != nullptr && at_ + 4 <= commentEnd_) {
            at_ = commentEnd_;
            continue;
        }
        const std::size_t close = text_.find("*/", static_cast<std::size_t>(at_ - begin_) + 2);
        if (close == std::string_view::npos) {
            unclosedComments_ = at_;
            return Outcome::UnterminatedComment;
        }
        commentBegin_ = at_;
        commentEnd_ = begin_ + close + 2;
        at_ = commentEnd_;
    }
}

// What stands from here on belongs to no instance until the next one begins.
void Scanner::NoteGap(const char* from) {
    if (file_.ids_.empty()) {
        return;
    }
    const auto last = static_cast<std::uint32_t>(file_.ids_.size() - 1);
    if (file_.gaps_.empty() || file_.gaps_.back().index != last) {
        file_.gaps_.push_back({last, static_cast<std::uint32_t>(from - begin_)});
    }
}

void Scanner::TellBroken(Outcome outcome, std::size_t begin, std::size_t problem) {
    DiagnosticCode code = DiagnosticCode::BrokenInstance;
    const char* what = "could not be read";
    switch (outcome) {
        case Outcome::MissingEquals:
            what = "has no '=' behind its number";
            break;
        case Outcome::MissingClass:
            what = "names no class";
            break;
        case Outcome::BadByte:
            what = "holds a byte that may only stand in strings";
            break;
        case Outcome::StrayEquals:
        case Outcome::StrayEnd:
        case Outcome::Unbalanced:
            what = "has brackets that do not match";
            break;
        case Outcome::TooDeep:
            code = DiagnosticCode::TooDeep;
            what = "nests its brackets too deep";
            break;
        case Outcome::UnterminatedString:
            code = DiagnosticCode::UnterminatedString;
            what = "holds a string that is never closed";
            break;
        case Outcome::UnterminatedComment:
            code = DiagnosticCode::UnterminatedComment;
            what = "holds a comment that is never closed";
            break;
        case Outcome::IdOutOfRange:
            code = DiagnosticCode::IdOutOfRange;
            what = "has a number that is zero or beyond 4294967295";
            break;
        case Outcome::EndOfFile:
            code = DiagnosticCode::Truncated;
            what = "is cut off by the end of the file";
            break;
        case Outcome::Done:
            return;
    }
    if (!log_.Keeps(code)) {
        log_.Count(Severity::Warning);
        return;
    }
    std::string sentence = InstanceLabel(text_.substr(begin)) + ' ' + what;
    if (problem > begin && problem < text_.size() && outcome != Outcome::IdOutOfRange) {
        sentence += " (noticed at byte " + std::to_string(problem) + ")";
    }
    log_.Add(Severity::Warning, code, begin, sentence + "; it is lost.");
}

bool Scanner::LooksLikeStatement(std::size_t at) const {
    std::size_t i = at;
    if (text_[i] == '#') {
        ++i;
        const std::size_t digits = i;
        while (i < text_.size() && IsDigit(text_[i])) {
            ++i;
        }
        if (i == digits) {
            return false;
        }
        while (i < text_.size() && ClassOf(text_[i]) == CharClass::Blank) {
            ++i;
        }
        return i < text_.size() && text_[i] == '=';
    }
    const std::string_view rest = text_.substr(at, kEndMagic.size());
    return rest.starts_with("ENDSEC") || rest.starts_with("DATA") || rest.starts_with("HEADER") ||
           rest.starts_with("FILE_") || rest == kEndMagic;
}

// Goes on at the next place behind `begin` that follows a ';' or a line break and looks like a statement.
void Scanner::Resynchronise(std::size_t begin) {
    const auto noticed = static_cast<std::size_t>(at_ - begin_);
    std::size_t at = begin + 1;
    if (reread_ > kRereadPasses * text_.size()) {
        at = std::max(at, noticed);
    }
    bool mayBegin = false;
    for (; at < text_.size(); ++at) {
        const char c = text_[at];
        if (c == ';' || c == '\n') {
            mayBegin = true;
        } else if (ClassOf(c) != CharClass::Blank) {
            if (mayBegin && LooksLikeStatement(at)) {
                break;
            }
            mayBegin = false;
        }
    }
    reread_ += noticed > at ? noticed - at : 0;
    at_ = begin_ + std::min(at, text_.size());
}

void Scanner::GrowClassTable() {
    std::vector<ClassId> table(std::max<std::size_t>(1024, classTable_.size() * 2), kNoClass);
    classTable_.swap(table);
    const std::vector<std::string> names = std::move(file_.classNames_);
    file_.classNames_.clear();
    for (const std::string& name : names) {
        Intern(name.data(), name.size());
    }
}

// Returns: the class of a keyword, new ones included; kNoClass when it is no keyword or there are too many.
ClassId Scanner::Intern(const char* begin, std::size_t size) {
    if (size == 0 || size > kMaxClassName || IsDigit(*begin) || *begin == '-') {
        return kNoClass;
    }
    std::uint32_t hash = 2166136261U;
    for (std::size_t i = 0; i < size; ++i) {
        hash = (hash ^ static_cast<unsigned char>(ToUpper(begin[i]))) * 16777619U;
    }
    const std::size_t mask = classTable_.size() - 1;
    std::size_t slot = (hash ^ (hash >> 15)) & mask;
    const std::string_view word(begin, size);
    while (classTable_[slot] != kNoClass) {
        if (EqualsUpper(word, file_.classNames_[classTable_[slot]])) {
            return classTable_[slot];
        }
        slot = (slot + 1) & mask;
    }
    if (file_.classNames_.size() >= kMaxClasses) {
        return kNoClass;
    }
    std::string name(word);
    std::transform(name.begin(), name.end(), name.begin(), ToUpper);
    const auto id = static_cast<ClassId>(file_.classNames_.size());
    file_.classNames_.push_back(std::move(name));
    classTable_[slot] = id;
    if (file_.classNames_.size() * 2 > classTable_.size()) {
        GrowClassTable();
    }
    return id;
}

}  // namespace norvex::ifc::part21
