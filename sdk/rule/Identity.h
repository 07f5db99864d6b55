// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/state/NorvexRule.h"
#include "norvexdata/state/Vocabulary.h"
#include "norvexdata/trust/ErrorFeatureCode.h"
#include "platform/zrow/ZrOwEntity.h"

// Where a finding is and what it is recognised by, from the objects that it names.

namespace norvex::rule {

// How the check interface finds the objects of a location string: all of them together.
inline constexpr EFindHandle kFindTogether{1};

// A number with so many decimals. What rounds to zero is "0", on either side of it: noise in the last bit of a
// coordinate must not tell one place from another.
inline CString DecimalText(double number, int decimals) {
    CString text;
    text.Format(u"%.*f", decimals, number);
    const bool isZero = text.SpanIncluding(u"-.0").GetLength() == text.GetLength();
    return isZero ? text.TrimLeft(u'-') : text;
}

// What an object is recognised by in the next export of the same model. Instance numbers and handles change there, so
// an object without a GlobalId is known by its path and by where it is, to the millimetre. These tell it from another
// object with the same GlobalId, too.
inline CString IdentityOf(const ZrOwEntity& entity) {
    CString globalId;
    CString repeats;
    entity.GetProperty(kPropertyGlobalId, globalId);
    if (!globalId.IsEmpty() && !entity.GetProperty(kPropertyGlobalIdRepeats, repeats)) {
        return globalId;
    }
    AcGePoint3d place;
    entity.pntNamePos(place);
    CString identity;
    identity.Format(u"%s%s@%s,%s,%s", globalId, entity.GetAttName(), DecimalText(place.x, 0), DecimalText(place.y, 0),
                    DecimalText(place.z, 0));
    return identity;
}

// The feature code of a finding. The order in which the objects were found does not matter.
inline CString FeatureCodeOf(const NS_NORVEX::RuleInfo& rule, const CString& subCategory,
                             const std::vector<ZrOwEntity*>& objects) {
    std::vector<CString> identities;
    for (const ZrOwEntity* object : objects) {
        identities.push_back(IdentityOf(*object));
    }
    std::sort(identities.begin(), identities.end());
    CString joined;
    for (const CString& identity : identities) {
        joined += joined.IsEmpty() ? identity : u"," + identity;
    }
    return GetErrorFeatureCode(rule.strName, rule.strCategory, subCategory, joined, CString(), CString());
}

// Locate form over all objects, and with a repair operation the fix form behind it; empty without any object.
inline CString LocationOf(const std::vector<ZrOwEntity*>& objects, const CString& repair) {
    // Two empty forms would be joined to a lone "-", which nothing can be found by.
    if (objects.empty()) {
        return {};
    }
    CStringArray handles;
    for (const ZrOwEntity* object : objects) {
        handles.Add(CComMethod::GetStrHandle(object));
    }
    CStringArray locations;
    locations.Add(CComMethod::GetStrFPHandle(handles, STR_LOCATE_COMPONENT, STR_ERROR_COMPONENT, kFindTogether,
                                             STR_ACTION_LOCATE));
    if (!repair.IsEmpty()) {
        locations.Add(CComMethod::GetStrFixHandle(handles, repair, STR_ACTION_REPAIR));
    }
    return CComMethod::GetStrFPHandleAry(locations);
}

// The third of the four components of an object's attribute-name path; empty when there are not as many.
inline CString SubCategoryOf(const ZrOwEntity& entity) {
    CStringArray path;
    CComMethod::ExplodeStrAryIncEmpty(path, entity.GetAttName(), L'\\');
    return path.GetSize() == 4 ? path[2] : CString();
}

inline std::vector<NS_NORVEX::FindingObject> ObjectsOf(const std::vector<ZrOwEntity*>& objects) {
    std::vector<NS_NORVEX::FindingObject> records;
    for (const ZrOwEntity* object : objects) {
        NS_NORVEX::FindingObject record;
        record.strHandle = CComMethod::GetStrHandle(object);
        object->GetProperty(kPropertyGlobalId, record.strGlobalId);
        object->GetProperty(kPropertyName, record.strName);
        record.strSubCategory = SubCategoryOf(*object);
        records.push_back(record);
    }
    return records;
}

// The middle of the box around the objects, in drawing units. Returns false, and leaves place as it was, when none of
// them takes any room.
inline bool PlaceOf(const std::vector<ZrOwEntity*>& objects, AcGePoint3d& place) {
    AcDbExtents box;
    for (const ZrOwEntity* object : objects) {
        AcDbExtents extents;
        if (object->getGeomExtents(extents) == Acad::eOk) {
            box.addExt(extents);
        }
    }
    const AcGePoint3d low = box.minPoint();
    const AcGePoint3d high = box.maxPoint();
    if (low.x > high.x) {
        return false;
    }
    place.set((low.x + high.x) / 2.0, (low.y + high.y) / 2.0, (low.z + high.z) / 2.0);
    return true;
}

}  // namespace norvex::rule
