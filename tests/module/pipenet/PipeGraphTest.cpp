// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <cmath>
#include <limits>
#include <random>
#include <type_traits>
#include <utility>

#include "Net.h"
#include "norvexdata/entities/EntFindMethod.h"

namespace norvex::test {
namespace {

using NodePointer = boost::shared_ptr<CCheckPipeLineNode>;
using EdgePointer = boost::shared_ptr<CCheckPipeLineEdge>;

static_assert(
    std::is_same_v<decltype(std::declval<CCheckPipeLineNode&>().GetConnectEdgeVec()), std::vector<EdgePointer>&>);
static_assert(std::is_same_v<decltype(std::declval<CCheckPipeLineNode&>().GetConnectEdgeNum()), int>);
static_assert(std::is_same_v<decltype(std::declval<CCheckPipeLineGraph&>().GetItemCount()), int>);

TEST(PipeNode, StartsWithItsPointAndNoEdges) {
    CCheckPipeLineNode node({1.0, 2.0, 3.0});
    EXPECT_EQ(node.Point().x, 1.0);
    EXPECT_EQ(node.Point().y, 2.0);
    EXPECT_EQ(node.Point().z, 3.0);
    EXPECT_EQ(node.GetConnectEdgeNum(), 0);
    EXPECT_TRUE(node.GetConnectEdgeVec().empty());
}

TEST(PipeNode, ListsAnEdgeOnceHoweverOftenItIsAppended) {
    Net net("a-b");
    CCheckPipeLineNode node({});
    const EdgePointer edge(new CCheckPipeLineEdge(&net[0]));
    node.AppendEdge(edge);
    node.AppendEdge(edge);
    EXPECT_EQ(node.GetConnectEdgeNum(), 1);
}

TEST(PipeNode, TellsEdgesApartByTheObjectAndNotByThePipe) {
    Net net("a-b");
    CCheckPipeLineNode node({});
    node.AppendEdge(EdgePointer(new CCheckPipeLineEdge(&net[0])));
    node.AppendEdge(EdgePointer(new CCheckPipeLineEdge(&net[0])));
    EXPECT_EQ(node.GetConnectEdgeNum(), 2);
}

// A node with so many edges that its list is not looked through each time.
struct LongListed {
    explicit LongListed(int count) {
        for (int number = 0; number < count; ++number) {
            edges.push_back(graph.CreateEdge(&net[0]));
            node.AppendEdge(edges.back());
        }
    }

    Net net{"a-b"};
    CCheckPipeLineGraph graph;
    CCheckPipeLineNode node{AcGePoint3d()};
    std::vector<EdgePointer> edges;
};

TEST(PipeNode, ListsAnEdgeOnceInALongListOfASearchToo) {
    Net net;
    for (int number = 1; number <= 400; ++number) {
        net.Pipe({10.0 * number, 0.0, 0.0}, {});
    }
    const CCheckPipeLineGraph graph = net.Search().front();
    const NodePointer centre = graph.GetNode({});
    ASSERT_EQ(centre->GetConnectEdgeNum(), 400);
    for (const std::size_t number : {0u, 200u, 399u}) {
        centre->AppendEdge(graph.GetEdge(&net[number]));
    }
    EXPECT_EQ(centre->GetConnectEdgeNum(), 400);
}

TEST(PipeNode, SeesThatAnEdgeOfALongListIsNotWhereItWas) {
    LongListed listed(300);
    std::vector<EdgePointer>& list = listed.node.GetConnectEdgeVec();
    listed.node.AppendEdge(listed.edges[0]);
    // Through the reference taken before, and without another number of entries.
    std::swap(list[3], list[299]);
    listed.node.AppendEdge(listed.edges[3]);
    EXPECT_EQ(listed.node.GetConnectEdgeNum(), 300);
    const EdgePointer out = list[7];
    list[7] = list[8];
    listed.node.AppendEdge(out);
    EXPECT_EQ(listed.node.GetConnectEdgeNum(), 301);
    EXPECT_EQ(list.back(), out);
}

TEST(PipeNode, TakesALongListAsTheCallerLeftIt) {
    for (const int count : {10, 256, 257, 1000}) {
        SCOPED_TRACE(count);
        LongListed listed(count);
        std::vector<EdgePointer>& list = listed.node.GetConnectEdgeVec();
        const EdgePointer other = listed.graph.CreateEdge(&listed.net[0]);
        const auto middle = static_cast<std::size_t>(count) / 2;
        // Written over: the new one is there, the old one is not.
        list[middle] = other;
        listed.node.AppendEdge(other);
        EXPECT_EQ(listed.node.GetConnectEdgeNum(), count);
        listed.node.AppendEdge(listed.edges[middle]);
        EXPECT_EQ(listed.node.GetConnectEdgeNum(), count + 1);
        // Taken out and put in through the reference that the caller has kept.
        list.erase(list.begin());
        listed.node.AppendEdge(listed.edges[0]);
        EXPECT_EQ(listed.node.GetConnectEdgeNum(), count + 1);
        EXPECT_EQ(list.back(), listed.edges[0]);
        list.push_back(listed.graph.CreateEdge(&listed.net[0]));
        listed.node.AppendEdge(EdgePointer(list.back()));
        EXPECT_EQ(listed.node.GetConnectEdgeNum(), count + 2);
        list.resize(5);
        listed.node.AppendEdge(listed.edges[3]);
        listed.node.AppendEdge(listed.edges[9]);
        EXPECT_EQ(listed.node.GetConnectEdgeNum(), 6 + (list[4] == listed.edges[9] ? -1 : 0));
        list.clear();
        listed.node.AppendEdge(listed.edges[3]);
        EXPECT_EQ(listed.node.GetConnectEdgeNum(), 1);
    }
}

TEST(PipeNode, ListsAnEdgeOnceThatWasWrittenThroughAReferenceTakenLongBefore) {
    LongListed listed(300);
    std::vector<EdgePointer>& list = listed.node.GetConnectEdgeVec();
    listed.node.AppendEdge(listed.graph.CreateEdge(&listed.net[0]));
    const EdgePointer other = listed.graph.CreateEdge(&listed.net[0]);
    list[7] = other;
    listed.node.AppendEdge(other);
    EXPECT_EQ(std::count(list.begin(), list.end(), other), 1);
    EXPECT_EQ(listed.node.GetConnectEdgeNum(), 301);
}

TEST(PipeNode, AppendsToAListLikeItsPlainFormWhateverCallersDo) {
    std::mt19937_64 random(11);
    for (int round = 0; round < 40; ++round) {
        LongListed listed(240 + static_cast<int>(random() % 40));
        std::vector<EdgePointer> plain = listed.edges;
        // Taken once in some of the rounds, before each change in others, and in others nothing is changed.
        std::vector<EdgePointer>* const kept = round % 3 == 0 ? &listed.node.GetConnectEdgeVec() : nullptr;
        for (int step = 0; step < 400; ++step) {
            EdgePointer edge = random() % 3 == 0 ? listed.graph.CreateEdge(&listed.net[0])
                                                 : listed.edges[random() % listed.edges.size()];
            const std::size_t at = plain.empty() ? 0 : random() % plain.size();
            const auto change = [&](std::vector<EdgePointer>& list) {
                switch (step % 20 == 0 ? random() % 4 : 4) {
                    case 0:
                        list.insert(list.begin() + static_cast<std::ptrdiff_t>(at), edge);
                        break;
                    case 1:
                        list.erase(list.begin() + static_cast<std::ptrdiff_t>(at));
                        break;
                    case 2:
                        list[at] = edge;
                        break;
                    case 3:
                        std::swap(list[at], list.back());
                        break;
                    default:
                        break;
                }
            };
            if (round % 3 != 1) {
                const std::mt19937_64 before = random;
                change(plain);
                random = before;
                change(kept != nullptr ? *kept : listed.node.GetConnectEdgeVec());
            }
            if (random() % 2 == 0) {
                edge = listed.edges[random() % listed.edges.size()];
            } else if (random() % 4 == 0) {
                edge = EdgePointer();
            }
            if (std::find(plain.begin(), plain.end(), edge) == plain.end()) {
                plain.push_back(edge);
            }
            listed.node.AppendEdge(edge);
            listed.node.AppendEdge(edge);
        }
        ASSERT_EQ(listed.node.GetConnectEdgeVec(), plain) << "round " << round;
    }
}

TEST(PipeNode, ListsAnEdgeOnceInALongListToo) {
    Net net("a-b");
    CCheckPipeLineGraph graph;
    CCheckPipeLineNode node({});
    std::vector<EdgePointer> edges;
    for (int number = 0; number < 100; ++number) {
        edges.push_back(graph.CreateEdge(&net[0]));
        node.AppendEdge(edges.back());
        node.AppendEdge(edges[edges.size() / 2]);
    }
    EXPECT_EQ(node.GetConnectEdgeVec(), edges);
}

TEST(PipeNode, NoticesWhatCallersChangeInALongList) {
    Net net("a-b");
    CCheckPipeLineGraph graph;
    CCheckPipeLineNode node({});
    for (int number = 0; number < 50; ++number) {
        node.AppendEdge(graph.CreateEdge(&net[0]));
    }
    std::vector<EdgePointer>& list = node.GetConnectEdgeVec();
    const EdgePointer replaced = list[20];
    const EdgePointer fresh = graph.CreateEdge(&net[0]);
    list[20] = fresh;
    node.AppendEdge(fresh);
    EXPECT_EQ(node.GetConnectEdgeNum(), 50);
    node.AppendEdge(replaced);
    EXPECT_EQ(node.GetConnectEdgeNum(), 51);
    // The reference stays good, and a change through it after an append counts as well.
    const EdgePointer late = graph.CreateEdge(&net[0]);
    list[7] = late;
    node.AppendEdge(late);
    EXPECT_EQ(node.GetConnectEdgeNum(), 51);
}

TEST(PipeEdge, StartsWithItsPipeAndNoNodes) {
    Net net("a-b");
    const CCheckPipeLineEdge edge(&net[0]);
    EXPECT_EQ(edge.GetPipeEnt(), &net[0]);
    EXPECT_EQ(edge.GetNodeStart(), nullptr);
    EXPECT_EQ(edge.GetNodeEnd(), nullptr);
}

TEST(PipeEdge, AsksThePipeForItsEndsEachTime) {
    Net net("a-b");
    const CCheckPipeLineEdge edge(&net[0]);
    net[0].SetPoints({5.0, 0.0, 0.0}, {6.0, 0.0, 0.0});
    EXPECT_EQ(edge.GetStartPoint().x, 5.0);
    EXPECT_EQ(edge.GetEndPoint().x, 6.0);
}

TEST(PipeEdge, SeesTheFarEndFromEitherEnd) {
    Net net;
    const CCheckPipeLineEdge edge(&net.Pipe({0.0, 0.0, 0.0}, {1000.0, 0.0, 0.0}));
    EXPECT_EQ(edge.GetSearchPoint({0.05, 0.0, 0.0}).x, 1000.0);
    EXPECT_EQ(edge.GetSearchPoint({1000.0, 0.0, 0.0}).x, 0.0);
}

TEST(PipeEdge, SeesTheStartFromAPointNearNeitherEnd) {
    Net net;
    const CCheckPipeLineEdge edge(&net.Pipe({0.0, 0.0, 0.0}, {1000.0, 0.0, 0.0}));
    EXPECT_EQ(edge.GetSearchPoint({500.0, 0.0, 0.0}).x, 0.0);
    EXPECT_EQ(edge.GetSearchPoint({0.1, 0.0, 0.0}).x, 0.0);
}

TEST(PipeEdge, GivesTheNodesThatWereSetAndReplacesThem) {
    Net net("a-b");
    CCheckPipeLineEdge edge(&net[0]);
    const NodePointer first = boost::make_shared<CCheckPipeLineNode>(AcGePoint3d());
    const NodePointer second = boost::make_shared<CCheckPipeLineNode>(AcGePoint3d());
    edge.SetNodeStart(first);
    edge.SetNodeEnd(second);
    EXPECT_EQ(edge.GetNodeStart(), first);
    EXPECT_EQ(edge.GetNodeEnd(), second);
    edge.SetNodeStart(second);
    edge.SetNodeEnd(NodePointer());
    EXPECT_EQ(edge.GetNodeStart(), second);
    EXPECT_EQ(edge.GetNodeEnd(), nullptr);
}

TEST(PipeGraph, StartsEmptyAndInvalid) {
    CCheckPipeLineGraph graph;
    EXPECT_FALSE(graph.IsValid());
    EXPECT_EQ(graph.GetItemCount(), 0);
    // No edge is not less than no node.
    EXPECT_TRUE(graph.HasBadLoop());
    EXPECT_EQ(graph.GetNode({}), nullptr);
    EXPECT_EQ(graph.GetEdge(nullptr), nullptr);
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    EXPECT_TRUE(loops.empty());
}

TEST(PipeGraph, NeedsBothAnEdgeAndANodeToBeValid) {
    Net net("a-b");
    CCheckPipeLineGraph nodeOnly;
    nodeOnly.CreateNode({});
    EXPECT_FALSE(nodeOnly.IsValid());
    CCheckPipeLineGraph edgeOnly;
    edgeOnly.CreateEdge(&net[0]);
    EXPECT_FALSE(edgeOnly.IsValid());
}

TEST(PipeGraph, ComparesItsCountsToTellABadLoop) {
    Net net("a-b");
    CCheckPipeLineGraph graph;
    graph.CreateEdge(&net[0]);
    graph.CreateNode({});
    EXPECT_TRUE(graph.IsValid());
    EXPECT_TRUE(graph.HasBadLoop());
    graph.CreateNode({1000.0, 0.0, 0.0});
    EXPECT_TRUE(graph.IsValid());
    EXPECT_FALSE(graph.HasBadLoop());
    EXPECT_EQ(graph.GetItemCount(), 3);
}

TEST(PipeGraph, DoesNotMatchPointsExactlyATenthApart) {
    CCheckPipeLineGraph graph;
    const NodePointer node = graph.CreateNode({});
    EXPECT_EQ(graph.GetNode({0.1, 0.0, 0.0}), nullptr);
    EXPECT_EQ(graph.GetNode({0.0999999, 0.0, 0.0}), node);
    EXPECT_EQ(graph.GetNode({0.0, 0.06, 0.07}), node);
    EXPECT_EQ(graph.GetNode({0.0, 0.08, 0.08}), nullptr);
}

TEST(PipeGraph, GivesTheOldestOfSeveralNodesAtAPlace) {
    CCheckPipeLineGraph graph;
    const NodePointer first = graph.CreateNode({0.15, 0.0, 0.0});
    const NodePointer second = graph.CreateNode({0.0, 0.0, 0.0});
    const NodePointer third = graph.CreateNode({0.0, 0.0, 0.0});
    EXPECT_EQ(graph.GetNode({0.07, 0.0, 0.0}), first);
    EXPECT_EQ(graph.GetNode({0.03, 0.0, 0.0}), second);
    EXPECT_NE(second, third);
}

TEST(PipeGraph, FindsNodesAnywhereInSpace) {
    CCheckPipeLineGraph graph;
    std::vector<NodePointer> nodes;
    std::vector<AcGePoint3d> points;
    for (const double scale : {1e-3, 1.0, 1e6, 1e15, 1e19, 1e300}) {
        for (int number = 0; number < 40; ++number) {
            points.emplace_back(scale * (number - 20), scale * (number % 7), -scale * number);
            nodes.push_back(graph.CreateNode(points.back()));
        }
    }
    for (std::size_t number = 0; number < points.size(); ++number) {
        std::size_t first = 0;
        while (!(points[first].distanceTo(points[number]) < 0.1)) {
            ++first;
        }
        EXPECT_EQ(graph.GetNode(points[number]), nodes[first]) << number;
    }
    const double infinity = std::numeric_limits<double>::infinity();
    graph.CreateNode({infinity, 0.0, 0.0});
    graph.CreateNode({std::nan(""), 0.0, 0.0});
    EXPECT_EQ(graph.GetNode({infinity, 0.0, 0.0}), nullptr);
    EXPECT_EQ(graph.GetNode({std::nan(""), 0.0, 0.0}), nullptr);
}

TEST(PipeGraph, GivesTheOldestEdgeOfAPipe) {
    Net net("a-b b-c");
    CCheckPipeLineGraph graph;
    const EdgePointer first = graph.CreateEdge(&net[0]);
    const EdgePointer second = graph.CreateEdge(&net[0]);
    EXPECT_NE(first, second);
    EXPECT_EQ(graph.GetEdge(&net[0]), first);
    EXPECT_EQ(graph.GetEdge(&net[1]), nullptr);
    EXPECT_EQ(first->GetNodeStart(), nullptr);
    EXPECT_EQ(first->GetNodeEnd(), nullptr);
}

TEST(PipeGraph, SharesItsObjectsWithACopyButNotWhatComesLater) {
    Net net("a-b b-c");
    CCheckPipeLineGraph graph = net.Search().front();
    CCheckPipeLineGraph copy = graph;
    EXPECT_EQ(copy.GetEdge(&net[0]), graph.GetEdge(&net[0]));
    EXPECT_EQ(copy.GetNode(Net::PointOf('c')), graph.GetNode(Net::PointOf('c')));
    const NodePointer later = copy.CreateNode({5.0, 5.0, 5.0});
    EXPECT_EQ(copy.GetItemCount(), graph.GetItemCount() + 1);
    EXPECT_EQ(graph.GetNode({5.0, 5.0, 5.0}), nullptr);
    const NodePointer other = graph.CreateNode({6.0, 6.0, 6.0});
    EXPECT_EQ(copy.GetNode({5.0, 5.0, 5.0}), later);
    EXPECT_EQ(graph.GetNode({6.0, 6.0, 6.0}), other);
}

TEST(PipeGraph, KeepsItsObjectsWhileOneCopyIsLeft) {
    Net net("a-b b-c c-d d-a");
    CCheckPipeLineGraph kept;
    {
        std::vector<CCheckPipeLineGraph> graphs = net.Search();
        kept = graphs.front();
    }
    const EdgePointer edge = kept.GetEdge(&net[0]);
    EXPECT_EQ(edge->GetNodeStart()->GetConnectEdgeNum(), 2);
    EXPECT_EQ(edge->GetNodeEnd()->GetConnectEdgeVec().front(), edge);
    std::vector<std::vector<ZrOwEntity*>> loops;
    kept.GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (std::vector<std::vector<int>>{{1, 2, 3, 0}}));
}

// A graph of the net as a search makes it, but by hand: the first node stands in no list.
CCheckPipeLineGraph BuiltByHand(Net& net) {
    CCheckPipeLineGraph graph;
    const NodePointer seed = boost::make_shared<CCheckPipeLineNode>(net[0].GetStartPoint());
    const auto nodeAt = [&](const AcGePoint3d& point) {
        if (CEntFindMethod::Is2PtNear(point, seed->Point(), 0.1)) {
            return seed;
        }
        const NodePointer known = graph.GetNode(point);
        return known ? known : graph.CreateNode(point);
    };
    for (std::size_t number = 0; number < net.size(); ++number) {
        const EdgePointer edge = graph.CreateEdge(&net[number]);
        edge->SetNodeStart(nodeAt(net[number].GetStartPoint()));
        edge->SetNodeEnd(nodeAt(net[number].GetEndPoint()));
        edge->GetNodeStart()->AppendEdge(edge);
        edge->GetNodeEnd()->AppendEdge(edge);
    }
    return graph;
}

// How a graph came about, and what a caller asked of it before it went.
enum class Made { ByHand, BySearch, BySearchAndListed, BySearchAndCopied };

CCheckPipeLineGraph Make(Net& net, Made made) {
    if (made == Made::ByHand) {
        return BuiltByHand(net);
    }
    CCheckPipeLineGraph graph = net.Search().front();
    if (made == Made::BySearchAndListed) {
        for (std::size_t number = 0; number < net.size(); ++number) {
            graph.GetEdge(&net[number])->GetNodeStart()->GetConnectEdgeVec();
            graph.GetEdge(&net[number])->GetNodeEnd()->GetConnectEdgeVec();
        }
    }
    return made == Made::BySearchAndCopied ? CCheckPipeLineGraph(graph) : graph;
}

class HeldWhenTheGraphIsGone : public testing::TestWithParam<Made> {
  protected:
    Net net{"a-b b-c c-d d-b d-e"};
};

TEST_P(HeldWhenTheGraphIsGone, ANodeListsItsEdges) {
    NodePointer node;
    { node = Make(net, GetParam()).GetNode(Net::PointOf('d')); }
    EXPECT_EQ(node->Point().x, Net::PointOf('d').x);
    ASSERT_EQ(node->GetConnectEdgeNum(), 3);
    const std::vector<EdgePointer> listed = node->GetConnectEdgeVec();
    for (std::size_t number = 0; number < 3; ++number) {
        EXPECT_EQ(listed[number]->GetPipeEnt(), &net[number + 2]);
        EXPECT_TRUE(listed[number]->GetNodeStart() == node || listed[number]->GetNodeEnd() == node);
        EXPECT_TRUE(listed[number]->GetNodeStart() == nullptr || listed[number]->GetNodeEnd() == nullptr)
            << "nobody holds the node at the other end";
    }
    node.reset();
    EXPECT_EQ(listed[0]->GetNodeStart(), nullptr);
    EXPECT_EQ(listed[0]->GetNodeEnd(), nullptr);
}

TEST_P(HeldWhenTheGraphIsGone, AnEdgeHasTheNodesThatSomebodyHolds) {
    for (const bool holdsStart : {false, true}) {
        for (const bool holdsEnd : {false, true}) {
            EdgePointer edge;
            NodePointer start;
            NodePointer end;
            {
                const CCheckPipeLineGraph graph = Make(net, GetParam());
                edge = graph.GetEdge(&net[1]);
                ASSERT_NE(edge->GetNodeStart(), nullptr);
                start = holdsStart ? edge->GetNodeStart() : NodePointer();
                end = holdsEnd ? edge->GetNodeEnd() : NodePointer();
            }
            EXPECT_EQ(edge->GetPipeEnt(), &net[1]);
            EXPECT_EQ(edge->GetNodeStart(), start);
            EXPECT_EQ(edge->GetNodeEnd(), end);
            edge->SetNodeStart(end);
            EXPECT_EQ(edge->GetNodeStart(), end) << "and can be set to others";
            EXPECT_EQ(edge->GetNodeEnd(), end);
        }
    }
}

TEST_P(HeldWhenTheGraphIsGone, AListThatWasHandedOutStays) {
    NodePointer node;
    std::vector<EdgePointer>* list = nullptr;
    { node = Make(net, GetParam()).GetNode(Net::PointOf('c')); }
    list = &node->GetConnectEdgeVec();
    EXPECT_EQ(list->size(), 2u);
    node->AppendEdge(list->front());
    EXPECT_EQ(list->size(), 2u);
    node->AppendEdge({});
    EXPECT_EQ(list->size(), 3u);
    EXPECT_EQ(list, &node->GetConnectEdgeVec());
}

TEST_P(HeldWhenTheGraphIsGone, WhatIsLinkedLaterGoesWithItsHolder) {
    boost::weak_ptr<CCheckPipeLineNode> nodeLeft;
    boost::weak_ptr<CCheckPipeLineEdge> edgeLeft;
    {
        NodePointer node;
        EdgePointer edge;
        {
            const CCheckPipeLineGraph graph = Make(net, GetParam());
            node = graph.GetNode(Net::PointOf('e'));
            edge = graph.GetEdge(&net[0]);
        }
        node->AppendEdge(edge);
        edge->SetNodeStart(node);
        edge->SetNodeEnd(node);
        EXPECT_EQ(node->GetConnectEdgeNum(), 2);
        EXPECT_EQ(edge->GetNodeStart(), node);
        nodeLeft = node;
        edgeLeft = edge;
        node.reset();
        EXPECT_EQ(edge->GetNodeStart(), nullptr);
    }
    EXPECT_TRUE(nodeLeft.expired());
    EXPECT_TRUE(edgeLeft.expired());
}

TEST_P(HeldWhenTheGraphIsGone, NothingElseStays) {
    std::vector<boost::weak_ptr<CCheckPipeLineNode>> nodes;
    EdgePointer held;
    {
        const CCheckPipeLineGraph graph = Make(net, GetParam());
        held = graph.GetEdge(&net[2]);
        for (std::size_t number = 0; number < net.size(); ++number) {
            nodes.emplace_back(graph.GetEdge(&net[number])->GetNodeStart());
            nodes.emplace_back(graph.GetEdge(&net[number])->GetNodeEnd());
        }
    }
    for (const auto& node : nodes) {
        EXPECT_TRUE(node.expired());
    }
}

INSTANTIATE_TEST_SUITE_P(PipeGraph, HeldWhenTheGraphIsGone,
                         testing::Values(Made::ByHand, Made::BySearch, Made::BySearchAndListed,
                                         Made::BySearchAndCopied));

TEST(PipeGraph, HoldsOfAllNodesThatWereSetOnAnEdgeTheLastAlone) {
    Net net("a-b b-c");
    for (const bool searched : {false, true}) {
        CCheckPipeLineGraph graph = searched ? net.Search().front() : BuiltByHand(net);
        const EdgePointer edge = graph.GetEdge(&net[1]);
        std::vector<boost::weak_ptr<CCheckPipeLineNode>> set;
        for (int time = 0; time < 100; ++time) {
            const NodePointer node = boost::make_shared<CCheckPipeLineNode>(AcGePoint3d(time, 0.0, 0.0));
            node->AppendEdge(edge);
            edge->SetNodeEnd(node);
            set.emplace_back(node);
        }
        EXPECT_EQ(edge->GetNodeEnd()->Point().x, 99.0);
        EXPECT_EQ(edge->GetNodeEnd()->GetConnectEdgeVec().front(), edge);
        set.pop_back();
        for (const auto& node : set) {
            EXPECT_TRUE(node.expired());
        }
        // A node of the graph stays in it.
        edge->SetNodeEnd({});
        EXPECT_NE(graph.GetNode(Net::PointOf('c')), nullptr);
    }
}

TEST(PipeGraph, DoesNotHoldWhatACopyCreated) {
    Net net("a-b b-c");
    for (const bool searched : {false, true}) {
        const CCheckPipeLineGraph graph = searched ? net.Search().front() : BuiltByHand(net);
        boost::weak_ptr<CCheckPipeLineNode> node;
        boost::weak_ptr<CCheckPipeLineNode> named;
        boost::weak_ptr<CCheckPipeLineEdge> edge;
        {
            CCheckPipeLineGraph copy = graph;
            node = copy.CreateNode({});
            const EdgePointer created = copy.CreateEdge(&net[0]);
            created->SetNodeStart(boost::make_shared<CCheckPipeLineNode>(AcGePoint3d()));
            named = created->GetNodeStart();
            edge = created;
            EXPECT_FALSE(named.expired());
        }
        EXPECT_TRUE(node.expired());
        EXPECT_TRUE(named.expired());
        EXPECT_TRUE(edge.expired());
    }
}

TEST(PipeGraph, KeepsNodesThatItsEdgesTookFromADroppedGraph) {
    Net net("a-b b-c c-a");
    CCheckPipeLineGraph graph;
    {
        // The way a search does it, by hand: the first node stands in a graph of its own, which is dropped.
        CCheckPipeLineGraph scratch;
        const NodePointer a = scratch.CreateNode(Net::PointOf('a'));
        const NodePointer b = graph.CreateNode(Net::PointOf('b'));
        const NodePointer c = graph.CreateNode(Net::PointOf('c'));
        const std::pair<NodePointer, NodePointer> ends[] = {{a, b}, {b, c}, {c, a}};
        for (std::size_t number = 0; number < 3; ++number) {
            const EdgePointer edge = graph.CreateEdge(&net[number]);
            edge->SetNodeStart(ends[number].first);
            edge->SetNodeEnd(ends[number].second);
            ends[number].first->AppendEdge(edge);
            ends[number].second->AppendEdge(edge);
        }
    }
    EXPECT_EQ(graph.GetEdge(&net[0])->GetNodeStart()->GetConnectEdgeNum(), 2);
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (std::vector<std::vector<int>>{{1, 2, 0}}));
}

TEST(PipeGraph, KeepsNodesThatItsEdgesTookFromADroppedSearch) {
    Net net("a-b b-c c-a d-e");
    CCheckPipeLineGraph graph;
    const EdgePointer edge = graph.CreateEdge(&net[3]);
    {
        std::vector<CCheckPipeLineGraph> graphs = net.Search();
        edge->SetNodeStart(graphs.front().GetNode(Net::PointOf('b')));
        graphs.front().GetEdge(&net[0])->SetNodeEnd(graph.CreateNode({}));
    }
    EXPECT_EQ(edge->GetNodeStart()->GetConnectEdgeNum(), 2);
    EXPECT_EQ(edge->GetNodeStart()->GetConnectEdgeVec()[1]->GetPipeEnt(), &net[1]);
}

TEST(PipeGraph, IsAssignedToItselfUnharmed) {
    Net net("a-b");
    CCheckPipeLineGraph graph = net.Search().front();
    const CCheckPipeLineGraph& same = graph;
    graph = same;
    EXPECT_NE(graph.GetEdge(&net[0]), nullptr);
    CCheckPipeLineGraph moved = std::move(graph);
    EXPECT_NE(moved.GetEdge(&net[0]), nullptr);
}

TEST(PipeGraph, SharesWhatASearchFoundWithCopiesMadeBeforeAnyoneAskedForIt) {
    Net net("a-b b-c");
    const CCheckPipeLineGraph graph = net.Search().front();
    const CCheckPipeLineGraph copy(graph);
    EXPECT_EQ(copy.GetEdge(&net[1]), graph.GetEdge(&net[1]));
    EXPECT_EQ(graph.GetNode(Net::PointOf('c')), copy.GetNode(Net::PointOf('c')));
    EXPECT_EQ(copy.GetItemCount(), 4);
}

TEST(PipeGraph, IsEmptyOnceItWasMovedFrom) {
    Net net("a-b b-c c-a");
    CCheckPipeLineGraph graph = net.Search().front();
    CCheckPipeLineGraph taken(std::move(graph));
    EXPECT_EQ(taken.GetItemCount(), 6);
    EXPECT_FALSE(graph.IsValid());
    EXPECT_EQ(graph.GetItemCount(), 0);
    EXPECT_EQ(graph.GetEdge(&net[0]), nullptr);
    EXPECT_EQ(graph.GetNode(Net::PointOf('b')), nullptr);
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    EXPECT_TRUE(loops.empty());
    graph = std::move(taken);
    graph.GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (std::vector<std::vector<int>>{{1, 2, 0}}));
}

TEST(PipeGraph, ListsALoopThatACallerClosesAfterTheSearch) {
    Net net("a-b b-c");
    CCheckPipeLineGraph graph = net.Search().front();
    ZrOwPolyLine& last = net.Pipe(Net::PointOf('c'), Net::PointOf('a'));
    const EdgePointer edge = graph.CreateEdge(&last);
    EXPECT_EQ(graph.GetEdge(&last), edge);
    edge->SetNodeStart(graph.GetNode(Net::PointOf('c')));
    edge->SetNodeEnd(graph.GetEdge(&net[0])->GetNodeStart());
    edge->GetNodeStart()->AppendEdge(edge);
    edge->GetNodeEnd()->AppendEdge(edge);
    std::vector<std::vector<ZrOwEntity*>> loops;
    graph.GetBadLoopVec(loops);
    EXPECT_EQ(net.Numbers(loops), (std::vector<std::vector<int>>{{1, 2, 0}}));
    EXPECT_EQ(graph.GetItemCount(), 5);
}

}  // namespace
}  // namespace norvex::test
