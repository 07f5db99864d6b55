// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

class CCheckPipeLineEdge;

namespace norvex::pipenet {

// The edges of one node, in the order in which they were appended.
class EdgeList {
  public:
    const std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& Edges() const { return m_edges; }
    // For changing; what is changed before Contains is called next, it sees.
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& HandOut() {
        m_mayDiffer = true;
        return m_edges;
    }
    // A list of up to kShort entries is looked through. For a longer one it takes constant time on average unless the
    // list was handed out since the last call, or is seen to be another than it was left; then all of it is read.
    bool Contains(const CCheckPipeLineEdge* edge) {
        if (m_edges.size() <= kShort) {
            m_positions.clear();
            return std::any_of(
                m_edges.begin(), m_edges.end(),
                [edge](const boost::shared_ptr<CCheckPipeLineEdge>& entry) { return entry.get() == edge; });
        }
        if (m_mayDiffer || m_positions.empty() || m_edges.size() != m_knownSize || m_edges.data() != m_knownData) {
            ReadAll();
        }
        auto found = m_positions.find(edge);
        if (found != m_positions.end() && m_edges[found->second].get() != edge) {
            ReadAll();
            found = m_positions.find(edge);
        }
        return found != m_positions.end();
    }
    void Append(boost::shared_ptr<CCheckPipeLineEdge> edge) {
        if (!m_positions.empty()) {
            m_positions.emplace(edge.get(), m_edges.size());
        }
        m_edges.push_back(std::move(edge));
        RememberShape();
    }

  private:
    // Lists up to this length are looked through, whoever changed them: real joints have a handful of edges.
    static constexpr std::size_t kShort = 256;

    void ReadAll() {
        m_positions.clear();
        for (std::size_t position = 0; position < m_edges.size(); ++position) {
            m_positions.emplace(m_edges[position].get(), position);
        }
        m_mayDiffer = false;
        RememberShape();
    }
    void RememberShape() {
        m_knownSize = m_edges.size();
        m_knownData = m_edges.data();
    }

    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> m_edges;
    // Where each edge of a long list is, or was when the list was read; empty while that is not known.
    std::unordered_map<const CCheckPipeLineEdge*, std::size_t> m_positions;
    std::size_t m_knownSize = 0;
    const void* m_knownData = nullptr;
    bool m_mayDiffer = false;
};

}  // namespace norvex::pipenet
