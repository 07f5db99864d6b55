// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace norvex::test {

// A folder of its own that goes away with the object.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "norvex-test-XXXXXX").string();
        m_path = mkdtemp(pattern.data());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

  private:
    std::filesystem::path m_path;
};

inline std::string FileText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

struct ProcessResult {
    // Exit status; 128 and the signal's number when a signal ended the process.
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs a program to its end and returns what it wrote. inChild runs in the new process before the program, to change
// its environment or its open files.
inline ProcessResult RunProcess(
    const std::vector<std::string>& command, const std::function<void()>& inChild = [] {}) {
    const TemporaryFolder folder;
    const pid_t child = fork();
    if (child == 0) {
        dup2(open((folder / "out").c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
        dup2(open((folder / "err").c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        inChild();
        std::vector<char*> arguments;
        for (const std::string& argument : command) {
            arguments.push_back(const_cast<char*>(argument.c_str()));
        }
        arguments.push_back(nullptr);
        execv(arguments.front(), arguments.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), FileText(folder / "out"),
            FileText(folder / "err")};
}

}  // namespace norvex::test
