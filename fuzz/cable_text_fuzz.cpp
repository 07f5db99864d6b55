// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "fuzz/WideText.h"
#include "norvexdata/common/ComMethod.h"
#include "platform/datamng/ProjectData.h"

#include <algorithm>
#include <map>

// Attribute definitions, one on each line as path, leads and canals with "|" between them; the first path is asked for.
// What SplitDxdg and SplitZhgx make of it is what a naive twin makes of it.

namespace {

using namespace norvex::fuzz;

struct Choice {
    Wide leads;
    Wide canals;
};
using Choices = std::map<Wide, Choice>;

struct Lists {
    std::vector<Wide> wires;
    std::vector<Wide> conduits;

    bool operator==(const Lists&) const = default;
};

const Wide kCombinedPath = u"弱电\\穿管引线\\配管配线\\";

void Append(std::vector<Wide>& list, const std::vector<Wide>& fields, std::size_t count) {
    list.insert(list.end(), fields.begin(), fields.begin() + static_cast<std::ptrdiff_t>(count));
}

// `combines`: entries are those of a composite pipeline.
void NaiveSplit(const Choices& choices, const Wide& path, bool combines, Lists& lists) {
    const auto choice = choices.find(path);
    if (choice == choices.end()) {
        return;
    }
    for (const Wide& entry : PiecesWithText(choice->second.leads, u";")) {
        const std::vector<Wide> fields = PiecesWithText(entry, u",");
        if (fields.size() < 3) {
            continue;
        }
        if (combines && fields[0] == u"配管配线") {
            NaiveSplit(choices, kCombinedPath + fields[1], false, lists);
        } else if (combines && fields[0] == u"配管") {
            Append(lists.conduits, fields, 2);
        } else {
            Append(lists.wires, fields, 3);
        }
    }
    for (const Wide& entry : PiecesWithText(choice->second.canals, u";")) {
        const std::vector<Wide> fields = PiecesWithText(entry, u",");
        if (fields.size() >= 2) {
            Append(lists.conduits, fields, 2);
        }
    }
}

Lists Split(void (*split)(const CString&, CStringArray&, CStringArray&), const Wide& path) {
    CStringArray wires;
    CStringArray conduits;
    split(Host(path), wires, conduits);
    return {AllUnits(wires), AllUnits(conduits)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = TextOf(data, size);
    norvex::datamng::ProjectData project;
    Choices choices;
    Wide asked;
    bool hasNul = rest.find('\0') != std::string_view::npos;
    for (int line = 0; !rest.empty() && line < 32; ++line) {
        std::string_view fields = TakePiece(rest, '\n');
        const Wide path = WideOf(TakePiece(fields, '|'));
        const Choice choice{WideOf(TakePiece(fields, '|')), WideOf(fields)};
        asked = line == 0 ? path : asked;
        if (path.empty()) {
            continue;
        }
        choices[path] = choice;
        project.AddAttribute(Host(path));
        project.SetAttributeValue(Host(path), u"AM_ChoiceLead", Host(choice.leads));
        project.SetAttributeValue(Host(path), u"AM_ChoiceCanal", Host(choice.canals));
        hasNul = hasNul || (path + choice.leads + choice.canals).find(u'\0') != Wide::npos;
    }
    norvex::datamng::SetCurrentProject(project);
    const Lists plain = Split(CComMethod::SplitDxdg, asked);
    const Lists composite = Split(CComMethod::SplitZhgx, asked);
    Require(plain.wires.size() % 3 == 0 && plain.conduits.size() % 2 == 0, "entries are whole");
    Require(composite.wires.size() % 3 == 0 && composite.conduits.size() % 2 == 0, "entries are whole");
    // Names that differ only behind a NUL are one name, which the twin does not know.
    if (!hasNul) {
        Lists expected;
        NaiveSplit(choices, asked, false, expected);
        Require(plain == expected, "wires and conduits are those of the naive twin");
        Lists expectedComposite;
        NaiveSplit(choices, asked, true, expectedComposite);
        Require(composite == expectedComposite, "a composite pipeline is that of the naive twin");
    }
    return 0;
}
