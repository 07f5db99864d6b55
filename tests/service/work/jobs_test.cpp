// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>

#include "report/CheckReport.h"
#include "tests/service/work/Runs.h"

namespace {

using namespace norvex::test;
using norvex::Drawing;
using norvex::service::RunReport;

// Floors of random pipes between points of a small grid, so that many close loops; some floors make a rule crash.
DrawingFloors RandomBuilding(unsigned seed) {
    std::mt19937 random(seed);
    const auto upTo = [&](int most) { return static_cast<double>(random() % static_cast<unsigned>(most + 1)); };
    DrawingFloors floors;
    const int count = 2 + static_cast<int>(upTo(5));
    for (int floor = 0; floor < count; ++floor) {
        Drawing drawing;
        const int pipes = static_cast<int>(upTo(60));
        for (int pipe = 0; pipe < pipes; ++pipe) {
            const std::string& path = upTo(1) == 0 ? kWaterPipe : kFirePipe;
            const AcGePoint3d start{upTo(4) * 1000, upTo(4) * 1000, 0};
            const AcGePoint3d end{upTo(4) * 1000, upTo(4) * 1000, 0};
            drawing.pipe(start, end, path.c_str());
        }
        floors.Add(upTo(4) == 0 ? std::string("segfault") + std::string(static_cast<std::size_t>(floor), ' ')
                                : std::to_string(floor) + "F",
                   std::move(drawing));
    }
    return floors;
}

std::string JsonOf(const RunReport& report) {
    return norvex::report::CheckJson(report);
}

TEST(Jobs, ResultsAreTheSameBytesForAnyNumber) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        DrawingFloors floors = RandomBuilding(seed);
        const std::vector<std::string> modules{"CheckPipeLoop", "CrashingRule", "ThrowingRule", "WitnessRule"};
        const std::string one = JsonOf(RunModules(floors, modules, {.jobs = 1}));
        for (const std::size_t jobs : {2U, 8U, 0U}) {
            ASSERT_EQ(JsonOf(RunModules(floors, modules, {.jobs = jobs})), one) << "seed " << seed << ", -j " << jobs;
        }
    }
}

// Keeps what ended before a given number of tasks, as a store does.
class Keeper : public SilentObserver {
  public:
    Keeper(std::size_t limit, norvex::service::RunControl& control) : m_limit(limit), m_control(control) {}
    void OnTaskEnd(std::size_t index, const norvex::service::TaskResult& result) override {
        if (finished.size() < m_limit) {
            finished.emplace(index, result);
        } else {
            m_control.Cancel();
        }
    }
    std::map<std::size_t, norvex::service::TaskResult> finished;

  private:
    std::size_t m_limit;
    norvex::service::RunControl& m_control;
};

TEST(Jobs, AResumedRunEndsInTheSameBytesAsAWholeOne) {
    const std::vector<std::string> modules{"CheckPipeLoop", "CrashingRule", "ThrowingRule", "WitnessRule"};
    for (unsigned seed = 1; seed <= 4; ++seed) {
        DrawingFloors floors = RandomBuilding(seed);
        const RunReport whole = RunModules(floors, modules, {.jobs = 2});
        for (std::size_t limit = 0; limit <= whole.tasks.size(); limit += 3) {
            norvex::service::RunControl control;
            Keeper keeper(limit, control);
            RunModules(floors, modules, {.jobs = 2}, keeper, control);
            norvex::service::RunSettings rest{.jobs = 2};
            rest.finished = keeper.finished;
            ASSERT_EQ(JsonOf(RunModules(floors, modules, std::move(rest))), JsonOf(whole))
                << "seed " << seed << ", resumed after " << limit;
        }
    }
}

TEST(Jobs, EqualCodesOfOneRunAreCounted) {
    DrawingFloors floors = FloorsWithWater({"1F", "2F", "3F"});
    const RunReport report = RunModules(floors, {"CrashingRule"}, {.jobs = 3});
    ASSERT_EQ(report.findings.size(), 3U);
    EXPECT_EQ(report.findings[0].featureCode, report.findings[2].featureCode);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(report.findings[i].occurrence, i);
        EXPECT_EQ(report.findings[i].number, i + 1);
    }
}

// Notes how many floors were under way at a time.
class FloorCounter : public SilentObserver {
  public:
    void OnTask(std::size_t index, const norvex::service::TaskRecord&) override {
        m_underWay.insert(index);
        most = std::max(most, m_underWay.size());
    }
    void OnTaskEnd(std::size_t index, const norvex::service::TaskResult&) override { m_underWay.erase(index); }

    std::size_t most = 0;

  private:
    std::set<std::size_t> m_underWay;
};

TEST(Jobs, AsManyFloorsAsAskedForAreCheckedSideBySide) {
    for (const std::size_t jobs : {1U, 2U, 3U}) {
        DrawingFloors floors = FloorsWithWater({"hang politely", "hang politely ", "hang politely  "});
        FloorCounter counter;
        norvex::service::RunControl control;
        RunModules(floors, {"CrashingRule"}, {.jobs = jobs, .budget = std::chrono::milliseconds(300)}, counter,
                   control);
        EXPECT_EQ(counter.most, jobs);
    }
}

}  // namespace
