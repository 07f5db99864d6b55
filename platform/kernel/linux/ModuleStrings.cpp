// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/ModuleStrings.h"

#include <dlfcn.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace {

struct LibraryCloser {
    void operator()(void* library) const { dlclose(library); }
};

// The module's own array; null when it has none. What a library that it stands on exports is not its own.
const NORVEX_MODULE_STRING* StringsOf(HINSTANCE instance) {
    Dl_info module{};
    if (instance == nullptr || dladdr(instance, &module) == 0 || module.dli_fbase != instance) {
        return nullptr;
    }
    const std::unique_ptr<void, LibraryCloser> library(dlopen(module.dli_fname, RTLD_LAZY | RTLD_NOLOAD));
    const void* const strings = library == nullptr ? nullptr : dlsym(library.get(), "norvexModuleStrings");
    return norvex::kernel::InstanceAt(strings) == instance ? static_cast<const NORVEX_MODULE_STRING*>(strings)
                                                           : nullptr;
}

}  // namespace

HINSTANCE norvex::kernel::InstanceAt(const void* address) noexcept {
    Dl_info module{};
    return address != nullptr && dladdr(address, &module) != 0 ? module.dli_fbase : nullptr;
}

int LoadStringW(HINSTANCE instance, UINT id, LPWSTR buffer, int size) {
    const NORVEX_MODULE_STRING* string = StringsOf(instance);
    if (string == nullptr || size < 2) {
        return 0;
    }
    for (; string->text != nullptr; ++string) {
        if (string->id == id) {
            const std::u16string_view text =
                std::u16string_view(string->text).substr(0, static_cast<std::size_t>(size) - 1);
            *std::copy(text.begin(), text.end(), buffer) = u'\0';
            return static_cast<int>(text.size());
        }
    }
    return 0;
}
