// SPDX-License-Identifier: Apache-2.0
#include "platform/datamng/ZrOwDataMng.h"

#include "platform/datamng/ProjectData.h"

namespace ZrOwDataMng {

namespace {

using norvex::datamng::GetCurrentProject;

// The big category whose specialty and name, joined by the separator, are the text. Tried whole, because a name may
// hold the separator itself.
const norvex::datamng::BigCategory* FindJoined(const CString& text, char16_t separator) {
    for (const auto& specialty : GetCurrentProject().Specialties()) {
        for (const auto& big : specialty.bigCategories) {
            if (specialty.name + separator + big.name == text) {
                return &big;
            }
        }
    }
    return nullptr;
}

template <typename Parent, typename Children>
bool ListIds(const Parent* parent, Children Parent::*children, std::vector<long>& ids) {
    ids.clear();
    if (parent == nullptr) {
        return false;
    }
    for (const auto& child : parent->*children) {
        ids.push_back(child.id);
    }
    return true;
}

template <typename Record>
bool TakeId(const Record* record, long& id) {
    id = record == nullptr ? 0 : record->id;
    return record != nullptr;
}

}  // namespace

bool SpecNameToId(const CString& name, SpecId& id) {
    return TakeId(GetCurrentProject().FindSpecialty(name), id);
}

bool BigCategoryNameToId(const CString& name, BigCategoryId& id) {
    return TakeId(FindJoined(name, u':'), id);
}

bool AttNameToAttId(const CString& name, AttId& id) {
    return TakeId(GetCurrentProject().FindAttribute(name), id);
}

CString CProj::GetPrjDir() {
    return GetCurrentProject().folder;
}

SpecId CProj::GetCurrentSpecId() {
    SpecId id = 0;
    SpecNameToId(GetCurrentProject().currentSpecialty, id);
    return id;
}

bool CAtt::GetAllBigCategoryIdsBySpec(SpecId spec, std::vector<BigCategoryId>& ids) {
    return ListIds(GetCurrentProject().FindSpecialty(spec), &norvex::datamng::Specialty::bigCategories, ids);
}

bool CAtt::GetAllSmallCategoryIdsByBigCategory(BigCategoryId category, std::vector<SmallCategoryId>& ids) {
    return ListIds(GetCurrentProject().FindBigCategory(category), &norvex::datamng::BigCategory::smallCategories, ids);
}

CString CAtt::GetBigCategoryName(BigCategoryId id) {
    const auto* big = GetCurrentProject().FindBigCategory(id);
    return big == nullptr ? CString() : big->name;
}

CString CAtt::GetSmallCategoryName(SmallCategoryId id) {
    const auto* small = GetCurrentProject().FindSmallCategory(id);
    return small == nullptr ? CString() : small->name;
}

bool CAtt::GetAllSmallCategoryNames(const CString& path, CStringArray& names) {
    names.RemoveAll();
    const auto* big = FindJoined(path, u'\\');
    if (big == nullptr) {
        return false;
    }
    for (const auto& small : big->smallCategories) {
        names.Add(small.name);
    }
    return true;
}

CString CSmallCategoryMng::GetName(SmallCategoryId id) {
    return CAtt::GetSmallCategoryName(id);
}

bool CAttDetailMem::GetAttributeValue(const CString& name, CString& value) const {
    value.Empty();
    const auto* definition = GetCurrentProject().FindAttribute(m_id);
    if (definition == nullptr) {
        return false;
    }
    const auto found = definition->values.find(name);
    if (found == definition->values.end()) {
        return false;
    }
    value = found->second;
    return true;
}

}  // namespace ZrOwDataMng
