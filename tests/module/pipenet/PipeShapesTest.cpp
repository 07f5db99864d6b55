// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "LiteralLoops.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"

namespace norvex::test {
namespace {

// List entries visited, and walks begun, per pipe of the drawing.
struct Effort {
    double visited = 0.0;
    double searches = 0.0;
};

Effort EffortOf(const std::string& kind, int pipes, bool shuffled) {
    const PipeShape shape(kind, pipes, shuffled);
    std::vector<CCheckPipeLineGraph> graphs;
    CCheckSearchGraph().SearchGraph(shape.list(), graphs);
    std::vector<std::vector<ZrOwEntity*>> loops;
    Effort effort;
    for (CCheckPipeLineGraph& graph : graphs) {
        graph.GetBadLoopVec(loops);
        effort.visited += static_cast<double>(pipenet::LastLoopWork(graph).edgesVisited);
        effort.searches += static_cast<double>(pipenet::LastLoopWork(graph).searches);
    }
    effort.visited /= static_cast<double>(shape.size());
    effort.searches /= static_cast<double>(shape.size());
    return effort;
}

TEST(LoopWork, IsNothingWhereThereIsNoLoop) {
    for (const bool shuffled : {false, true}) {
        EXPECT_EQ(EffortOf("forest", 100000, shuffled).searches, 0.0);
        EXPECT_EQ(EffortOf("chain", 100000, shuffled).searches, 0.0);
    }
}

TEST(LoopWork, StaysWithinTwoEntriesPerPipeInABuilding) {
    EXPECT_LE(EffortOf("building", 100000, false).visited, 2.0);
    EXPECT_LE(EffortOf("building", 100000, true).visited, 2.0);
}

TEST(LoopWork, StaysWithinEightEntriesPerPipeInADrawnMeshAndTwentyInAShuffledOne) {
    for (const int pipes : {1000, 10000, 100000, 500000}) {
        EXPECT_LE(EffortOf("grid", pipes, false).visited, 8.0) << pipes;
        EXPECT_LE(EffortOf("grid", pipes, true).visited, 20.0) << pipes;
    }
}

TEST(LoopWork, StaysWithinFiftyEntriesPerPipeWhateverTheShape) {
    for (const char* kind :
         {"squares", "ladder", "honeycomb", "sparse", "twins", "petals", "stubs", "doubled", "loose"}) {
        for (const bool shuffled : {false, true}) {
            EXPECT_LE(EffortOf(kind, 100000, shuffled).visited, 50.0) << kind;
        }
    }
}

TEST(LoopWork, IsThatOfTheLastListing) {
    const PipeShape shape("grid", 1000, false);
    std::vector<CCheckPipeLineGraph> graphs;
    CCheckSearchGraph().SearchGraph(shape.list(), graphs);
    EXPECT_EQ(pipenet::LastLoopWork(graphs.front()).searches, 0u);
    std::vector<std::vector<ZrOwEntity*>> loops;
    graphs.front().GetBadLoopVec(loops);
    const pipenet::LoopWork first = pipenet::LastLoopWork(graphs.front());
    graphs.front().GetBadLoopVec(loops);
    EXPECT_GT(first.searches, 0u);
    EXPECT_EQ(pipenet::LastLoopWork(graphs.front()).edgesVisited, first.edgesVisited);
}

void ExpectLikeLiteral(const std::string& kind, int pipes) {
    for (const bool shuffled : {false, true}) {
        EXPECT_EQ(literal::Compare(PipeShape(kind, pipes, shuffled)), "") << kind << " of " << pipes;
    }
}

TEST(PipeShapes, GiveTheSameGraphsAndLoopsAsTheLiteralSteps) {
    for (const char* kind : {"forest", "chain", "grid", "building", "squares", "ladder", "honeycomb", "sparse", "twins",
                             "petals", "doubled"}) {
        ExpectLikeLiteral(kind, 4000);
    }
}

TEST(PipeShapes, GiveTheSameGraphsAndLoopsAsTheLiteralStepsAtAHundredThousandPipes) {
    for (const char* kind : {"forest", "building", "grid", "honeycomb"}) {
        ExpectLikeLiteral(kind, 100000);
    }
}

}  // namespace
}  // namespace norvex::test
