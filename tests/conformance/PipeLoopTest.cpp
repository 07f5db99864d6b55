// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <vector>

#include "norvexdata/pipenet/CheckPipeLineGraph.h"
#include "norvexdata/pipenet/CheckSearchGraph.h"
#include "platform/zrow/Drawing.h"

using norvex::Drawing;
using Node = boost::shared_ptr<CCheckPipeLineNode>;
using Edge = boost::shared_ptr<CCheckPipeLineEdge>;

namespace {

// A loop, or a network, as the numbers of its pipes in the order of drawing.
using Pipes = std::vector<std::size_t>;

// A graph with every pipe of the drawing, linked at its ends by hand: no node is left out of the list.
CCheckPipeLineGraph Linked(const Drawing& drawing) {
    CCheckPipeLineGraph graph;
    const auto place = [&](const AcGePoint3d& point) {
        const Node known = graph.GetNode(point);
        return known ? known : graph.CreateNode(point);
    };
    for (ZrOwEntity* const entity : drawing.entities()) {
        ZrOwPolyLine* const pipe = ZrOwPolyLine::cast(entity);
        const Edge edge = graph.CreateEdge(pipe);
        edge->SetNodeStart(place(pipe->GetStartPoint()));
        edge->SetNodeEnd(place(pipe->GetEndPoint()));
        edge->GetNodeStart()->AppendEdge(edge);
        edge->GetNodeEnd()->AppendEdge(edge);
    }
    return graph;
}

std::size_t NumberOf(const Drawing& drawing, const ZrOwEntity* entity) {
    const std::vector<ZrOwEntity*> all = drawing.entities();
    return static_cast<std::size_t>(std::find(all.begin(), all.end(), entity) - all.begin());
}

std::vector<Pipes> Numbers(const Drawing& drawing, const std::vector<std::vector<ZrOwEntity*>>& loops) {
    std::vector<Pipes> numbers;
    for (const std::vector<ZrOwEntity*>& loop : loops) {
        numbers.emplace_back();
        for (const ZrOwEntity* const pipe : loop) {
            numbers.back().push_back(NumberOf(drawing, pipe));
        }
    }
    return numbers;
}

std::vector<Pipes> Loops(const Drawing& drawing, CCheckPipeLineGraph graph) {
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    return Numbers(drawing, loops);
}

std::vector<CCheckPipeLineGraph> Searched(const std::vector<ZrOwEntity*>& entities) {
    std::vector<CCheckPipeLineGraph> graphs;
    CCheckSearchGraph search;
    search.SearchGraph(entities, graphs);
    return graphs;
}

// The pipes of each network, in the order of drawing.
std::vector<Pipes> Networks(const Drawing& drawing, const std::vector<CCheckPipeLineGraph>& graphs) {
    std::vector<Pipes> networks;
    for (const CCheckPipeLineGraph& graph : graphs) {
        networks.emplace_back();
        for (std::size_t index = 0; index < drawing.entities().size(); ++index) {
            ZrOwPolyLine* const pipe = drawing.at<ZrOwPolyLine>(index);
            if (pipe != nullptr && graph.GetEdge(pipe)) {
                networks.back().push_back(index);
            }
        }
    }
    return networks;
}

// A square of four pipes from the corner, drawn around it.
void Square(Drawing& drawing, double x, double y) {
    drawing.pipe({x, y, 0}, {x + 10, y, 0})
        .pipe({x + 10, y, 0}, {x + 10, y + 10, 0})
        .pipe({x + 10, y + 10, 0}, {x, y + 10, 0})
        .pipe({x, y + 10, 0}, {x, y, 0});
}

// Two squares that share the pipe number 1.
void TwoSquares(Drawing& drawing) {
    Square(drawing, 0, 0);
    drawing.pipe({10, 0, 0}, {20, 0, 0}).pipe({20, 0, 0}, {20, 10, 0}).pipe({20, 10, 0}, {10, 10, 0});
}

}  // namespace

TEST(LoopContract, ATreeHasNoLoop) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0})
        .pipe({10, 0, 0}, {20, 0, 0})
        .pipe({10, 0, 0}, {10, 10, 0})
        .pipe({10, 10, 0}, {0, 10, 0})
        .pipe({10, 10, 0}, {10, 20, 0});
    EXPECT_TRUE(Loops(drawing, Linked(drawing)).empty());
    EXPECT_TRUE(Loops(drawing, Searched(drawing.entities()).at(0)).empty());
}

TEST(LoopContract, AnEmptyGraphHasNoLoop) {
    EXPECT_TRUE(Loops(Drawing(), CCheckPipeLineGraph()).empty());
}

TEST(LoopContract, ANodeThatIsNowhereIsNearToNothing) {
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    CCheckPipeLineGraph graph;
    graph.CreateNode({kNoNumber, 0, 0});
    graph.CreateNode({0, 0, 0});
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    EXPECT_TRUE(loops.empty());
    EXPECT_FALSE(graph.GetNode({kNoNumber, 0, 0}));
}

TEST(LoopContract, ASquareIsOneLoopThatEndsWithItsFirstPipe) {
    Drawing drawing;
    Square(drawing, 0, 0);
    // From the start of pipe 0 the walk leaves by pipe 3 and reaches pipe 0's end by pipe 1.
    EXPECT_EQ(Loops(drawing, Linked(drawing)), (std::vector<Pipes>{{1, 2, 3, 0}}));
}

TEST(LoopContract, ASearchedSquareIsOneLoopThatEndsWithItsFirstPipe) {
    Drawing drawing;
    Square(drawing, 0, 0);
    const std::vector<Pipes> loops = Loops(drawing, Searched(drawing.entities()).at(0));
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(loops[0].size(), 4U);
    EXPECT_EQ(loops[0].back(), 0U);
    EXPECT_EQ(std::set<std::size_t>(loops[0].begin(), loops[0].end()).size(), 4U);
}

TEST(LoopContract, OfTwoSquaresThatShareAPipeOneIsReported) {
    Drawing drawing;
    TwoSquares(drawing);
    const std::vector<Pipes> loops = Loops(drawing, Linked(drawing));
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(loops[0], (Pipes{1, 2, 3, 0}));
    EXPECT_EQ(Loops(drawing, Searched(drawing.entities()).at(0)).size(), 1U);
}

TEST(LoopContract, SquaresThatShareOnlyACornerAreTwoLoops) {
    Drawing drawing;
    Square(drawing, 0, 0);
    Square(drawing, 10, 10);
    const std::vector<Pipes> loops = Loops(drawing, Linked(drawing));
    ASSERT_EQ(loops.size(), 2U);
    EXPECT_EQ(loops[0].back(), 0U);
    EXPECT_EQ(loops[1].back(), 4U);
    EXPECT_EQ(loops[0].size() + loops[1].size(), 8U);
}

TEST(LoopContract, TwoPipesBetweenTwoPlacesAreALoopUnlessTheyMeasureTheSame) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0}).length(10).pipe({0, 0, 0}, {10, 0, 0}).length(10.002);
    EXPECT_EQ(Loops(drawing, Linked(drawing)), (std::vector<Pipes>{{1, 0}}));
    drawing.at<ZrOwPolyLine>(1)->SetLength(10.0005);
    EXPECT_TRUE(Loops(drawing, Linked(drawing)).empty());
    drawing.at<ZrOwPolyLine>(1)->SetLength(-10.0005);
    EXPECT_TRUE(Loops(drawing, Linked(drawing)).empty());
}

TEST(LoopContract, TwoSearchedPipesBetweenTwoPlacesAreALoopUnlessTheyMeasureTheSame) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0}).length(10).pipe({10, 0, 0}, {0, 0, 0}).length(12);
    EXPECT_EQ(Loops(drawing, Searched(drawing.entities()).at(0)), (std::vector<Pipes>{{1, 0}}));
    drawing.at<ZrOwPolyLine>(1)->SetLength(10.0009);
    EXPECT_TRUE(Loops(drawing, Searched(drawing.entities()).at(0)).empty());
}

TEST(LoopContract, APipeDrawnTwiceUsesUpTheFirstOneAlone) {
    Drawing drawing;
    // The twin stays, so that the third, longer pipe closes a loop with it.
    drawing.pipe({0, 0, 0}, {10, 0, 0}).pipe({0, 0, 0}, {10, 0, 0}).pipe({0, 0, 0}, {10, 0, 0}).length(30);
    EXPECT_EQ(Loops(drawing, Linked(drawing)), (std::vector<Pipes>{{2, 1}}));
}

TEST(LoopContract, ADeadEndAtALoopIsLeftOut) {
    Drawing drawing;
    drawing.pipe({10, 10, 0}, {30, 30, 0});
    Square(drawing, 0, 0);
    drawing.pipe({30, 30, 0}, {40, 40, 0});
    const std::vector<Pipes> loops = Loops(drawing, Linked(drawing));
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(std::set<std::size_t>(loops[0].begin(), loops[0].end()), (std::set<std::size_t>{1, 2, 3, 4}));
    EXPECT_EQ(loops[0].back(), 1U);
}

TEST(LoopContract, AskingTwiceAppendsTheSameLoopsAgain) {
    Drawing drawing;
    Square(drawing, 0, 0);
    Square(drawing, 100, 100);
    CCheckPipeLineGraph graph = Linked(drawing);
    std::vector<std::vector<ZrOwEntity*>> loops(1);
    graph.GetBadLoopVec(loops);
    ASSERT_EQ(loops.size(), 3U);
    EXPECT_TRUE(loops[0].empty());
    graph.GetBadLoopVec(loops);
    ASSERT_EQ(loops.size(), 5U);
    EXPECT_EQ(loops[3], loops[1]);
    EXPECT_EQ(loops[4], loops[2]);
}

TEST(LoopContract, TheFirstWayInConnectionOrderWins) {
    // From the start of pipe 0 there are two ways to its end; the one drawn first is taken.
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0})
        .pipe({0, 0, 0}, {0, -10, 0})
        .pipe({0, -10, 0}, {10, 0, 0})
        .pipe({0, 0, 0}, {0, 10, 0})
        .pipe({0, 10, 0}, {10, 0, 0});
    EXPECT_EQ(Loops(drawing, Linked(drawing)), (std::vector<Pipes>{{2, 1, 0}}));
    Drawing other;
    other.pipe({0, 0, 0}, {10, 0, 0})
        .pipe({0, 0, 0}, {0, 10, 0})
        .pipe({0, -10, 0}, {10, 0, 0})
        .pipe({0, 0, 0}, {0, -10, 0})
        .pipe({0, 10, 0}, {10, 0, 0});
    EXPECT_EQ(Loops(other, Linked(other)), (std::vector<Pipes>{{4, 1, 0}}));
}

TEST(LoopContract, LoopsNeverShareAPipe) {
    Drawing drawing;
    for (int row = 0; row < 6; ++row) {
        for (int column = 0; column < 6; ++column) {
            const double x = column * 10;
            const double y = row * 10;
            drawing.pipe({x, y, 0}, {x + 10, y, 0}).pipe({x, y, 0}, {x, y + 10, 0});
        }
    }
    std::set<std::size_t> used;
    const std::vector<Pipes> loops = Loops(drawing, Linked(drawing));
    EXPECT_FALSE(loops.empty());
    for (const Pipes& loop : loops) {
        for (const std::size_t pipe : loop) {
            EXPECT_TRUE(used.insert(pipe).second) << pipe;
        }
    }
}

TEST(PipeSearchContract, NothingAndNoPipesGiveNoGraph) {
    Drawing drawing;
    drawing.node({0, 0, 0}).fitting({0, 0, 0}).groove(1);
    EXPECT_TRUE(Searched({}).empty());
    std::vector<ZrOwEntity*> entities = drawing.entities();
    entities.push_back(nullptr);
    EXPECT_TRUE(Searched(entities).empty());
}

TEST(PipeSearchContract, PipesThatMeetOnlyWithinATenthAreTwoNetworks) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0}).pipe({10.05, 0, 0}, {20, 0, 0});
    EXPECT_EQ(Networks(drawing, Searched(drawing.entities())), (std::vector<Pipes>{{0}, {1}}));
}

TEST(PipeSearchContract, TheThousandthGraphIsTheLast) {
    Drawing drawing;
    for (int index = 0; index < 1001; ++index) {
        drawing.pipe({index * 100.0, 0, 0}, {index * 100.0 + 50, 0, 0});
    }
    const std::vector<CCheckPipeLineGraph> graphs = Searched(drawing.entities());
    ASSERT_EQ(graphs.size(), 1000U);
    EXPECT_TRUE(graphs[999].GetEdge(drawing.at<ZrOwPolyLine>(999)));
    for (const CCheckPipeLineGraph& graph : graphs) {
        EXPECT_FALSE(graph.GetEdge(drawing.at<ZrOwPolyLine>(1000)));
    }
}

TEST(PipeSearchContract, TheLimitCountsTheGraphsOfOneCall) {
    Drawing drawing;
    for (int index = 0; index < 1000; ++index) {
        drawing.pipe({index * 100.0, 0, 0}, {index * 100.0 + 50, 0, 0});
    }
    std::vector<CCheckPipeLineGraph> graphs(5);
    CCheckSearchGraph search;
    search.SearchGraph(drawing.entities(), graphs);
    EXPECT_EQ(graphs.size(), 1005U);
    search.SearchGraph(drawing.entities(), graphs);
    EXPECT_EQ(graphs.size(), 2005U);
}

TEST(PipeSearchContract, EveryPipeIsInExactlyOneNetworkInTheOrderOfFirstPipes) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0})
        .pipe({100, 0, 0}, {110, 0, 0})
        .node({10, 0, 0})
        .pipe({20, 0, 0}, {10, 0, 0})
        .pipe({110, 0, 0}, {110, 10, 0})
        .pipe({10, 0, 0}, {10, 10, 0})
        .pipe({500, 0, 0}, {510, 0, 0})
        .pipe({0, -5, 0}, {0, 0, 0});
    EXPECT_EQ(Networks(drawing, Searched(drawing.entities())), (std::vector<Pipes>{{0, 3, 5, 7}, {1, 4}, {6}}));
}

TEST(PipeSearchContract, PipesThatCrossWithoutEndsMeetingAreTwoNetworks) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0}).pipe({5, 0, 0}, {5, 10, 0}).pipe({10, 0, 5}, {20, 0, 5});
    EXPECT_EQ(Searched(drawing.entities()).size(), 3U);
}

TEST(PipeSearchContract, AListWithRepeatsHasEachPipeOnce) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0}).pipe({10, 0, 0}, {20, 0, 0});
    std::vector<ZrOwEntity*> entities = drawing.entities();
    entities.push_back(entities[0]);
    const std::vector<CCheckPipeLineGraph> graphs = Searched(entities);
    ASSERT_EQ(graphs.size(), 1U);
    EXPECT_EQ(graphs[0].GetItemCount(), 4);
}

TEST(PipeSearchContract, TheFirstPipesStartIsInNoNodeList) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    const CCheckPipeLineGraph graph = Searched(drawing.entities()).at(0);
    EXPECT_EQ(graph.GetItemCount(), 2);
    EXPECT_FALSE(graph.GetNode({0, 0, 0}));
    EXPECT_TRUE(graph.GetNode({10, 0, 0}));
    EXPECT_TRUE(graph.IsValid());
    EXPECT_TRUE(graph.HasBadLoop());
    EXPECT_TRUE(Loops(drawing, graph).empty());
}

TEST(PipeSearchContract, ANetworkThatReturnsToItsFirstPointListsANodeThere) {
    Drawing drawing;
    Square(drawing, 0, 0);
    const CCheckPipeLineGraph graph = Searched(drawing.entities()).at(0);
    EXPECT_TRUE(graph.GetNode({0, 0, 0}));
    EXPECT_EQ(graph.GetItemCount(), 8);
    EXPECT_TRUE(graph.HasBadLoop());
}

TEST(PipeSearchContract, EdgesRunFromTheNodeThatTheSearchCameFrom) {
    Drawing drawing;
    // The second pipe is drawn against the search.
    drawing.pipe({0, 0, 0}, {10, 0, 0}).pipe({20, 0, 0}, {10, 0, 0});
    const CCheckPipeLineGraph graph = Searched(drawing.entities()).at(0);
    const Edge first = graph.GetEdge(drawing.at<ZrOwPolyLine>(0));
    const Edge second = graph.GetEdge(drawing.at<ZrOwPolyLine>(1));
    ASSERT_TRUE(first && second);
    ASSERT_TRUE(first->GetNodeStart());
    EXPECT_EQ(first->GetNodeStart()->Point().x, 0);
    EXPECT_EQ(first->GetNodeEnd(), graph.GetNode({10, 0, 0}));
    EXPECT_EQ(second->GetNodeStart(), graph.GetNode({10, 0, 0}));
    EXPECT_EQ(second->GetNodeEnd(), graph.GetNode({20, 0, 0}));
}

TEST(PipeSearchContract, NodesListTheirPipesInTheOrderOfThePendingOnes) {
    Drawing drawing;
    drawing.pipe({10, 0, 0}, {10, 10, 0}).pipe({10, 0, 0}, {20, 0, 0}).pipe({10, 0, 0}, {0, 0, 0});
    drawing.pipe({20, 0, 0}, {30, 0, 0});
    const CCheckPipeLineGraph graph = Searched(drawing.entities()).at(0);
    const auto edge = [&](std::size_t index) { return graph.GetEdge(drawing.at<ZrOwPolyLine>(index)); };
    // All three leave the first point, whose node is kept by the edges' graph alone.
    EXPECT_EQ(edge(0)->GetNodeStart(), edge(2)->GetNodeStart());
    EXPECT_EQ(edge(0)->GetNodeStart()->GetConnectEdgeVec(), (std::vector<Edge>{edge(0), edge(1), edge(2)}));
    EXPECT_EQ(graph.GetNode({20, 0, 0})->GetConnectEdgeVec(), (std::vector<Edge>{edge(1), edge(3)}));
    EXPECT_EQ(graph.GetNode({30, 0, 0})->GetConnectEdgeVec(), (std::vector<Edge>{edge(3)}));
}

TEST(PipeSearchContract, NetworksWithoutALoopHaveAsManyEdgesAsListedNodes) {
    Drawing drawing;
    for (int index = 0; index < 50; ++index) {
        drawing.pipe({index * 10.0, 0, 0}, {index * 10.0 + 10, 0, 0});
        drawing.pipe({index * 10.0, 0, 0}, {index * 10.0, 5, 0});
    }
    const std::vector<CCheckPipeLineGraph> graphs = Searched(drawing.entities());
    ASSERT_EQ(graphs.size(), 1U);
    EXPECT_EQ(graphs[0].GetItemCount(), 200);
    EXPECT_TRUE(graphs[0].HasBadLoop());
    EXPECT_TRUE(Loops(drawing, graphs[0]).empty());
}

TEST(PipeSearchContract, TheInputIsLeftAsItIs) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0}).node({0, 0, 0}).pipe({10, 0, 0}, {20, 0, 0});
    const std::vector<ZrOwEntity*> entities = drawing.entities();
    const std::vector<ZrOwEntity*> before = entities;
    Searched(entities);
    EXPECT_EQ(entities, before);
}

TEST(PipeSearchContract, AChainAsLongAsAFloorIsOneNetwork) {
    Drawing drawing;
    for (int index = 0; index < 20000; ++index) {
        drawing.pipe({index * 10.0, 0, 0}, {index * 10.0 + 10, 0, 0});
    }
    const std::vector<CCheckPipeLineGraph> graphs = Searched(drawing.entities());
    ASSERT_EQ(graphs.size(), 1U);
    EXPECT_EQ(graphs[0].GetItemCount(), 40000);
}

TEST(PipeSearchContract, CopiesOfASearchAreAsGoodAsTheOriginal) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    CCheckSearchGraph original;
    CCheckSearchGraph copy(original);
    copy = original;
    std::vector<CCheckPipeLineGraph> graphs;
    copy.SearchGraph(drawing.entities(), graphs);
    original.SearchGraph(drawing.entities(), graphs);
    EXPECT_EQ(graphs.size(), 2U);
}
