// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <boost/shared_ptr.hpp>
#include <memory>
#include <unordered_set>
#include <utility>
#include <vector>

class CCheckPipeLineEdge;

namespace norvex::pipenet {

// The edges of one node, in the order in which they were appended.
class EdgeList {
  public:
    const std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& Edges() const { return m_edges; }
    // From here on the list may change at any time without being told.
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& HandOut() {
        m_handedOut = true;
        m_known.reset();
        return m_edges;
    }
    // Constant time on average; once the list was handed out, every entry has to be looked at.
    bool Contains(const CCheckPipeLineEdge* edge) {
        if (m_handedOut || m_edges.size() <= kShort) {
            return std::any_of(
                m_edges.begin(), m_edges.end(),
                [edge](const boost::shared_ptr<CCheckPipeLineEdge>& entry) { return entry.get() == edge; });
        }
        if (!m_known) {
            m_known = std::make_unique<std::unordered_set<const CCheckPipeLineEdge*>>();
            for (const boost::shared_ptr<CCheckPipeLineEdge>& entry : m_edges) {
                m_known->insert(entry.get());
            }
        }
        return m_known->count(edge) != 0;
    }
    void Append(boost::shared_ptr<CCheckPipeLineEdge> edge) {
        if (m_known) {
            m_known->insert(edge.get());
        }
        m_edges.push_back(std::move(edge));
    }

  private:
    // Lists up to this length are looked through; a set pays off beyond it.
    static constexpr std::size_t kShort = 16;

    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> m_edges;
    // Everything in the list, for a long one that was never handed out.
    std::unique_ptr<std::unordered_set<const CCheckPipeLineEdge*>> m_known;
    bool m_handedOut = false;
};

}  // namespace norvex::pipenet
