// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <unordered_set>
#include <utility>
#include <vector>

class CCheckPipeLineEdge;

namespace norvex::pipenet {

// The edges of one node, in the order in which they were appended.
class EdgeList {
  public:
    const std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& Edges() const { return m_edges; }
    // The list may be changed, until Contains is called next without being told.
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& HandOut() {
        m_mayDiffer = true;
        return m_edges;
    }
    // A list of up to kShort entries is looked through. For a longer one it takes constant time on average unless the
    // list was handed out since the last call, or has another length than it was left with; then all of it is read.
    bool Contains(const CCheckPipeLineEdge* edge) {
        if (m_edges.size() <= kShort) {
            m_known.clear();
            return std::any_of(
                m_edges.begin(), m_edges.end(),
                [edge](const boost::shared_ptr<CCheckPipeLineEdge>& entry) { return entry.get() == edge; });
        }
        if (m_mayDiffer || m_known.empty() || m_edges.size() != m_knownSize || m_edges.data() != m_knownData) {
            m_known.clear();
            for (const boost::shared_ptr<CCheckPipeLineEdge>& entry : m_edges) {
                m_known.insert(entry.get());
            }
            m_mayDiffer = false;
            RememberShape();
        }
        return m_known.count(edge) != 0;
    }
    // Requires: Contains was asked for the edge just before.
    void Append(boost::shared_ptr<CCheckPipeLineEdge> edge) {
        if (m_edges.size() > kShort) {
            m_known.insert(edge.get());
        }
        m_edges.push_back(std::move(edge));
        RememberShape();
    }

  private:
    // Lists up to this length are looked through, whoever changed them: real joints have a handful of edges.
    static constexpr std::size_t kShort = 256;

    void RememberShape() {
        m_knownSize = m_edges.size();
        m_knownData = m_edges.data();
    }

    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> m_edges;
    // Everything in the list, for a long one; empty otherwise.
    std::unordered_set<const CCheckPipeLineEdge*> m_known;
    std::size_t m_knownSize = 0;
    const void* m_knownData = nullptr;
    bool m_mayDiffer = false;
};

}  // namespace norvex::pipenet
