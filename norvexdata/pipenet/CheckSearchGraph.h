// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <vector>

#include "norvexdata/Export.h"
#include "norvexdata/pipenet/CheckPipeLineGraph.h"

namespace norvex::pipenet {
class PipeSearch;
}  // namespace norvex::pipenet

// Splits a list of entities into networks of pipes whose ends coincide within the host's tolerance. Used from one
// thread at a time; entities are borrowed.
class NORVEXDATA_API CCheckSearchGraph {
  public:
    CCheckSearchGraph();
    CCheckSearchGraph(const CCheckSearchGraph& other);
    CCheckSearchGraph& operator=(const CCheckSearchGraph& other);
    ~CCheckSearchGraph();

    // Appends one graph per network, in the order of the first pipe of each; entities that are no pipes are skipped.
    // Stops after the 1000th graph of the call and leaves the rest of the pipes out.
    //
    // The node at the start of a network's first pipe is in no node list. A network that closes back on that point has
    // a second, listed node there.
    void SearchGraph(const std::vector<ZrOwEntity*>& pipes, std::vector<CCheckPipeLineGraph>& graphs);

  private:
    // Grows the graph from the node, depth first.
    void SearchEdge(boost::shared_ptr<CCheckPipeLineNode> node, CCheckPipeLineGraph& graph);
    // Takes the pipes of the graph out of the pending ones.
    void RemoveUsedPipe(const CCheckPipeLineGraph& graph);

    std::vector<ZrOwEntity*> m_pendingPipes;
    // Set while SearchGraph runs.
    norvex::pipenet::PipeSearch* m_search = nullptr;
};
