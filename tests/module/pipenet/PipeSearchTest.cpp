// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <set>

#include "Net.h"
#include "norvexdata/pipenet/detail/Cells.h"
#include "platform/zrow/ZrOwNodes.h"

namespace norvex::test {
namespace {

TEST(PipeSearch, MakesNoGraphOfNothing) {
    std::vector<CCheckPipeLineGraph> graphs;
    CCheckSearchGraph().SearchGraph({}, graphs);
    EXPECT_TRUE(graphs.empty());
}

TEST(PipeSearch, MakesNoGraphOfWhatIsNoPipe) {
    ZrOwNode equipment({});
    std::vector<CCheckPipeLineGraph> graphs;
    CCheckSearchGraph().SearchGraph({&equipment, nullptr, &equipment}, graphs);
    EXPECT_TRUE(graphs.empty());
}

TEST(PipeSearch, AppendsToWhatTheCallerHasAlready) {
    Net net("a-b");
    std::vector<CCheckPipeLineGraph> graphs(2);
    CCheckSearchGraph().SearchGraph(net.list(), graphs);
    ASSERT_EQ(graphs.size(), 3u);
    EXPECT_FALSE(graphs[1].IsValid());
    EXPECT_TRUE(graphs[2].IsValid());
}

TEST(PipeSearch, KeepsPipesApartThatTouchOnlyWithinATenth) {
    Net net;
    net.Pipe({0.0, 0.0, 0.0}, {1000.0, 0.0, 0.0});
    net.Pipe({1000.05, 0.0, 0.0}, {2000.0, 0.0, 0.0});
    EXPECT_EQ(net.Search().size(), 2u);
}

TEST(PipeSearch, AsksTheHostForItsToleranceWhenItIsCalled) {
    Net net;
    net.Pipe({0.0, 0.0, 0.0}, {1000.0, 0.0, 0.0});
    net.Pipe({1000.05, 0.0, 0.0}, {2000.0, 0.0, 0.0});
    const double before = AcGeContext::gTol.equalPoint();
    AcGeContext::gTol.setEqualPoint(0.05001);
    EXPECT_EQ(net.Search().size(), 1u);
    AcGeContext::gTol.setEqualPoint(before);
    EXPECT_EQ(net.Search().size(), 2u);
}

TEST(PipeSearch, StopsAfterTheThousandthGraph) {
    Net net;
    for (int number = 0; number < 1001; ++number) {
        net.Pipe({10.0 * number, 0.0, 0.0}, {10.0 * number + 5.0, 0.0, 0.0});
    }
    const std::vector<CCheckPipeLineGraph> graphs = net.Search();
    ASSERT_EQ(graphs.size(), 1000u);
    EXPECT_NE(graphs[999].GetEdge(&net[999]), nullptr);
    for (const CCheckPipeLineGraph& graph : graphs) {
        EXPECT_EQ(graph.GetEdge(&net[1000]), nullptr);
    }
}

TEST(PipeSearch, PutsEveryPipeIntoExactlyOneGraph) {
    Net net("a-b c-d b-e f-c g-h e-a i-i a-b");
    const std::vector<CCheckPipeLineGraph> graphs = net.Search();
    for (std::size_t pipe = 0; pipe < net.size(); ++pipe) {
        int holders = 0;
        for (const CCheckPipeLineGraph& graph : graphs) {
            holders += graph.GetEdge(&net[pipe]) != nullptr;
        }
        EXPECT_EQ(holders, 1) << pipe;
    }
}

TEST(PipeSearch, OrdersGraphsByTheirFirstPipe) {
    Net net("a-b c-d b-e f-c g-h");
    const std::vector<CCheckPipeLineGraph> graphs = net.Search();
    ASSERT_EQ(graphs.size(), 3u);
    EXPECT_NE(graphs[0].GetEdge(&net[0]), nullptr);
    EXPECT_NE(graphs[1].GetEdge(&net[1]), nullptr);
    EXPECT_NE(graphs[2].GetEdge(&net[4]), nullptr);
}

TEST(PipeSearch, LeavesTheFirstNodeOutOfTheList) {
    Net net("a-b");
    CCheckPipeLineGraph graph = net.Search().front();
    EXPECT_EQ(graph.GetItemCount(), 2);
    EXPECT_TRUE(graph.HasBadLoop());
    EXPECT_EQ(graph.GetNode(Net::PointOf('a')), nullptr);
    const auto seed = graph.GetEdge(&net[0])->GetNodeStart();
    EXPECT_EQ(seed->Point().x, Net::PointOf('a').x);
    EXPECT_EQ(seed->GetConnectEdgeNum(), 1);
}

TEST(PipeSearch, MakesASecondNodeWhereItComesBackToItsFirstPoint) {
    Net net("a-b b-c c-a");
    CCheckPipeLineGraph graph = net.Search().front();
    EXPECT_EQ(graph.GetItemCount(), 6);
    const auto seed = graph.GetEdge(&net[0])->GetNodeStart();
    const auto twin = graph.GetNode(Net::PointOf('a'));
    ASSERT_NE(twin, nullptr);
    EXPECT_NE(twin, seed);
    EXPECT_EQ(graph.GetEdge(&net[2])->GetNodeEnd(), twin);
    EXPECT_EQ(seed->GetConnectEdgeVec(), twin->GetConnectEdgeVec());
}

TEST(PipeSearch, ReachesAPipeFromItsEndAndCallsThatItsStartNode) {
    Net net("a-b c-b");
    CCheckPipeLineGraph graph = net.Search().front();
    const auto edge = graph.GetEdge(&net[1]);
    EXPECT_EQ(edge->GetNodeStart()->Point().x, Net::PointOf('b').x);
    EXPECT_EQ(edge->GetNodeEnd()->Point().x, Net::PointOf('c').x);
}

TEST(PipeSearch, JoinsAnEndToTheOlderNodeWithinATenth) {
    Net net;
    net.Pipe({0.0, 0.0, 0.0}, {1000.0, 0.0, 0.0});
    net.Pipe({0.0, 0.0, 0.0}, {1000.05, 0.0, 0.0});
    net.Pipe({1000.05, 0.0, 0.0}, {2000.0, 0.0, 0.0});
    std::vector<CCheckPipeLineGraph> graphs = net.Search();
    // The second pipe ends at the first one's node, so the third, which only meets the second, stands alone.
    ASSERT_EQ(graphs.size(), 2u);
    const auto shared = graphs[0].GetEdge(&net[0])->GetNodeEnd();
    EXPECT_EQ(graphs[0].GetEdge(&net[1])->GetNodeEnd(), shared);
    EXPECT_EQ(shared->GetConnectEdgeNum(), 1);
    EXPECT_NE(graphs[1].GetEdge(&net[2]), nullptr);
}

TEST(PipeSearch, FindsEndsWhoseCellsShareTheirHash) {
    // Two cells, two units wide, whose hashes have equal upper halves; more pipes than the first table has room for.
    constexpr std::int64_t kCell = 88669;
    constexpr std::int64_t kOther = 623085;
    ASSERT_EQ(pipenet::HashOf({kCell, 0, 0}) >> 32, pipenet::HashOf({kOther, 0, 0}) >> 32);
    const AcGePoint3d corner(2.0 * kOther, 0.0, 0.0);
    Net net;
    net.Pipe({2.0 * kCell, 0.0, 0.0}, corner);
    net.Pipe(corner, {2.0 * kOther, 5000.0, 0.0});
    for (int number = 1; number <= 18; ++number) {
        net.Pipe({-1000.0 * number, 700.0, 0.0}, {-1000.0 * number - 450.0, 700.0, 0.0});
    }
    const std::vector<CCheckPipeLineGraph> graphs = net.Search();
    ASSERT_EQ(graphs.size(), 19u);
    EXPECT_EQ(graphs.front().GetItemCount(), 4);
}

TEST(PipeSearch, PutsARepeatedEntryIntoItsGraphOnce) {
    Net net("a-b b-c");
    net.list().push_back(&net[0]);
    net.list().insert(net.list().begin(), &net[1]);
    const std::vector<CCheckPipeLineGraph> graphs = net.Search();
    ASSERT_EQ(graphs.size(), 1u);
    EXPECT_EQ(graphs.front().GetItemCount(), 4);
}

TEST(PipeSearch, KeepsTheOrderOfALongListThatJumpsAboutInTheDrawing) {
    for (const double scale : {1.0, 1e12}) {
        SCOPED_TRACE(scale);
        Net net;
        for (int number = 0; number < 9000; ++number) {
            // The two pipes of a pair begin at far sides of the drawing and meet in between.
            const double x = scale * 1000.0 * (number / 2);
            net.Pipe({number % 2 == 0 ? -x : scale * 1e7 - x, scale, 0.0}, {x, 0.0, 0.0});
        }
        std::map<const ZrOwEntity*, std::size_t> numberOf;
        for (std::size_t number = 0; number < net.size(); ++number) {
            numberOf.emplace(&net[number], number);
        }
        std::vector<ZrOwEntity*>& list = net.list();
        std::shuffle(list.begin(), list.end(), std::mt19937_64(3));
        list.insert(list.begin() + 77, nullptr);
        const std::vector<CCheckPipeLineGraph> graphs = net.Search();
        ASSERT_EQ(graphs.size(), 1000u);
        std::set<std::size_t> taken;
        std::size_t position = 0;
        for (const CCheckPipeLineGraph& graph : graphs) {
            while (list[position] == nullptr || taken.count(numberOf[list[position]]) != 0) {
                ++position;
            }
            const std::size_t first = numberOf[list[position]];
            const std::size_t second = first ^ 1u;
            taken.insert({first, second});
            ASSERT_EQ(graph.GetItemCount(), 4);
            const auto node = graph.GetNode(net[first].GetEndPoint());
            ASSERT_NE(node, nullptr);
            ASSERT_EQ(node->GetConnectEdgeNum(), 2);
            EXPECT_EQ(node->GetConnectEdgeVec()[0], graph.GetEdge(&net[first]));
            EXPECT_EQ(node->GetConnectEdgeVec()[1], graph.GetEdge(&net[second]));
        }
    }
}

TEST(PipeSearch, TakesLongListsThatSayNothingOfTheDrawingsSize) {
    const double nowhere = std::numeric_limits<double>::infinity();
    Net onePlace("a-b");
    onePlace.list().resize(9000, &onePlace[0]);
    ASSERT_EQ(onePlace.Search().size(), 1u);
    EXPECT_EQ(onePlace.Search().front().GetItemCount(), 2);

    Net nothing("a-b");
    nothing.list().resize(9000, nullptr);
    std::reverse(nothing.list().begin(), nothing.list().end());
    EXPECT_EQ(nothing.Search().size(), 1u);

    // Differences so small that nothing can be divided by them.
    Net oneStart;
    for (int number = 0; number < 9000; ++number) {
        oneStart.Pipe({number * 7919 % 9000 * 1e-312, 0.0, 0.0}, {0.0, 1000.0 * number + 500.0, 0.0});
    }
    ASSERT_EQ(oneStart.Search().size(), 1u);
    EXPECT_EQ(oneStart.Search().front().GetItemCount(), 18000);

    Net endless;
    for (int number = 0; number < 4500; ++number) {
        endless.Pipe({1000.0 * (number * 7919 % 4500), 0.0, 0.0}, {number % 2 == 0 ? nowhere : -nowhere, 0.0, 0.0});
        endless.Pipe({1e308 * (number % 3 - 1), 1000.0 * number, 0.0}, {0.0, 0.0, 1000.0 * number + 500.0});
    }
    const std::vector<CCheckPipeLineGraph> graphs = endless.Search();
    ASSERT_EQ(graphs.size(), 1000u);
    EXPECT_EQ(graphs.front().GetItemCount(), 2);
}

TEST(PipeSearch, GivesEmptyGraphsForAPipeThatStartsNowhere) {
    Net net("a-b");
    const double nowhere = std::numeric_limits<double>::quiet_NaN();
    net.Pipe({nowhere, 0.0, 0.0}, {1.0, 0.0, 0.0});
    // Such a pipe is at no point, so no graph takes it, and the search gives up at its limit.
    const std::vector<CCheckPipeLineGraph> graphs = net.Search();
    ASSERT_EQ(graphs.size(), 1000u);
    EXPECT_TRUE(graphs[0].IsValid());
    EXPECT_EQ(graphs[1].GetItemCount(), 0);
}

TEST(PipeSearch, MayBeCopiedAndUsedAgain) {
    Net net("a-b b-c");
    CCheckSearchGraph search;
    std::vector<CCheckPipeLineGraph> graphs;
    search.SearchGraph(net.list(), graphs);
    CCheckSearchGraph copy(search);
    copy = search;
    copy.SearchGraph(net.list(), graphs);
    search.SearchGraph(net.list(), graphs);
    ASSERT_EQ(graphs.size(), 3u);
    EXPECT_NE(graphs[0].GetEdge(&net[0]), graphs[2].GetEdge(&net[0]));
}

}  // namespace
}  // namespace norvex::test
