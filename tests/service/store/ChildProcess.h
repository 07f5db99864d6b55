// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <string>

namespace norvex::test {

// A copy of this process that does some work and ends with its result as exit status. Requires: no database is open
// and no thread runs when it is made.
class ChildProcess {
  public:
    // `work` gets a descriptor to write to; what it writes is read with ReadLine and ReadToEnd.
    explicit ChildProcess(const std::function<int(int)>& work) {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            std::abort();
        }
        process_ = fork();
        if (process_ == 0) {
            close(ends[0]);
            _exit(work(ends[1]));
        }
        close(ends[1]);
        reader_ = ends[0];
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        Kill();
        close(reader_);
    }

    pid_t Id() const { return process_; }

    void Kill() {
        if (process_ > 0) {
            kill(process_, SIGKILL);
            Wait();
        }
    }

    // Returns: the exit status, or -1 when a signal ended it.
    int Wait() {
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Without the line break; empty at the end.
    std::string ReadLine() {
        std::string line;
        char byte = 0;
        while (read(reader_, &byte, 1) == 1 && byte != '\n') {
            line += byte;
        }
        return line;
    }

    std::string ReadToEnd() {
        std::string text;
        std::array<char, 4096> buffer{};
        for (ssize_t count = 0; (count = read(reader_, buffer.data(), buffer.size())) > 0;) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

  private:
    pid_t process_ = -1;
    int reader_ = -1;
};

inline void Say(int descriptor, const std::string& line) {
    const std::string text = line + "\n";
    if (write(descriptor, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        _exit(99);
    }
}

}  // namespace norvex::test
