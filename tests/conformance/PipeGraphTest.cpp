// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <memory>
#include <vector>

#include "norvexdata/pipenet/CheckPipeLineGraph.h"
#include "norvexdata/pipenet/CheckSearchGraph.h"
#include "platform/zrow/Drawing.h"

using norvex::Drawing;
using Node = boost::shared_ptr<CCheckPipeLineNode>;
using Edge = boost::shared_ptr<CCheckPipeLineEdge>;

namespace {

bool Is(const AcGePoint3d& point, double x, double y, double z) {
    return point.x == x && point.y == y && point.z == z;
}

}  // namespace

TEST(GraphNodeContract, ANewNodeHasItsPointAndNoEdges) {
    CCheckPipeLineGraph graph;
    const Node node = graph.CreateNode({1, 2, 3});
    EXPECT_TRUE(Is(node->Point(), 1, 2, 3));
    EXPECT_EQ(node->GetConnectEdgeNum(), 0);
    EXPECT_TRUE(node->GetConnectEdgeVec().empty());
}

TEST(GraphNodeContract, AnEdgeIsListedOnceHoweverOftenItIsAppended) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1, 0, 0});
    const Node node = boost::make_shared<CCheckPipeLineNode>(AcGePoint3d(0, 0, 0));
    const Edge edge = boost::make_shared<CCheckPipeLineEdge>(drawing.at<ZrOwPolyLine>(0));
    const Edge twin = boost::make_shared<CCheckPipeLineEdge>(drawing.at<ZrOwPolyLine>(0));
    node->AppendEdge(edge);
    node->AppendEdge(edge);
    EXPECT_EQ(node->GetConnectEdgeNum(), 1);
    // The object decides, not its pipe.
    node->AppendEdge(twin);
    node->AppendEdge(edge);
    EXPECT_EQ(node->GetConnectEdgeVec(), (std::vector<Edge>{edge, twin}));
}

TEST(GraphNodeContract, TheListOfEdgesMayBeChanged) {
    const Node node = boost::make_shared<CCheckPipeLineNode>(AcGePoint3d(0, 0, 0));
    const Edge edge = boost::make_shared<CCheckPipeLineEdge>(nullptr);
    node->AppendEdge(edge);
    node->GetConnectEdgeVec().clear();
    EXPECT_EQ(node->GetConnectEdgeNum(), 0);
    node->AppendEdge(edge);
    EXPECT_EQ(node->GetConnectEdgeNum(), 1);
}

TEST(GraphNodeContract, ALongListKeepsItsOrderAndHasNoRepeats) {
    const Node node = boost::make_shared<CCheckPipeLineNode>(AcGePoint3d(0, 0, 0));
    std::vector<Edge> edges;
    for (int index = 0; index < 500; ++index) {
        edges.push_back(boost::make_shared<CCheckPipeLineEdge>(nullptr));
        node->AppendEdge(edges.back());
        node->AppendEdge(edges.front());
        node->AppendEdge(edges[edges.size() / 2]);
    }
    EXPECT_EQ(node->GetConnectEdgeVec(), edges);
}

TEST(GraphNodeContract, ALongListHasNoRepeatsThoughItIsWrittenThroughAReferenceTakenBefore) {
    const Node node = boost::make_shared<CCheckPipeLineNode>(AcGePoint3d(0, 0, 0));
    for (int index = 0; index < 300; ++index) {
        node->AppendEdge(boost::make_shared<CCheckPipeLineEdge>(nullptr));
    }
    std::vector<Edge>& list = node->GetConnectEdgeVec();
    node->AppendEdge(boost::make_shared<CCheckPipeLineEdge>(nullptr));
    const Edge other = boost::make_shared<CCheckPipeLineEdge>(nullptr);
    list[100] = other;
    node->AppendEdge(other);
    EXPECT_EQ(node->GetConnectEdgeNum(), 301);
}

TEST(GraphEdgeContract, ANewEdgeHasItsPipeAndNoNodes) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1, 0, 0});
    CCheckPipeLineGraph graph;
    const Edge edge = graph.CreateEdge(drawing.at<ZrOwPolyLine>(0));
    EXPECT_EQ(edge->GetPipeEnt(), drawing.at<ZrOwPolyLine>(0));
    EXPECT_FALSE(edge->GetNodeStart());
    EXPECT_FALSE(edge->GetNodeEnd());
}

TEST(GraphEdgeContract, EndsAreAskedOfThePipeEachTime) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1, 0, 0});
    const CCheckPipeLineEdge edge(drawing.at<ZrOwPolyLine>(0));
    EXPECT_TRUE(Is(edge.GetStartPoint(), 0, 0, 0));
    EXPECT_TRUE(Is(edge.GetEndPoint(), 1, 0, 0));
    drawing.at<ZrOwPolyLine>(0)->SetPoints({5, 6, 7}, {8, 9, 10});
    EXPECT_TRUE(Is(edge.GetStartPoint(), 5, 6, 7));
    EXPECT_TRUE(Is(edge.GetEndPoint(), 8, 9, 10));
}

TEST(GraphEdgeContract, TheFarEndIsTheEndSeenFromNearTheStartAndElseTheStart) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    const CCheckPipeLineEdge edge(drawing.at<ZrOwPolyLine>(0));
    EXPECT_TRUE(Is(edge.GetSearchPoint({0.09, 0, 0}), 10, 0, 0));
    EXPECT_TRUE(Is(edge.GetSearchPoint({10, 0, 0}), 0, 0, 0));
    EXPECT_TRUE(Is(edge.GetSearchPoint({0, 0.1, 0}), 0, 0, 0));
    EXPECT_TRUE(Is(edge.GetSearchPoint({500, 0, 0}), 0, 0, 0));
}

TEST(GraphEdgeContract, NodesCanBeReplacedAndTakenAway) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    CCheckPipeLineGraph graph;
    const Edge edge = graph.CreateEdge(drawing.at<ZrOwPolyLine>(0));
    const Node first = graph.CreateNode({0, 0, 0});
    const Node second = graph.CreateNode({10, 0, 0});
    edge->SetNodeStart(first);
    edge->SetNodeEnd(second);
    EXPECT_EQ(edge->GetNodeStart(), first);
    EXPECT_EQ(edge->GetNodeEnd(), second);
    edge->SetNodeStart(second);
    EXPECT_EQ(edge->GetNodeStart(), second);
    edge->SetNodeEnd(Node());
    EXPECT_FALSE(edge->GetNodeEnd());
}

TEST(GraphContract, EndsExactlyATenthApartDoNotMeet) {
    CCheckPipeLineGraph graph;
    const Node node = graph.CreateNode({0, 0, 0});
    EXPECT_FALSE(graph.GetNode({0.1, 0, 0}));
    EXPECT_FALSE(graph.GetNode({0, 0, -0.1}));
    EXPECT_EQ(graph.GetNode({0.0999999, 0, 0}), node);
}

TEST(GraphContract, OfTwoNodesInReachTheOlderAnswers) {
    CCheckPipeLineGraph graph;
    const Node older = graph.CreateNode({0, 0, 0});
    const Node nearer = graph.CreateNode({0.15, 0, 0});
    EXPECT_EQ(graph.GetNode({0.08, 0, 0}), older);
    EXPECT_EQ(graph.GetNode({0.12, 0, 0}), nearer);
}

TEST(GraphContract, NodesAreFoundAcrossTheOriginAndFarFromIt) {
    CCheckPipeLineGraph graph;
    const Node negative = graph.CreateNode({-0.04, -0.04, -0.04});
    EXPECT_EQ(graph.GetNode({0.01, 0.01, 0.01}), negative);
    const Node far = graph.CreateNode({1e9, -1e9, 3e5});
    EXPECT_EQ(graph.GetNode({1e9 + 0.05, -1e9, 3e5}), far);
}

TEST(GraphContract, CreatingLooksForNothing) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    ZrOwPolyLine* const pipe = drawing.at<ZrOwPolyLine>(0);
    CCheckPipeLineGraph graph;
    const Node first = graph.CreateNode({0, 0, 0});
    const Node second = graph.CreateNode({0, 0, 0});
    EXPECT_NE(first, second);
    EXPECT_EQ(graph.GetNode({0, 0, 0}), first);
    const Edge edge = graph.CreateEdge(pipe);
    EXPECT_NE(graph.CreateEdge(pipe), edge);
    EXPECT_EQ(graph.GetEdge(pipe), edge);
    EXPECT_EQ(graph.GetItemCount(), 4);
}

TEST(GraphContract, UnknownPipesAndPlacesGiveEmptyPointers) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    const CCheckPipeLineGraph graph;
    EXPECT_FALSE(graph.GetNode({0, 0, 0}));
    EXPECT_FALSE(graph.GetEdge(drawing.at<ZrOwPolyLine>(0)));
    EXPECT_FALSE(graph.GetEdge(nullptr));
}

TEST(GraphContract, ValidityAndTheLoopTestCompareNumbersAlone) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    CCheckPipeLineGraph graph;
    EXPECT_FALSE(graph.IsValid());
    EXPECT_TRUE(graph.HasBadLoop());
    EXPECT_EQ(graph.GetItemCount(), 0);
    graph.CreateEdge(drawing.at<ZrOwPolyLine>(0));
    EXPECT_FALSE(graph.IsValid());
    graph.CreateNode({0, 0, 0});
    EXPECT_TRUE(graph.IsValid());
    EXPECT_TRUE(graph.HasBadLoop());
    graph.CreateNode({10, 0, 0});
    EXPECT_TRUE(graph.IsValid());
    EXPECT_FALSE(graph.HasBadLoop());
    EXPECT_EQ(graph.GetItemCount(), 3);
    CCheckPipeLineGraph nodesOnly;
    nodesOnly.CreateNode({0, 0, 0});
    EXPECT_FALSE(nodesOnly.IsValid());
    EXPECT_FALSE(nodesOnly.HasBadLoop());
}

TEST(GraphContract, WhatACallerHoldsStaysLinkedWhoeverMadeTheGraphThatIsGone) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0}).pipe({10, 0, 0}, {20, 0, 0});
    for (const bool searched : {false, true}) {
        std::vector<CCheckPipeLineGraph> graphs;
        if (searched) {
            CCheckSearchGraph().SearchGraph(drawing.entities(), graphs);
        } else {
            CCheckPipeLineGraph& graph = graphs.emplace_back();
            const Node nodes[] = {graph.CreateNode({0, 0, 0}), graph.CreateNode({10, 0, 0}),
                                  graph.CreateNode({20, 0, 0})};
            for (std::size_t pipe = 0; pipe < 2; ++pipe) {
                const Edge edge = graph.CreateEdge(drawing.at<ZrOwPolyLine>(pipe));
                edge->SetNodeStart(nodes[pipe]);
                edge->SetNodeEnd(nodes[pipe + 1]);
                nodes[pipe]->AppendEdge(edge);
                nodes[pipe + 1]->AppendEdge(edge);
            }
        }
        ASSERT_EQ(graphs.size(), 1U);
        const Node middle = graphs[0].GetNode({10, 0, 0});
        const Edge second = graphs[0].GetEdge(drawing.at<ZrOwPolyLine>(1));
        graphs.clear();
        ASSERT_EQ(middle->GetConnectEdgeNum(), 2) << searched;
        EXPECT_EQ(middle->GetConnectEdgeVec()[0]->GetPipeEnt(), drawing.at<ZrOwPolyLine>(0));
        EXPECT_EQ(middle->GetConnectEdgeVec()[1], second);
        EXPECT_EQ(second->GetNodeStart(), middle) << searched;
        EXPECT_EQ(second->GetNodeEnd(), nullptr) << "nobody holds it";
    }
}

TEST(GraphContract, ACopySharesNodesAndEdgesAndOutlivesTheOriginal) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0}).pipe({10, 0, 0}, {20, 0, 0});
    auto original = std::make_unique<CCheckPipeLineGraph>();
    const Edge edge = original->CreateEdge(drawing.at<ZrOwPolyLine>(0));
    const Node node = original->CreateNode({0, 0, 0});
    edge->SetNodeStart(node);
    node->AppendEdge(edge);
    const CCheckPipeLineGraph copy(*original);
    CCheckPipeLineGraph assigned;
    assigned = *original;
    original->CreateEdge(drawing.at<ZrOwPolyLine>(1));
    EXPECT_EQ(copy.GetEdge(drawing.at<ZrOwPolyLine>(0)), edge);
    EXPECT_EQ(assigned.GetNode({0, 0, 0}), node);
    EXPECT_EQ(copy.GetItemCount(), 2);
    EXPECT_FALSE(assigned.GetEdge(drawing.at<ZrOwPolyLine>(1)));
    original.reset();
    ASSERT_EQ(copy.GetEdge(drawing.at<ZrOwPolyLine>(0)), edge);
    EXPECT_EQ(edge->GetNodeStart(), node);
    EXPECT_EQ(node->GetConnectEdgeNum(), 1);
}
