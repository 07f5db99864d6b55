// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <string>
#include <vector>

#include "norvexdata/common/ComMethod.h"
#include "platform/text/Utf8.h"
#include "platform/zrow/ZrOwEntity.h"
#include "sdk/rule/Identity.h"

// What an entity says of itself, as rules compare it and as their sentences name it.

namespace norvex::rule {

// The number at the start of a text; 0 without one.
inline double NumberIn(const CString& text) {
    const std::string narrow = text::ToUtf8(text);
    double number = 0.0;
    std::from_chars(narrow.data(), narrow.data() + narrow.size(), number);
    return number;
}

// The property of this name; empty when the entity does not have it.
inline CString TextOf(const ZrOwEntity& entity, const CString& property) {
    CString value;
    entity.GetProperty(property, value);
    return value;
}

// Millimetres: the property, else what follows "DN" in the detail name; 0 when neither says it.
inline double NominalDiameterOf(const ZrOwEntity& entity) {
    const double stated = NumberIn(TextOf(entity, kPropertyNominalDiameter));
    if (stated > 0.0) {
        return stated;
    }
    CString detail = CComMethod::GetDetailNameByAttName(entity.GetAttName());
    const int at = detail.Find(CString(u"DN"));
    detail = at < 0 ? CString() : detail.Mid(at + 2);
    return NumberIn(detail.TrimLeft());
}

// Millimetres, as drawn; 0 when not known.
inline double OuterDiameterOf(const ZrOwEntity& entity) {
    return NumberIn(TextOf(entity, kPropertyOuterDiameter));
}

// For sentences: the entity's name in quotes, else its detail name.
inline CString Quoted(const ZrOwEntity& entity) {
    CString name = TextOf(entity, kPropertyName);
    if (name.IsEmpty()) {
        name = CComMethod::GetDetailNameByAttName(entity.GetAttName());
    }
    return u"\"" + name + u"\"";
}

// For sentences: "on floor "1F", around x 1.00, y 2.00, z 3.00 m"; the floor alone when the objects take no room.
inline CString WhereClause(const std::vector<ZrOwEntity*>& objects, const CString& floor) {
    constexpr double kMillimetresPerMetre = 1000.0;
    CString clause;
    clause.Format(u"on floor \"%s\"", floor);
    AcGePoint3d place;
    if (PlaceOf(objects, place)) {
        clause.AppendFormat(u", around x %.2f, y %.2f, z %.2f m", place.x / kMillimetresPerMetre,
                            place.y / kMillimetresPerMetre, place.z / kMillimetresPerMetre);
    }
    return clause;
}

}  // namespace norvex::rule
