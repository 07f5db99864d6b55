// SPDX-License-Identifier: Apache-2.0
#include "service/work/ControlSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace norvex::service {
namespace {

using work::Descriptor;

constexpr const char* kSocketName = "control.socket";
constexpr mode_t kOnlyTheUser = 0177;  // taken away from the permissions
constexpr int kAnswerWithinMilliseconds = 3000;
constexpr std::size_t kLongestAnswer = 60'000;  // far less than a datagram holds

struct Wish {
    std::string word;
    void (RunControl::*obey)();
};

const std::vector<Wish>& Wishes() {
    static const std::vector<Wish> wishes{
        {"pause", &RunControl::Pause},          {"continue", &RunControl::Continue},
        {"cancel", &RunControl::Cancel},        {"hold-floors", &RunControl::HoldFloors},
        {"next-floor", &RunControl::NextFloor}, {"release-floors", &RunControl::ReleaseFloors},
    };
    return wishes;
}

// An address holds 108 bytes and a folder's path may have more, so the folder is named by its descriptor.
sockaddr_un AddressIn(const Descriptor& folder) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.Number()) + "/" + kSocketName;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

Descriptor OpenFolder(const std::filesystem::path& folder) {
    return Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

Descriptor NewSocket() {
    return Descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

const sockaddr* Generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

bool DoesSomebodyListen(const sockaddr_un& address) {
    const Descriptor probe = NewSocket();
    return connect(probe.Number(), Generic(address), sizeof address) == 0;
}

// Returns 0 or the error number.
int Bind(const Descriptor& socket, const Descriptor& folder) {
    const sockaddr_un address = AddressIn(folder);
    const mode_t before = umask(kOnlyTheUser);
    int failure = bind(socket.Number(), Generic(address), sizeof address) == 0 ? 0 : errno;
    if (failure == EADDRINUSE && !DoesSomebodyListen(address) && unlinkat(folder.Number(), kSocketName, 0) == 0) {
        failure = bind(socket.Number(), Generic(address), sizeof address) == 0 ? 0 : errno;
    }
    umask(before);
    return failure;
}

ControlAnswer NoAnswer(int error) {
    const bool isNobodyThere = error == ENOENT || error == ENOTDIR || error == ECONNREFUSED || error == ECONNRESET;
    return {.isRunning = false, .text = std::nullopt, .whyUnknown = isNobodyThere ? "" : std::strerror(error)};
}

}  // namespace

const std::vector<std::string>& ControlWords() {
    static const std::vector<std::string> words = [] {
        std::vector<std::string> all{"status"};
        for (const Wish& wish : Wishes()) {
            all.push_back(wish.word);
        }
        return all;
    }();
    return words;
}

std::unique_ptr<ControlSocket> ControlSocket::Open(const std::filesystem::path& projectFolder, std::string& error) {
    Descriptor folder = OpenFolder(projectFolder);
    Descriptor socket = NewSocket();
    int failure = folder.Number() < 0 || socket.Number() < 0 ? errno : 0;
    if (failure == 0) {
        failure = Bind(socket, folder);
    }
    if (failure != 0) {
        error = "No socket to control the run by can be made in " + projectFolder.string() + ": " +
                std::strerror(failure) + ".";
        return nullptr;
    }
    return std::unique_ptr<ControlSocket>(new ControlSocket(std::move(folder), std::move(socket)));
}

ControlSocket::~ControlSocket() {
    unlinkat(m_folder.Number(), kSocketName, 0);
}

void ControlSocket::Serve(RunControl& control, const std::function<std::string()>& status) const {
    std::array<char, 64> word{};
    sockaddr_un sender{};
    for (;;) {
        socklen_t length = sizeof sender;
        const ssize_t count =
            recvfrom(m_socket.Number(), word.data(), word.size(), 0, reinterpret_cast<sockaddr*>(&sender), &length);
        if (count < 0) {
            return;
        }
        const std::string_view said(word.data(), static_cast<std::size_t>(count));
        bool isKnown = said == "status";
        for (const Wish& wish : Wishes()) {
            if (wish.word == said) {
                (control.*wish.obey)();
                isKnown = true;
            }
        }
        const std::string answer = (isKnown ? status() : "This run knows no such wish.\n").substr(0, kLongestAnswer);
        sendto(m_socket.Number(), answer.data(), answer.size(), MSG_NOSIGNAL, Generic(sender), length);
    }
}

ControlAnswer AskRun(const std::filesystem::path& projectFolder, std::string_view word) {
    const Descriptor folder = OpenFolder(projectFolder);
    const Descriptor socket = folder.Number() < 0 ? Descriptor() : NewSocket();
    const sockaddr_un address = AddressIn(folder);
    // An address of its own for the answer; the system chooses one that is in no folder.
    sockaddr_un own{};
    own.sun_family = AF_UNIX;
    if (folder.Number() < 0 || socket.Number() < 0 || bind(socket.Number(), Generic(own), sizeof own.sun_family) != 0 ||
        connect(socket.Number(), Generic(address), sizeof address) != 0) {
        return NoAnswer(errno);
    }
    // A run that is stopped may have as many wishes waiting as there is room for.
    if (send(socket.Number(), word.data(), word.size(), MSG_NOSIGNAL) < 0 && errno != EAGAIN) {
        return NoAnswer(errno);
    }
    ControlAnswer answer{.isRunning = true, .text = std::nullopt};
    pollfd news{socket.Number(), POLLIN, 0};
    std::string text(kLongestAnswer, '\0');
    if (poll(&news, 1, kAnswerWithinMilliseconds) > 0) {
        const ssize_t count = recv(socket.Number(), text.data(), text.size(), 0);
        if (count >= 0) {
            text.resize(static_cast<std::size_t>(count));
            answer.text = std::move(text);
        }
    }
    return answer;
}

}  // namespace norvex::service
