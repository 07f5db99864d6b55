// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "fuzz/WideText.h"
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/datamng/ProjectData.h"
#include "platform/text/CodePage.h"

#include <algorithm>
#include <map>
#include <set>

// A project, a drawing's categories and a user's choice, one fact on each line with "|" between its fields:
//
//     k|SPECIALTY|CATEGORY|SUB-CATEGORY    the project knows it; the first specialty is the one that is checked
//     c|CATEGORY|SUB-CATEGORY              the drawing has entities of it
//     w|COMPONENT|ITEM|ITEM...             the user wants it; "*" is everything
//     i|PATH|NAME|FLAG|NAME|FLAG...        calculation items
//     s|NAME                               a calculation item that the user wants
//
// The selections are those of naive twins.

namespace {

using namespace norvex::fuzz;

using Names = std::set<Wide>;
using Selection = std::map<Wide, Names>;

struct Facts {
    Wide specialty;
    std::map<std::pair<Wide, Wide>, Names> known;  // specialty and category
    Selection drawn;
    std::vector<std::pair<Wide, std::vector<Wide>>> wanted;
    std::map<Wide, std::vector<Wide>> items;  // names and flags in turn
    Names selected;
};

// Names take the way through the code page that a choice takes.
Wide ThroughCodePage(const Wide& name) {
    return Units(norvex::text::NarrowToWide(norvex::text::WideToNarrow(Host(name))));
}

void AddFact(std::string_view line, Facts& facts, norvex::datamng::ProjectData& project) {
    const std::string_view kind = TakePiece(line, '|');
    std::vector<Wide> fields;
    while (!line.empty() && fields.size() < 16) {
        fields.push_back(WideOf(TakePiece(line, '|')));
    }
    fields.resize(std::max<std::size_t>(fields.size(), 1));
    if (fields[0].empty()) {
        return;
    }
    if (kind == "k" && fields.size() >= 3 && !fields[1].empty() && !fields[2].empty()) {
        facts.specialty = facts.specialty.empty() ? fields[0] : facts.specialty;
        facts.known[{fields[0], fields[1]}].insert(fields[2]);
        project.AddSmallCategory(Host(fields[0]), Host(fields[1]), Host(fields[2]));
    } else if (kind == "c" && fields.size() >= 2) {
        facts.drawn[fields[0]].insert(fields[1]);
    } else if (kind == "w") {
        facts.wanted.push_back({fields[0], {fields.begin() + 1, fields.end()}});
    } else if (kind == "i") {
        std::vector<norvex::datamng::CalculationItem> items;
        std::vector<Wide>& list = facts.items[fields[0]] = {};
        for (std::size_t i = 1; i + 1 < fields.size(); i += 2) {
            list.insert(list.end(), {fields[i], fields[i + 1]});
            items.push_back({Host(fields[i]), Host(fields[i + 1])});
        }
        project.SetCalculationItems(Host(fields[0]), std::move(items));
    } else if (kind == "s") {
        facts.selected.insert(fields[0]);
    }
}

void Insert(Selection& selection, const Wide& category, const Names& names) {
    if (!names.empty()) {
        selection.insert({category, names});
    }
}

Selection NaiveChoice(const Facts& facts) {
    Selection selection;
    if (facts.wanted.size() == 1 && ThroughCodePage(facts.wanted[0].first) == u"*") {
        for (const auto& [place, names] : facts.known) {
            if (place.first == facts.specialty && facts.drawn.count(place.second) != 0) {
                Insert(selection, place.second, names);
            }
        }
        return selection;
    }
    for (const auto& [component, items] : facts.wanted) {
        const Wide category = ThroughCodePage(component);
        if (facts.drawn.count(category) == 0) {
            continue;
        }
        Names names;
        for (const Wide& item : items) {
            const Wide name = ThroughCodePage(item);
            if (name != u"*") {
                names.insert(name);
                continue;
            }
            const auto known = facts.known.find({facts.specialty, category});
            if (known != facts.known.end()) {
                names.insert(known->second.begin(), known->second.end());
            }
        }
        Insert(selection, category, names);
    }
    return selection;
}

bool NaiveIsSelected(const Facts& facts, const Wide& path) {
    const auto items = facts.items.find(path);
    if (items == facts.items.end()) {
        return false;
    }
    for (std::size_t i = 0; i + 1 < items->second.size(); i += 2) {
        if (facts.selected.count(items->second[i]) != 0) {
            return items->second[i + 1] == u"0";
        }
    }
    return false;
}

Selection UnitsOf(const std::map<CString, std::set<CString>>& selection) {
    Selection units;
    for (const auto& [category, names] : selection) {
        const std::vector<Wide> all = AllUnits(names);
        units[Units(category)] = Names(all.begin(), all.end());
    }
    return units;
}

std::map<CString, std::set<CString>> HostOf(const Selection& selection) {
    std::map<CString, std::set<CString>> host;
    for (const auto& [category, names] : selection) {
        for (const Wide& name : names) {
            host[Host(category)].insert(Host(name));
        }
    }
    return host;
}

CategoryMap Drawn(const Facts& facts) {
    CategoryMap map;
    for (const auto& [category, names] : facts.drawn) {
        for (const Wide& name : names) {
            // The pointer is only handed on.
            map[Host(category)][Host(name)].insert({Host(name), {nullptr}});
        }
    }
    return map;
}

CZRArray<NS_NORVEX::ComponentInfo> Wanted(const Facts& facts) {
    CZRArray<NS_NORVEX::ComponentInfo> wanted;
    for (const auto& [component, items] : facts.wanted) {
        NS_NORVEX::ComponentInfo info;
        info.strName = norvex::text::WideToNarrow(Host(component));
        for (const Wide& item : items) {
            info.aryItems.append(norvex::text::WideToNarrow(Host(item)));
        }
        wanted.append(info);
    }
    return wanted;
}

void CheckSelections(const Facts& facts, bool hasTwin) {
    const CategoryMap drawn = Drawn(facts);
    std::map<CString, std::set<CString>> chosen;
    CComMethod::ConvertBigMemMap(chosen, drawn, Wanted(facts));
    std::map<CString, std::set<CString>> kept;
    std::set<CString> selected;
    for (const Wide& name : facts.selected) {
        selected.insert(Host(name));
    }
    CComMethod::FilterBigMemMap(kept, chosen, Host(facts.specialty), selected);
    std::vector<ZrOwEntity*> entities;
    CComMethod::GetEntPtrVecByBigMemMap(entities, HostOf(facts.drawn), drawn);
    if (!hasTwin) {
        return;
    }
    const Selection choice = UnitsOf(chosen);
    Require(choice == NaiveChoice(facts), "the choice is that of the naive twin");
    Selection filtered;
    std::size_t drawnNames = 0;
    for (const auto& [category, names] : choice) {
        Names left;
        for (const Wide& name : names) {
            if (NaiveIsSelected(facts, facts.specialty + u"\\" + category + u"\\" + name)) {
                left.insert(name);
            }
        }
        Insert(filtered, category, left);
    }
    Require(UnitsOf(kept) == filtered, "what is kept is that of the naive twin");
    for (const auto& [category, names] : facts.drawn) {
        drawnNames += names.size();
    }
    Require(entities.size() == drawnNames, "each drawn sub-category gives its entities");
}

// Whether a name ends at a NUL, or two ways of joining names give one text: the project looks them up joined.
bool IsAmbiguous(std::string_view bytes, const Facts& facts) {
    std::set<Wide> joined;
    for (const auto& [place, names] : facts.known) {
        if (!joined.insert(place.first + u":" + place.second).second) {
            return true;
        }
    }
    return bytes.find('\0') != std::string_view::npos || bytes.find("\xFF\xFE") != std::string_view::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = TextOf(data, size);
    Facts facts;
    norvex::datamng::ProjectData project;
    for (int line = 0; !rest.empty() && line < 64; ++line) {
        AddFact(TakePiece(rest, '\n'), facts, project);
    }
    norvex::datamng::SetCurrentProject(project);
    CNorvexData::s_strCurSpec = Host(facts.specialty);
    CheckSelections(facts, !IsAmbiguous(TextOf(data, size), facts));
    return 0;
}
