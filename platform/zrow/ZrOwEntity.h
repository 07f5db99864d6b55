// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>
#include <vector>

#include "platform/arx/AcDb.h"

// Root of the maker's object library: a building-services object in the drawing.
class NORVEX_PLATFORM_API ZrOwEntity : public AcDbEntity {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwEntity)

    // System code: the specialty, a backslash, and the system that the object belongs to.
    CString GetSysCode() const { return m_sysCode; }
    void SetSysCode(const CString& code) { m_sysCode = code; }

    // Attribute-name path: specialty\category\sub-category\detail name.
    virtual CString GetAttName() const { return m_attName; }
    void SetAttName(const CString& path) { m_attName = path; }

    // Where the object's name label is drawn. Errors: eNullExtents when it has no place; the point is unchanged then.
    virtual Acad::ErrorStatus pntNamePos(AcGePoint3d& position) const;

    // A named text property that came with the object, such as kPropertyGlobalId. Returns false, and leaves value as it
    // was, when the object does not have it.
    bool GetProperty(const CString& name, CString& value) const;
    // Sets or replaces a property.
    void SetProperty(const CString& name, const CString& value);
    // All properties, in the order in which they were first set.
    const std::vector<std::pair<CString, CString>>& Properties() const { return m_properties; }

  private:
    CString m_sysCode;
    CString m_attName;
    std::vector<std::pair<CString, CString>> m_properties;
};

// The property that holds the identity which an object keeps across exports of the same model.
NORVEX_PLATFORM_API extern const CString kPropertyGlobalId;
// The property that says that the object shares its identity with another one of the model: "1", or not there.
NORVEX_PLATFORM_API extern const CString kPropertyGlobalIdRepeats;
// The property that holds the nominal diameter, a decimal number of millimetres.
NORVEX_PLATFORM_API extern const CString kPropertyNominalDiameter;
// The property that holds the outer diameter as drawn, a decimal number of millimetres.
NORVEX_PLATFORM_API extern const CString kPropertyOuterDiameter;
// The property that holds how the object's ends are joined, in the words of the model it came from ("GROOVED"). Several
// are in ascending order, joined by ",".
NORVEX_PLATFORM_API extern const CString kPropertyConnectionType;
// The property that holds the handle texts of what is joined to the object in its own drawing, joined by ",". Runs tell
// what they are joined to by their ends and need not have it.
NORVEX_PLATFORM_API extern const CString kPropertyJoined;
// The property that holds the object's own name in the model it came from.
NORVEX_PLATFORM_API extern const CString kPropertyName;
// The property that holds the class of the object in the model it came from.
NORVEX_PLATFORM_API extern const CString kPropertyClass;
