// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "platform/datamng/ZrOwDataMng.h"

namespace {

// What an attribute definition chooses, as two texts of entries joined by ";" with fields joined by ",".
struct Choice {
    CString leads;
    CString canals;
};

// First words of a lead entry that stands for more than wires.
const CString kConduitWithWiring = u"配管配线";
const CString kConduitOnly = u"配管";
// Where the attribute definitions of combined entries stand.
const CString kConduitWithWiringPath = u"弱电\\穿管引线\\配管配线\\";

constexpr int kLeadFields = 3;
constexpr int kCanalFields = 2;

// Returns false when there is no such attribute definition. A value that it does not have is empty.
bool ReadChoice(const CString& attributeName, Choice& choice) {
    ZrOwDataMng::AttId id = 0;
    if (!ZrOwDataMng::AttNameToAttId(attributeName, id)) {
        return false;
    }
    const ZrOwDataMng::CAttDetailMem detail(id);
    detail.GetAttributeValue(u"AM_ChoiceLead", choice.leads);
    detail.GetAttributeValue(u"AM_ChoiceCanal", choice.canals);
    return true;
}

// Calls visit(fields) for each entry of at least that many fields, empty entries and fields dropped.
template <class Visit>
void ForEachEntry(const CString& text, int fewestFields, Visit visit) {
    CStringArray entries;
    CComMethod::ExplodeStrAry(entries, text, L';');
    for (const CString& entry : entries) {
        CStringArray fields;
        CComMethod::ExplodeStrAry(fields, entry, L',');
        if (fields.GetSize() >= fewestFields) {
            visit(fields);
        }
    }
}

void AppendFields(CStringArray& output, const CStringArray& fields, int count) {
    for (int index = 0; index < count; ++index) {
        output.Add(fields[index]);
    }
}

void AppendCanals(const CString& canals, CStringArray& conduits) {
    ForEachEntry(canals, kCanalFields,
                 [&](const CStringArray& fields) { AppendFields(conduits, fields, kCanalFields); });
}

}  // namespace

void CComMethod::SplitDxdg(const CString& attributeName, CStringArray& wires, CStringArray& conduits) {
    Choice choice;
    if (!ReadChoice(attributeName, choice)) {
        return;
    }
    ForEachEntry(choice.leads, kLeadFields,
                 [&](const CStringArray& fields) { AppendFields(wires, fields, kLeadFields); });
    AppendCanals(choice.canals, conduits);
}

void CComMethod::SplitZhgx(const CString& attributeName, CStringArray& wires, CStringArray& conduits) {
    Choice choice;
    if (!ReadChoice(attributeName, choice)) {
        return;
    }
    ForEachEntry(choice.leads, kLeadFields, [&](const CStringArray& fields) {
        if (fields[0] == kConduitWithWiring) {
            SplitDxdg(kConduitWithWiringPath + fields[1], wires, conduits);
        } else if (fields[0] == kConduitOnly) {
            AppendFields(conduits, fields, kCanalFields);
        } else {
            AppendFields(wires, fields, kLeadFields);
        }
    });
    AppendCanals(choice.canals, conduits);
}
