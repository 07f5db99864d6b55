// SPDX-License-Identifier: Apache-2.0
#include "service/Module.h"

#include <dlfcn.h>
#include <link.h>

#include <fmt/format.h>
#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

namespace norvex::service {
namespace {

// What the dynamic loader says, without the path that it puts in front.
std::string LoaderComplaint(const std::filesystem::path& file) {
    const char* given = dlerror();
    std::string complaint = given == nullptr ? "the loader does not say why" : given;
    const std::string prefix = file.string() + ": ";
    if (complaint.starts_with(prefix)) {
        complaint.erase(0, prefix.size());
    }
    return complaint;
}

constexpr const char* kCutOff = "it is cut off; copy it again";

// Why the loader must not even see the file; empty when it may. The loader waits for a pipe that nobody writes to, and
// dies of a library that was copied halfway: its pages behind the end of the file cannot be read.
std::string ReasonNotToLoad(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status)) {
        return {};  // The loader says it in its own words.
    }
    if (!std::filesystem::is_regular_file(status)) {
        return "it is no file but a folder, a pipe or a device";
    }
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    std::ifstream stream(file, std::ios::binary);
    ElfW(Ehdr) header{};
    if (!stream.read(reinterpret_cast<char*>(&header), sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(ElfW(Phdr))) {
        return "it is no shared library";
    }
    // The table of sections ends a file as linkers write it; a library need not have one.
    const std::uint64_t sections = std::uint64_t{header.e_shnum} * header.e_shentsize;
    if (header.e_shoff > size || sections > size - header.e_shoff) {
        return kCutOff;
    }
    stream.seekg(static_cast<std::streamoff>(header.e_phoff));
    for (int i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) segment{};
        if (!stream.read(reinterpret_cast<char*>(&segment), sizeof segment) || segment.p_filesz > size ||
            segment.p_offset > size - segment.p_filesz) {
            return kCutOff;
        }
    }
    return {};
}

// The tables of a library's file; empty where it has none, or where it is cut off. 16 MiB of symbols are a hundred
// times those of the largest library of the system.
constexpr std::uint64_t kLargestTable = 16U << 20;

template <class Entry>
std::vector<Entry> ReadTable(std::ifstream& stream, std::uint64_t offset, std::uint64_t size) {
    if (size > kLargestTable) {
        return {};
    }
    std::vector<Entry> table(size / sizeof(Entry));
    stream.clear();
    stream.seekg(static_cast<std::streamoff>(offset));
    if (!stream.read(reinterpret_cast<char*>(table.data()),
                     static_cast<std::streamsize>(table.size() * sizeof(Entry)))) {
        table.clear();
    }
    return table;
}

bool Defines(const ElfW(Sym) & symbol, const std::vector<char>& names, std::string_view wanted) {
    // The name's NUL is compared, too.
    return symbol.st_shndx != SHN_UNDEF && symbol.st_name < names.size() &&
           names.size() - symbol.st_name > wanted.size() &&
           std::memcmp(names.data() + symbol.st_name, wanted.data(), wanted.size() + 1) == 0;
}

}  // namespace

bool DefinesSymbol(const std::filesystem::path& file, const char* name) {
    if (!ReasonNotToLoad(file).empty()) {
        return false;
    }
    std::ifstream stream(file, std::ios::binary);
    const auto header = ReadTable<ElfW(Ehdr)>(stream, 0, sizeof(ElfW(Ehdr)));
    if (header.empty() || header[0].e_shentsize != sizeof(ElfW(Shdr))) {
        return false;
    }
    const auto sections =
        ReadTable<ElfW(Shdr)>(stream, header[0].e_shoff, std::uint64_t{header[0].e_shnum} * sizeof(ElfW(Shdr)));
    for (const ElfW(Shdr) & section : sections) {
        if (section.sh_type != SHT_DYNSYM || section.sh_link >= sections.size()) {
            continue;
        }
        const ElfW(Shdr)& texts = sections[section.sh_link];
        const auto names = ReadTable<char>(stream, texts.sh_offset, texts.sh_size);
        for (const ElfW(Sym) & symbol : ReadTable<ElfW(Sym)>(stream, section.sh_offset, section.sh_size)) {
            if (Defines(symbol, names, name)) {
                return true;
            }
        }
    }
    return false;
}

void* Module::OwnSymbol(const char* name) const {
    void* address = dlsym(m_handle, name);
    link_map* own = nullptr;
    void* found = nullptr;
    Dl_info info{};
    if (address == nullptr || dlinfo(m_handle, RTLD_DI_LINKMAP, &own) != 0 ||
        dladdr1(address, &info, &found, RTLD_DL_LINKMAP) == 0 || own != found) {
        return nullptr;
    }
    return address;
}

std::optional<Module> Module::Load(const std::filesystem::path& file, std::string& error) {
    error = ReasonNotToLoad(file);
    if (!error.empty()) {
        return std::nullopt;
    }
    // A name without a slash would be looked for where libraries are looked for.
    std::error_code ignored;
    const std::filesystem::path place = std::filesystem::absolute(file, ignored);
    void* handle = dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        error = LoaderComplaint(place);
        return std::nullopt;
    }
    Module module(file, handle);
    const auto apiVersion = reinterpret_cast<AcRxApiVersionFunction>(module.OwnSymbol("acrxGetApiVersion"));
    module.m_entryPoint = reinterpret_cast<AcRxEntryPointFunction>(module.OwnSymbol("acrxEntryPoint"));
    if (apiVersion == nullptr || module.m_entryPoint == nullptr) {
        error = "it is no application module: it does not export acrxEntryPoint and acrxGetApiVersion";
        return std::nullopt;
    }
    const int version = apiVersion();
    if (version != kAcRxApiVersion) {
        error = fmt::format("it was built for host API {}.{}, and this host has {}.{}", version >> 16, version & 0xFFFF,
                            kAcRxApiVersion >> 16, kAcRxApiVersion & 0xFFFF);
        return std::nullopt;
    }
    return module;
}

}  // namespace norvex::service
