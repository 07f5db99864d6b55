// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/entities/EntFindMethod.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include "platform/arx/AcDb.h"
#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"

namespace {

// Equipment counts as standing at a point within this distance, in drawing units. It is wider than the 0.1 between pipe
// ends because equipment is placed by its insert point, which seldom is the point where its pipes end.
constexpr double kEquipmentReach = 100.0;

// Moves what matches from candidates to the end of found in one pass; both keep their order.
template <class Matches>
void MoveMatches(std::vector<ZrOwEntity*>& candidates, std::vector<ZrOwEntity*>& found, const Matches& matches) {
    auto kept = candidates.begin();
    for (ZrOwEntity* entity : candidates) {
        if (matches(entity)) {
            found.push_back(entity);
        } else {
            *kept++ = entity;
        }
    }
    candidates.erase(kept, candidates.end());
}

// The container of a buried lead; null when it is in none, or in something that does not open as a container.
ZrOwLeadContainer* ContainerOf(const ZrOwLeadBuried& lead) {
    ZrOwLeadContainer* container = nullptr;
    if (acdbOpenObject(container, lead.GetContainerId(), AcDb::kForRead) != Acad::eOk) {
        return nullptr;
    }
    container->close();
    return container;
}

// Appends entities, with buried leads replaced by their containers, each container once per list.
class EntityAppender {
  public:
    explicit EntityAppender(std::vector<ZrOwEntity*>& out) : m_out(out) {}

    void Append(ZrOwEntity* entity) {
        if (const ZrOwLeadBuried* lead = ZrOwLeadBuried::cast(entity)) {
            AppendContainer(ContainerOf(*lead));
        } else {
            m_out.push_back(entity);
            if (m_listed) {
                m_listed->insert(entity);
            }
        }
    }

  private:
    void AppendContainer(ZrOwEntity* container) {
        if (container == nullptr) {
            return;
        }
        if (!m_listed) {
            m_listed.emplace(m_out.begin(), m_out.end());
        }
        if (m_listed->insert(container).second) {
            m_out.push_back(container);
        }
    }

    std::vector<ZrOwEntity*>& m_out;
    // Everything in m_out, including what the caller had there; kept from the first container on.
    std::optional<std::unordered_set<ZrOwEntity*>> m_listed;
};

}  // namespace

bool CEntFindMethod::Is2PtNear(const AcGePoint3d& p1, const AcGePoint3d& p2, double tol) {
    return p1.distanceTo(p2) < tol;
}

void CEntFindMethod::FindPipe(const AcGePoint3d& pt, std::vector<ZrOwEntity*>& candidates,
                              std::vector<ZrOwEntity*>& found) {
    // By index and with the size taken first: a caller may pass one list as both.
    const std::size_t count = candidates.size();
    for (std::size_t index = 0; index < count; ++index) {
        const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(candidates[index]);
        if (pipe != nullptr && (pipe->GetStartPoint().isEqualTo(pt, AcGeContext::gTol) ||
                                pipe->GetEndPoint().isEqualTo(pt, AcGeContext::gTol))) {
            found.push_back(candidates[index]);
        }
    }
}

void CEntFindMethod::PopPipe(const AcGePoint3d& pt, std::vector<ZrOwEntity*>& candidates,
                             std::vector<ZrOwEntity*>& found, double tol) {
    MoveMatches(candidates, found, [&](ZrOwEntity* entity) {
        const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
        return pipe != nullptr &&
               (Is2PtNear(pipe->GetStartPoint(), pt, tol) || Is2PtNear(pipe->GetEndPoint(), pt, tol));
    });
}

void CEntFindMethod::PopEquip(const AcGePoint3d& pt, std::vector<ZrOwEntity*>& candidates,
                              std::vector<ZrOwEntity*>& found) {
    MoveMatches(candidates, found, [&](ZrOwEntity* entity) {
        const ZrOwNode* equipment = ZrOwNode::cast(entity);
        return equipment != nullptr && Is2PtNear(equipment->GetInsertPoint(), pt, kEquipmentReach);
    });
}

void CEntFindMethod::InsertData(const CString& category, const std::vector<CString>& subCategories,
                                const CategoryMap& map, std::vector<ZrOwEntity*>& out) {
    const auto found = map.find(category);
    if (found == map.end()) {
        return;
    }
    EntityAppender appender(out);
    for (const auto& [subCategory, records] : found->second) {
        const bool chosen = subCategories.empty() || std::any_of(subCategories.begin(), subCategories.end(),
                                                                 [&name = subCategory](const CString& wanted) {
                                                                     return wanted.Compare(name) == 0;
                                                                 });
        if (!chosen) {
            continue;
        }
        for (const SAttEntPtr& record : records) {
            for (ZrOwEntity* entity : record.vecEntPtr) {
                appender.Append(entity);
            }
        }
    }
}

void CEntFindMethod::InsertData(const CString& category, const CategoryMap& map, std::vector<ZrOwEntity*>& out) {
    InsertData(category, {}, map, out);
}

SElecSearchPipe::SElecSearchPipe(ZrOwEntity* entity, AcGePoint3d pt, double tol) : m_pEntity(entity) {
    if (const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity)) {
        const AcGePoint3d start = pipe->GetStartPoint();
        m_point = CEntFindMethod::Is2PtNear(pt, start, tol) ? pipe->GetEndPoint() : start;
    }
}
