// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>

#include "Compare.h"
#include "HandBuilt.h"
#include "LongLists.h"

namespace norvex::test {
namespace {

// Sets the host's point tolerance for a scope.
class PointTolerance {
  public:
    explicit PointTolerance(double value) : m_before(AcGeContext::gTol.equalPoint()) {
        AcGeContext::gTol.setEqualPoint(value);
    }
    ~PointTolerance() { AcGeContext::gTol.setEqualPoint(m_before); }

  private:
    double m_before;
};

void ExpectSameSearches(std::uint64_t seed, int drawings) {
    RandomNets nets(seed);
    for (int number = 0; number < drawings; ++number) {
        const std::unique_ptr<PipeSet> set = nets.Next();
        const std::string difference = CompareSearches(*set);
        ASSERT_EQ(difference, "") << "seed " << seed << ", drawing " << number << "\n" << Describe(*set);
    }
}

TEST(RandomNets, GiveTheSameGraphsAndLoopsAsThePlainForm) {
    ExpectSameSearches(1, 120000);
}

TEST(RandomNets, GiveTheSameGraphsAndLoopsUnderOtherHostTolerances) {
    constexpr double kEndless = std::numeric_limits<double>::infinity();
    for (const double tolerance : {0.0, 1e-4, 0.05, 0.07, 0.1, 0.2, 3.0, 1e30, 1e308, kEndless}) {
        SCOPED_TRACE(tolerance);
        const PointTolerance scope(tolerance);
        ExpectSameSearches(2, 4000);
    }
}

TEST(RandomNets, GiveTheSameGraphsAndLoopsWithPointsBeyondAllMeasure) {
    constexpr double kEndless = std::numeric_limits<double>::infinity();
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    for (const double tolerance : {1e-10, 1e-10, 1e-10, 0.1, 1e18, 1e200, 1e308, kEndless, kNoNumber, -1.0}) {
        SCOPED_TRACE(tolerance);
        const PointTolerance scope(tolerance);
        RandomNets nets(6);
        nets.ReachBeyond();
        for (int number = 0; number < 130; ++number) {
            const std::unique_ptr<PipeSet> set = number % 65 == 64 ? nets.NextCrowd() : nets.Next();
            const std::string difference = CompareSearches(*set);
            ASSERT_EQ(difference, "") << "drawing " << number << "\n" << Describe(*set);
        }
    }
}

TEST(RandomNets, GiveTheSameGraphsAndLoopsInMeshes) {
    RandomNets nets(4);
    for (int number = 0; number < 20000; ++number) {
        const std::unique_ptr<PipeSet> set = nets.NextMesh();
        const std::string difference = CompareSearches(*set);
        ASSERT_EQ(difference, "") << "mesh " << number << "\n" << Describe(*set);
    }
}

TEST(RandomNets, GiveTheSameGraphsAndLoopsWhereHundredsOfPipesLieInAFewUnits) {
    RandomNets nets(5);
    for (int number = 0; number < 60; ++number) {
        const std::unique_ptr<PipeSet> set = nets.NextCrowd();
        const std::string difference = CompareSearches(*set);
        ASSERT_EQ(difference, "") << "crowd " << number << "\n" << Describe(*set);
    }
}

TEST(RandomNets, GiveTheSameGraphsAndLoopsWhereverTheyStandInALongList) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        LongList list(seed, 400);
        ASSERT_GT(list.size(), 8192u);
        const std::string difference = list.Compare();
        ASSERT_EQ(difference, "") << "seed " << seed;
    }
}

void ExpectSameByHand(RandomNets& nets, int graphs, int moreEdges = 0) {
    for (int number = 0; number < graphs; ++number) {
        HandBuilt built(nets, moreEdges);
        std::string difference = built.Compare();
        if (difference.empty()) {
            difference = built.CompareWhatIsLeft();
        }
        ASSERT_EQ(difference, "") << "graph " << number << "\n" << built.Describe();
    }
}

TEST(RandomNets, GiveTheSameLoopsWhenBuiltAndChangedByHand) {
    RandomNets nets(3);
    ExpectSameByHand(nets, 100000);
}

TEST(RandomNets, GiveTheSameListsAndLoopsByHandWithHundredsOfPipesAtAPlace) {
    RandomNets nets(8);
    ExpectSameByHand(nets, 1000, 270);
}

TEST(RandomNets, GiveTheSameLoopsByHandWithPointsBeyondAllMeasure) {
    RandomNets nets(7);
    nets.ReachBeyond();
    ExpectSameByHand(nets, 10000);
}

}  // namespace
}  // namespace norvex::test
