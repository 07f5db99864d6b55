// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/entities/GetZrOwEntityPtrVec.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/common/detail/Split.h"
#include "norvexdata/entities/detail/ModelSpace.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/kernel/LargeMemory.h"
#include "platform/zrow/ZrOwEntity.h"
#include "platform/zrow/ZrOwNodes.h"

CGetZrOwEntityPtrVec* CGetZrOwEntityPtrVec::s_cInstance = nullptr;
bool CGetZrOwEntityPtrVec::s_bIsEmpty = true;

namespace {

using norvex::common::AttPath;
using norvex::kernel::LargeVector;
using norvex::text::ToCString;
using EntityList = std::vector<ZrOwEntity*>;
using SubCategoryMap = CategoryMap::mapped_type;

// Odd, with well spread bits.
constexpr std::uint64_t kMixer = 0x9E3779B97F4A7C15u;

// Eight bytes at a time: paths are long, and every entity's is hashed.
std::uint64_t HashOf(std::u16string_view units) {
    const auto mix = [](std::uint64_t hash, std::uint64_t word) {
        hash = (hash ^ word) * kMixer;
        return hash ^ (hash >> 32);
    };
    constexpr std::size_t kUnitsPerWord = sizeof(std::uint64_t) / sizeof(char16_t);
    std::uint64_t hash = units.size();
    std::uint64_t word = 0;
    while (units.size() >= kUnitsPerWord) {
        std::memcpy(&word, units.data(), sizeof word);
        hash = mix(hash, word);
        units.remove_prefix(kUnitsPerWord);
    }
    word = 0;
    std::memcpy(&word, units.data(), units.size() * sizeof(char16_t));
    return mix(hash, word);
}

// The entities to file, grouped by attribute-name path. Each path is taken apart and looked up once; each list of the
// map is reached once and grows once. Several paths may lead to one list: those of another specialty, and those with
// empty components.
class Filing {
  public:
    Filing(CategoryMap& map, const SelectionMap& selection) : m_map(map), m_selection(selection) {}

    // Takes the entity when its path is selected. Requires: the map does not change by other hands until all is filed.
    void Take(ZrOwEntity* entity, CString path) {
        const std::uint64_t hash = HashOf(norvex::text::View(path));
        m_waiting[m_waitingCount++] = {entity, std::move(path), hash};
        if (m_waitingCount == m_waiting.size()) {
            Settle();
        }
    }

    // Appends what was taken to the lists, in the order of taking. Returns: whether there was anything.
    bool File() {
        Settle();
        if (m_mayShare) {
            JoinGroups();
        }
        std::size_t total = 0;
        for (Group& group : m_groups) {
            group.first = total;
            total += group.count;
        }
        LargeVector<ZrOwEntity*> ordered(total);
        for (const auto& [entity, number] : m_taken) {
            ordered[m_groups[number].first++] = entity;
        }
        auto begin = ordered.begin();
        for (const Group& group : m_groups) {
            const auto end = begin + static_cast<std::ptrdiff_t>(group.count);
            if (begin != end) {
                group.destination->insert(group.destination->end(), begin, end);
            }
            begin = end;
        }
        return total != 0;
    }

  private:
    struct Group {
        CString path;
        // Null when the path does not have four components or names nothing selected.
        EntityList* destination;
        std::size_t count;
        // Where its entities begin among all; while they are put there, where the next one goes.
        std::size_t first;
    };
    struct Taken {
        ZrOwEntity* entity;
        std::uint32_t group;
    };
    struct Waiting {
        ZrOwEntity* entity = nullptr;
        CString path;
        std::uint64_t hash = 0;
    };
    struct Slot {
        std::uint64_t hash = 0;
        std::uint32_t group = kNoGroup;
    };
    static constexpr std::uint32_t kNoGroup = ~std::uint32_t{0};

    // Sorts what waits into groups. Some at a time, so that the memory of all their groups is on its way at once.
    void Settle() {
        const std::span<Waiting> waiting(m_waiting.data(), m_waitingCount);
        for (const Waiting& each : waiting) {
            __builtin_prefetch(&m_slots[each.hash & (m_slots.size() - 1)]);
        }
        for (const Waiting& each : waiting) {
            if (const std::uint32_t group = LikelyGroup(each); group != kNoGroup) {
                __builtin_prefetch(&m_groups[group]);
            }
        }
        for (const Waiting& each : waiting) {
            if (const std::uint32_t group = LikelyGroup(each); group != kNoGroup) {
                __builtin_prefetch(m_groups[group].path.GetString());
            }
        }
        for (const Waiting& each : waiting) {
            const std::uint32_t number = GroupOf(each.path, each.hash);
            Group& group = m_groups[number];
            if (group.destination != nullptr) {
                ++group.count;
                m_taken.push_back({each.entity, number});
            }
        }
        m_waitingCount = 0;
    }

    std::uint32_t LikelyGroup(const Waiting& each) const { return m_slots[each.hash & (m_slots.size() - 1)].group; }

    std::uint32_t GroupOf(const CString& path, std::uint64_t hash) {
        const std::u16string_view units = norvex::text::View(path);
        std::size_t position = hash & (m_slots.size() - 1);
        for (; m_slots[position].group != kNoGroup; position = (position + 1) & (m_slots.size() - 1)) {
            const Slot& slot = m_slots[position];
            if (slot.hash == hash && norvex::text::View(m_groups[slot.group].path) == units) {
                return slot.group;
            }
        }
        const auto made = static_cast<std::uint32_t>(m_groups.size());
        m_slots[position] = {hash, made};
        m_groups.push_back({path, LookUp(norvex::common::SplitAttPath(path)), 0, 0});
        if (2 * m_groups.size() > m_slots.size()) {
            GrowSlots();
        }
        return made;
    }

    void GrowSlots() {
        LargeVector<Slot> old(2 * m_slots.size());
        old.swap(m_slots);
        for (const Slot& slot : old) {
            if (slot.group != kNoGroup) {
                std::size_t position = slot.hash & (m_slots.size() - 1);
                while (m_slots[position].group != kNoGroup) {
                    position = (position + 1) & (m_slots.size() - 1);
                }
                m_slots[position] = slot;
            }
        }
    }

    // Makes one group of those that lead to one list.
    void JoinGroups() {
        std::unordered_map<const EntityList*, std::uint32_t> groupOf(m_groups.size());
        std::vector<std::uint32_t> joined(m_groups.size());
        bool any = false;
        for (std::uint32_t number = 0; number < m_groups.size(); ++number) {
            Group& group = m_groups[number];
            joined[number] = groupOf.emplace(group.destination, number).first->second;
            if (group.count != 0 && joined[number] != number) {
                m_groups[joined[number]].count += std::exchange(group.count, 0);
                any = true;
            }
        }
        if (any) {
            for (Taken& taken : m_taken) {
                taken.group = joined[taken.group];
            }
        }
    }

    EntityList* LookUp(const AttPath& path) {
        if (!path.IsFull()) {
            return nullptr;
        }
        const CString category = ToCString(path.Category());
        const CString subCategory = ToCString(path.SubCategory());
        const auto selected = m_selection.find(category);
        if (selected == m_selection.end() || selected->second.count(subCategory) == 0) {
            return nullptr;
        }
        const auto [record, isNew] = m_map[category][subCategory].insert({ToCString(path.DetailName()), {}});
        m_mayShare = m_mayShare || !isNew;
        return &record->vecEntPtr;
    }

    CategoryMap& m_map;
    const SelectionMap& m_selection;
    LargeVector<Slot> m_slots{64};
    std::vector<Group> m_groups;
    LargeVector<Taken> m_taken;
    std::array<Waiting, 32> m_waiting;
    std::size_t m_waitingCount = 0;
    // A group leads to a list that was there before it: of the caller's, or of another group.
    bool m_mayShare = false;
};

// Files every entity of model space that belongs to the current specialty and to the selection. Returns: whether there
// was one.
bool Collect(CategoryMap& map, const SelectionMap& selection) {
    const CString prefix = CNorvexData::s_strCurSpec + u"\\";
    const std::u16string_view prefixUnits = norvex::text::ViewToNul(prefix);
    Filing filing(map, selection);
    norvex::entities::ForEachModelSpaceEntity([&](AcDbEntity& drawn) {
        ZrOwEntity* const entity = ZrOwEntity::cast(&drawn);
        if (entity == nullptr) {
            return;
        }
        const CString systemCode = entity->GetSysCode();
        CString path = entity->GetAttName();
        if (norvex::text::View(systemCode).starts_with(prefixUnits) ||
            norvex::text::View(path).starts_with(prefixUnits)) {
            filing.Take(entity, std::move(path));
        }
    });
    return filing.File();
}

SubCategoryMap WithoutTrusted(const SubCategoryMap& collected, const std::set<CString>& trusted) {
    SubCategoryMap kept;
    for (const auto& entry : collected) {
        if (trusted.count(entry.first) == 0) {
            kept.insert(kept.end(), entry);
        }
    }
    return kept;
}

// A category stays even when nothing of it is left.
CategoryMap WithoutTrusted(const CategoryMap& collected, const std::set<CString>& trusted) {
    CategoryMap kept;
    for (const auto& [category, subCategories] : collected) {
        kept.emplace_hint(kept.end(), category, WithoutTrusted(subCategories, trusted));
    }
    return kept;
}

}  // namespace

CGetZrOwEntityPtrVec::CGetZrOwEntityPtrVec(const CGetZrOwEntityPtrVec& other) = default;
CGetZrOwEntityPtrVec& CGetZrOwEntityPtrVec::operator=(const CGetZrOwEntityPtrVec& other) = default;

CGetZrOwEntityPtrVec* CGetZrOwEntityPtrVec::GetInstance() {
    if (s_cInstance == nullptr) {
        std::unique_ptr<CGetZrOwEntityPtrVec> instance(new CGetZrOwEntityPtrVec);
        instance->InitEntityPtrVec();
        s_cInstance = instance.release();
    }
    return s_cInstance;
}

void CGetZrOwEntityPtrVec::Delete() {
    s_bIsEmpty = true;
    delete s_cInstance;
    s_cInstance = nullptr;
}

bool CGetZrOwEntityPtrVec::GetIsEmptyFloor() {
    return s_bIsEmpty;
}

void CGetZrOwEntityPtrVec::InitEntityPtrVec() {
    if (Collect(m_mapBigMem, CNorvexData::s_strSmallMemMap)) {
        s_bIsEmpty = false;
    }
}

void CGetZrOwEntityPtrVec::AddToBigEntMap(CategoryMap& map, const CString& category, const CString& subCategory,
                                          const CString& detailName, ZrOwEntity* entity) {
    const auto [records, isNew] = map[category].try_emplace(subCategory);
    if (isNew) {
        records->second.insert({detailName, {entity}});
    } else {
        AddToAttSet(records->second, entity);
    }
}

void CGetZrOwEntityPtrVec::AddToAttSet(std::set<SAttEntPtr>& set, ZrOwEntity* entity) {
    const CString detailName = CComMethod::GetDetailNameByAttName(entity->GetAttName());
    set.insert({detailName, {}}).first->vecEntPtr.push_back(entity);
}

void CGetZrOwEntityPtrVec::GetSelEntByCondition(CategoryMap& out,
                                                const std::map<CString, std::set<CString>>& condition) {
    Collect(out, condition);
}

const CategoryMap& CGetZrOwEntityPtrVec::GetEntityByBigMemMap(const COwTrustTool& trust) {
    m_mapFiltered.clear();
    GetEntityByBigMemMap(trust, m_mapFiltered);
    return m_mapFiltered;
}

void CGetZrOwEntityPtrVec::GetEntityByBigMemMap(const COwTrustTool& trust, CategoryMap& out) const {
    const NS_NORVEX::TrustStatus status = trust.IsRuleTrusted();
    if (status == NS_NORVEX::eTrustAll) {
        return;
    }
    const auto trusted = trust.GetTrustParam().find(CNorvexData::s_strCurFloor);
    if (status == NS_NORVEX::eTrustNone || trusted == trust.GetTrustParam().end()) {
        out = m_mapBigMem;
    } else {
        out = WithoutTrusted(m_mapBigMem, trusted->second);
    }
}

void CGetZrOwEntityPtrVec::GetAllFitInCurFlor(AcDbObjectIdArray& ids) {
    norvex::entities::ForEachModelSpaceEntity([&ids](const AcDbEntity& drawn) {
        if (drawn.isKindOf(ZrOwFittingBase::desc())) {
            ids.append(drawn.objectId());
        }
    });
}
