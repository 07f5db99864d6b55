// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "Net.h"

namespace norvex::test {
namespace {

using Numbers = std::vector<std::vector<int>>;

TEST(PipeLoop, IsNotFoundInATree) {
    EXPECT_EQ(Net("a-b b-c b-d d-e d-f").Loops(), Numbers{});
}

TEST(PipeLoop, OfASquareEndsWithItsFirstPipe) {
    EXPECT_EQ(Net("a-b b-c c-d d-a").Loops(), (Numbers{{1, 2, 3, 0}}));
}

TEST(PipeLoop, EndsWithTheFirstPipeThatLiesOnIt) {
    // The first pipe is a tail that does not start on the square.
    EXPECT_EQ(Net("e-a a-b b-c c-d d-a").Loops(), (Numbers{{2, 3, 4, 1}}));
}

TEST(PipeLoop, OfTwoSquaresThatShareAPipeIsReportedOnce) {
    const Numbers loops = Net("a-b b-c c-d d-a c-e e-f f-b").Loops();
    EXPECT_EQ(loops.size(), 1u);
}

TEST(PipeLoop, OfTwoSquaresThatShareAPointIsReportedTwice) {
    const Numbers loops = Net("a-b b-c c-d d-a c-e e-f f-g g-c").Loops();
    EXPECT_EQ(loops.size(), 2u);
}

TEST(PipeLoop, IsMadeByTwoPipesOfDifferentLengthBetweenTwoPoints) {
    Net net("a-b b-a");
    net[1].SetLength(2.0 * net[0].GetLength());
    EXPECT_EQ(net.Loops(), (Numbers{{1, 0}}));
}

TEST(PipeLoop, IsNotMadeByOnePipeDrawnTwice) {
    EXPECT_EQ(Net("a-b b-a").Loops(), Numbers{});
    EXPECT_EQ(Net("a-b a-b").Loops(), Numbers{});
}

TEST(PipeLoop, TakesLengthsFromAThousandthApartAsDifferent) {
    const auto loopsWithLengths = [](double first, double second) {
        Net net("a-b b-a");
        net[0].SetLength(first);
        net[1].SetLength(second);
        return net.Loops().size();
    };
    EXPECT_EQ(loopsWithLengths(0.0, 0.001), 1u);
    EXPECT_EQ(loopsWithLengths(0.0, 0.0009), 0u);
    EXPECT_EQ(loopsWithLengths(-5.0, 5.0), 0u);
    EXPECT_EQ(loopsWithLengths(5.0, 6.0), 1u);
}

TEST(PipeLoop, ComesFromTheRestWhenOnePipeOfItIsDrawnTwice) {
    Net net("a-b a-b b-c c-a");
    // The repetition leaves the search; the pipe that it repeats stays and closes the triangle.
    EXPECT_EQ(net.Loops(), (Numbers{{3, 2, 1}}));
}

TEST(PipeLoop, LeavesOutAPipeThatHangsFromIt) {
    EXPECT_EQ(Net("a-b b-c c-d d-a c-e").Loops(), (Numbers{{1, 2, 3, 0}}));
}

TEST(PipeLoop, IsFoundBesideNodesThatAreNowhere) {
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const AcGePoint3d nowhere[] = {{kNoNumber, 0, 0}, {0, kInfinity, 0}, {0, 0, -kInfinity}};
    CCheckPipeLineGraph graph;
    std::vector<std::vector<ZrOwEntity*>> loops;
    for (const AcGePoint3d& point : nowhere) {
        graph.CreateNode(point);
        graph.GetBadLoopVec(loops);
    }
    EXPECT_TRUE(loops.empty());
    Net net("a-b b-c c-a");
    const auto a = graph.CreateNode(Net::PointOf('a'));
    graph.GetBadLoopVec(loops);
    EXPECT_TRUE(loops.empty()) << "the first that is somewhere";
    const auto b = graph.CreateNode(Net::PointOf('b'));
    const auto c = graph.CreateNode(Net::PointOf('c'));
    const std::pair<boost::shared_ptr<CCheckPipeLineNode>, boost::shared_ptr<CCheckPipeLineNode>> ends[] = {
        {a, b}, {b, c}, {c, a}};
    for (std::size_t number = 0; number < 3; ++number) {
        const auto edge = graph.CreateEdge(&net[number]);
        edge->SetNodeStart(ends[number].first);
        edge->SetNodeEnd(ends[number].second);
        ends[number].first->AppendEdge(edge);
        ends[number].second->AppendEdge(edge);
    }
    graph.GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (Numbers{{1, 2, 0}}));
}

TEST(PipeLoop, IsAppendedAgainByASecondCall) {
    Net net("a-b b-c c-a");
    std::vector<CCheckPipeLineGraph> graphs = net.Search();
    std::vector<std::vector<ZrOwEntity*>> loops;
    graphs.front().GetBadLoopVec(loops);
    graphs.front().GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (Numbers{{1, 2, 0}, {1, 2, 0}}));
}

TEST(PipeLoop, IsAppendedToWhatTheCallerHasAlready) {
    Net net("a-b b-c c-a");
    std::vector<std::vector<ZrOwEntity*>> loops(1);
    net.Search().front().GetBadLoopVec(loops);
    ASSERT_EQ(loops.size(), 2u);
    EXPECT_TRUE(loops.front().empty());
}

TEST(PipeLoop, HoldsATailTwiceThatComesFirstAtItsCorner) {
    // The corner has two nodes; the walk from the tail passes both, and arrives over the tail itself.
    EXPECT_EQ(Net("a-x x-y a-b b-c c-d d-a").Loops(), (Numbers{{0, 5, 4, 3, 2, 0}}));
}

TEST(PipeLoop, FollowsTheOrderOfTheListsThatACallerChanged) {
    Net net("a-b b-c c-a b-d d-a");
    std::vector<CCheckPipeLineGraph> graphs = net.Search();
    CCheckPipeLineGraph& graph = graphs.front();
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (Numbers{{1, 2, 0}}));
    auto& list = graph.GetEdge(&net[0])->GetNodeStart()->GetConnectEdgeVec();
    ASSERT_EQ(list.size(), 3u);
    std::swap(list[1], list[2]);
    loops.clear();
    graph.GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (Numbers{{3, 4, 0}}));
}

TEST(PipeLoop, IsBuiltByHandOverSeveralNodesAtOnePlace) {
    Net net("a-b b-c c-a");
    CCheckPipeLineGraph graph;
    std::vector<boost::shared_ptr<CCheckPipeLineNode>> nodes;
    for (const char* place = "abbcca"; *place != '\0'; ++place) {
        nodes.push_back(graph.CreateNode(Net::PointOf(*place)));
    }
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> edges;
    for (std::size_t number = 0; number < 3; ++number) {
        edges.push_back(graph.CreateEdge(&net[number]));
        edges[number]->SetNodeStart(nodes[2 * number]);
        edges[number]->SetNodeEnd(nodes[2 * number + 1]);
    }
    // Each node lists both pipes that meet at its place, though only one of them names it.
    for (std::size_t number = 0; number < 6; ++number) {
        nodes[number]->AppendEdge(edges[number / 2]);
        nodes[number]->AppendEdge(edges[(number % 2 == 0 ? number + 5 : number + 1) / 2 % 3]);
    }
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (Numbers{{1, 2, 0}}));
}

TEST(PipeLoop, IsNotFoundOverAnEdgeThatLacksANode) {
    Net net("a-b b-a");
    CCheckPipeLineGraph graph;
    const auto a = graph.CreateNode(Net::PointOf('a'));
    for (std::size_t number = 0; number < 2; ++number) {
        const auto edge = graph.CreateEdge(&net[number]);
        edge->SetNodeStart(a);
        a->AppendEdge(edge);
    }
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    EXPECT_TRUE(loops.empty());
}

}  // namespace
}  // namespace norvex::test
