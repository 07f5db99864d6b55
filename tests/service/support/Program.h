// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/Process.h"
#include "tests/service/support/PipeModel.h"

// The real program with a folder of its own. Requires: NORVEX_PROGRAM and NORVEX_TEST_MODULES name the program and the
// folder of the test's rule modules.

namespace norvex::test {

// A program that runs beside the test; killed with the object.
class RunningProcess {
  public:
    // inChild runs in the new process before the program.
    RunningProcess(
        const std::vector<std::string>& command, const std::function<void()>& inChild = [] {}) {
        m_process = fork();
        if (m_process == 0) {
            const int nowhere = open("/dev/null", O_RDWR);
            for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                dup2(nowhere, descriptor);
            }
            inChild();
            std::vector<char*> arguments;
            for (const std::string& argument : command) {
                arguments.push_back(const_cast<char*>(argument.c_str()));
            }
            arguments.push_back(nullptr);
            execv(arguments.front(), arguments.data());
            _exit(127);
        }
    }
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;
    ~RunningProcess() {
        Signal(SIGKILL);
        Wait();
    }

    pid_t Id() const { return m_process; }
    void Signal(int number) const {
        if (m_process > 0) {
            kill(m_process, number);
        }
    }
    // Exit status; 128 and the signal's number when a signal ended the process.
    int Wait() {
        if (m_process > 0) {
            int status = 0;
            waitpid(m_process, &status, 0);
            m_process = -1;
            m_exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return m_exitCode;
    }

  private:
    pid_t m_process = -1;
    int m_exitCode = -1;
};

class Program : public testing::Test {
  protected:
    std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    std::string ProjectPath() const { return (m_projects.empty() ? m_folder.Path() : m_projects) / "项目 with blanks"; }

    std::string Model(PipeModel model, const std::string& name = "house.ifc") const {
        WriteFile(m_folder / name, model.Text());
        return Path(name);
    }

    // Uses an application folder of the test's own, with the shipped rules and these modules of the test.
    void UseModules(const std::vector<std::string>& modules) {
        namespace fs = std::filesystem;
        const fs::path from = fs::path(NORVEX_PROGRAM).parent_path();
        const fs::path to = m_folder / "app";
        fs::create_directories(to / "Norvex");
        for (const auto& entry : fs::directory_iterator(from)) {
            if (!entry.is_directory()) {
                fs::copy(entry.path(), to / entry.path().filename(), fs::copy_options::copy_symlinks);
            }
        }
        for (const auto& entry : fs::directory_iterator(from / "Norvex")) {
            fs::copy(entry.path(), to / "Norvex" / entry.path().filename());
        }
        for (const std::string& module : modules) {
            fs::copy(fs::path(NORVEX_TEST_MODULES) / (module + ".Arx"), to / "Norvex" / (module + ".Arx"));
        }
        m_program = (to / "norvex").string();
    }

    std::vector<std::string> Command(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), m_program);
        return arguments;
    }
    std::function<void()> InFolder(const std::function<void()>& inChild) const {
        return [this, inChild] {
            setenv("XDG_STATE_HOME", Path("state").c_str(), 1);
            inChild();
        };
    }

    ProcessResult Run(
        const std::vector<std::string>& arguments, const std::function<void()>& inChild = [] {}) const {
        return RunProcess(Command(arguments), InFolder(inChild));
    }

    // norvex check with the project of the test; everything else as given.
    ProcessResult Check(
        const std::string& model, std::vector<std::string> arguments = {},
        const std::function<void()>& inChild = [] {}) const {
        arguments.insert(arguments.begin(), {"check", model, "--project", ProjectPath()});
        return Run(arguments, inChild);
    }

    TemporaryFolder m_folder;
    std::filesystem::path m_projects;  // where the project lies; empty: in m_folder
    std::string m_program = NORVEX_PROGRAM;
};

// One line that begins with the program's name and ends as a sentence does.
inline void ExpectOneSentence(const std::string& text) {
    EXPECT_EQ(text.find("norvex: "), 0U) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    ASSERT_GE(text.size(), 2U);
    EXPECT_EQ(text[text.size() - 2], '.') << text;
}

}  // namespace norvex::test
