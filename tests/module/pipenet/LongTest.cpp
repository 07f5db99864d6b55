// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "HandBuilt.h"
#include "LiteralLoops.h"
#include "LongLists.h"

namespace norvex::test {
namespace {

TEST(LongRandomNets, GiveTheSameGraphsAndLoopsAsThePlainForm) {
    RandomNets nets(1001);
    for (int number = 0; number < 700000; ++number) {
        const std::unique_ptr<PipeSet> set = nets.Next();
        const std::string difference = CompareSearches(*set);
        ASSERT_EQ(difference, "") << "drawing " << number << "\n" << Describe(*set);
    }
}

TEST(LongRandomNets, GiveTheSameLoopsWhenBuiltAndChangedByHand) {
    RandomNets nets(1002);
    for (int number = 0; number < 300000; ++number) {
        HandBuilt built(nets);
        ASSERT_EQ(built.Compare(), "") << "graph " << number << "\n" << built.Describe();
        ASSERT_EQ(built.CompareWhatIsLeft(), "") << "graph " << number << "\n" << built.Describe();
    }
}

TEST(LongRandomNets, GiveTheSameGraphsAndLoopsInMeshes) {
    RandomNets nets(1003);
    for (int number = 0; number < 30000; ++number) {
        const std::unique_ptr<PipeSet> set = nets.NextMesh();
        const std::string difference = CompareSearches(*set);
        ASSERT_EQ(difference, "") << "mesh " << number << "\n" << Describe(*set);
    }
}

TEST(LongRandomNets, GiveTheSameGraphsAndLoopsWhereHundredsOfPipesLieInAFewUnits) {
    RandomNets nets(1004);
    for (int number = 0; number < 5000; ++number) {
        const std::unique_ptr<PipeSet> set = nets.NextCrowd();
        const std::string difference = CompareSearches(*set);
        ASSERT_EQ(difference, "") << "crowd " << number << "\n" << Describe(*set);
    }
}

TEST(LongRandomNets, GiveTheSameGraphsAndLoopsWhereverTheyStandInALongList) {
    for (std::uint64_t seed = 1001; seed <= 1200; ++seed) {
        ASSERT_EQ(LongList(seed, 400).Compare(), "") << "seed " << seed;
    }
}

TEST(LongPipeShapes, GiveTheSameGraphsAndLoopsAsTheLiteralStepsAtAHundredThousandPipes) {
    for (const char* kind : {"forest", "chain", "grid", "building", "squares", "ladder", "honeycomb", "sparse", "twins",
                             "petals", "doubled"}) {
        for (const bool shuffled : {false, true}) {
            EXPECT_EQ(literal::Compare(PipeShape(kind, 100000, shuffled)), "") << kind;
        }
    }
}

}  // namespace
}  // namespace norvex::test
