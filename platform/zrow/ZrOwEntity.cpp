// SPDX-License-Identifier: Apache-2.0
#include "platform/zrow/ZrOwEntity.h"

ACRX_DEFINE_MEMBERS(ZrOwEntity, AcDbEntity)

// Inline for its guard: a second copy of this library in the process finds them bound to those of the first, and must
// not construct and destroy them once more.
[[gnu::used]] inline const CString kPropertyGlobalId = u"GlobalId";
[[gnu::used]] inline const CString kPropertyGlobalIdRepeats = u"GlobalIdRepeats";
[[gnu::used]] inline const CString kPropertyNominalDiameter = u"NominalDiameter";
[[gnu::used]] inline const CString kPropertyOuterDiameter = u"OuterDiameter";
[[gnu::used]] inline const CString kPropertyConnectionType = u"ConnectionType";
[[gnu::used]] inline const CString kPropertyJoined = u"Joined";
[[gnu::used]] inline const CString kPropertyName = u"Name";
[[gnu::used]] inline const CString kPropertyClass = u"Class";

namespace {

// As key == name. Most names differ in their first letter, and a rule asks for millions of them.
bool IsCalled(const CString& key, const CString& name) {
    return *key.GetString() == *name.GetString() && key == name;
}

// As many properties as an object of a model commonly has.
constexpr std::size_t kUsualProperties = 8;

}  // namespace

Acad::ErrorStatus ZrOwEntity::pntNamePos(AcGePoint3d&) const {
    return Acad::eNullExtents;
}

bool ZrOwEntity::GetProperty(const CString& name, CString& value) const {
    for (const auto& [key, text] : m_properties) {
        if (IsCalled(key, name)) {
            value = text;
            return true;
        }
    }
    return false;
}

void ZrOwEntity::SetProperty(const CString& name, const CString& value) {
    for (auto& [key, text] : m_properties) {
        if (IsCalled(key, name)) {
            text = value;
            return;
        }
    }
    if (m_properties.empty()) {
        m_properties.reserve(kUsualProperties);
    }
    m_properties.emplace_back(name, value);
}
