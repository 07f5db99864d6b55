// SPDX-License-Identifier: Apache-2.0
#include "service/work/Rehearsal.h"

#include <sys/socket.h>

#include <fmt/format.h>
#include <cstring>
#include <optional>
#include <variant>

#include "service/work/WorkerProcess.h"

namespace norvex::service::work {

std::string Rehearse(const std::function<void()>& work, std::chrono::milliseconds budget) {
    int error = 0;
    const auto process = WorkerProcess::Start(
        {},
        [&](int socket) {
            work();
            // Whoever does not listen has given up on it.
            static_cast<void>(SendAll(socket, Encode(FloorDone{})));
        },
        error);
    if (process == nullptr) {
        return fmt::format("there was no process to try it in: {}", std::strerror(error));
    }
    if (!process->EndsWithin(budget)) {
        return fmt::format("it did not end within {:g} s", std::chrono::duration<double>(budget).count());
    }
    MessageReader reader;
    process->Receive(reader);
    const std::optional<Message> said = reader.Next();
    const int status = process->Wait();
    if (said && std::holds_alternative<FloorDone>(*said)) {
        return {};
    }
    const auto* failure = said ? std::get_if<WorkerFailed>(&*said) : nullptr;
    return failure != nullptr ? failure->reason : "it ended with " + EndInWords(status);
}

}  // namespace norvex::service::work
