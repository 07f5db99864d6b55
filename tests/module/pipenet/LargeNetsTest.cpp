// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <random>
#include <thread>

#include "Net.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"

namespace norvex::test {
namespace {

constexpr int kMillion = 1000000;

void SetStackLimit(rlim_t bytes) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_STACK, &limit), 0);
    limit.rlim_cur = bytes;
    ASSERT_EQ(setrlimit(RLIMIT_STACK, &limit), 0);
}

// New threads take their stack size from the limit, whatever the shell gave the main thread.
void RunOnEightMegabytesOfStack(void (*work)()) {
    SetStackLimit(8u << 20);
    std::thread(work).join();
}

TEST(LargeNets, SearchAndDropAChainOfAMillionPipes) {
    RunOnEightMegabytesOfStack([] {
        Net net;
        for (int number = 0; number < kMillion; ++number) {
            net.Pipe({10.0 * number, 0.0, 0.0}, {10.0 * (number + 1), 0.0, 0.0});
        }
        std::vector<CCheckPipeLineGraph> graphs = net.Search();
        ASSERT_EQ(graphs.size(), 1u);
        EXPECT_EQ(graphs.front().GetItemCount(), 2 * kMillion);
        std::vector<std::vector<ZrOwEntity*>> loops;
        graphs.front().GetBadLoopVec(loops);
        EXPECT_TRUE(loops.empty());
        EXPECT_EQ(pipenet::LastLoopWork(graphs.front()).searches, 0u);
    });
}

TEST(LargeNets, FindALoopOfAMillionPipes) {
    RunOnEightMegabytesOfStack([] {
        Net net;
        for (int number = 0; number < kMillion; ++number) {
            const double next = number + 1 == kMillion ? 0.0 : 10.0 * (number + 1);
            net.Pipe({10.0 * number, 0.0, 0.0}, {next, 0.0, 0.0});
        }
        std::vector<std::vector<ZrOwEntity*>> loops;
        net.Search().front().GetBadLoopVec(loops);
        ASSERT_EQ(loops.size(), 1u);
        EXPECT_EQ(loops.front().size(), static_cast<std::size_t>(kMillion));
        EXPECT_EQ(loops.front().back(), &net[0]);
        EXPECT_EQ(loops.front().front(), &net[1]);
    });
}

TEST(LargeNets, DropAChainOfAMillionPipesBuiltByHand) {
    RunOnEightMegabytesOfStack([] {
        Net net("a-b");
        boost::shared_ptr<CCheckPipeLineNode> first;
        {
            CCheckPipeLineGraph graph;
            boost::shared_ptr<CCheckPipeLineNode> node = first = graph.CreateNode({});
            for (int number = 1; number <= kMillion; ++number) {
                const auto edge = graph.CreateEdge(&net[0]);
                const auto next = graph.CreateNode({10.0 * number, 0.0, 0.0});
                edge->SetNodeStart(node);
                edge->SetNodeEnd(next);
                node->AppendEdge(edge);
                next->AppendEdge(edge);
                node = next;
            }
            EXPECT_EQ(graph.GetItemCount(), 2 * kMillion + 1);
        }
        EXPECT_EQ(first->Point().x, 0.0);
    });
}

TEST(LargeNets, BuildAStarOfAHundredThousandPipesByHand) {
    constexpr int kPipes = 100000;
    Net net;
    CCheckPipeLineGraph graph;
    const auto centre = graph.CreateNode({});
    for (int number = 1; number <= kPipes; ++number) {
        ZrOwPolyLine& pipe = net.Pipe({}, {10.0 * number, 0.0, 0.0});
        ASSERT_EQ(graph.GetEdge(&pipe), nullptr);
        const auto edge = graph.CreateEdge(&pipe);
        edge->SetNodeStart(graph.GetNode(pipe.GetStartPoint()));
        edge->SetNodeEnd(graph.CreateNode(pipe.GetEndPoint()));
        centre->AppendEdge(edge);
        centre->AppendEdge(graph.GetEdge(&pipe));
    }
    EXPECT_EQ(centre->GetConnectEdgeNum(), kPipes);
    EXPECT_EQ(graph.GetEdge(&net[kPipes / 2])->GetNodeStart(), centre);
}

TEST(LargeNets, AppendToAStarThatWasHandedOut) {
    constexpr int kPipes = 20000;
    Net net("a-b");
    CCheckPipeLineGraph graph;
    const auto centre = graph.CreateNode({});
    const auto& list = centre->GetConnectEdgeVec();
    for (int number = 0; number < kPipes; ++number) {
        const auto edge = graph.CreateEdge(&net[0]);
        centre->AppendEdge(edge);
        centre->AppendEdge(edge);
    }
    EXPECT_EQ(list.size(), static_cast<std::size_t>(kPipes));
}

TEST(LargeNets, SearchAStarOfAHundredThousandPipes) {
    constexpr int kPipes = 100000;
    Net net;
    for (int number = 1; number <= kPipes; ++number) {
        net.Pipe({}, {10.0 * number, 0.0, 0.0});
    }
    std::vector<CCheckPipeLineGraph> graphs = net.Search();
    ASSERT_EQ(graphs.size(), 1u);
    EXPECT_EQ(graphs.front().GetItemCount(), 2 * kPipes);
    std::vector<std::vector<ZrOwEntity*>> loops;
    graphs.front().GetBadLoopVec(loops);
    EXPECT_TRUE(loops.empty());
}

TEST(LargeNets, SearchAHundredThousandPipesInOneUnitOfSpace) {
    constexpr int kPipes = 100000;
    Net net;
    std::mt19937_64 random(1);
    const auto along = [&] { return static_cast<double>(random() % 1000000) * 1e-6; };
    for (int number = 0; number < kPipes; ++number) {
        const AcGePoint3d start(along(), along(), along());
        net.Pipe(start, {along(), along(), along()});
    }
    const std::vector<CCheckPipeLineGraph> graphs = net.Search();
    // No two ends meet within the host's tolerance.
    EXPECT_EQ(graphs.size(), 1000u);
    EXPECT_EQ(graphs.front().GetItemCount(), 2);
}

}  // namespace
}  // namespace norvex::test
