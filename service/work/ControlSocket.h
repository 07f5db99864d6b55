// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "service/work/Descriptor.h"
#include "service/work/RunControl.h"

namespace norvex::service {

// What can be wished of a run by name: "pause", "continue", "cancel", "hold-floors", "next-floor", "release-floors",
// and "status", which changes nothing.
const std::vector<std::string>& ControlWords();

// Lets other processes of the same user wish something of a run, by a socket in its project folder. One run at a time
// may have a project.
class ControlSocket {
  public:
    // Makes the socket; one that a killed run has left behind is replaced. Errors: null, and error is one sentence.
    static std::unique_ptr<ControlSocket> Open(const std::filesystem::path& projectFolder, std::string& error);
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;
    // Removes the socket.
    ~ControlSocket();

    // Can be read from when somebody wishes something.
    int Requests() const { return m_socket.Number(); }
    // Of no use to anybody else, such as a copy of this process.
    int Folder() const { return m_folder.Number(); }
    // Passes on every wish that waits, and answers each with how the run stands after it.
    void Serve(RunControl& control, const std::function<std::string()>& status) const;

  private:
    ControlSocket(work::Descriptor folder, work::Descriptor socket)
        : m_folder(std::move(folder)), m_socket(std::move(socket)) {}

    work::Descriptor m_folder;
    work::Descriptor m_socket;
};

// What came of asking a run.
struct ControlAnswer {
    bool isRunning = false;           // somebody listens there
    std::optional<std::string> text;  // how the run stands; nothing when it did not answer in time
    std::string whyUnknown = {};      // the system's words, when nobody can tell whether somebody listens
};

// Sends one of the ControlWords to the run of a project and waits a few seconds for its answer. Files that run out, and
// a run of somebody else, are no proof that there is none.
ControlAnswer AskRun(const std::filesystem::path& projectFolder, std::string_view word);

}  // namespace norvex::service
