// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/CheckSearchGraph.h"

#include <algorithm>

#include "norvexdata/pipenet/detail/PipeSearch.h"

namespace {

// A search gives up after this many networks; a floor with more is a drawing of loose pieces.
constexpr int kMostGraphs = 1000;

// Lets go of the search when a call ends, by an exception too.
struct SearchEnd {
    norvex::pipenet::PipeSearch*& search;
    ~SearchEnd() { search = nullptr; }
};

}  // namespace

CCheckSearchGraph::CCheckSearchGraph() = default;

CCheckSearchGraph::CCheckSearchGraph(const CCheckSearchGraph& other) : m_pendingPipes(other.m_pendingPipes) {
}

CCheckSearchGraph& CCheckSearchGraph::operator=(const CCheckSearchGraph& other) {
    m_pendingPipes = other.m_pendingPipes;
    return *this;
}

CCheckSearchGraph::~CCheckSearchGraph() = default;

void CCheckSearchGraph::SearchGraph(const std::vector<ZrOwEntity*>& pipes, std::vector<CCheckPipeLineGraph>& graphs) {
    m_pendingPipes = pipes;
    norvex::pipenet::PipeSearch search(m_pendingPipes);
    m_search = &search;
    const SearchEnd end{m_search};

    std::size_t first = 0;
    for (int count = 0; count < kMostGraphs; ++count) {
        while (first < m_pendingPipes.size() && !search.IsPending(first)) {
            ++first;
        }
        if (first == m_pendingPipes.size()) {
            break;
        }
        // A pipe whose start equals no point, not even itself, gets an empty graph and stays pending.
        CCheckPipeLineGraph& graph = graphs.emplace_back();
        SearchEdge(search.MakeSeed(first), graph);
        RemoveUsedPipe(graph);
    }

    std::size_t kept = 0;
    for (std::size_t position = first; position < m_pendingPipes.size(); ++position) {
        if (search.IsPending(position)) {
            m_pendingPipes[kept++] = m_pendingPipes[position];
        }
    }
    m_pendingPipes.resize(kept);
}

void CCheckSearchGraph::SearchEdge(boost::shared_ptr<CCheckPipeLineNode> node, CCheckPipeLineGraph& graph) {
    m_search->Grow(*node, graph);
}

void CCheckSearchGraph::RemoveUsedPipe(const CCheckPipeLineGraph&) {
    m_search->Close();
}
