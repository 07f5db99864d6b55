// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/entities/GetZrOwEntityPtrVec.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/common/detail/Split.h"
#include "norvexdata/entities/detail/ModelSpace.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/zrow/ZrOwEntity.h"
#include "platform/zrow/ZrOwNodes.h"

CGetZrOwEntityPtrVec* CGetZrOwEntityPtrVec::s_cInstance = nullptr;
bool CGetZrOwEntityPtrVec::s_bIsEmpty = true;

namespace {

using norvex::common::AttPath;
using norvex::text::ToCString;
using EntityList = std::vector<ZrOwEntity*>;
using SubCategoryMap = CategoryMap::mapped_type;

// Where the entities of each attribute-name path go. Few paths name many entities, so that each path is taken apart and
// looked up once.
class Destinations {
  public:
    Destinations(CategoryMap& map, const SelectionMap& selection) : m_map(map), m_selection(selection) {}

    // The list of the record for this path, made when it is missing; null when the path does not have four components
    // or names nothing selected. Good until the map changes by other hands.
    EntityList* Find(const CString& path) {
        const std::u16string_view units = norvex::text::View(path);
        const auto known = m_byPath.find(units);
        if (known != m_byPath.end()) {
            return known->second;
        }
        EntityList* const destination = LookUp(norvex::common::SplitAttPath(path));
        m_byPath.emplace(units, destination);
        return destination;
    }

  private:
    // Lets the table be searched by views.
    struct Hash : std::hash<std::u16string_view> {
        using is_transparent = void;
    };

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
        return &m_map[category][subCategory].insert({ToCString(path.DetailName()), {}}).first->vecEntPtr;
    }

    CategoryMap& m_map;
    const SelectionMap& m_selection;
    std::unordered_map<std::u16string, EntityList*, Hash, std::equal_to<>> m_byPath;
};

// Files every entity of model space that belongs to the current specialty and to the selection. Returns: whether there
// was one.
bool Collect(CategoryMap& map, const SelectionMap& selection) {
    const CString prefix = CNorvexData::s_strCurSpec + u"\\";
    const std::u16string_view prefixUnits = norvex::text::ViewToNul(prefix);
    Destinations destinations(map, selection);
    bool isAnyFiled = false;
    norvex::entities::ForEachModelSpaceEntity([&](AcDbEntity& drawn) {
        ZrOwEntity* const entity = ZrOwEntity::cast(&drawn);
        if (entity == nullptr) {
            return;
        }
        const CString systemCode = entity->GetSysCode();
        const CString path = entity->GetAttName();
        if (!norvex::text::View(systemCode).starts_with(prefixUnits) &&
            !norvex::text::View(path).starts_with(prefixUnits)) {
            return;
        }
        if (EntityList* const destination = destinations.Find(path)) {
            destination->push_back(entity);
            isAnyFiled = true;
        }
    });
    return isAnyFiled;
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
