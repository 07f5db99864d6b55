// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <vector>

#include "norvexdata/common/ComMethod.h"
#include "platform/text/Number.h"
#include "platform/zrow/ZrOwEntity.h"
#include "sdk/rule/Identity.h"

// What an entity says of itself, as rules compare it and as their sentences name it.

namespace norvex::rule {

// The decimal number at the start of a text, blanks and a sign before it allowed; 0 without one. Beyond what a double
// holds: an infinity, so that a limit as large as that limits nothing.
inline double NumberIn(const CString& text) {
    return text::LeadingNumber(text);
}

// The property of this name; empty when the entity does not have it.
inline CString TextOf(const ZrOwEntity& entity, const CString& property) {
    CString value;
    entity.GetProperty(property, value);
    return value;
}

// The diameter at the start of a text; 0 without one. No pipe measures less than nothing or more than a double holds.
inline double DiameterIn(const CString& text) {
    const double number = NumberIn(text);
    return number > 0.0 && std::isfinite(number) ? number : 0.0;
}

// Millimetres: the property, else what follows "DN" in the detail name; 0 when neither says it.
inline double NominalDiameterOf(const ZrOwEntity& entity) {
    const double stated = DiameterIn(TextOf(entity, kPropertyNominalDiameter));
    if (stated > 0.0) {
        return stated;
    }
    const CString detail = CComMethod::GetDetailNameByAttName(entity.GetAttName());
    const int at = detail.Find(CString(u"DN"));
    return at < 0 ? 0.0 : DiameterIn(detail.Mid(at + 2));
}

// Millimetres, as drawn; 0 when not known.
inline double OuterDiameterOf(const ZrOwEntity& entity) {
    return DiameterIn(TextOf(entity, kPropertyOuterDiameter));
}

// For sentences: the entity's name in quotes, else its detail name.
inline CString Quoted(const ZrOwEntity& entity) {
    CString name = TextOf(entity, kPropertyName);
    if (name.IsEmpty()) {
        name = CComMethod::GetDetailNameByAttName(entity.GetAttName());
    }
    return u"\"" + name + u"\"";
}

// For sentences: "x 1.00, y 2.00, z 3.00 m" of a place in drawing units.
inline CString PlaceText(const AcGePoint3d& place) {
    constexpr double kMillimetresPerMetre = 1000.0;
    constexpr int kDecimals = 2;
    return u"x " + DecimalText(place.x / kMillimetresPerMetre, kDecimals) + u", y " +
           DecimalText(place.y / kMillimetresPerMetre, kDecimals) + u", z " +
           DecimalText(place.z / kMillimetresPerMetre, kDecimals) + u" m";
}

// For sentences: "on floor "1F", around x 1.00, y 2.00, z 3.00 m"; the floor alone when the objects take no room.
inline CString WhereClause(const std::vector<ZrOwEntity*>& objects, const CString& floor) {
    CString clause;
    clause.Format(u"on floor \"%s\"", floor);
    AcGePoint3d place;
    if (PlaceOf(objects, place)) {
        clause += u", around " + PlaceText(place);
    }
    return clause;
}

}  // namespace norvex::rule
