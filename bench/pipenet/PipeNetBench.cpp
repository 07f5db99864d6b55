// SPDX-License-Identifier: Apache-2.0
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "bench/pipenet/PipeNetPeers.h"
#include "norvexdata/pipenet/CheckSearchGraph.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"
#include "tests/module/pipenet/PipeShapes.h"

// Every allocation of the process passes here, so that peaks can be read without the system's rounding to pages.
namespace {

bool counting = false;
std::size_t current = 0;
std::size_t peak = 0;

}  // namespace

namespace {

void* Count(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (counting) {
        // The allocator keeps eight bytes of its own beside each block.
        current += malloc_usable_size(memory) + 8;
        peak = std::max(peak, current);
    }
    return memory;
}

void Release(void* memory) {
    if (counting && memory != nullptr) {
        current -= malloc_usable_size(memory) + 8;
    }
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    return Count(std::malloc(size));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return Count(std::aligned_alloc(static_cast<std::size_t>(alignment), size));
}

void operator delete(void* memory) noexcept {
    Release(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    Release(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
    Release(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    Release(memory);
}

namespace norvex::bench {
namespace {

using Clock = std::chrono::steady_clock;

// What our way leaves behind; dropping it is timed apart.
struct Result {
    std::vector<CCheckPipeLineGraph> graphs;
    std::vector<std::vector<ZrOwEntity*>> loops;
};

void RunOurs(const std::vector<ZrOwEntity*>& pipes, Result& result) {
    CCheckSearchGraph().SearchGraph(pipes, result.graphs);
    for (CCheckPipeLineGraph& graph : result.graphs) {
        graph.GetBadLoopVec(result.loops);
    }
}

double Since(Clock::time_point start) {
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

double TimeOurs(const test::PipeShape& shape) {
    Result result;
    const Clock::time_point start = Clock::now();
    RunOurs(shape.list(), result);
    return Since(start);
}

template <class Peer>
double TimePeer(const test::PipeShape& shape, const Peer& peer) {
    const Clock::time_point start = Clock::now();
    peer(shape.list());
    return Since(start);
}

// Nanoseconds per pipe, each of the fastest of some runs. The ways take turns, so that none has the machine to itself
// when others do not.
struct Times {
    double ours = 1e300;
    double boost = 1e300;
    double lemon = 1e300;
};

Times TimeAll(const test::PipeShape& shape, bool peers) {
    // Small drawings run often enough to be seen by the clock.
    const std::size_t runs = shape.size() >= 500000 ? 5 : std::max<std::size_t>(5, 300000 / shape.size());
    const auto pipes = static_cast<double>(shape.size());
    Times best;
    for (std::size_t run = 0; run < runs; ++run) {
        best.ours = std::min(best.ours, TimeOurs(shape) / pipes);
        if (peers) {
            best.boost = std::min(best.boost, TimePeer(shape, RunBoost) / pipes);
            best.lemon = std::min(best.lemon, TimePeer(shape, RunLemon) / pipes);
        }
    }
    return best;
}

// Bytes per pipe at the highest point, beyond the entities and the list of them.
double PeakOfOurs(const test::PipeShape& shape) {
    counting = true;
    current = peak = 0;
    {
        Result result;
        RunOurs(shape.list(), result);
    }
    counting = false;
    return static_cast<double>(peak) / static_cast<double>(shape.size());
}

void PrintShape(const std::string& kind, int pipes, bool shuffled, bool peers) {
    const test::PipeShape shape(kind, pipes, shuffled);
    Result result;
    const Clock::time_point searching = Clock::now();
    CCheckSearchGraph().SearchGraph(shape.list(), result.graphs);
    const double search = Since(searching) / static_cast<double>(shape.size());
    pipenet::LoopWork work;
    for (CCheckPipeLineGraph& graph : result.graphs) {
        graph.GetBadLoopVec(result.loops);
        const pipenet::LoopWork done = pipenet::LastLoopWork(graph);
        work.searches += done.searches;
        work.edgesVisited += done.edgesVisited;
        work.edgesSplit += done.edgesSplit;
    }
    const std::size_t loops = result.loops.size();
    const Clock::time_point dropping = Clock::now();
    result = {};
    const double drop = Since(dropping) / static_cast<double>(shape.size());

    const Times times = TimeAll(shape, peers);
    std::printf("%-10s %-8s %8zu | %7.0f (search %4.0f) drop %4.0f |", kind.c_str(), shuffled ? "shuffled" : "drawn",
                shape.size(), times.ours, search, drop);
    if (peers) {
        std::printf(" boost %6.0f = %5.2fx | lemon %6.0f = %5.2fx |", times.boost, times.boost / times.ours,
                    times.lemon, times.lemon / times.ours);
    }
    const auto perPipe = [&](std::uint64_t count) {
        return static_cast<double>(count) / static_cast<double>(shape.size());
    };
    std::printf(" loops %zu, visited %.2f, split %.2f per pipe, %llu searches | peak %.0f B/pipe\n", loops,
                perPipe(work.edgesVisited), perPipe(work.edgesSplit), static_cast<unsigned long long>(work.searches),
                PeakOfOurs(shape));
    std::fflush(stdout);
}

void PrintGrowth(const std::string& kind, bool shuffled, int largest) {
    std::printf("%-10s %-8s |", kind.c_str(), shuffled ? "shuffled" : "drawn");
    double atTenThousand = 0.0;
    double last = 0.0;
    for (int pipes = 1000; pipes <= largest; pipes *= 10) {
        const test::PipeShape shape(kind, pipes, shuffled);
        last = TimeAll(shape, false).ours;
        atTenThousand = pipes == 10000 ? last : atTenThousand;
        std::printf(" %7d: %5.0f ns |", pipes, last);
    }
    if (largest > 10000) {
        std::printf(" last / 1e4 = %.2f", last / atTenThousand);
    }
    std::printf("\n");
    std::fflush(stdout);
}

int Run(int largest, const std::string& only) {
    const std::vector<std::string> named = {"forest", "chain", "grid", "building"};
    const std::vector<std::string> stress = {"squares", "ladder", "honeycomb", "sparse", "twins",
                                             "petals",  "stubs",  "doubled",   "loose"};
    std::printf("ns per pipe, one thread, fastest run; peers on the same list in the same run\n");
    for (const auto* kinds : {&named, &stress}) {
        for (const std::string& kind : *kinds) {
            for (const bool shuffled : {false, true}) {
                if (only.empty() || only == kind) {
                    PrintShape(kind, largest, shuffled, kinds == &named);
                }
            }
        }
    }
    std::printf("growth\n");
    for (const std::string& kind : named) {
        for (const bool shuffled : {false, true}) {
            if (only.empty() || only == kind) {
                PrintGrowth(kind, shuffled, largest);
            }
        }
    }
    return 0;
}

}  // namespace
}  // namespace norvex::bench

// pipenet_bench [PIPES] [SHAPE]
int main(int count, char** arguments) {
    return norvex::bench::Run(count > 1 ? std::atoi(arguments[1]) : 1000000, count > 2 ? arguments[2] : "");
}
