// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFolder.h"
#include "fuzz/Promise.h"
#include "service/work/ControlSocket.h"
#include "service/work/Descriptor.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

// Datagrams, one on each line, sent to the socket of a run. What the run is told is what a naive twin understands, and
// each datagram gets one answer. The whole input is also how the run stands, which the answers say.

namespace {

using namespace norvex::fuzz;
using norvex::service::ControlSocket;
using norvex::service::RunControl;
using norvex::service::work::Descriptor;

constexpr std::size_t kMostDatagrams = 8;  // a socket keeps 10 that nobody has read
constexpr std::size_t kLongestAnswer = 60'000;

struct Twin {
    bool isCancelled = false;
    bool isPaused = false;
    bool areFloorsHeld = false;
    int floorsToLetIn = 0;

    // Returns: whether the word means anything.
    bool Hear(std::string_view word) {
        if (word == "pause" || word == "continue") {
            isPaused = word == "pause";
        } else if (word == "cancel") {
            isCancelled = true;
        } else if (word == "hold-floors") {
            areFloorsHeld = true;
        } else if (word == "release-floors") {
            areFloorsHeld = false;
            floorsToLetIn = 0;
        } else if (word == "next-floor") {
            ++floorsToLetIn;
        } else {
            return word == "status";
        }
        return true;
    }
};

// The two ends, made once.
class Line {
  public:
    Line() : m_client(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        std::string error;
        m_run = ControlSocket::Open(m_folder.Path(), error);
        Require(m_run != nullptr, "a socket can be made");
        // An address that the system chooses and that is in no folder.
        sockaddr_un own{};
        own.sun_family = AF_UNIX;
        Require(bind(m_client.Number(), reinterpret_cast<const sockaddr*>(&own), sizeof own.sun_family) == 0,
                "a client has an address");
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = (m_folder.Path() / "control.socket").string();
        Require(path.size() < sizeof address.sun_path, "the address fits");
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        Require(connect(m_client.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
                "a client reaches the run");
    }

    const ControlSocket& Run() const { return *m_run; }

    void Say(std::string_view word) const {
        Require(send(m_client.Number(), word.data(), word.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(word.size()),
                "a datagram is sent");
    }

    // Nothing when none waits.
    std::optional<std::string> Answer() {
        const ssize_t count = recv(m_client.Number(), m_buffer.data(), m_buffer.size(), 0);
        return count < 0 ? std::nullopt : std::optional(std::string(m_buffer.data(), static_cast<std::size_t>(count)));
    }

  private:
    MemoryFolder m_folder;
    std::unique_ptr<ControlSocket> m_run;
    Descriptor m_client;
    std::array<char, 2 * kLongestAnswer> m_buffer{};
};

int FloorsLetIn(RunControl& control) {
    int floors = 0;
    while (control.TakeFloor()) {
        ++floors;
    }
    return floors;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Line& line = *new Line();
    std::string_view rest = TextOf(data, size);
    const std::string standing(rest);
    RunControl control;
    Twin twin;
    std::vector<bool> isUnderstood;
    while (!rest.empty() && isUnderstood.size() < kMostDatagrams) {
        const std::string_view word = TakePiece(rest, '\n');
        line.Say(word);
        isUnderstood.push_back(twin.Hear(word));
    }
    line.Run().Serve(control, [&] { return standing; });
    for (const bool understood : isUnderstood) {
        const std::optional<std::string> answer = line.Answer();
        Require(answer.has_value(), "each datagram is answered");
        Require(*answer == (understood ? standing.substr(0, kLongestAnswer) : "This run knows no such wish.\n"),
                "an answer says how the run stands, or that it was not understood");
    }
    Require(!line.Answer(), "nothing else is answered");
    Require(control.IsCancelled() == twin.isCancelled && control.IsPaused() == twin.isPaused &&
                control.AreFloorsHeld() == twin.areFloorsHeld && FloorsLetIn(control) == twin.floorsToLetIn,
            "the run was told what the naive twin understood");
    return 0;
}
