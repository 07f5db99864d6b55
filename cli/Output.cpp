// SPDX-License-Identifier: Apache-2.0
#include "cli/Output.h"

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "report/DisplayText.h"

namespace norvex::cli {
namespace {

constexpr mode_t kFileMode = 0666;

// Writes all of text. Returns 0 or the error number.
int WriteAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return 0;
}

}  // namespace

void KeepStandardFiles() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // Opens as the lowest free number, which is this one, and the wrong way round, so that its use fails.
            const int opened = open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
            if (opened < 0) {
                return;
            }
        }
    }
}

bool WriteOut(std::string_view text) {
    const int failure = WriteAll(STDOUT_FILENO, text);
    if (failure != 0) {
        Complain(fmt::format("The result cannot be written to standard output: {}.", std::strerror(failure)));
    }
    return failure == 0;
}

void Complain(std::string_view sentence) {
    // Nobody is left to tell when standard error fails too.
    static_cast<void>(WriteAll(STDERR_FILENO, "norvex: " + report::Sanitised(sentence) + "\n"));
}

WholeFile::~WholeFile() {
    if (m_descriptor >= 0) {
        close(m_descriptor);
        if (!m_temporary.empty()) {
            unlink(m_temporary.c_str());
        }
    }
}

std::optional<std::string> WholeFile::Failure(int code) const {
    return fmt::format("The file {} cannot be written: {}.", m_path.string(), std::strerror(code));
}

std::optional<std::string> WholeFile::Open(const std::filesystem::path& path) {
    m_path = path;
    if (!path.has_filename()) {
        return fmt::format("\"{}\" names no file to write to.", path.string());
    }
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        m_descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        m_temporary = path.native() + fmt::format(".{}.part", getpid());
        m_descriptor = open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
    }
    return m_descriptor < 0 ? Failure(errno) : std::nullopt;
}

std::optional<std::string> WholeFile::Commit(std::string_view text) {
    int failure = WriteAll(m_descriptor, text);
    if (m_temporary.empty()) {
        return failure == 0 ? std::nullopt : Failure(failure);
    }
    if (failure == 0 && fsync(m_descriptor) != 0) {
        failure = errno;
    }
    if (failure == 0 && rename(m_temporary.c_str(), m_path.c_str()) != 0) {
        failure = errno;
    }
    if (failure != 0) {
        return Failure(failure);
    }
    m_temporary.clear();
    return std::nullopt;
}

}  // namespace norvex::cli
