// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/Blocks.h"

#include <algorithm>

namespace norvex::pipenet {
namespace {

// A graph with its vertices numbered densely, in the order in which the links name them.
struct Graph {
    struct Arc {
        Index link;
        Index other;
    };

    Graph(const kernel::LargeVector<Link>& links, kernel::LargeVector<Index>& numberOf) {
        for (const Link& link : links) {
            numberOf[link.first] = numberOf[link.second] = kNone;
        }
        for (const Link& link : links) {
            for (const Index vertex : {link.first, link.second}) {
                if (numberOf[vertex] == kNone) {
                    numberOf[vertex] = static_cast<Index>(vertices.size());
                    vertices.push_back(vertex);
                }
            }
        }
        begin.resize(vertices.size() + 1);
        for (const Link& link : links) {
            ++begin[numberOf[link.first]];
            ++begin[numberOf[link.second]];
        }
        Index total = 0;
        for (Index& position : begin) {
            total += position;
            position = total;
        }
        arcs.resize(total);
        for (Index link = static_cast<Index>(links.size()); link-- > 0;) {
            const Index first = numberOf[links[link].first];
            const Index second = numberOf[links[link].second];
            arcs[--begin[first]] = {link, second};
            arcs[--begin[second]] = {link, first};
        }
    }

    kernel::LargeVector<Index> vertices;
    kernel::LargeVector<Index> begin;
    kernel::LargeVector<Arc> arcs;
};

// Depth-first search that closes a block whenever nothing below a link reaches above the link's upper vertex.
class BlockSearch {
  public:
    BlockSearch(const Graph& graph, std::size_t links, Blocks& blocks)
        : m_graph(graph), m_blocks(blocks), m_order(graph.vertices.size()), m_low(graph.vertices.size()) {
        m_blocks.blockOf.resize(links, kNone);
    }

    void Run() {
        for (Index vertex = 0; vertex < m_order.size(); ++vertex) {
            if (m_order[vertex] == 0) {
                Search(vertex);
            }
        }
    }

  private:
    struct Frame {
        Index vertex;
        Index next;
        Index cameBy;
    };
    // A link that was walked but is in no block yet.
    static constexpr Index kOpen = kNone - 1;

    void Enter(Index vertex, Index cameBy) {
        m_order[vertex] = m_low[vertex] = ++m_count;
        m_frames.push_back({vertex, m_graph.begin[vertex], cameBy});
    }

    void Search(Index root) {
        Enter(root, kNone);
        while (!m_frames.empty()) {
            Frame& frame = m_frames.back();
            if (frame.next == m_graph.begin[frame.vertex + 1]) {
                Leave();
                continue;
            }
            const Graph::Arc arc = m_graph.arcs[frame.next++];
            if (m_blocks.blockOf[arc.link] != kNone) {
                continue;
            }
            if (arc.other == frame.vertex) {
                m_blocks.blockOf[arc.link] = AddBlock(false);
                continue;
            }
            m_blocks.blockOf[arc.link] = kOpen;
            m_open.push_back(arc.link);
            if (m_order[arc.other] == 0) {
                Enter(arc.other, arc.link);
            } else {
                m_low[frame.vertex] = std::min(m_low[frame.vertex], m_order[arc.other]);
            }
        }
    }

    void Leave() {
        const Frame done = m_frames.back();
        m_frames.pop_back();
        if (m_frames.empty()) {
            return;
        }
        const Index above = m_frames.back().vertex;
        m_low[above] = std::min(m_low[above], m_low[done.vertex]);
        if (m_low[done.vertex] < m_order[above]) {
            return;
        }
        const Index block = AddBlock(m_open.back() == done.cameBy);
        Index link = kNone;
        do {
            link = m_open.back();
            m_open.pop_back();
            m_blocks.blockOf[link] = block;
        } while (link != done.cameBy);
    }

    Index AddBlock(bool isBridge) {
        m_blocks.isBridge.push_back(isBridge);
        return static_cast<Index>(m_blocks.isBridge.size() - 1);
    }

    const Graph& m_graph;
    Blocks& m_blocks;
    // Per vertex: when it was entered, counted from 1, and the earliest vertex reached from below it.
    kernel::LargeVector<Index> m_order;
    kernel::LargeVector<Index> m_low;
    Index m_count = 0;
    kernel::LargeVector<Frame> m_frames;
    kernel::LargeVector<Index> m_open;
};

Index RootOf(kernel::LargeVector<Index>& parent, Index block) {
    while (parent[block] != block) {
        parent[block] = parent[parent[block]];
        block = parent[block];
    }
    return block;
}

}  // namespace

Blocks FindBlocks(const kernel::LargeVector<Link>& links, kernel::LargeVector<Index>& numberOf,
                  const kernel::LargeVector<unsigned char>& joins) {
    Blocks blocks;
    const Graph graph(links, numberOf);
    BlockSearch(graph, links.size(), blocks).Run();

    kernel::LargeVector<Index> parent(blocks.isBridge.size());
    for (Index block = 0; block < parent.size(); ++block) {
        parent[block] = block;
    }
    for (Index vertex = 0; vertex < graph.vertices.size(); ++vertex) {
        if (joins[graph.vertices[vertex]]) {
            for (Index arc = graph.begin[vertex]; arc < graph.begin[vertex + 1]; ++arc) {
                const Index left = RootOf(parent, blocks.blockOf[graph.arcs[graph.begin[vertex]].link]);
                const Index right = RootOf(parent, blocks.blockOf[graph.arcs[arc].link]);
                parent[std::max(left, right)] = std::min(left, right);
            }
        }
    }
    // A root is the lowest block of its part, so that it has its number before the others ask.
    blocks.partOfBlock.resize(parent.size());
    for (Index block = 0; block < parent.size(); ++block) {
        const Index root = RootOf(parent, block);
        blocks.partOfBlock[block] = root == block ? blocks.parts++ : blocks.partOfBlock[root];
    }
    for (Index vertex = 0; vertex < graph.vertices.size(); ++vertex) {
        if (joins[graph.vertices[vertex]]) {
            const Index block = blocks.blockOf[graph.arcs[graph.begin[vertex]].link];
            blocks.joined.emplace_back(graph.vertices[vertex], blocks.partOfBlock[block]);
        }
    }
    return blocks;
}

}  // namespace norvex::pipenet
