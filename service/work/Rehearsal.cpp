// SPDX-License-Identifier: Apache-2.0
#include "service/work/Rehearsal.h"

#include <poll.h>
#include <sys/socket.h>

#include <fmt/format.h>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "service/work/WorkerProcess.h"

namespace norvex::service::work {
namespace {

bool EndsWithin(const WorkerProcess& process, std::chrono::milliseconds budget) {
    const auto deadline = std::chrono::steady_clock::now() + budget;
    pollfd end{process.End(), POLLIN, 0};
    int count = 0;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        count = poll(&end, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
    } while (count < 0 && errno == EINTR);
    return count > 0;
}

}  // namespace

std::string Rehearse(const std::function<void()>& work, std::chrono::milliseconds budget) {
    int error = 0;
    const auto process = WorkerProcess::Start(
        {},
        [&](int socket) {
            work();
            const std::string done = Encode(FloorDone{});
            send(socket, done.data(), done.size(), MSG_NOSIGNAL);
        },
        error);
    if (process == nullptr) {
        return fmt::format("there was no process to try it in: {}", std::strerror(error));
    }
    if (!EndsWithin(*process, budget)) {
        return fmt::format("it did not end within {:g} s", std::chrono::duration<double>(budget).count());
    }
    MessageReader reader;
    process->Receive(reader);
    const bool isDone = reader.Next().has_value();
    const int status = process->Wait();
    return isDone ? std::string() : "it ended with " + EndInWords(status);
}

}  // namespace norvex::service::work
