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
    // For changing, at any time: callers may keep the reference.
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& HandOut() {
        m_handedOut = true;
        m_known.clear();
        return m_edges;
    }
    // Constant time on average for a list that nobody else can change; one that was handed out is looked through,
    // because whoever changes it does not say so.
    bool Contains(const CCheckPipeLineEdge* edge) {
        if (m_handedOut || m_edges.size() <= kShort) {
            // From the end: what is appended twice mostly is so at once.
            return std::any_of(
                m_edges.rbegin(), m_edges.rend(),
                [edge](const boost::shared_ptr<CCheckPipeLineEdge>& entry) { return entry.get() == edge; });
        }
        if (m_known.empty()) {
            for (const boost::shared_ptr<CCheckPipeLineEdge>& entry : m_edges) {
                m_known.insert(entry.get());
            }
        }
        return m_known.count(edge) != 0;
    }
    void Append(boost::shared_ptr<CCheckPipeLineEdge> edge) {
        if (!m_known.empty()) {
            m_known.insert(edge.get());
        }
        m_edges.push_back(std::move(edge));
    }

  private:
    // Lists up to this length are looked through: real joints have a handful of edges.
    static constexpr std::size_t kShort = 256;

    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> m_edges;
    // What a long list holds; empty while that is not known.
    std::unordered_set<const CCheckPipeLineEdge*> m_known;
    bool m_handedOut = false;
};

}  // namespace norvex::pipenet
