// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "Net.h"

namespace norvex::test {
namespace {

// Copies of a graph are graphs of their own, each for one thread, although they share what a search found.
TEST(PipeGraphThreads, ReadCopiesOfASearchAtTheSameTime) {
    for (int round = 0; round < 200; ++round) {
        Net net("a-b b-c c-a c-d");
        CCheckPipeLineGraph graph = net.Search().front();
        CCheckPipeLineGraph copy(graph);
        boost::shared_ptr<CCheckPipeLineEdge> edges[2];
        std::vector<std::vector<ZrOwEntity*>> loops[2];
        std::barrier start(2);
        const auto read = [&](CCheckPipeLineGraph& own, int number) {
            start.arrive_and_wait();
            if (number == 0) {
                own.GetBadLoopVec(loops[number]);
            }
            edges[number] = own.GetEdge(&net[3]);
            own.GetBadLoopVec(loops[number]);
        };
        std::thread other(read, std::ref(copy), 1);
        read(graph, 0);
        other.join();
        EXPECT_EQ(edges[0], edges[1]);
        EXPECT_EQ(loops[0].size(), 2u);
        EXPECT_EQ(loops[1].size(), 1u);
    }
}

}  // namespace
}  // namespace norvex::test
