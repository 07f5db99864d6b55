// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "norvexdata/config/CheckLayoutFlangConfigParser.h"
#include "platform/arx/AcDb.h"
#include "sdk/rule/Joints.h"
#include "sdk/rule/Rule.h"

namespace {

using norvex::rule::Context;
using norvex::rule::EntitiesOf;
using norvex::rule::Joints;
using norvex::rule::NumberIn;
using norvex::rule::Quoted;
using norvex::rule::TextOf;
using Kind = CheckLayoutFlangConfigParser::EqipmentType;

// See pipe-diameter: often enough to cancel, rarely enough to cost nothing.
constexpr int kProgressStep = 64;
// Below this, in mm, pipes are screwed to equipment and not flanged, unless the configuration says otherwise.
constexpr double kSmallestFlangedDiameter = 50.0;
// As near as the ends of two pipes that are one node of a pipe graph.
constexpr double kSamePoint = 0.1;

// What is there to read in names and connection types, in lower case.
std::vector<CString> FlangeWords(const CheckLayoutFlangConfigParser& parser) {
    std::vector<CString> words;
    for (const auto& [word, values] : parser.CheckItems(u"flange words")) {
        words.push_back(word);
    }
    return words.empty() ? std::vector<CString>{L"法兰", u"flange", u"flansch", L"фланец"} : words;
}

double SmallestDiameter(const CheckLayoutFlangConfigParser& parser) {
    const auto limits = parser.CheckItems(u"smallest diameter");
    return limits.empty() ? kSmallestFlangedDiameter : NumberIn(limits.begin()->first);
}

// Every fitting of the floor, of the selection or not: a flange that is left out of the run is still there.
std::vector<ZrOwEntity*> FittingsOfFloor() {
    AcDbObjectIdArray ids;
    CGetZrOwEntityPtrVec::GetInstance()->GetAllFitInCurFlor(ids);
    std::vector<ZrOwEntity*> fittings;
    for (int i = 0; i < ids.length(); ++i) {
        ZrOwEntity* fitting = nullptr;
        if (acdbOpenObject(fitting, ids[i], AcDb::kForRead) == Acad::eOk) {
            fitting->close();
            fittings.push_back(fitting);
        }
    }
    return fittings;
}

// Whether a fitting only turns, parts or narrows a run, so that the pipe behind it is met through it. Valves and meters
// bring a joint of their own.
bool IsPlainFitting(const ZrOwEntity& entity) {
    CStringArray parts;
    CComMethod::ExplodeStrAry(parts, entity.GetAttName(), CString(u"\\"));
    return ZrOwFittingBase::cast(&entity) != nullptr && parts.GetSize() == 4 && parts[2] == L"管件";
}

class Search {
  public:
    Search(const CheckLayoutFlangConfigParser& parser, const std::vector<ZrOwEntity*>& pipes)
        : m_words(FlangeWords(parser)),
          m_smallest(SmallestDiameter(parser)),
          m_pipes(pipes.begin(), pipes.end()),
          m_fittings(FittingsOfFloor()),
          m_joints(Both(pipes, m_fittings)) {
        for (const ZrOwEntity* fitting : m_fittings) {
            if (IsFlange(*fitting)) {
                for (const ZrOwEntity* joined : m_joints.Of(*fitting)) {
                    NoteFlange(*joined, ZrOwFittingBase::cast(fitting)->GetPosition());
                }
            }
        }
    }

    // The pipes that meet the equipment, directly or through fittings, without any flange between. By handle. Nothing
    // when more hangs together there than is looked at: then it cannot be said.
    std::optional<std::vector<ZrOwEntity*>> UnflangedPipesAt(const ZrOwEntity& equipment) const {
        std::vector<ZrOwEntity*> unflanged;
        std::vector<const ZrOwEntity*> ways{&equipment};
        std::set<const ZrOwEntity*> seen{&equipment};
        std::size_t looks = 0;
        for (std::size_t i = 0; i < ways.size() && !SaysFlanged(equipment); ++i) {
            const std::vector<ZrOwEntity*> joined = m_joints.Of(*ways[i]);
            looks += joined.size();
            if (m_joints.IsCrowded(*ways[i]) || looks > Joints::kMostLooks) {
                return std::nullopt;
            }
            for (ZrOwEntity* next : joined) {
                if (!seen.insert(next).second || IsFlange(*next)) {
                    continue;
                }
                if (IsPlainFitting(*next)) {
                    ways.push_back(next);
                } else if (NeedsFlange(*next, *ways[i])) {
                    unflanged.push_back(next);
                }
            }
        }
        return unflanged;
    }

  private:
    static std::vector<ZrOwEntity*> Both(std::vector<ZrOwEntity*> some, const std::vector<ZrOwEntity*>& others) {
        some.insert(some.end(), others.begin(), others.end());
        return some;
    }

    // Thousands of fittings have the same name.
    bool NamesFlange(const CString& text) const {
        const auto [known, isNew] = m_namesFlange.try_emplace(text, false);
        if (isNew) {
            CString lower = text;
            lower.MakeLower();
            known->second =
                std::any_of(m_words.begin(), m_words.end(), [&](const CString& word) { return lower.Find(word) >= 0; });
        }
        return known->second;
    }
    bool PathNamesFlange(const CString& path) const {
        const auto [known, isNew] = m_pathNamesFlange.try_emplace(path, false);
        if (isNew) {
            known->second = NamesFlange(CComMethod::GetDetailNameByAttName(path));
        }
        return known->second;
    }
    bool IsFlange(const ZrOwEntity& entity) const {
        return ZrOwFittingBase::cast(&entity) != nullptr &&
               (NamesFlange(TextOf(entity, kPropertyName)) || PathNamesFlange(entity.GetAttName()));
    }
    bool SaysFlanged(const ZrOwEntity& entity) const { return NamesFlange(TextOf(entity, kPropertyConnectionType)); }

    bool NeedsFlange(ZrOwEntity& entity, const ZrOwEntity& from) const {
        const double nominal = norvex::rule::NominalDiameterOf(entity);
        const double diameter = nominal > 0.0 ? nominal : norvex::rule::OuterDiameterOf(entity);
        return m_pipes.count(&entity) != 0 && diameter >= m_smallest && !SaysFlanged(entity) &&
               !HasFlangeTowards(entity, from);
    }

    // Where joints were found by shape, equipment may be said to meet a pipe that ends at its flange.
    bool HasFlangeTowards(const ZrOwEntity& entity, const ZrOwEntity& from) const {
        const auto flanged = m_flangedEnds.find(&entity);
        const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(&entity);
        AcGePoint3d place;
        if (flanged == m_flangedEnds.end() || pipe == nullptr || from.pntNamePos(place) != Acad::eOk) {
            return false;
        }
        const bool towardsStart = place.distanceTo(pipe->GetStartPoint()) < place.distanceTo(pipe->GetEndPoint());
        return towardsStart ? flanged->second.start : flanged->second.end;
    }

    // Of many flanges at one pipe, all that matters is which of its ends have one.
    void NoteFlange(const ZrOwEntity& entity, const AcGePoint3d& flange) {
        if (const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(&entity)) {
            Flanged& ends = m_flangedEnds[&entity];
            ends.start = ends.start || CEntFindMethod::Is2PtNear(flange, pipe->GetStartPoint(), kSamePoint);
            ends.end = ends.end || CEntFindMethod::Is2PtNear(flange, pipe->GetEndPoint(), kSamePoint);
        }
    }

    std::vector<CString> m_words;
    mutable std::unordered_map<CString, bool> m_namesFlange;
    mutable std::unordered_map<CString, bool> m_pathNamesFlange;
    double m_smallest;
    std::set<ZrOwEntity*> m_pipes;
    std::vector<ZrOwEntity*> m_fittings;
    Joints m_joints;
    struct Flanged {
        bool start = false;
        bool end = false;
    };
    std::map<const ZrOwEntity*, Flanged> m_flangedEnds;
};

// Specialties for which the configuration names equipment; without any, those whose pipes carry a medium.
std::vector<CString> CheckedSpecialties() {
    CheckLayoutFlangConfigParser parser;
    std::vector<CString> checked;
    for (const CString& specialty :
         {STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION, STR_SPEC_HVAC, STR_SPEC_ELECTRICAL, STR_SPEC_LOW_VOLTAGE}) {
        if (!parser.GetAttItem(Kind::eEquipment, specialty).mapEquipment.empty() ||
            !parser.GetAttItem(Kind::eWaterbox, specialty).mapEquipment.empty()) {
            checked.push_back(specialty);
        }
    }
    return checked.empty() ? std::vector<CString>{STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION, STR_SPEC_HVAC} : checked;
}

class CCheckLayoutFlange final : public norvex::rule::Rule {
  public:
    CCheckLayoutFlange()
        : Rule({.strName = u"CCheckLayoutFlange",
                .strShortName = u"layout-flange",
                .strTitle = u"Flanges at equipment and tanks",
                .strCategory = STR_CHECK_MODEL_OMISSION,
                .strVersion = {},
                .vecSpecialties = CheckedSpecialties(),
                .strWhy = u"Equipment is taken out for repair. Without a flange that means cutting the pipe, and the "
                          u"flange, its gasket and its bolts are in no list of quantities.",
                .strHowToFix =
                    u"Draw the flange between the equipment and the pipe, or have the pipe's port say that it "
                    u"is flanged. Where a flange is not wanted, accept the finding: it keeps its feature "
                    u"code.",
                .strWhat =
                    u"Pumps, heating equipment and tanks that a pipe meets without a flange between. Bends, tees and "
                    u"reducers between are looked through; a valve or meter at the equipment brings a joint of its "
                    u"own. Pipes smaller than DN50, and those of which nothing tells the diameter, need no flange.",
                .strSeverity = u"Suspected, because many models leave out flanges on purpose."}) {}

  private:
    void Run(Context& context) override {
        CheckLayoutFlangConfigParser parser;
        const CategoryMap entities = context.Entities();
        // Most configurations name the same pipes for both kinds.
        std::vector<ZrOwEntity*> pipes;
        std::optional<Search> search;
        for (const Kind kind : {Kind::eEquipment, Kind::eWaterbox}) {
            const auto item = parser.GetAttItem(kind, context.Specialty());
            context.NotExaminedWithoutPlace(item.mapEquipment);
            const std::vector<ZrOwEntity*> equipment = EntitiesOf(item.mapEquipment, entities);
            if (equipment.empty()) {
                continue;
            }
            if (std::vector<ZrOwEntity*> found = EntitiesOf(item.mapPipe, entities); !search || found != pipes) {
                pipes = std::move(found);
                search.emplace(parser, pipes);
            }
            if (!CheckKind(context, equipment, *search, kind)) {
                return;
            }
        }
    }

    // Returns false when the rule is to end.
    static bool CheckKind(Context& context, const std::vector<ZrOwEntity*>& equipment, const Search& search,
                          Kind kind) {
        int done = 0;
        for (ZrOwEntity* one : equipment) {
            if (const std::optional<std::vector<ZrOwEntity*>> pipes = search.UnflangedPipesAt(*one)) {
                for (ZrOwEntity* pipe : *pipes) {
                    Report(context, *one, *pipe, kind);
                }
                context.Examined(1);
            } else {
                context.NotExamined(1, u"more hangs together at the equipment than can be told apart");
            }
            if (++done % kProgressStep == 0 && !context.GoOn(done, static_cast<int>(equipment.size()))) {
                return false;
            }
        }
        return true;
    }

    static void Report(Context& context, ZrOwEntity& equipment, ZrOwEntity& pipe, Kind kind) {
        CString sentence;
        sentence.Format(
            u"%s %s is met by the pipe %s without a flange between, %s. Put a flange there, or the %s cannot "
            u"be taken out without cutting the pipe.",
            kind == Kind::eWaterbox ? CString(u"Tank") : CString(u"Equipment"), Quoted(equipment), Quoted(pipe),
            norvex::rule::WhereClause({&pipe}, context.Floor()),
            kind == Kind::eWaterbox ? CString(u"tank") : CString(u"equipment"));
        context.Report({.subCategory = L"设备与管道未布置法兰",
                        .severity = STR_ERR_SUSPECTED,
                        .sentence = sentence,
                        .objects = {&equipment, &pipe},
                        .repair = STR_REPAIR_PIPE_CONNECTION});
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckLayoutFlange)
