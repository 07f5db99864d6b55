// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <tuple>
#include <unordered_set>
#include <utility>
#include <vector>

#include "norvexdata/pipenet/CheckPipeLineGraph.h"
#include "norvexdata/pipenet/CheckSearchGraph.h"
#include "platform/zrow/ZrOwLines.h"
#include "rules/pipe-loop/LoopTable.h"
#include "sdk/rule/Describe.h"
#include "sdk/rule/Rule.h"

namespace {

using norvex::pipe_loop::LoopRow;
using norvex::rule::Context;
using norvex::rule::Found;

// Ends nearer than this are one node of the pipe graph, so a pipe this short has no two ends to join.
constexpr double kNodeTolerance = 0.1;
// Two pipes between the same two points whose lengths agree this closely are one pipe drawn twice, as the loop search
// has it.
constexpr double kLengthTolerance = 0.001;
constexpr double kMillimetresPerMetre = 1000.0;
// Systems that a sentence names before it only counts them.
constexpr std::size_t kNamedSystems = 3;

// Splits into pipes with two ends, which go to pipes in their order, and all others, which are counted.
int TakePipes(const std::vector<ZrOwEntity*>& entities, std::vector<ZrOwEntity*>& pipes) {
    int others = 0;
    for (ZrOwEntity* entity : entities) {
        const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
        if (pipe != nullptr && pipe->GetStartPoint().distanceTo(pipe->GetEndPoint()) >= kNodeTolerance) {
            pipes.push_back(entity);
        } else {
            ++others;
        }
    }
    return others;
}

// A search that comes back to the point where it began may go out over a pipe and close over the same one: that pipe is
// a spur of the loop and not a part of it. Without it, what is left may be one pipe drawn twice, which is no loop
// either; empty then.
std::vector<ZrOwEntity*> WithoutSpurs(std::vector<ZrOwEntity*> loop) {
    const std::multiset<ZrOwEntity*> listed(loop.begin(), loop.end());
    std::erase_if(loop, [&](ZrOwEntity* pipe) { return listed.count(pipe) > 1; });
    const auto lengthOf = [&](std::size_t index) { return std::abs(ZrOwPolyLine::cast(loop[index])->GetLength()); };
    const bool isOnePipe = loop.size() == 2 && std::abs(lengthOf(0) - lengthOf(1)) < kLengthTolerance;
    return loop.size() < 2 || isOnePipe ? std::vector<ZrOwEntity*>() : loop;
}

// The loop as a ring that begins with the smallest handle and goes on to the smaller of its two neighbours, so that
// equal loops read equally wherever the search met them.
std::vector<ZrOwEntity*> InFixedOrder(std::vector<ZrOwEntity*> loop) {
    const auto handleOf = [](const ZrOwEntity* entity) {
        AcDbHandle handle;
        entity->getAcDbHandle(handle);
        return handle;
    };
    const auto first = std::min_element(loop.begin(), loop.end(), [&](const ZrOwEntity* left, const ZrOwEntity* right) {
        return handleOf(left) < handleOf(right);
    });
    std::rotate(loop.begin(), first, loop.end());
    if (loop.size() > 2 && handleOf(loop.back()) < handleOf(loop[1])) {
        std::reverse(loop.begin() + 1, loop.end());
    }
    return loop;
}

// System name of a pipe: what its system code says behind the specialty; empty when it says nothing.
CString SystemOf(const ZrOwEntity& pipe) {
    const CString code = pipe.GetSysCode();
    const int separator = code.Find(u'\\');
    return separator < 0 ? CString() : code.Mid(separator + 1);
}

// "of the system X", "of the systems X, Y and 2 more", or "of no named system".
CString SystemsClause(const std::vector<ZrOwEntity*>& loop) {
    std::set<CString> systems;
    for (const ZrOwEntity* pipe : loop) {
        systems.insert(SystemOf(*pipe));
    }
    systems.erase(CString());
    if (systems.empty()) {
        return u"of no named system";
    }
    CString clause = systems.size() == 1 ? u"of the system " : u"of the systems ";
    std::size_t named = 0;
    for (const CString& system : systems) {
        if (named == kNamedSystems) {
            clause.AppendFormat(u" and %u more", static_cast<unsigned>(systems.size() - named));
            break;
        }
        clause += (named == 0 ? u"\"" : u", \"") + system + u"\"";
        ++named;
    }
    return clause;
}

// What a person is to do about a loop.
CString AdviceFor(const CString& severity) {
    return severity == STR_ERR_REMIND
               ? u"A ring may be meant here: check that it is."
               : u"These pipes should be a tree: check whether one is drawn twice or joins two branches.";
}

CString SentenceOf(const std::vector<ZrOwEntity*>& loop, const CString& floor, const CString& severity) {
    double length = 0.0;
    for (const ZrOwEntity* pipe : loop) {
        length += ZrOwPolyLine::cast(pipe)->GetLength();
    }
    AcGePoint3d place;
    norvex::rule::PlaceOf(loop, place);
    CString sentence;
    // Two pipes close a loop only when they have both ends in common; the plan shows them as one.
    sentence.Format(u"%d pipes %s on floor \"%s\"%s form a closed loop, %.2f m long, around %s. %s",
                    static_cast<int>(loop.size()), SystemsClause(loop), floor,
                    loop.size() == 2 ? u" run between the same two joints and" : u"", length / kMillimetresPerMetre,
                    norvex::rule::PlaceText(place), AdviceFor(severity));
    return sentence;
}

// Puts pipes into an order that the next export of the same model gives too. Which of several loops with common pipes
// the search reports depends on the order of its pipes, and that of a drawing is the order of instance numbers.
void SortByIdentity(std::vector<ZrOwEntity*>& pipes) {
    struct Key {
        CString identity;
        std::array<double, 7> shape;  // both ends and the length, to the millimetre
        ZrOwEntity* pipe;
    };
    std::vector<Key> keys;
    keys.reserve(pipes.size());
    for (ZrOwEntity* entity : pipes) {
        const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
        const AcGePoint3d start = pipe->GetStartPoint();
        const AcGePoint3d end = pipe->GetEndPoint();
        Key key{norvex::rule::IdentityOf(*entity),
                {start.x, start.y, start.z, end.x, end.y, end.z, pipe->GetLength()},
                entity};
        std::transform(key.shape.begin(), key.shape.end(), key.shape.begin(),
                       [](double number) { return std::round(number); });
        keys.push_back(std::move(key));
    }
    std::stable_sort(keys.begin(), keys.end(), [](const Key& left, const Key& right) {
        return std::tie(left.identity, left.shape) < std::tie(right.identity, right.shape);
    });
    std::transform(keys.begin(), keys.end(), pipes.begin(), [](const Key& key) { return key.pipe; });
}

// Adds the pipes of the edge's network.
void AddNetwork(const boost::shared_ptr<CCheckPipeLineEdge>& first, std::unordered_set<ZrOwEntity*>& placed) {
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> open{first};
    placed.insert(first->GetPipeEnt());
    while (!open.empty()) {
        const boost::shared_ptr<CCheckPipeLineEdge> edge = open.back();
        open.pop_back();
        for (const auto& node : {edge->GetNodeStart(), edge->GetNodeEnd()}) {
            if (node == nullptr) {
                continue;
            }
            for (const auto& next : node->GetConnectEdgeVec()) {
                if (placed.insert(next->GetPipeEnt()).second) {
                    open.push_back(next);
                }
            }
        }
    }
}

// Removes from pipes what is in one of the graphs of a search over them: they come in the order of their first pipes.
void RemovePlaced(const std::vector<CCheckPipeLineGraph>& graphs, std::vector<ZrOwEntity*>& pipes) {
    std::unordered_set<ZrOwEntity*> placed;
    std::size_t next = 0;
    for (ZrOwEntity* pipe : pipes) {
        if (placed.count(pipe) == 0 && next < graphs.size()) {
            if (const auto edge = graphs[next].GetEdge(ZrOwPolyLine::cast(pipe))) {
                AddNetwork(edge, placed);
            }
            ++next;
        }
    }
    std::erase_if(pipes, [&](ZrOwEntity* pipe) { return placed.count(pipe) != 0; });
}

class CCheckPipeLoop final : public norvex::rule::Rule {
  public:
    CCheckPipeLoop()
        : Rule({.strName = u"CCheckPipeLoop",
                .strShortName = u"pipe-loop",
                .strTitle = u"Closed loops of pipes",
                .strCategory = STR_CHECK_MODEL_PLAUSIBILITY,
                .strVersion = {},
                .vecSpecialties = norvex::pipe_loop::CheckedSpecialties(),
                .strWhy =
                    u"Water that can reach a tap two ways stands still in one of them, and what stands still goes "
                    u"bad; drainage has one direction, downhill, and a loop has none. Most loops in these systems "
                    u"are drawing mistakes: a pipe drawn twice with another bend, or two branches joined in the "
                    u"wrong place. Quantities taken off such a network are wrong too. Fire mains and heating are "
                    u"built as rings on purpose; there the rule only reminds.",
                .strHowToFix =
                    u"Follow the loop in the model. Look for a pipe that runs beside another one, and for a tee "
                    u"where two pipes only cross. Delete the pipe that is too much, or cut the wrong joint. If "
                    u"the ring is meant to be, accept the finding: it keeps its feature code.",
                .strWhat = u"Pipes that lead back to where they began. On each floor the pipes of one specialty are "
                           u"joined where their ends coincide, and each connected network is searched for closed "
                           u"loops; of two loops with a pipe in common, one is found. Ducts, trays and cables are not "
                           u"looked at, and risers that pass from floor to floor close no loop.",
                .strSeverity = u"Suspected for water, a reminder for fire protection and for heating, ventilation and "
                               u"air conditioning; the configuration can say otherwise."}) {}

  private:
    void Run(Context& context) override {
        for (const LoopRow& row : norvex::pipe_loop::LoopTableOf(context.Specialty())) {
            CheckRow(context, row);
        }
    }

    // A search stops after a thousand networks; what it leaves out goes into the next one.
    void CheckRow(Context& context, const LoopRow& row) {
        std::vector<ZrOwEntity*> pipes;
        const int others = TakePipes(context.Entities(row.category, row.subCategory), pipes);
        context.NotExaminedWithoutPlace({{row.category, {row.subCategory}}});
        context.NotExamined(others, u"the model does not say where their two ends are");
        SortByIdentity(pipes);
        const int total = static_cast<int>(pipes.size());
        while (!pipes.empty()) {
            std::vector<CCheckPipeLineGraph> graphs;
            CCheckSearchGraph().SearchGraph(pipes, graphs);
            for (CCheckPipeLineGraph& graph : graphs) {
                ReportLoops(context, row, graph);
            }
            const std::size_t before = pipes.size();
            RemovePlaced(graphs, pipes);
            context.Examined(static_cast<int>(before - pipes.size()));
            if (pipes.size() == before) {
                context.NotExamined(static_cast<int>(before), u"the search found no network that they are in");
                return;
            }
            if (!context.GoOn(total - static_cast<int>(pipes.size()), total)) {
                return;
            }
        }
    }

    void ReportLoops(Context& context, const LoopRow& row, CCheckPipeLineGraph& graph) {
        std::vector<std::vector<ZrOwEntity*>> loops;
        graph.GetBadLoopVec(loops);
        for (const std::vector<ZrOwEntity*>& loop : loops) {
            std::vector<ZrOwEntity*> pipes = WithoutSpurs(loop);
            if (pipes.empty()) {
                continue;
            }
            pipes = InFixedOrder(std::move(pipes));
            context.Report({.subCategory = L"管道闭合成环",
                            .severity = row.severity,
                            .sentence = SentenceOf(pipes, context.Floor(), row.severity),
                            .objects = pipes});
        }
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckPipeLoop)
