// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/common/detail/Join.h"
#include "norvexdata/common/detail/Split.h"
#include "platform/zrow/ZrOwEntity.h"

namespace {

void AppendPieces(CStringArray& output, const CString& source, std::u16string_view separator) {
    norvex::common::ForEachPiece(source, separator, [&output](std::u16string_view piece) {
        if (!piece.empty()) {
            output.Add(norvex::text::ToCString(piece));
        }
    });
}

}  // namespace

void CComMethod::ExplodeStrAryIncEmpty(CStringArray& output, CString source, wchar_t separator) {
    const norvex::text::Character character(separator);
    norvex::common::ForEachPiece(source, character.Units(),
                                 [&output](std::u16string_view piece) { output.Add(norvex::text::ToCString(piece)); });
}

void CComMethod::ExplodeStrAry(CStringArray& output, CString source, wchar_t separator) {
    const norvex::text::Character character(separator);
    AppendPieces(output, source, character.Units());
}

void CComMethod::ExplodeStrAry(CStringArray& output, CString source, const CString& separator) {
    // The separator may be an element of the output, which moves while it grows.
    const CString kept = separator;
    AppendPieces(output, source, norvex::text::ViewToNul(kept));
}

CString CComMethod::GetOneParam(const CString& parameter) {
    // The first of these that stands anywhere in the text decides, whatever stands before it.
    for (const char16_t comparison : {u'=', u'>', u'<', u'≥', u'≤'}) {
        const int place = parameter.Find(comparison);
        if (place >= 0) {
            return parameter.Mid(place + 1);
        }
    }
    return parameter;
}

CString CComMethod::GetDetailNameByAttName(const CString& path) {
    const norvex::common::AttPath split = norvex::common::SplitAttPath(path);
    return split.IsFull() ? norvex::text::ToCString(split.DetailName()) : CString();
}

CString CComMethod::GetUnitedArgument(const CStringArray& arguments) {
    return norvex::common::Join(arguments, u";");
}

CString CComMethod::GetStrInsertPt(ZrOwEntity* entity) {
    // An entity without a place is shown at the origin.
    AcGePoint3d position;
    if (entity != nullptr) {
        entity->pntNamePos(position);
    }
    CString text;
    text.Format(u"坐标(%5.0f,%5.0f)", position.x, position.y);
    return text;
}
