// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/ReadBcf.h"

#include <unistd.h>

#include <fmt/format.h>
#include <zip.h>
#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "platform/kernel/InputFile.h"
#include "platform/text/Utf8.h"
#include "platform/xml/XmlDocument.h"
#include "service/Words.h"

namespace norvex::report::bcf {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string()
               : std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

// ---- The topic's document ----

// A name without the prefix that some programs write.
std::string_view LocalName(std::string_view name) {
    const std::size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

bool IsNamed(const xml::Element& element, std::string_view name) {
    return LocalName(text::ToUtf8(element.tag)) == name;
}

const xml::Element* Child(const xml::Element* parent, std::string_view name) {
    if (parent != nullptr) {
        for (const xml::Element& child : parent->children) {
            if (IsNamed(child, name)) {
                return &child;
            }
        }
    }
    return nullptr;
}

// Each piece of text is taken once, however deep it lies.
void AddText(const xml::Element& element, std::string& text) {
    std::size_t child = 0;
    for (const xml::TextPiece& piece : element.texts) {
        for (; child < piece.childrenBefore; ++child) {
            AddText(element.children[child], text);
        }
        text += text::ToUtf8(piece.text);
    }
    for (; child < element.children.size(); ++child) {
        AddText(element.children[child], text);
    }
}

std::string PlainText(const xml::Element& element) {
    std::string text;
    AddText(element, text);
    return Trimmed(text);
}

std::string ChildText(const xml::Element* parent, std::string_view name) {
    const xml::Element* const child = Child(parent, name);
    return child == nullptr ? std::string() : PlainText(*child);
}

std::string AttributeOf(const xml::Element& element, std::string_view name) {
    for (const xml::Attribute& attribute : element.attributes) {
        if (LocalName(text::ToUtf8(attribute.name)) == name) {
            return Trimmed(text::ToUtf8(attribute.value));
        }
    }
    return {};
}

// Texts that stand in a list of their own since 3.0 and repeated in the topic before: "Labels" with "Label" in it, or
// "Labels" itself.
std::vector<std::string> Texts(const xml::Element& topic, std::string_view list, std::string_view item) {
    std::vector<std::string> texts;
    for (const xml::Element& child : topic.children) {
        if (IsNamed(child, list) && !child.children.empty()) {
            for (const xml::Element& inner : child.children) {
                texts.push_back(PlainText(inner));
            }
        } else if (IsNamed(child, list) || IsNamed(child, item)) {
            texts.push_back(PlainText(child));
        }
    }
    return texts;
}

void AddComments(const xml::Element* parent, std::vector<ReadComment>& comments) {
    if (parent == nullptr) {
        return;
    }
    for (const xml::Element& child : parent->children) {
        if (IsNamed(child, "Comment")) {
            comments.push_back({ChildText(&child, "Date"), ChildText(&child, "Author"), ChildText(&child, "Comment")});
        }
    }
}

void SortByMoment(std::vector<ReadComment>& comments) {
    std::vector<std::pair<std::int64_t, ReadComment>> dated;
    for (ReadComment& comment : comments) {
        const std::int64_t moment = MomentOf(comment.date);
        dated.emplace_back(moment, std::move(comment));
    }
    std::stable_sort(dated.begin(), dated.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    comments.clear();
    for (auto& [moment, comment] : dated) {
        comments.push_back(std::move(comment));
    }
}

// Lower case, without the braces that some programs put around it.
std::string PlainGuid(std::string guid) {
    if (guid.size() > 2 && guid.front() == '{' && guid.back() == '}') {
        guid = guid.substr(1, guid.size() - 2);
    }
    std::transform(guid.begin(), guid.end(), guid.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return guid;
}

ReadTopic TopicOf(const xml::Element& markup, const xml::Element& topic, const std::string& folder) {
    ReadTopic read;
    const std::string guid = AttributeOf(topic, "Guid");
    read.guid = PlainGuid(guid.empty() ? folder : guid);
    read.title = ChildText(&topic, "Title");
    read.status = AttributeOf(topic, "TopicStatus");
    read.description = ChildText(&topic, "Description");
    read.labels = Texts(topic, "Labels", "Label");
    read.references = Texts(topic, "ReferenceLinks", "ReferenceLink");
    read.creationAuthor = ChildText(&topic, "CreationAuthor");
    read.modifiedAuthor = ChildText(&topic, "ModifiedAuthor");
    read.modifiedDate = ChildText(&topic, "ModifiedDate");
    AddComments(&markup, read.comments);  // where they stood before 3.0
    AddComments(Child(&topic, "Comments"), read.comments);
    SortByMoment(read.comments);
    return read;
}

// ---- The archive ----

struct Discard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};

// The folder and the last piece of a member's name, whichever way its slashes lean.
struct MemberName {
    std::string folder;
    std::string file;
};

MemberName NameOf(std::string name) {
    std::replace(name.begin(), name.end(), '\\', '/');
    const std::size_t slash = name.rfind('/');
    if (slash == std::string::npos) {
        return {"", name};
    }
    const std::string path = name.substr(0, slash);
    return {path.substr(path.rfind('/') + 1), name.substr(slash + 1)};
}

class Reader {
  public:
    Reader(const std::filesystem::path& path, const ReadLimits& limits) : m_path(path), m_limits(limits) {}

    ReadArchive Read() {
        if (Open()) {
            ReadMembers();
        }
        return std::move(m_result);
    }

  private:
    bool Refuse(const std::string& why) {
        m_result.error = fmt::format("The BCF archive {} cannot be read: {}.", m_path.string(), why);
        return false;
    }

    bool Open() {
        kernel::InputFile file;
        if (const std::optional<std::string> why = file.Open(m_path)) {
            return Refuse(*why);
        }
        if (file.Size() > m_limits.maxArchiveBytes) {
            return Refuse(
                fmt::format("it has {} bytes, more than the {} that are read", file.Size(), m_limits.maxArchiveBytes));
        }
        int error = 0;
        const int descriptor = file.Release();
        m_archive.reset(zip_fdopen(descriptor, 0, &error));
        if (m_archive == nullptr) {
            // Only what was opened is the archive's to close.
            close(descriptor);
            if (error == ZIP_ER_NOZIP || error == ZIP_ER_INCONS || error == ZIP_ER_EOF || error == ZIP_ER_READ) {
                return Refuse("it is no ZIP archive, or one that is cut off");
            }
            zip_error_t described;
            zip_error_init_with_code(&described, error);
            const std::string why = zip_error_strerror(&described);
            zip_error_fini(&described);
            return Refuse(why);
        }
        if (Members() > m_limits.maxMembers) {
            return Refuse(
                fmt::format("it has {} members, more than the {} that are read", Members(), m_limits.maxMembers));
        }
        return true;
    }

    std::uint64_t Members() const {
        return static_cast<std::uint64_t>(std::max<zip_int64_t>(0, zip_get_num_entries(m_archive.get(), 0)));
    }

    void ReadMembers() {
        bool isBcf = false;
        for (std::uint64_t index = 0; index < Members(); ++index) {
            const char* const name = zip_get_name(m_archive.get(), index, 0);
            if (name == nullptr) {
                continue;
            }
            const MemberName member = NameOf(name);
            isBcf = isBcf || service::EqualsIgnoringCase(member.file, "bcf.version");
            if (!service::EqualsIgnoringCase(member.file, "markup.bcf")) {
                continue;
            }
            isBcf = true;
            if (m_total > m_limits.maxTotalBytes) {
                m_result.topics.clear();
                Refuse(
                    fmt::format("its topics unpack to more than the {} bytes that are read", m_limits.maxTotalBytes));
                return;
            }
            ReadMember(index, name, member.folder);
        }
        if (!isBcf) {
            Refuse("it is a ZIP archive without topics in it");
        }
    }

    void ReadMember(std::uint64_t index, const std::string& name, const std::string& folder) {
        std::string why;
        const std::optional<std::string> bytes = Unpacked(index, why);
        if (!bytes) {
            Problem(name, why);
            return;
        }
        const xml::ParseResult parsed = xml::Parse(*bytes);
        if (parsed.root == nullptr) {
            Problem(fmt::format("{}, line {}", name, parsed.line), parsed.sentence);
            return;
        }
        const xml::Element* const topic = IsNamed(*parsed.root, "Markup") ? Child(parsed.root.get(), "Topic") : nullptr;
        if (topic == nullptr) {
            Problem(name, "It holds no topic.");
            return;
        }
        m_result.topics.push_back(TopicOf(*parsed.root, *topic, folder));
    }

    void Problem(const std::string& place, const std::string& sentence) {
        m_result.problems.push_back(fmt::format("{}, {}: {}", m_path.string(), place, sentence));
    }

    // What a header says of a member's size is not believed: reading stops at the limit. Errors: nothing, and why is
    // one sentence.
    std::optional<std::string> Unpacked(std::uint64_t index, std::string& why) {
        const std::unique_ptr<zip_file_t, Discard> file(zip_fopen_index(m_archive.get(), index, 0));
        if (file == nullptr) {
            why = fmt::format("It cannot be unpacked: {}.", zip_strerror(m_archive.get()));
            return std::nullopt;
        }
        std::string bytes;
        std::array<char, 65536> buffer{};
        for (;;) {
            const zip_int64_t got = zip_fread(file.get(), buffer.data(), buffer.size());
            if (got < 0) {
                why = fmt::format("It cannot be unpacked: {}.", zip_file_strerror(file.get()));
                return std::nullopt;
            }
            if (got == 0) {
                return bytes;
            }
            bytes.append(buffer.data(), static_cast<std::size_t>(got));
            m_total += static_cast<std::uint64_t>(got);
            if (bytes.size() > m_limits.maxMarkupBytes) {
                why = fmt::format("It unpacks to more than the {} bytes that are read of a topic.",
                                  m_limits.maxMarkupBytes);
                return std::nullopt;
            }
        }
    }

    const std::filesystem::path& m_path;
    const ReadLimits& m_limits;
    std::unique_ptr<zip_t, Discard> m_archive;
    std::uint64_t m_total = 0;  // unpacked bytes
    ReadArchive m_result;
};

}  // namespace

ReadArchive ReadBcfFile(const std::filesystem::path& path, const ReadLimits& limits) {
    return Reader(path, limits).Read();
}

std::int64_t MomentOf(const std::string& date) {
    int year = 0;
    unsigned int month = 0;
    unsigned int day = 0;
    int hour = 0;
    int minute = 0;
    if (std::sscanf(date.c_str(), "%4d-%2u-%2uT%2d:%2d", &year, &month, &day, &hour, &minute) < 3) {
        return std::numeric_limits<std::int64_t>::min();
    }
    const std::chrono::year_month_day calendar{std::chrono::year(year), std::chrono::month(month),
                                               std::chrono::day(day)};
    if (!calendar.ok()) {
        return std::numeric_limits<std::int64_t>::min();
    }
    const std::int64_t days = std::chrono::sys_days(calendar).time_since_epoch().count();
    std::int64_t minutes = (days * 24 + hour) * 60 + minute;
    // "+08:00" at the end: that place's clock is ahead.
    constexpr std::size_t kZone = 6;
    constexpr std::size_t kDayAndT = 11;
    if (date.size() > kDayAndT + kZone) {
        const std::string zone = date.substr(date.size() - kZone);
        int zoneHour = 0;
        int zoneMinute = 0;
        if ((zone[0] == '+' || zone[0] == '-') &&
            std::sscanf(zone.c_str() + 1, "%2d:%2d", &zoneHour, &zoneMinute) == 2) {
            minutes -= (zone[0] == '+' ? 1 : -1) * (zoneHour * 60 + zoneMinute);
        }
    }
    return minutes;
}

}  // namespace norvex::report::bcf
