// SPDX-License-Identifier: Apache-2.0
#include "cli/ProgressDisplay.h"

#include <fmt/format.h>
#include <algorithm>

#include "cli/Output.h"
#include "cli/Terminal.h"
#include "report/DisplayText.h"
#include "service/Words.h"

namespace norvex::cli {
namespace {

constexpr std::size_t kBarWidth = 24;
// Faster redrawing is not seen, only paid for.
constexpr std::chrono::milliseconds kRedrawEvery{100};

std::string LabelOf(const service::TaskRecord& task) {
    std::string label = task.rule + ", " + task.floor;
    if (!task.specialty.empty()) {
        const std::string_view gloss = service::SpecialtyGloss(task.specialty);
        label += ", " + task.specialty + (gloss.empty() ? "" : fmt::format(" ({})", gloss));
    }
    return report::Sanitised(label);
}

}  // namespace

ProgressDisplay::~ProgressDisplay() {
    if (m_isDrawn) {
        WriteError("\r\x1B[K");
    }
}

void ProgressDisplay::OnTask(std::size_t index, const service::TaskRecord& task) {
    m_tasks[index] = {LabelOf(task), 0};
    Draw(false);
}

void ProgressDisplay::OnTaskProgress(std::size_t index, int percent) {
    m_tasks[index].percent = percent;
    Draw(false);
}

void ProgressDisplay::OnTaskEnd(std::size_t index, const service::TaskResult& result) {
    m_tasks.erase(index);
    ++m_done;
    if (m_kind == Kind::Lines) {
        WriteError(fmt::format("checked {}/{}: {}: {}\n", m_done, m_total, LabelOf(result.task),
                               service::OutcomeName(result.task.outcome)));
    }
}

void ProgressDisplay::OnWish() {
    const std::string state = State();
    if (m_kind == Kind::Lines && state != m_shownState) {
        WriteError((state.empty() ? "going on" : state) + "\n");
    }
    m_shownState = state;
    Draw(true);
}

std::string ProgressDisplay::State() const {
    if (m_control.IsCancelled()) {
        return "cancelling";
    }
    return m_control.IsPaused() ? "paused" : m_control.AreFloorsHeld() ? "floors are held" : "";
}

// As many as fit: the line is cut at the width of the terminal.
std::string ProgressDisplay::Labels() const {
    std::string labels = State();
    for (const auto& [index, task] : m_tasks) {
        labels += (labels.empty() ? "" : "; ") + task.label;
    }
    return labels;
}

// Of all checks. It never falls, and reaches a hundred when the last one has ended.
std::size_t ProgressDisplay::Percent() const {
    std::size_t hundredths = m_done * 100;
    for (const auto& [index, task] : m_tasks) {
        hundredths += static_cast<std::size_t>(task.percent);
    }
    return m_total == 0 ? 100 : std::min<std::size_t>(hundredths / m_total, 100);
}

void ProgressDisplay::Draw(bool evenIfJustDrawn) {
    const auto now = std::chrono::steady_clock::now();
    if (m_kind != Kind::Bar || (m_isDrawn && !evenIfJustDrawn && now - m_drawnAt < kRedrawEvery)) {
        return;
    }
    m_shownPercent = std::max(m_shownPercent, Percent());
    const std::size_t filled = m_shownPercent * kBarWidth / 100;
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '-');
    const std::string line = fmt::format("[{}] {:3} %  {}", bar, m_shownPercent, Labels());
    const std::size_t width = WidthOfErrors();
    WriteError("\r\x1B[K" + report::Wrapped(line, std::max<std::size_t>(width, 2) - 1).front());
    m_isDrawn = true;
    m_drawnAt = now;
}

}  // namespace norvex::cli
