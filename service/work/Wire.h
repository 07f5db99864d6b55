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
    int percent = 0;  // 0 to 100
};
// Rule, floor and specialty stay empty: they are the task's.
struct TaskFound {
    FindingRecord finding;
};
// How the rule itself ended; text in UTF-8.
struct TaskEnded {
    NS_NORVEX::RuleEnd end = NS_NORVEX::eRuleDone;
    std::size_t examined = 0;  // no more than an int holds, as the next
    std::size_t notExamined = 0;
    std::string reason;
    Moment at;
};
// The check thread waits for the stop/continue event, and goes on.
struct CheckWaits {};
struct CheckGoesOn {};
// All tasks of the worker are done, or it was cancelled.
struct FloorDone {};
// The worker cannot go on, for a reason of its own or of the system; a clause in UTF-8. Nothing follows.
struct WorkerFailed {
    std::string reason;
};

using Message = std::variant<FloorEntered, TaskBegun, TaskProgress, TaskFound, TaskEnded, CheckWaits, CheckGoesOn,
                             FloorDone, WorkerFailed>;

enum class Order : char {
    Pause = 'p',
    Continue = 'c',
    Cancel = 'x',
    HoldFloor = 'h',
    EnterFloor = 'e',
};

// The message as it is sent: the length of the rest, the kind, and what it carries, field by field as the structures
// above have them.
std::string Encode(const Message& message);

// A longer message is none; far more than a finding with a hundred thousand objects takes.
inline constexpr std::size_t kMostMessageBytes = std::size_t{32} << 20U;

// Puts messages together from the bytes that arrive. What a worker sends is outside data: its memory may be damaged,
// and a rule may write to its socket. A message that is taken has every value within its bounds, its text is UTF-8, and
// it takes no more memory than some times its length.
class MessageReader {
  public:
    void Add(std::string_view bytes);
    // The next whole message; nothing when there is none yet, or when the stream is broken.
    std::optional<Message> Next();
    // Bytes of the message that Next returned last.
    std::size_t Size() const { return m_size; }
    // True when what arrived can be no message; nothing more is read then.
    bool IsBroken() const { return m_isBroken; }

  private:
    std::string m_bytes;
    std::size_t m_begin = 0;  // of the next message in m_bytes
    std::size_t m_size = 0;
    bool m_isBroken = false;
};

}  // namespace norvex::service::work
