// SPDX-License-Identifier: Apache-2.0
#include "cli/ProgressDisplay.h"

#include <fmt/format.h>
#include <algorithm>
#include <cstdio>

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
        fmt::print(stderr, "\r\x1B[K");
        std::fflush(stderr);
    }
}

void ProgressDisplay::OnTask(std::size_t, const service::TaskRecord& task) {
    m_label = LabelOf(task);
    Draw(0);
}

void ProgressDisplay::OnTaskProgress(std::size_t, int percent) {
    Draw(percent);
}

void ProgressDisplay::OnTaskEnd(std::size_t, const service::TaskResult& result) {
    ++m_done;
    if (m_kind == Kind::Lines) {
        fmt::print(stderr, "checked {}/{}: {}: {}\n", m_done, m_total, LabelOf(result.task),
                   service::OutcomeName(result.task.outcome));
    }
}

void ProgressDisplay::Draw(int taskPercent) {
    const auto now = std::chrono::steady_clock::now();
    if (m_kind != Kind::Bar || (m_isDrawn && now - m_drawnAt < kRedrawEvery)) {
        return;
    }
    const std::size_t hundredths = m_done * 100 + static_cast<std::size_t>(taskPercent);
    const std::size_t percent = m_total == 0 ? 100 : hundredths / m_total;
    const std::size_t filled = percent * kBarWidth / 100;
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '-');
    const std::string line = fmt::format("[{}] {:3} %  {}", bar, percent, m_label);
    const std::size_t width = WidthOfErrors();
    fmt::print(stderr, "\r\x1B[K{}", report::Wrapped(line, std::max<std::size_t>(width, 2) - 1).front());
    std::fflush(stderr);
    m_isDrawn = true;
    m_drawnAt = now;
}

}  // namespace norvex::cli
