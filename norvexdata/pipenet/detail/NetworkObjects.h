// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "norvexdata/pipenet/CheckPipeLineGraph.h"
#include "norvexdata/pipenet/detail/EdgeList.h"
#include "norvexdata/pipenet/detail/PipeNetwork.h"

// Who owns what in a network.
//
//   graph --> keeper --> objects made one by one, nodes adopted from elsewhere, and the pool of a search
//   node  --> the edges of its list
//   edge  ..> its nodes, weakly
//
// Objects made one by one have counts of their own, and nothing points back up, so they form no cycle. What a search
// finds is a pool of plain numbers; its objects are made, all at once, when a caller asks for the first of them, and
// share the pool's count. The list of a node that a caller asks for becomes one of shared pointers, which hold the pool
// that holds the node. The keeper breaks that circle when the last graph that shares it is gone.
namespace norvex::pipenet {

class NetworkKeeper;

// What one search found for one keeper. Every shared pointer to one of its objects holds the whole pool.
class ObjectPool : public boost::enable_shared_from_this<ObjectPool> {
  public:
    ObjectPool(NetworkKeeper& keeper, PipeNetwork&& network) : m_network(std::move(network)), m_keeper(&keeper) {}

    const PipeNetwork& Network() const { return m_network; }
    // Whether callers may hold objects of the pool. From then on these say how the network is linked.
    bool HasObjects() const { return m_hasObjects; }
    // By number in the network. The first call makes all objects; graphs that share the pool may make it at once.
    CCheckPipeLineNode* Node(Index number);
    CCheckPipeLineEdge* Edge(Index number);
    // The edge of an entry of the lists.
    CCheckPipeLineEdge* Listed(Index entry) { return Edge(m_network.lists[entry]); }
    // Null once no graph is left.
    NetworkKeeper* Keeper() const { return m_keeper; }
    // The last graph is gone: takes the links between the objects away, except what other graphs still use.
    void Cut();

  private:
    void MakeObjects();

    const PipeNetwork m_network;
    std::once_flag m_making;
    std::atomic<bool> m_hasObjects = false;
    std::deque<CCheckPipeLineNode> m_nodes;
    std::deque<CCheckPipeLineEdge> m_edges;
    NetworkKeeper* m_keeper;
};

// Keeps the objects of a graph and its copies; only graphs hold it for longer than a call.
class NetworkKeeper : public boost::enable_shared_from_this<NetworkKeeper> {
  public:
    NetworkKeeper() = default;
    NetworkKeeper(const NetworkKeeper&) = delete;
    NetworkKeeper& operator=(const NetworkKeeper&) = delete;
    ~NetworkKeeper();

    // What a search found; null without one.
    ObjectPool* Pool() const { return m_pool.get(); }
    // Requires: there is no pool yet.
    void SetPool(PipeNetwork&& network) { m_pool.reset(new ObjectPool(*this, std::move(network))); }
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
    static int ListSize(const CCheckPipeLineNode& node) {
        return node.m_list ? static_cast<int>(node.m_list->Edges().size()) : static_cast<int>(node.m_listedCount);
    }
    static Index FirstListed(const CCheckPipeLineNode& node) { return node.m_firstListed; }
    static void SetPool(CCheckPipeLineNode& node, ObjectPool& pool, Index number);
    static void SetPool(CCheckPipeLineEdge& edge, ObjectPool& pool, Index number, CCheckPipeLineNode& start,
                        CCheckPipeLineNode& end);
    static Index& Position(CCheckPipeLineNode& node) { return node.m_index; }
    static Index& Position(CCheckPipeLineEdge& edge) { return edge.m_index; }
    static ObjectPool* Pool(const CCheckPipeLineNode& node) { return node.m_pool; }
    static ObjectPool* Pool(const CCheckPipeLineEdge& edge) { return edge.m_pool; }
    static CCheckPipeLineNode* Start(const CCheckPipeLineEdge& edge) { return edge.m_nodes[0]; }
    static CCheckPipeLineNode* End(const CCheckPipeLineEdge& edge) { return edge.m_nodes[1]; }
    static void CutPooled(CCheckPipeLineEdge& edge);
    static void SetKeeper(CCheckPipeLineEdge& edge, const boost::shared_ptr<NetworkKeeper>& keeper);
    static void Adopt(CCheckPipeLineNode& node) { ++node.m_adopters; }
    // Returns true when no other graph is left that adopted the node.
    static bool Release(CCheckPipeLineNode& node) { return --node.m_adopters == 0; }
    static bool IsAdopted(const CCheckPipeLineNode& node) { return node.m_adopters != 0; }
    static void DropList(CCheckPipeLineNode& node);
    // The graph's lists, in order. Both make all objects.
    static std::vector<CCheckPipeLineNode*> Nodes(const CCheckPipeLineGraph& graph);
    static std::vector<CCheckPipeLineEdge*> Edges(const CCheckPipeLineGraph& graph);
    // Fills the graph, which is empty, with what a search found.
    static void Fill(CCheckPipeLineGraph& graph, PipeNetwork&& network);
    static bool IsAsSearched(const CCheckPipeLineGraph& graph) { return graph.m_asSearched; }
    static const LoopWork& Work(const CCheckPipeLineGraph& graph) { return graph.m_loopWork; }
};

// The network of the graph as its objects are linked now, whoever linked them.
PipeNetwork ReadObjects(const CCheckPipeLineGraph& graph);

}  // namespace norvex::pipenet
