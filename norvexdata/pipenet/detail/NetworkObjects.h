// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <memory>
#include <new>
#include <unordered_map>
#include <vector>

#include "norvexdata/pipenet/CheckPipeLineGraph.h"
#include "norvexdata/pipenet/detail/EdgeList.h"
#include "platform/kernel/LargeMemory.h"

// Who owns what in a network.
//
//   graph --> keeper --> objects made one by one, nodes adopted from elsewhere, and the pool of a search
//   node  --> the edges of its list
//   edge  ..> its nodes, weakly
//
// Objects made one by one have counts of their own, and nothing points back up, so they form no cycle. Objects of a
// search lie in a pool and share the pool's count, which makes a million of them small and quick. The pool also has
// their lists, as plain numbers; the list of a node that a caller asks for becomes one of shared pointers, which hold
// the pool that holds the node. The keeper breaks that circle when the last graph that shares it is gone.
namespace norvex::pipenet {

// Position in a list of nodes, edges or the like.
using Index = std::uint32_t;
inline constexpr Index kNone = ~Index{0};

// Points nearer than this are one place, in drawing units.
inline constexpr double kPlaceTolerance = 0.1;

class NetworkKeeper;

// Constructed objects at addresses that never change, in chunks that grow with the number of objects.
template <class Object>
class Chunks {
  public:
    Chunks() = default;
    Chunks(const Chunks&) = delete;
    Chunks& operator=(const Chunks&) = delete;
    ~Chunks() {
        ForEach([](Object& object) { object.~Object(); });
        for (Chunk& chunk : m_chunks) {
            kernel::LargeAllocator<Object>().deallocate(chunk.objects, chunk.capacity);
        }
    }

    template <class Argument>
    Object* Make(const Argument& argument) {
        if (m_chunks.empty() || m_chunks.back().size == m_chunks.back().capacity) {
            AddChunk();
        }
        Chunk& chunk = m_chunks.back();
        Object* made = new (chunk.objects + chunk.size) Object(argument);
        ++chunk.size;
        return made;
    }

    Object* At(std::size_t number) {
        // Chunks double from the smallest to the largest, and stay at that.
        constexpr std::size_t kDoubling = std::bit_width(kLargest / kSmallest) - 1;
        constexpr std::size_t kInDoubling = kSmallest * ((std::size_t{1} << kDoubling) - 1);
        if (number >= kInDoubling) {
            return m_chunks[kDoubling + (number - kInDoubling) / kLargest].objects + (number - kInDoubling) % kLargest;
        }
        const auto chunk = static_cast<std::size_t>(std::bit_width(number / kSmallest + 1)) - 1;
        return m_chunks[chunk].objects + (number - kSmallest * ((std::size_t{1} << chunk) - 1));
    }

    template <class Visit>
    void ForEach(const Visit& visit) {
        for (Chunk& chunk : m_chunks) {
            for (std::size_t position = 0; position < chunk.size; ++position) {
                visit(chunk.objects[position]);
            }
        }
    }

  private:
    struct Chunk {
        Object* objects;
        std::size_t size;
        std::size_t capacity;
    };

    // Small networks stay small; large ones waste at most one chunk.
    static constexpr std::size_t kSmallest = 8;
    static constexpr std::size_t kLargest = 65536;

    void AddChunk() {
        const std::size_t capacity = m_chunks.empty() ? kSmallest : std::min(kLargest, m_chunks.back().capacity * 2);
        m_chunks.reserve(m_chunks.size() + 1);
        m_chunks.push_back({kernel::LargeAllocator<Object>().allocate(capacity), 0, capacity});
    }

    std::vector<Chunk> m_chunks;
};

// The nodes and edges that searches made for one keeper. Every shared pointer to one of them holds the whole pool.
class ObjectPool : public boost::enable_shared_from_this<ObjectPool> {
  public:
    explicit ObjectPool(NetworkKeeper& keeper) : m_keeper(&keeper) {}

    CCheckPipeLineNode* MakeNode(const AcGePoint3d& point);
    CCheckPipeLineEdge* MakeEdge(ZrOwPolyLine* pipe);
    // Adds an empty list for the node, with room for so many entries.
    void AddList(CCheckPipeLineNode& node, Index room);
    // Appends an edge of this pool, given by its number in the order of making.
    void Append(CCheckPipeLineNode& node, Index edge);
    // The edge of an entry of the lists, and its number.
    CCheckPipeLineEdge* Listed(Index entry) { return m_edges.At(m_lists[entry]); }
    Index ListedNumber(Index entry) const { return m_lists[entry]; }
    // Null once no graph is left.
    NetworkKeeper* Keeper() const { return m_keeper; }
    // The last graph is gone: takes the links between the objects away, except what other graphs still use.
    void Cut();

  private:
    Chunks<CCheckPipeLineNode> m_nodes;
    Chunks<CCheckPipeLineEdge> m_edges;
    // The lists of the nodes, one after the other, as numbers of edges.
    kernel::LargeVector<Index> m_lists;
    NetworkKeeper* m_keeper;
};

// Keeps the objects of a graph and its copies; only graphs hold it for longer than a call.
class NetworkKeeper : public boost::enable_shared_from_this<NetworkKeeper> {
  public:
    NetworkKeeper() = default;
    NetworkKeeper(const NetworkKeeper&) = delete;
    NetworkKeeper& operator=(const NetworkKeeper&) = delete;
    ~NetworkKeeper();

    // The pool for objects of a search; made on first use.
    const boost::shared_ptr<ObjectPool>& Pool();
    void Keep(const boost::shared_ptr<CCheckPipeLineNode>& node);
    void Keep(const boost::shared_ptr<CCheckPipeLineEdge>& edge);
    // A shared pointer to an object that this keeper keeps.
    boost::shared_ptr<CCheckPipeLineNode> Share(CCheckPipeLineNode* node) const;
    boost::shared_ptr<CCheckPipeLineEdge> Share(CCheckPipeLineEdge* edge) const;

  private:
    boost::shared_ptr<ObjectPool> m_pool;
    std::unordered_map<CCheckPipeLineNode*, boost::shared_ptr<CCheckPipeLineNode>> m_nodes;
    std::unordered_map<CCheckPipeLineEdge*, boost::shared_ptr<CCheckPipeLineEdge>> m_edges;
};

// The private fields of the fixed classes, for the code of this room.
struct Access {
    // Null while the node's edges are a range of its pool's lists, or none.
    static const EdgeList* List(const CCheckPipeLineNode& node) { return node.m_list.get(); }
    static Index& FirstListed(CCheckPipeLineNode& node) { return node.m_firstListed; }
    static Index& ListedCount(CCheckPipeLineNode& node) { return node.m_listedCount; }
    static int ListSize(const CCheckPipeLineNode& node) {
        return node.m_list ? static_cast<int>(node.m_list->Edges().size()) : static_cast<int>(node.m_listedCount);
    }
    static const AcGePoint3d& Point(const CCheckPipeLineNode& node) { return node.m_point; }
    static Index& Position(CCheckPipeLineNode& node) { return node.m_index; }
    static Index& Position(CCheckPipeLineEdge& edge) { return edge.m_index; }
    static ObjectPool*& Pool(CCheckPipeLineNode& node) { return node.m_pool; }
    static ObjectPool*& Pool(CCheckPipeLineEdge& edge) { return edge.m_pool; }
    static CCheckPipeLineNode* Start(const CCheckPipeLineEdge& edge) { return edge.m_nodes[0]; }
    static CCheckPipeLineNode* End(const CCheckPipeLineEdge& edge) { return edge.m_nodes[1]; }
    static void SetPooledStart(CCheckPipeLineEdge& edge, CCheckPipeLineNode* node) { SetPooled(edge, 0, node); }
    static void SetPooledEnd(CCheckPipeLineEdge& edge, CCheckPipeLineNode* node) { SetPooled(edge, 1, node); }
    static void CutPooled(CCheckPipeLineEdge& edge);
    static void SetKeeper(CCheckPipeLineEdge& edge, const boost::shared_ptr<NetworkKeeper>& keeper);
    static void Adopt(CCheckPipeLineNode& node) { ++node.m_adopters; }
    // Returns true when no other graph is left that adopted the node.
    static bool Release(CCheckPipeLineNode& node) { return --node.m_adopters == 0; }
    static bool IsAdopted(const CCheckPipeLineNode& node) { return node.m_adopters != 0; }
    static void DropList(CCheckPipeLineNode& node);
    static const kernel::LargeVector<CCheckPipeLineNode*>& Nodes(const CCheckPipeLineGraph& graph) {
        return graph.m_nodes;
    }
    static const kernel::LargeVector<CCheckPipeLineEdge*>& Edges(const CCheckPipeLineGraph& graph) {
        return graph.m_edges;
    }
    // Appends an object of the graph's pool to its list.
    static void Add(CCheckPipeLineGraph& graph, CCheckPipeLineNode* node) {
        node->m_index = static_cast<Index>(graph.m_nodes.size());
        graph.m_nodes.push_back(node);
    }
    static void Add(CCheckPipeLineGraph& graph, CCheckPipeLineEdge* edge) {
        edge->m_index = static_cast<Index>(graph.m_edges.size());
        graph.m_edges.push_back(edge);
    }
    static const boost::shared_ptr<ObjectPool>& Pool(CCheckPipeLineGraph& graph) { return graph.Keeper()->Pool(); }
    static void SetSearched(CCheckPipeLineGraph& graph) { graph.m_asSearched = true; }
    static const LoopWork& Work(const CCheckPipeLineGraph& graph) { return graph.m_loopWork; }

  private:
    static void SetPooled(CCheckPipeLineEdge& edge, int side, CCheckPipeLineNode* node) {
        edge.m_nodes[side] = node;
        edge.m_pooled[side] = true;
    }
};

}  // namespace norvex::pipenet
