// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "norvexdata/state/NorvexRule.h"
#include "service/RunReport.h"

// What a worker and the service say to each other. A worker's messages have a length in front; the service answers with
// single bytes.

namespace norvex::service::work {

// A worker's step past the change-floor event; the floor is being drawn from now on.
struct FloorEntered {};
// Moments are the worker's, because messages may wait before they are read; the steady clock is the same in all
// processes of a system.
using Moment = std::chrono::steady_clock::time_point;
struct TaskBegun {
    std::size_t index = 0;  // into RunPlan::tasks
    Moment at;
};
struct TaskProgress {
    int percent = 0;
};
// Rule, floor and specialty stay empty: they are the task's.
struct TaskFound {
    FindingRecord finding;
};
// How the rule itself ended; text in UTF-8.
struct TaskEnded {
    NS_NORVEX::RuleEnd end = NS_NORVEX::eRuleDone;
    std::size_t examined = 0;
    std::size_t notExamined = 0;
    std::string reason;
    Moment at;
};
// The check thread waits for the stop/continue event, and goes on.
struct CheckWaits {};
struct CheckGoesOn {};
// All tasks of the worker are done, or it was cancelled.
struct FloorDone {};

using Message =
    std::variant<FloorEntered, TaskBegun, TaskProgress, TaskFound, TaskEnded, CheckWaits, CheckGoesOn, FloorDone>;

enum class Order : char {
    Pause = 'p',
    Continue = 'c',
    Cancel = 'x',
    HoldFloor = 'h',
    EnterFloor = 'e',
};

// The message as it is sent.
std::string Encode(const Message& message);

// Puts messages together from the bytes that arrive. What a worker sends is outside data: its memory may be damaged.
class MessageReader {
  public:
    void Add(std::string_view bytes);
    // The next whole message; nothing when there is none yet, or when the stream is broken.
    std::optional<Message> Next();
    // True when what arrived can be no message; nothing more is read then.
    bool IsBroken() const { return m_isBroken; }

  private:
    std::string m_bytes;
    std::size_t m_begin = 0;  // of the next message in m_bytes
    bool m_isBroken = false;
};

}  // namespace norvex::service::work
