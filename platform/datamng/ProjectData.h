// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

// What the maker's libraries know of a project, held in memory. A host or a test fills a ProjectData and installs it;
// ZrOwDataMng and CFaceSysRule answer from the installed one.
namespace norvex::datamng {

// Ids are positive and unique among their kind in one ProjectData. Names are unique among their siblings.
struct SmallCategory {
    long id = 0;
    CString name;
};

struct BigCategory {
    long id = 0;
    CString name;
    std::vector<SmallCategory> smallCategories;
};

struct Specialty {
    long id = 0;
    CString name;
    std::vector<BigCategory> bigCategories;
};

// One attribute definition: an id and its values by name.
struct AttributeDefinition {
    long id = 0;
    std::map<CString, CString> values;
};

// One calculation item of a path. The flag is a text; "0" means that the item is calculated.
struct CalculationItem {
    CString name;
    CString flag;
};

// Specialties with their categories, attribute definitions and calculation items of one project. Lists keep the order
// in which names were added; maps are ordered by path. A value: copies are independent.
class NORVEX_PLATFORM_API ProjectData {
  public:
    // The project's folder in the host's form, with backslashes and none at the end; empty while there is none.
    CString folder;
    // Name of the specialty that is worked on; empty while there is none.
    CString currentSpecialty;

    // Each adds what is missing at the end of its list and returns the id. A new name gets wantedId when that is
    // positive and free, else the next free id; a known name keeps its own.
    long AddSpecialty(const CString& specialty, long wantedId = 0);
    long AddBigCategory(const CString& specialty, const CString& category, long wantedId = 0);
    long AddSmallCategory(const CString& specialty, const CString& category, const CString& subCategory,
                          long wantedId = 0);
    // The path is specialty\category\sub-category\detail name. A path of four components also adds its categories.
    long AddAttribute(const CString& path, long wantedId = 0);
    // Adds the definition when it is missing and replaces a value of the same name.
    void SetAttributeValue(const CString& path, const CString& name, const CString& value);
    // Replaces the items of the path specialty\category\sub-category.
    void SetCalculationItems(const CString& path, std::vector<CalculationItem> items);
    // Adds what other knows and this does not. Values and calculation items of other replace those of this; its folder
    // and specialty do when they are not empty. Ids of other are kept where they are free.
    void Merge(const ProjectData& other);

    const std::vector<Specialty>& Specialties() const { return m_specialties; }
    const std::map<CString, AttributeDefinition>& Attributes() const { return m_attributes; }
    const std::map<CString, std::vector<CalculationItem>>& CalculationItems() const { return m_calculationItems; }

    // Each returns null when there is none; the pointer is good until the data changes.
    const Specialty* FindSpecialty(const CString& name) const;
    const Specialty* FindSpecialty(long id) const;
    const BigCategory* FindBigCategory(const CString& specialty, const CString& category) const;
    const BigCategory* FindBigCategory(long id) const;
    const SmallCategory* FindSmallCategory(long id) const;
    const AttributeDefinition* FindAttribute(const CString& path) const;
    const AttributeDefinition* FindAttribute(long id) const;

  private:
    // Whether an id is in use, and the lowest number above all of them.
    template <typename Place>
    struct IdTable {
        std::unordered_map<long, Place> places;
        long next = 1;

        long Take(long wantedId, Place place);
    };
    struct SmallPlace {
        std::size_t specialty;
        std::size_t big;
        std::size_t small;
    };
    struct BigPlace {
        std::size_t specialty;
        std::size_t big;
    };

    std::size_t SpecialtyIndex(const CString& name, long wantedId);
    BigPlace BigCategoryPlace(const CString& specialty, const CString& category, long wantedId);

    std::vector<Specialty> m_specialties;
    // Places of names among their siblings, with the parent's id: a file may name hundreds of thousands under one
    // parent.
    std::map<CString, std::size_t> m_specialtyPlaces;
    std::map<std::pair<long, CString>, std::size_t> m_bigPlaces;
    std::map<std::pair<long, CString>, std::size_t> m_smallPlaces;
    std::map<CString, AttributeDefinition> m_attributes;
    std::map<CString, std::vector<CalculationItem>> m_calculationItems;
    IdTable<std::size_t> m_specialtyIds;
    IdTable<BigPlace> m_bigIds;
    IdTable<SmallPlace> m_smallIds;
    IdTable<CString> m_attributeIds;
};

// Makes a copy of data the process's current project; a default ProjectData closes it. Used from one thread at a time,
// as everything that answers from it.
NORVEX_PLATFORM_API void SetCurrentProject(const ProjectData& data);
// The current project. The reference is good for the life of the process; its content changes with SetCurrentProject.
NORVEX_PLATFORM_API const ProjectData& GetCurrentProject();

}  // namespace norvex::datamng
