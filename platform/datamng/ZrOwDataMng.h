// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/containers/CStringArray.h"
#include "platform/text/CString.h"

#include <vector>

// The maker's project and category data: what the current project is, which categories a specialty knows, and the
// attribute definitions. 0 is no id; an id is good until another project becomes the current one. Names match exactly.
// Used from one thread at a time.
namespace ZrOwDataMng {

using SpecId = long;
using BigCategoryId = long;
using SmallCategoryId = long;
using AttId = long;

// Each returns true and sets id when the name is known; otherwise false, and id is 0.
NORVEX_PLATFORM_API bool SpecNameToId(const CString& name, SpecId& id);
// The name is the specialty's name, ":" and the category's name.
NORVEX_PLATFORM_API bool BigCategoryNameToId(const CString& name, BigCategoryId& id);
// The name is the attribute definition's path, specialty\category\sub-category\detail name.
NORVEX_PLATFORM_API bool AttNameToAttId(const CString& name, AttId& id);

// The current project.
class NORVEX_PLATFORM_API CProj {
  public:
    // Its folder, in the host's form with backslashes and none at the end; empty while no project is open.
    static CString GetPrjDir();
    // The specialty that is worked on; 0 while there is none.
    static SpecId GetCurrentSpecId();
};

// Categories of attribute definitions. Lists come in the order of the catalogue and are replaced, not appended to.
class NORVEX_PLATFORM_API CAtt {
  public:
    // Each returns false, and empties ids, when the parent is unknown.
    static bool GetAllBigCategoryIdsBySpec(SpecId spec, std::vector<BigCategoryId>& ids);
    static bool GetAllSmallCategoryIdsByBigCategory(BigCategoryId category, std::vector<SmallCategoryId>& ids);
    // Each returns an empty name for an unknown id.
    static CString GetBigCategoryName(BigCategoryId id);
    static CString GetSmallCategoryName(SmallCategoryId id);
    // Names of the small categories below a path of the form specialty\category. Returns false, and leaves names empty,
    // when the path is unknown.
    static bool GetAllSmallCategoryNames(const CString& path, CStringArray& names);
};

class NORVEX_PLATFORM_API CSmallCategoryMng {
  public:
    // Empty for an unknown id.
    static CString GetName(SmallCategoryId id);
};

// Values of one attribute definition.
class NORVEX_PLATFORM_API CAttDetailMem {
  public:
    explicit CAttDetailMem(AttId id) : m_id(id) {}
    // Returns false, and empties value, when the definition has no such value.
    bool GetAttributeValue(const CString& name, CString& value) const;

  private:
    AttId m_id;
};

}  // namespace ZrOwDataMng
