// SPDX-License-Identifier: Apache-2.0
#include <array>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/common/detail/Join.h"
#include "platform/arx/AcDbDatabase.h"
#include "platform/zrow/ZrOwEntity.h"

namespace {

const CString kFieldSeparator = u":";
const CString kListSeparator = u",";
const CString kLocationSeparator = u"-";

// As the format "%X" gives it. Rules ask for the handles of whole floors.
CString Hexadecimal(Adesk::UInt32 number) {
    std::array<char16_t, 8> digits{};
    auto first = digits.end();
    do {
        *--first = u"0123456789ABCDEF"[number & 0xFU];
        number >>= 4U;
    } while (number != 0);
    return {&*first, static_cast<int>(digits.end() - first)};
}

CString EntityHandleText(const ZrOwEntity* entity) {
    AcDbHandle handle;
    if (entity != nullptr) {
        entity->getAcDbHandle(handle);
    }
    return CComMethod::GetStrHandle(handle);
}

}  // namespace

CString CComMethod::GetStrHandle(AcDbHandle handle) {
    if (handle.high() == 0) {
        return Hexadecimal(handle.low());
    }
    // The high half stands in the format in front of the low half, whose precision asks for 30 digits. The check
    // interface knows large handles by this form.
    CString text;
    text.Format(Hexadecimal(handle.high()) + u"%8.30X", handle.low());
    return text.Trim();
}

CString CComMethod::GetStrHandle(const ZrOwEntity* entity) {
    return EntityHandleText(entity);
}

CString CComMethod::GetStrFPHandle(const CString& handles, const CString& firstTag, const CString& secondTag,
                                   EFindHandle findMode, const CString& leadingTag) {
    CString mode;
    mode.Format(u"%d", static_cast<int>(findMode));
    return norvex::common::Join(std::initializer_list<CString>{leadingTag, firstTag, mode, secondTag, handles},
                                kFieldSeparator);
}

CString CComMethod::GetStrFPHandle(const CStringArray& handles, const CString& firstTag, const CString& secondTag,
                                   EFindHandle findMode, const CString& leadingTag) {
    if (handles.IsEmpty()) {
        return {};
    }
    return GetStrFPHandle(norvex::common::Join(handles, kListSeparator), firstTag, secondTag, findMode, leadingTag);
}

CString CComMethod::GetStrFPHandle(const std::set<CString>& handles, const CString& firstTag, const CString& secondTag,
                                   EFindHandle findMode, const CString& leadingTag) {
    if (handles.empty()) {
        return {};
    }
    return GetStrFPHandle(norvex::common::Join(handles, kListSeparator), firstTag, secondTag, findMode, leadingTag);
}

CString CComMethod::GetStrFPHandle(AcDbHandle handle, const CString& firstTag, const CString& secondTag,
                                   EFindHandle findMode, const CString& leadingTag) {
    return GetStrFPHandle(GetStrHandle(handle), firstTag, secondTag, findMode, leadingTag);
}

CString CComMethod::GetStrFPHandle(ZrOwEntity* entity, const CString& firstTag, const CString& secondTag,
                                   EFindHandle findMode, const CString& leadingTag) {
    return GetStrFPHandle(EntityHandleText(entity), firstTag, secondTag, findMode, leadingTag);
}

CString CComMethod::GetStrFPHandleAry(const CStringArray& locations) {
    return norvex::common::Join(locations, kLocationSeparator);
}

CString CComMethod::GetStrFixHandle(const CString& handles, const CString& firstTag, const CString& leadingTag) {
    return norvex::common::Join(std::initializer_list<CString>{leadingTag, firstTag, handles}, kFieldSeparator);
}

CString CComMethod::GetStrFixHandle(const CStringArray& handles, const CString& firstTag, const CString& leadingTag) {
    if (handles.IsEmpty()) {
        return {};
    }
    return GetStrFixHandle(norvex::common::Join(handles, kListSeparator), firstTag, leadingTag);
}

CString CComMethod::GetStrFixHandle(const CStringArray& keys, const CStringArray& values, const CString& firstTag,
                                    const CString& leadingTag) {
    if (keys.IsEmpty() || keys.GetSize() != values.GetSize()) {
        return {};
    }
    CString pairs;
    for (int index = 0; index < keys.GetSize(); ++index) {
        pairs += keys[index] + u"=" + values[index] + kListSeparator;
    }
    // A last value that ends in commas loses them too.
    pairs.TrimRight(kListSeparator);
    return GetStrFixHandle(pairs, firstTag, leadingTag);
}

CString CComMethod::GetStrFixAtt(const CString& attribute, const CString& leadingTag) {
    return leadingTag + kFieldSeparator + attribute;
}

CString CComMethod::GetStrFAHandle(const CString& attribute, const CString& leadingTag) {
    return GetStrFixAtt(attribute, leadingTag);
}

CString CComMethod::GetStrFAHandle(const CStringArray& attributes, const CString& leadingTag) {
    if (attributes.IsEmpty()) {
        return {};
    }
    // The check interface expects the first text twice.
    return GetStrFixAtt(attributes[0] + kListSeparator + norvex::common::Join(attributes, kListSeparator), leadingTag);
}

bool CComMethod::HandleAryToIdAry(AcArray<AcDbObjectId>& ids, const CStringArray& handles) {
    AcDbDatabase* const database = acdbHostApplicationServices()->workingDatabase();
    bool allResolved = true;
    for (const CString& text : handles) {
        AcDbObjectId id;
        const bool isFound =
            database != nullptr && database->getAcDbObjectId(id, false, AcDbHandle(text), 0) == Acad::eOk;
        if (isFound && id.isValid()) {
            ids.append(id);
        } else {
            allResolved = false;
        }
    }
    return allResolved;
}
