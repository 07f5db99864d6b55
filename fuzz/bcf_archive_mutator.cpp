// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Mutator.h"
#include "fuzz/Promise.h"
#include "fuzz/XmlMutator.h"
#include "report/bcf/ZipArchive.h"

#include <zip.h>

#include <array>
#include <map>
#include <memory>
#include <string>

// Changes the members of an archive, their names and their number, and packs them again, so that lengths and checksums
// fit and what is tried is what stands inside.

namespace {

using namespace norvex::fuzz;

using Members = std::map<std::string, std::string>;  // content by name

struct Discard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};

std::string Unpacked(zip_t* archive, zip_uint64_t index) {
    constexpr std::size_t kMost = 1U << 16U;
    std::string content(kMost, '\0');
    const std::unique_ptr<zip_file_t, Discard> file(zip_fopen_index(archive, index, 0));
    const zip_int64_t got = file == nullptr ? 0 : zip_fread(file.get(), content.data(), content.size());
    content.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return content;
}

// Empty for what is no archive.
Members Unpack(std::string_view bytes) {
    Members members;
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    if (source == nullptr) {
        return members;
    }
    const std::unique_ptr<zip_t, Discard> archive(zip_open_from_source(source, ZIP_RDONLY, &error));
    if (archive == nullptr) {
        zip_source_free(source);
        return members;
    }
    const zip_int64_t count = std::min<zip_int64_t>(zip_get_num_entries(archive.get(), 0), 32);
    for (zip_int64_t index = 0; index < count; ++index) {
        const auto at = static_cast<zip_uint64_t>(index);
        if (const char* const name = zip_get_name(archive.get(), at, 0)) {
            members[name] = Unpacked(archive.get(), at);
        }
    }
    return members;
}

std::string Pack(const Members& members, bool isDeflated) {
    using norvex::report::bcf::ZipWriter;
    ZipWriter writer("2026-03-01T08:30:00Z");
    for (const auto& [name, content] : members) {
        writer.Add(name, content, isDeflated ? ZipWriter::Packing::Deflated : ZipWriter::Packing::Stored);
    }
    return writer.Finish();
}

void ChangeMembers(Members& members, std::size_t most, Random& random) {
    auto member = members.begin();
    std::advance(member, static_cast<std::ptrdiff_t>(Below(random, members.size())));
    switch (Below(random, 16)) {
        case 0:
            members.erase(member);
            break;
        case 1: {
            std::string name = Changed(member->first, 64);
            std::erase(name, '\0');
            members[name.empty() ? "markup.bcf" : name] = member->second;
            break;
        }
        case 2:
            members[std::to_string(random()) + "/markup.bcf"] = member->second;
            break;
        default:
            member->second = ChangedXml(member->second, most, random);
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    Random random(seed);
    Members members = Unpack(TextOf(data, size));
    if (members.empty() || Below(random, 16) == 0) {
        return LLVMFuzzerMutate(data, size, most);
    }
    ChangeMembers(members, most, random);
    try {
        return Deliver(Pack(members, Below(random, 2) == 0), data, size, most);
    } catch (const std::exception&) {
        // A name that the library refuses.
        return LLVMFuzzerMutate(data, size, most);
    }
}
