// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "norvexdata/Export.h"
#include "norvexdata/pipenet/CheckPipeLineEdge.h"
#include "norvexdata/pipenet/CheckPipeLineNode.h"
#include "norvexdata/pipenet/LoopWork.h"

class ZrOwEntity;

namespace norvex::pipenet {
class SearchedObjects;
struct GraphIndex;
struct NamedNodes;
}  // namespace norvex::pipenet

// One network of pipes: an edge for every pipe, a node for every place where pipe ends meet. Two points are one place
// when they are strictly nearer than 0.1 drawing units.
//
// A copy shares its nodes and edges with the graph it was copied from; what either creates afterwards is its own. A
// graph holds its nodes, its edges and the nodes that these name at the time. When the last of the graphs that share
// objects is gone, what a caller still holds is linked as before, whoever linked it: a node lists its edges, and an
// edge has those of its nodes that somebody holds. Used from one thread at a time, reading included; copies that nobody
// changes may be used from several, one each.
class NORVEXDATA_API CCheckPipeLineGraph {
  public:
    CCheckPipeLineGraph();
    CCheckPipeLineGraph(const CCheckPipeLineGraph& other);
    CCheckPipeLineGraph(CCheckPipeLineGraph&& other) noexcept;
    CCheckPipeLineGraph& operator=(const CCheckPipeLineGraph& other);
    CCheckPipeLineGraph& operator=(CCheckPipeLineGraph&& other) noexcept;
    ~CCheckPipeLineGraph();

    // Makes a node at the point, whether or not there is one already.
    boost::shared_ptr<CCheckPipeLineNode> CreateNode(const AcGePoint3d& point);
    // The oldest node at the place; empty when there is none.
    boost::shared_ptr<CCheckPipeLineNode> GetNode(const AcGePoint3d& point) const;
    // Makes an edge without nodes for the pipe, whether or not there is one already.
    boost::shared_ptr<CCheckPipeLineEdge> CreateEdge(ZrOwPolyLine* pipe);
    // The oldest edge of the pipe; empty when there is none.
    boost::shared_ptr<CCheckPipeLineEdge> GetEdge(ZrOwPolyLine* pipe) const;

    // True with at least one edge and at least one node.
    bool IsValid() const;
    // True when there are at least as many edges as listed nodes. A search leaves its first node out of the list, so
    // that this counts the list and not the network drawn.
    bool HasBadLoop() const;
    // Number of listed nodes and edges.
    int GetItemCount() const;
    // Appends the pipes of each closed loop, found in the order of the edges; loops share no pipe. A loop lists its
    // pipes from the one that closes it back to the first step of the walk, then the pipe that the walk began with. Two
    // pipes between the same two places are one pipe drawn twice, and no loop, when their lengths agree within 0.001.
    void GetBadLoopVec(std::vector<std::vector<ZrOwEntity*>>& loops);

  private:
    friend struct norvex::pipenet::Access;

    std::size_t EdgeCount() const { return m_searchedEdges + m_edges.size(); }
    std::size_t NodeCount() const { return m_searchedNodes + m_nodes.size(); }
    // By position in the list of edges, or of nodes.
    NORVEXDATA_LOCAL const boost::shared_ptr<CCheckPipeLineEdge>& EdgeAt(std::size_t position) const;
    NORVEXDATA_LOCAL const boost::shared_ptr<CCheckPipeLineNode>& NodeAt(std::size_t position) const;
    NORVEXDATA_LOCAL norvex::pipenet::GraphIndex& Lookup() const;

    // A value of its own behind one pointer. Rule modules have compiled HasBadLoop and its like into themselves and
    // count the elements of the vectors below by their size, which therefore stays that of a pointer.
    template <typename Value>
    class Boxed {
      public:
        explicit Boxed(Value value) : m_value(std::make_unique<Value>(std::move(value))) {}
        Boxed(const Boxed& other) : Boxed(*other) {}
        Boxed(Boxed&&) noexcept = default;
        Boxed& operator=(const Boxed& other) { return *this = Boxed(other); }
        Boxed& operator=(Boxed&&) noexcept = default;
        ~Boxed() = default;

        const Value& operator*() const { return *m_value; }
        const Value* operator->() const { return m_value.get(); }

      private:
        std::unique_ptr<Value> m_value;  // null only in what was moved from
    };
    // An edge that a caller created, with its nodes.
    struct CreatedEdge {
        boost::shared_ptr<CCheckPipeLineEdge> edge;
        boost::shared_ptr<norvex::pipenet::NamedNodes> named;
    };

    // Shared by copies; null when no search filled the graph.
    boost::shared_ptr<norvex::pipenet::SearchedObjects> m_searched;
    // Those that the search found come first.
    std::uint32_t m_searchedEdges = 0;
    std::uint32_t m_searchedNodes = 0;
    std::vector<Boxed<CreatedEdge>> m_edges;
    std::vector<Boxed<boost::shared_ptr<CCheckPipeLineNode>>> m_nodes;
    // Answers GetNode and GetEdge; made on first use.
    mutable std::unique_ptr<norvex::pipenet::GraphIndex> m_lookup;
    norvex::pipenet::LoopWork m_loopWork;
    // No caller created a node since the search that filled the graph, so that listed nodes are no two at one place.
    bool m_asSearched = false;
};
