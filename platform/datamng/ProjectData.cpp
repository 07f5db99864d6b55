// SPDX-License-Identifier: Apache-2.0
#include "platform/datamng/ProjectData.h"

#include <array>
#include <optional>
#include <utility>

namespace norvex::datamng {

namespace {

// The first three components of a path of exactly four, none of them empty.
std::optional<std::array<CString, 3>> CategoriesOfPath(const CString& path) {
    std::array<CString, 3> categories;
    int start = 0;
    for (CString& category : categories) {
        const int end = path.Find(u'\\', start);
        if (end <= start) {
            return std::nullopt;
        }
        category = path.Mid(start, end - start);
        start = end + 1;
    }
    if (path.Find(u'\\', start) >= 0) {
        return std::nullopt;
    }
    return categories;
}

}  // namespace

template <typename Place>
long ProjectData::IdTable<Place>::Take(long wantedId, Place place) {
    const long id = wantedId > 0 && !places.contains(wantedId) ? wantedId : next;
    places.emplace(id, std::move(place));
    while (places.contains(next)) {
        ++next;
    }
    return id;
}

std::size_t ProjectData::SpecialtyIndex(const CString& name, long wantedId) {
    const std::size_t index = m_specialties.size();
    const auto [entry, added] = m_specialtyPlaces.try_emplace(name, index);
    if (added) {
        m_specialties.push_back({m_specialtyIds.Take(wantedId, index), name, {}});
    }
    return entry->second;
}

ProjectData::BigPlace ProjectData::BigCategoryPlace(const CString& specialty, const CString& category, long wantedId) {
    const std::size_t specialtyIndex = SpecialtyIndex(specialty, 0);
    Specialty& parent = m_specialties[specialtyIndex];
    const auto [entry, added] = m_bigPlaces.try_emplace({parent.id, category}, parent.bigCategories.size());
    const BigPlace place{specialtyIndex, entry->second};
    if (added) {
        parent.bigCategories.push_back({m_bigIds.Take(wantedId, place), category, {}});
    }
    return place;
}

long ProjectData::AddSpecialty(const CString& specialty, long wantedId) {
    return m_specialties[SpecialtyIndex(specialty, wantedId)].id;
}

long ProjectData::AddBigCategory(const CString& specialty, const CString& category, long wantedId) {
    const BigPlace place = BigCategoryPlace(specialty, category, wantedId);
    return m_specialties[place.specialty].bigCategories[place.big].id;
}

long ProjectData::AddSmallCategory(const CString& specialty, const CString& category, const CString& subCategory,
                                   long wantedId) {
    const BigPlace place = BigCategoryPlace(specialty, category, 0);
    BigCategory& parent = m_specialties[place.specialty].bigCategories[place.big];
    std::vector<SmallCategory>& siblings = parent.smallCategories;
    const auto [entry, added] = m_smallPlaces.try_emplace({parent.id, subCategory}, siblings.size());
    if (added) {
        siblings.push_back({m_smallIds.Take(wantedId, {place.specialty, place.big, siblings.size()}), subCategory});
    }
    return siblings[entry->second].id;
}

long ProjectData::AddAttribute(const CString& path, long wantedId) {
    const auto [entry, added] = m_attributes.try_emplace(path);
    if (added) {
        entry->second.id = m_attributeIds.Take(wantedId, path);
        if (const auto categories = CategoriesOfPath(path)) {
            AddSmallCategory((*categories)[0], (*categories)[1], (*categories)[2]);
        }
    }
    return entry->second.id;
}

void ProjectData::SetAttributeValue(const CString& path, const CString& name, const CString& value) {
    AddAttribute(path);
    m_attributes[path].values[name] = value;
}

void ProjectData::SetCalculationItems(const CString& path, std::vector<CalculationItem> items) {
    m_calculationItems[path] = std::move(items);
}

void ProjectData::Merge(const ProjectData& other) {
    if (!other.folder.IsEmpty()) {
        folder = other.folder;
    }
    if (!other.currentSpecialty.IsEmpty()) {
        currentSpecialty = other.currentSpecialty;
    }
    for (const Specialty& specialty : other.m_specialties) {
        AddSpecialty(specialty.name, specialty.id);
        for (const BigCategory& big : specialty.bigCategories) {
            AddBigCategory(specialty.name, big.name, big.id);
            for (const SmallCategory& small : big.smallCategories) {
                AddSmallCategory(specialty.name, big.name, small.name, small.id);
            }
        }
    }
    for (const auto& [path, definition] : other.m_attributes) {
        AddAttribute(path, definition.id);
        for (const auto& [name, value] : definition.values) {
            SetAttributeValue(path, name, value);
        }
    }
    for (const auto& [path, items] : other.m_calculationItems) {
        SetCalculationItems(path, items);
    }
}

const Specialty* ProjectData::FindSpecialty(const CString& name) const {
    const auto found = m_specialtyPlaces.find(name);
    return found == m_specialtyPlaces.end() ? nullptr : &m_specialties[found->second];
}

const Specialty* ProjectData::FindSpecialty(long id) const {
    const auto found = m_specialtyIds.places.find(id);
    return found == m_specialtyIds.places.end() ? nullptr : &m_specialties[found->second];
}

const BigCategory* ProjectData::FindBigCategory(const CString& specialty, const CString& category) const {
    const Specialty* parent = FindSpecialty(specialty);
    if (parent == nullptr) {
        return nullptr;
    }
    const auto found = m_bigPlaces.find({parent->id, category});
    return found == m_bigPlaces.end() ? nullptr : &parent->bigCategories[found->second];
}

const BigCategory* ProjectData::FindBigCategory(long id) const {
    const auto found = m_bigIds.places.find(id);
    if (found == m_bigIds.places.end()) {
        return nullptr;
    }
    return &m_specialties[found->second.specialty].bigCategories[found->second.big];
}

const SmallCategory* ProjectData::FindSmallCategory(long id) const {
    const auto found = m_smallIds.places.find(id);
    if (found == m_smallIds.places.end()) {
        return nullptr;
    }
    const SmallPlace& place = found->second;
    return &m_specialties[place.specialty].bigCategories[place.big].smallCategories[place.small];
}

const AttributeDefinition* ProjectData::FindAttribute(const CString& path) const {
    const auto found = m_attributes.find(path);
    return found == m_attributes.end() ? nullptr : &found->second;
}

const AttributeDefinition* ProjectData::FindAttribute(long id) const {
    const auto found = m_attributeIds.places.find(id);
    return found == m_attributeIds.places.end() ? nullptr : FindAttribute(found->second);
}

namespace {

// Never destroyed: other modules may still ask while the process ends.
ProjectData& CurrentProject() {
    static ProjectData& project = *new ProjectData();
    return project;
}

}  // namespace

void SetCurrentProject(const ProjectData& data) {
    CurrentProject() = data;
}

const ProjectData& GetCurrentProject() {
    return CurrentProject();
}

}  // namespace norvex::datamng
