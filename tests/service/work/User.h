// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/service/store/ChildProcess.h"

namespace norvex::test {

// What the system says of a process: "S" for one that waits, "R" for one that runs, "T" for one that is stopped, "Z"
// for one that has ended; empty for one that there is not.
struct ProcessState {
    std::string state;
    long ticks = 0;  // of processor time that it used
    pid_t parent = 0;
};

inline ProcessState StateOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    ProcessState state;
    if (const std::size_t name = text.rfind(')'); name != std::string::npos) {
        std::istringstream fields(text.substr(name + 1));
        long field = 0;
        fields >> state.state >> state.parent;
        for (int i = 0; i < 9; ++i) {
            fields >> field;
        }
        long user = 0;
        long system = 0;
        fields >> user >> system;
        state.ticks = user + system;
    }
    return state;
}

inline std::vector<pid_t> ChildrenOf(pid_t process) {
    std::vector<pid_t> children;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            const auto child = static_cast<pid_t>(std::stol(name));
            if (StateOf(child).parent == process) {
                children.push_back(child);
            }
        }
    }
    return children;
}

// Waits until something holds, at most ten seconds. Returns whether it came to hold.
inline bool Eventually(const std::function<bool()>& holds) {
    for (int i = 0; i < 1000; ++i) {
        if (holds()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

// Somebody in another process who watches this one and sends it signals. The script gets this process and a descriptor
// to Say things to; a test reads them with ReadLine.
class User {
  public:
    explicit User(const std::function<void(pid_t, int)>& script)
        : m_process([script, watched = getpid()](int descriptor) {
              script(watched, descriptor);
              return 0;
          }) {}
    std::string ReadLine() { return m_process.ReadLine(); }
    int ReadNumber() { return std::stoi("0" + m_process.ReadLine()); }
    pid_t Id() const { return m_process.Id(); }

  private:
    ChildProcess m_process;
};

// The worker processes of a process that is watched by the calling one.
inline std::vector<pid_t> WorkersOf(pid_t process) {
    std::vector<pid_t> workers = ChildrenOf(process);
    std::erase(workers, getpid());
    return workers;
}

inline void Sleep(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace norvex::test
