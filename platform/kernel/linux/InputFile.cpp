// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace norvex::kernel {

namespace {

constexpr const char* kNoFile = "it is no file but a folder, a pipe or a device";

std::string WhyNot(int code) {
    return code == ENOENT || code == ENOTDIR ? "there is no such file" : std::strerror(code);
}

std::optional<std::string> Refused(std::string why, int code) {
    errno = code;
    return why;
}

}  // namespace

InputFile::~InputFile() {
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

std::optional<std::string> InputFile::Open(const std::filesystem::path& path) {
    // Looked at before it is opened, because opening alone moves some devices; and again afterwards, because what the
    // name stands for may have changed between the two.
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        const int code = errno;
        return Refused(WhyNot(code), code);
    }
    if (!S_ISREG(status.st_mode)) {
        return Refused(kNoFile, EINVAL);
    }
    m_descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (m_descriptor < 0) {
        const int code = errno;
        return Refused(WhyNot(code), code);
    }
    if (fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(std::exchange(m_descriptor, -1));
        return Refused(kNoFile, EINVAL);
    }
    m_size = static_cast<std::uint64_t>(status.st_size);
    return std::nullopt;
}

std::optional<std::size_t> InputFile::Read(char* bytes, std::size_t most) {
    std::size_t total = 0;
    while (total < most) {
        const ssize_t count = read(m_descriptor, bytes + total, most - total);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        total += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    return total;
}

int InputFile::Release() {
    return std::exchange(m_descriptor, -1);
}

std::optional<std::string> ReadInputFile(const std::filesystem::path& path, std::size_t most, std::string& why) {
    InputFile file;
    if (std::optional<std::string> refusal = file.Open(path)) {
        why = std::move(*refusal);
        return std::nullopt;
    }
    // The size is not believed: files of the system have none, and others grow.
    constexpr std::size_t kBlock = std::size_t{1} << 16U;
    std::string bytes;
    for (;;) {
        const std::size_t before = bytes.size();
        const std::size_t wanted = std::min(kBlock, most - before);
        bytes.resize(before + wanted);
        const std::optional<std::size_t> count = file.Read(bytes.data() + before, wanted);
        if (!count) {
            why = std::strerror(errno);
            return std::nullopt;
        }
        bytes.resize(before + *count);
        if (*count < wanted || bytes.size() == most) {
            return bytes;
        }
    }
}

}  // namespace norvex::kernel
