// SPDX-License-Identifier: Apache-2.0
#include "service/Module.h"

#include <dlfcn.h>
#include <link.h>

#include <fmt/format.h>

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

}  // namespace

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
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        error = LoaderComplaint(file);
        return std::nullopt;
    }
    Module module(file.filename().string(), handle);
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
