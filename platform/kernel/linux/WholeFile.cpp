// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/WholeFile.h"

#include "platform/kernel/NativePath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace norvex::kernel {

namespace {

bool WriteAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

bool WriteWholeFile(const CString& path, std::string_view bytes) {
    const std::string target = ToNativePath(path);
    // Beside the target, so that the renaming stays within one file system; one name per process and file.
    const std::string temporary = target + "." + std::to_string(getpid()) + ".new";
    constexpr mode_t kReadAndWrite = 0666;  // the process's mask takes away what a user does not want others to have
    const int descriptor =
        open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kReadAndWrite);
    if (descriptor < 0) {
        return false;
    }
    const bool written = WriteAll(descriptor, bytes);
    if (close(descriptor) != 0 || !written || std::rename(temporary.c_str(), target.c_str()) != 0) {
        unlink(temporary.c_str());
        return false;
    }
    return true;
}

}  // namespace norvex::kernel
