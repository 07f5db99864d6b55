// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/entities/EntFindMethod.h"
#include "norvexdata/state/CategoryMap.h"
#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"
#include "sdk/rule/Describe.h"

namespace norvex::rule {

// Category to sub-categories, as configuration groups are.
using CategoryGroup = std::map<CString, std::set<CString>>;

// The entities of a group's sub-categories, in the order of the map.
inline std::vector<ZrOwEntity*> EntitiesOf(const CategoryGroup& group, const CategoryMap& entities) {
    std::vector<ZrOwEntity*> found;
    for (const auto& [category, subCategories] : group) {
        // A search for no sub-category at all would give every one.
        if (!subCategories.empty()) {
            CEntFindMethod::InsertData(category, {subCategories.begin(), subCategories.end()}, entities, found);
        }
    }
    return found;
}

// Answers what is joined to fittings, devices and equipment; near-linear to build, constant to ask, but for the first
// time that the drawing does not say it. Entities are borrowed. For one thread at a time.
class Joints {
  public:
    // How many pipes and fittings are held against one entity. A distributor has dozens; where more than this lie in
    // one place, that is no joint but a heap, and nothing tells who belongs to whom.
    static constexpr std::size_t kMostLooks = 1024;

    // Only these entities are ever answered.
    explicit Joints(const std::vector<ZrOwEntity*>& entities) {
        m_byHandle.reserve(entities.size());
        for (ZrOwEntity* entity : entities) {
            m_byHandle.emplace(CComMethod::GetStrHandle(entity), entity);
            if (ZrOwPolyLine::cast(entity) != nullptr) {
                m_pipes.push_back(entity);
            }
        }
    }

    // As kPropertyJoined says. Of a drawing that does not say it: the pipes that end at a fitting, or within the
    // distance at which equipment is searched for from equipment. By handle. None for what is in a crowd.
    std::vector<ZrOwEntity*> Of(const ZrOwEntity& entity) const {
        std::map<CString, ZrOwEntity*> found;
        if (m_crowded.count(&entity) != 0 || !Gather(entity, found)) {
            m_crowded.insert(&entity);
            return {};
        }
        std::vector<ZrOwEntity*> joined;
        for (const auto& [handle, each] : found) {
            joined.push_back(each);
        }
        return joined;
    }

    // Whether Of() found more around the entity, or joined to it, than it looks at.
    bool IsCrowded(const ZrOwEntity& entity) const { return m_crowded.count(&entity) != 0; }
    // How many entities were held against others so far.
    std::uint64_t Looks() const { return m_looks; }

  private:
    // As near as the ends of two pipes that are one node of a pipe graph, and as equipment to a point.
    static constexpr double kFittingReach = 0.1;
    static constexpr double kEquipmentReach = 100.0;

    using Cell = std::uint64_t;

    // Cells are as wide as the longest reach, so that what is near lies in a neighbour. Different cells may share a
    // number; distances are measured in any case.
    static Cell CellAt(const AcGePoint3d& point, int dx, int dy, int dz) {
        // Cells farther out fall together: a whole number may not hold them.
        static constexpr double kFarthest = 1e15;
        const auto number = [](double at, int step) {
            const double cell = at / kEquipmentReach;
            return static_cast<Cell>(std::llround(cell > -kFarthest ? std::min(cell, kFarthest) : -kFarthest) + step);
        };
        return (number(point.x, dx) * 73856093U) ^ (number(point.y, dy) * 19349663U) ^
               (number(point.z, dz) * 83492791U);
    }

    // Most drawings say what is joined, and nobody looks for ends in them.
    void GatherEnds() const {
        for (ZrOwEntity* entity : m_pipes) {
            const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
            m_ends[CellAt(pipe->GetStartPoint(), 0, 0, 0)].push_back(entity);
            m_ends[CellAt(pipe->GetEndPoint(), 0, 0, 0)].push_back(entity);
        }
        m_pipes.clear();
    }

    // False when there is too much to look at.
    bool Gather(const ZrOwEntity& entity, std::map<CString, ZrOwEntity*>& found) const {
        const CString stated = TextOf(entity, kPropertyJoined);
        if (stated.IsEmpty()) {
            if (const ZrOwFittingBase* fitting = ZrOwFittingBase::cast(&entity)) {
                return Near(fitting->GetPosition(), kFittingReach, found);
            }
            const ZrOwNode* node = ZrOwNode::cast(&entity);
            return node == nullptr || Near(node->GetInsertPoint(), kEquipmentReach, found);
        }
        int start = 0;
        std::size_t looks = 0;
        for (CString handle = stated.Tokenize(u",", start); start >= 0; handle = stated.Tokenize(u",", start)) {
            if (!Look(looks)) {
                return false;
            }
            if (const auto joined = m_byHandle.find(handle); joined != m_byHandle.end()) {
                found.insert(*joined);
            }
        }
        return true;
    }

    bool Look(std::size_t& looks) const {
        ++m_looks;
        return ++looks <= kMostLooks;
    }

    bool Near(const AcGePoint3d& point, double reach, std::map<CString, ZrOwEntity*>& found) const {
        std::size_t looks = 0;
        if (!m_pipes.empty()) {
            GatherEnds();
        }
        for (int step = 0; step < 27; ++step) {
            const auto ends = m_ends.find(CellAt(point, step % 3 - 1, step / 3 % 3 - 1, step / 9 - 1));
            if (ends == m_ends.end()) {
                continue;
            }
            for (ZrOwEntity* entity : ends->second) {
                if (!Look(looks)) {
                    return false;
                }
                const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
                if (CEntFindMethod::Is2PtNear(pipe->GetStartPoint(), point, reach) ||
                    CEntFindMethod::Is2PtNear(pipe->GetEndPoint(), point, reach)) {
                    found.emplace(CComMethod::GetStrHandle(entity), entity);
                }
            }
        }
        return true;
    }

    std::unordered_map<CString, ZrOwEntity*> m_byHandle;
    // Pipes whose ends are not gathered yet, and the ends of the others by cell.
    mutable std::vector<ZrOwEntity*> m_pipes;
    mutable std::unordered_map<Cell, std::vector<ZrOwEntity*>> m_ends;
    mutable std::unordered_set<const ZrOwEntity*> m_crowded;
    mutable std::uint64_t m_looks = 0;
};

}  // namespace norvex::rule
