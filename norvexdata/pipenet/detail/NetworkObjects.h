// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "norvexdata/pipenet/CheckPipeLineGraph.h"
#include "norvexdata/pipenet/detail/EdgeList.h"
#include "norvexdata/pipenet/detail/PipeNetwork.h"

// Who holds what in a network.
//
//   graph --> its nodes, its edges, and for each edge the nodes that it names
//   node  --> the edges of its list
//   edge  ..> its nodes, weakly
//
// Every object has a count of its own, and nothing points back up, so that there is no cycle, and nothing has to be
// taken apart when a graph goes. What a search finds is plain numbers, shared by the graph and its copies; its objects
// are made, all at once, when a caller asks for the first of them. Until they are changed, or the last of the graphs is
// gone, they read their links from the numbers.
namespace norvex::pipenet {

// The nodes that an edge names, held for the graphs of the edge.
struct NamedNodes {
    boost::shared_ptr<CCheckPipeLineNode> nodes[2];
};

// What one search found for one graph and its copies; only they hold it.
class SearchedObjects {
  public:
    explicit SearchedObjects(PipeNetwork&& network) : m_network(std::move(network)) {}
    SearchedObjects(const SearchedObjects&) = delete;
    SearchedObjects& operator=(const SearchedObjects&) = delete;
    // Objects that others hold keep their links.
    ~SearchedObjects();

    const PipeNetwork& Network() const { return m_network; }
    // Whether callers may hold objects of the search. From then on these say how the network is linked.
    bool HasObjects() const { return m_hasObjects; }
    // By number in the network. The first call makes all objects; graphs that share them may make it at once.
    const boost::shared_ptr<CCheckPipeLineNode>& Node(Index number);
    const boost::shared_ptr<CCheckPipeLineEdge>& Edge(Index number);
    // The edge of an entry of the lists.
    const boost::shared_ptr<CCheckPipeLineEdge>& Listed(Index entry) { return Edge(m_network.lists[entry]); }
    // The node at a side of an edge, 0 or 1, as the search linked it.
    const boost::shared_ptr<CCheckPipeLineNode>& NodeOf(Index edge, int side) {
        const PipeNetwork::Ends& ends = m_network.ends[edge];
        return Node(side == 0 ? ends.start : ends.end);
    }
    // Holds the node that a caller has set at a side of an edge, instead of the one set there before.
    void Hold(Index edge, int side, const boost::shared_ptr<CCheckPipeLineNode>& node) {
        m_named[edge].nodes[side] = node;
    }

  private:
    void MakeObjects();

    const PipeNetwork m_network;
    std::once_flag m_making;
    std::atomic<bool> m_hasObjects = false;
    std::vector<boost::shared_ptr<CCheckPipeLineNode>> m_nodes;
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> m_edges;
    // By number of the edge.
    std::unordered_map<Index, NamedNodes> m_named;
};

// The private fields of the fixed classes, for the code of this room.
struct Access {
    // Null while the node's edges are a range of its search's lists, or none.
    static const EdgeList* List(const CCheckPipeLineNode& node) { return node.m_list.get(); }
    static int ListSize(const CCheckPipeLineNode& node) {
        return node.m_list ? static_cast<int>(node.m_list->Edges().size()) : static_cast<int>(node.m_listedCount);
    }
    static Index FirstListed(const CCheckPipeLineNode& node) { return node.m_firstListed; }
    static void SetSearched(CCheckPipeLineNode& node, SearchedObjects& searched, Index number);
    static void SetSearched(CCheckPipeLineEdge& edge, SearchedObjects& searched, Index number);
    static SearchedObjects* Searched(const CCheckPipeLineNode& node) { return node.m_searched; }
    // The search's last graph is going; the object keeps its links.
    static void Leave(CCheckPipeLineNode& node);
    static void Leave(CCheckPipeLineEdge& edge);
    static void SetNamed(CCheckPipeLineEdge& edge, const boost::shared_ptr<NamedNodes>& named);
    static Index& Position(CCheckPipeLineNode& node) { return node.m_index; }
    static Index& Position(CCheckPipeLineEdge& edge) { return edge.m_index; }
    // Of an edge of a graph, which holds its nodes.
    static CCheckPipeLineNode* Start(const CCheckPipeLineEdge& edge) { return edge.GetNodeStart().get(); }
    static CCheckPipeLineNode* End(const CCheckPipeLineEdge& edge) { return edge.GetNodeEnd().get(); }
    // The graph's lists, in order. Both make all objects.
    static std::vector<CCheckPipeLineNode*> Nodes(const CCheckPipeLineGraph& graph);
    static std::vector<CCheckPipeLineEdge*> Edges(const CCheckPipeLineGraph& graph);
    // Fills the graph, which is empty, with what a search found.
    static void Fill(CCheckPipeLineGraph& graph, PipeNetwork&& network);
    static bool IsAsSearched(const CCheckPipeLineGraph& graph) { return graph.m_asSearched; }
    static const LoopWork& Work(const CCheckPipeLineGraph& graph) { return graph.m_loopWork; }
};

// The work of the graph's last GetBadLoopVec; zeros before the first. Needs nothing of the module, so that tests and
// benchmarks may ask for what rule modules have no use for.
inline LoopWork LastLoopWork(const CCheckPipeLineGraph& graph) {
    return Access::Work(graph);
}

// The network of the graph as its objects are linked now, whoever linked them.
PipeNetwork ReadObjects(const CCheckPipeLineGraph& graph);

}  // namespace norvex::pipenet
