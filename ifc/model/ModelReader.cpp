// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/ModelReader.h"

#include "ifc/LargePages.h"
#include "ifc/part21/CharClass.h"
#include "ifc/part21/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <functional>
#include <future>
#include <numeric>
#include <optional>
#include <set>
#include <string>

namespace norvex::ifc {

namespace {

using part21::kNoInstance;
using part21::Value;
using part21::ValueCursor;
using part21::ValueKind;

// Storey, building, site and project above an assembly in a space are seven steps; more is a ring.
constexpr int kMaxContainment = 64;

// A thread is started and ended in 0.2 ms, and half of a file of fewer bytes is read in less.
constexpr std::size_t kSmallFile = 32768;

// Positions of attributes, the same in all schemas.
constexpr std::size_t kTypeName = 2;
constexpr std::size_t kTypePropertySets = 5;
constexpr std::size_t kTypePredefined = 9;

// Calls back with the index of each instance in a list, or of the one instance that stands instead of a list.
template <typename Visit>
void ForEach(const Access& access, const Value& value, Visit visit) {
    if (value.kind == ValueKind::Reference) {
        const std::uint32_t index = access.Follow(value);
        if (index != kNoInstance) {
            visit(index);
        }
        return;
    }
    ValueCursor members = Members(value);
    for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
        const std::uint32_t index = access.Follow(one);
        if (index != kNoInstance) {
            visit(index);
        }
    }
}

// Returns: the two sides of a relation, which stand behind what every root has.
std::pair<Value, Value> BothSides(const Access& access, std::uint32_t relation) {
    ValueCursor arguments = access.Arguments(relation);
    arguments.Skip(4);
    const Value first = arguments.Next();
    return {first, arguments.Next()};
}

bool SaysNothing(std::string_view predefinedType) {
    return predefinedType.empty() || predefinedType == "NOTDEFINED" || predefinedType == "USERDEFINED";
}

bool SaysNoConnection(std::string_view type) {
    return SaysNothing(type) || type == "OTHER" || type == "UNSET" || type == "NOTKNOWN" || type == "NONE";
}

// Classes that IFC2X3 uses for every kind of thing of a sort; there the type object says what it is.
bool IsGeneric(std::string_view key) {
    return key.starts_with("Flow") || key == "EnergyConversionDevice" || key.starts_with("Distribution") ||
           key == "BuildingElementProxy";
}

// Returns: the number behind "DN" in a name ("Rohr DN50", "DN 50"), 0 without one.
double DiameterInName(std::string_view name) {
    for (std::size_t at = name.find("DN"); at != std::string_view::npos; at = name.find("DN", at + 1)) {
        const bool apart = at == 0 || !part21::IsUpper(part21::ToUpper(name[at - 1]));
        std::size_t digits = at + 2;
        while (digits < name.size() && (name[digits] == ' ' || name[digits] == '-')) {
            ++digits;
        }
        double number = 0.0;
        const auto [stop, error] =
            std::from_chars(name.data() + digits, name.data() + name.size(), number, std::chars_format::fixed);
        if (apart && digits < name.size() && part21::IsDigit(name[digits]) && error == std::errc() && number > 0.0 &&
            number < 10'000.0) {
            return number;
        }
    }
    return 0.0;
}

// Returns: "60" or "60.3".
std::string ShortNumber(double number) {
    std::array<char, 32> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), std::round(number * 10.0) / 10.0);
    return error == std::errc() ? std::string(text.data(), end) : std::string();
}

// Pipes are round, so the box around one along an axis is as wide as high. Returns: mm; 0 when the box is not so.
double WidthOfPipe(const Box& box) {
    if (box.IsEmpty()) {
        return 0.0;
    }
    std::array<double, 3> sides{box.high.x - box.low.x, box.high.y - box.low.y, box.high.z - box.low.z};
    std::sort(sides.begin(), sides.end());
    constexpr double kRoundness = 0.01;
    return sides[1] - sides[0] <= kRoundness * sides[1] && sides[1] < sides[2] ? sides[1] : 0.0;
}

// Looks each up in a table of their indices with open addressing.
bool HasRepeatedGlobalId(const std::vector<Element>& elements) {
    std::vector<std::uint32_t> table(std::bit_ceil(2 * elements.size() + 1), kNoIndex);
    const std::size_t mask = table.size() - 1;
    for (std::uint32_t i = 0; i < elements.size(); ++i) {
        const std::string_view id = elements[i].globalId;
        if (id.empty()) {
            continue;
        }
        std::size_t slot = std::hash<std::string_view>{}(id)&mask;
        for (; table[slot] != kNoIndex; slot = (slot + 1) & mask) {
            if (elements[table[slot]].globalId == id) {
                return true;
            }
        }
        table[slot] = i;
    }
    return false;
}

// Names such as "Light:150W:150W:572305" end in a number of their own.
std::string_view WithoutNumber(std::string_view name) {
    const std::size_t colon = name.rfind(':');
    if (colon == std::string_view::npos || colon == 0) {
        return name;
    }
    const std::string_view tail = name.substr(colon + 1);
    return std::all_of(tail.begin(), tail.end(), part21::IsDigit) ? name.substr(0, colon) : name;
}

}  // namespace

ModelReader::ModelReader(const Access& access, const CategoryTable& categories, BuildingModel& model,
                         DiagnosticLog& log)
    : access_(access),
      file_(access.File()),
      categories_(categories),
      model_(model),
      log_(log),
      census_(TakeCensus(access)),
      units_(ReadUnits(access, census_.project, log)),
      placements_(access, units_, log),
      askedSets_(access.File().InstanceCount()) {
}

NetworkInput ModelReader::Read() {
    model_.lengthUnit = units_.lengthName;
    model_.unitToMillimetres = units_.toMillimetres;
    if (census_.project != kNoInstance) {
        model_.projectGlobalId = Text(access_.Argument(census_.project, 0));
        model_.projectName = Text(access_.Argument(census_.project, 2));
    }
    AssignInLargePages(slot_, file_.InstanceCount(), kNoIndex);
    ReadStoreys();
    ReadElements();
    ReadTypes();
    // Shapes take about as long as all that follows the types, and neither needs the other: they write different
    // members of the elements, and to logs of their own, which are put together in the order of reading one after the
    // other.
    const Access shapesAccess(file_);
    DiagnosticLog shapesLog = log_.Another();
    const std::launch how =
        file_.Text().size() < kSmallFile ? std::launch::deferred : std::launch::async | std::launch::deferred;
    std::future<void> shapes = std::async(how, [&] {
        ReadShapes(shapesAccess, shapesLog);
        MarkRepeatedGlobalIds(shapesLog);
    });
    ReadStructure();
    PlaceOnStoreys();
    std::vector<std::uint32_t>().swap(parent_);
    ReadSystems();
    ReadPorts();
    ReadConnections();
    ReadProperties();
    ReadDiameters();
    std::vector<std::uint32_t>().swap(slot_);
    shapes.get();
    access_.Absorb(shapesAccess);
    log_.Absorb(std::move(shapesLog));
    Categorise();
    CountElements();
    return std::move(input_);
}

std::string_view ModelReader::Text(const Value& value) {
    if (value.kind != ValueKind::String || value.text.empty()) {
        return "";
    }
    if (part21::IsPlainText(value.text)) {
        if (value.text.size() > kMaxTextBytes) {
            SayCutOff(value);
        }
        return model_.texts.Intern(value.text.substr(0, kMaxTextBytes));
    }
    if (value.text.size() > kMaxTextBytes) {
        // No code takes more bytes decoded than as it stands, so only what is longer there can be longer here.
        const std::string text = value.Text(kMaxTextBytes + 1);
        if (text.size() <= kMaxTextBytes) {
            return model_.texts.Intern(text);
        }
        SayCutOff(value);
        return model_.texts.Intern(value.Text(kMaxTextBytes));
    }
    Decoded& decoded = decoded_[std::hash<std::string_view>{}(value.text) % decoded_.size()];
    if (decoded.encoded != value.text) {
        decoded = {std::string(value.text), model_.texts.Intern(value.Text())};
    }
    return decoded.text;
}

// As it stands: words need no decoding.
std::string_view ModelReader::Word(const Value& value) {
    const std::string_view word = value.Word();
    if (word.size() > kMaxTextBytes) {
        SayCutOff(value);
    }
    return word.substr(0, kMaxTextBytes);
}

void ModelReader::SayCutOff(const Value& value) {
    if (!log_.Keeps(DiagnosticCode::LimitReached)) {
        log_.Count(Severity::Warning);
        return;
    }
    log_.Add(Severity::Warning, DiagnosticCode::LimitReached,
             static_cast<std::size_t>(value.text.data() - file_.Text().data()),
             "A text of " + std::to_string(value.text.size()) + " bytes is longer than the " +
                 std::to_string(kMaxTextBytes) + " that are read of one; the rest of it is cut off.");
}

void ModelReader::ReadStoreys() {
    struct Found {
        std::uint32_t instance;
        Storey storey;
    };
    std::vector<Found> found;
    for (const std::uint32_t instance : census_.storeys) {
        ValueCursor arguments = access_.Arguments(instance);
        Storey storey;
        storey.id = file_.Id(instance);
        storey.globalId = Text(arguments.Next());
        arguments.Skip(1);
        storey.name = Text(arguments.Next());
        arguments.Skip(2);
        const std::uint32_t placement = access_.Follow(arguments.Next());
        arguments.Skip(1);
        const std::string_view longName = Text(arguments.Next());
        arguments.Skip(1);
        const std::optional<double> elevation = arguments.Next().Number();
        if (storey.name.empty()) {
            storey.name = longName.empty() ? model_.texts.Intern("Storey #" + std::to_string(storey.id)) : longName;
        }
        if (elevation && std::isfinite(*elevation * units_.toMillimetres)) {
            storey.elevation = *elevation * units_.toMillimetres;
        } else if (placement != kNoInstance) {
            storey.elevation = placements_.World(placement).value_or(Transform()).origin.z;
        }
        found.push_back({instance, storey});
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const Found& a, const Found& b) { return a.storey.elevation < b.storey.elevation; });
    for (const Found& one : found) {
        slot_[one.instance] = static_cast<std::uint32_t>(model_.storeys.size());
        model_.storeys.push_back(one.storey);
    }
}

void ModelReader::ReadElements() {
    ReserveInLargePages(model_.elements, census_.elements.size());
    ReserveInLargePages(drafts_, census_.elements.size());
    for (const std::uint32_t instance : access_.InTurn(census_.elements)) {
        const ClassInfo& info = access_.Info(instance);
        Element element;
        Draft draft;
        draft.instance = instance;
        element.id = file_.Id(instance);
        element.className = info.name;
        element.kind = info.kind;
        ValueCursor arguments = access_.Arguments(instance);
        const Value globalId = arguments.Next();
        if (globalId.kind == ValueKind::String) {
            // Nearly all differ, so they are not looked for among the others.
            const bool asItStands = globalId.text.size() <= kMaxTextBytes && part21::IsPlainText(globalId.text);
            element.globalId = asItStands ? model_.texts.Keep(globalId.text) : Text(globalId);
        }
        arguments.Skip(1);
        element.name = Text(arguments.Next());
        arguments.Skip(1);
        draft.objectType = Text(arguments.Next());
        draft.placement = access_.Follow(arguments.Next());
        draft.definition = access_.Follow(arguments.Next());
        arguments.Skip(1);
        // A copy of its own: the file's text is far away by the time the categories are looked up.
        draft.predefinedType = model_.texts.Intern(Word(arguments.Next()));
        slot_[instance] = static_cast<std::uint32_t>(model_.elements.size());
        model_.elements.push_back(element);
        drafts_.push_back(draft);
    }
}

std::uint32_t ModelReader::TypeAt(std::uint32_t instance) {
    const auto [place, isNew] = typeSlots_.try_emplace(instance, static_cast<std::uint32_t>(types_.size()));
    if (isNew) {
        TypeInfo type;
        type.name = Text(access_.Argument(instance, kTypeName));
        type.predefinedType = Word(access_.Argument(instance, kTypePredefined));
        type.elementClass = ElementClassOfType(access_.UpperName(instance));
        ForEach(access_, access_.Argument(instance, kTypePropertySets), [&](std::uint32_t set) {
            type.nominalDiameter = type.nominalDiameter > 0.0 ? type.nominalDiameter : DiameterOfSet(set);
        });
        types_.push_back(type);
    }
    return place->second;
}

void ModelReader::ReadTypes() {
    for (const std::uint32_t relation : access_.InTurn(census_.byType)) {
        const std::uint32_t type = access_.Follow(access_.Argument(relation, 5));
        if (access_.RoleOf(type) != Role::TypeObject) {
            continue;
        }
        ForEach(access_, access_.Argument(relation, 4), [&](std::uint32_t instance) {
            const Role role = access_.RoleOf(instance);
            if ((role != Role::Element && role != Role::Proxy) || slot_[instance] == kNoIndex) {
                return;
            }
            Draft& draft = drafts_[slot_[instance]];
            if (draft.type == kNoIndex) {
                draft.type = TypeAt(type);
                model_.elements[slot_[instance]].typeName = types_[draft.type].name;
            }
        });
    }
    for (std::size_t i = 0; i < drafts_.size(); ++i) {
        const ClassInfo& own = access_.Info(drafts_[i].instance);
        const ClassInfo* byType = drafts_[i].type == kNoIndex ? nullptr : types_[drafts_[i].type].elementClass;
        if (byType != nullptr && IsGeneric(own.key)) {
            model_.elements[i].kind = byType->kind;
        }
    }
}

// Notes for every part what it is a part of. Containment in the spatial structure counts before assemblies, those
// before nesting, and a mere reference last.
void ModelReader::ReadStructure() {
    AssignInLargePages(parent_, file_.InstanceCount(), kNoInstance);
    const auto note = [&](const std::vector<std::uint32_t>& relations, bool wholeFirst) {
        for (const std::uint32_t relation : access_.InTurn(relations)) {
            const auto [first, second] = BothSides(access_, relation);
            const std::uint32_t container = access_.Follow(wholeFirst ? first : second);
            if (container == kNoInstance) {
                continue;
            }
            ForEach(access_, wholeFirst ? second : first, [&](std::uint32_t part) {
                if (parent_[part] == kNoInstance && part != container) {
                    parent_[part] = container;
                }
            });
        }
    };
    note(census_.contained, false);
    note(census_.aggregates, true);
    note(census_.nests, true);
    note(census_.referenced, false);
}

void ModelReader::PlaceOnStoreys() {
    for (std::uint32_t i = 0; i < model_.elements.size(); ++i) {
        Element& element = model_.elements[i];
        std::uint32_t at = parent_[drafts_[i].instance];
        if (at == kNoInstance) {
            element.noStorey = NoStoreyReason::NotContained;
            continue;
        }
        element.noStorey = NoStoreyReason::BrokenContainment;
        for (int step = 0; step < kMaxContainment && at != kNoInstance; ++step) {
            const Role role = access_.RoleOf(at);
            if (role == Role::Storey && slot_[at] != kNoIndex) {
                element.storey = slot_[at];
                element.noStorey = NoStoreyReason::Placed;
                ++model_.storeys[element.storey].elements;
                break;
            }
            if (role == Role::Spatial || role == Role::Project) {
                element.noStorey = NoStoreyReason::OutsideStoreys;
            }
            at = parent_[at];
        }
    }
    SayWhatHasNoStorey();
}

void ModelReader::SayWhatHasNoStorey() {
    std::array<std::uint32_t, 4> byReason{};
    for (std::uint32_t i = 0; i < model_.elements.size(); ++i) {
        const Element& element = model_.elements[i];
        if (element.storey != kNoIndex) {
            continue;
        }
        ++byReason[static_cast<std::size_t>(element.noStorey)];
        ++model_.counts.withoutStorey;
        if (!log_.Keeps(DiagnosticCode::NoStorey)) {
            log_.Count(Severity::Note);
            continue;
        }
        log_.Add(Severity::Note, DiagnosticCode::NoStorey, file_.Offset(drafts_[i].instance),
                 std::string(element.className) + " #" + std::to_string(element.id) +
                     " lies on no storey: " + std::string(NoStoreyReasonText(element.noStorey)) + ".");
    }
    for (std::size_t reason = 1; reason < byReason.size(); ++reason) {
        if (byReason[reason] > 0) {
            log_.AddGeneral(Severity::Warning, DiagnosticCode::NoStorey,
                            std::to_string(byReason[reason]) + " of " + std::to_string(model_.elements.size()) +
                                (byReason[reason] == 1 ? " elements lies on no storey: "
                                                       : " elements lie on no storey; of each of these, ") +
                                std::string(NoStoreyReasonText(static_cast<NoStoreyReason>(reason))) + ".");
        }
    }
}

void ModelReader::ReadSystems() {
    for (const std::uint32_t instance : census_.systems) {
        System system;
        system.id = file_.Id(instance);
        system.className = access_.Info(instance).name;
        ValueCursor arguments = access_.Arguments(instance);
        system.globalId = Text(arguments.Next());
        arguments.Skip(1);
        system.name = Text(arguments.Next());
        arguments.Skip(1);
        const std::string_view objectType = Text(arguments.Next());
        arguments.Skip(1);
        const std::string_view predefined = Word(arguments.Next());
        system.predefinedType = model_.texts.Intern(predefined);
        slot_[instance] = static_cast<std::uint32_t>(model_.systems.size());
        model_.systems.push_back(system);
        const bool isCircuit = access_.RoleOf(instance) == Role::Circuit;
        ++(isCircuit ? model_.counts.circuits : model_.counts.systems);

        const std::string_view byType = categories_.OfSystemType(predefined);
        std::string_view specialty = byType;
        specialty = specialty.empty() ? categories_.OfSystemName(system.name) : specialty;
        specialty = specialty.empty() ? categories_.OfSystemName(objectType) : specialty;
        if (system.className == "IfcElectricalCircuit" && byType.empty()) {
            specialty = categories_.OfSystemType("ELECTRICAL");
        }
        systemSpecialties_.push_back({byType, specialty});
    }
    std::vector<std::pair<std::uint32_t, std::uint32_t>> members;  // element, system
    for (const std::uint32_t relation : access_.InTurn(census_.toGroup)) {
        const std::uint32_t group = access_.Follow(access_.Argument(relation, 6));
        const Role role = access_.RoleOf(group);
        if ((role != Role::System && role != Role::Circuit) || slot_[group] == kNoIndex) {
            continue;
        }
        ForEach(access_, access_.Argument(relation, 4), [&](std::uint32_t instance) {
            const Role memberRole = access_.RoleOf(instance);
            if ((memberRole == Role::Element || memberRole == Role::Proxy) && slot_[instance] != kNoIndex) {
                members.emplace_back(slot_[instance], slot_[group]);
            }
        });
    }
    std::sort(members.begin(), members.end());
    members.erase(std::unique(members.begin(), members.end()), members.end());
    for (const auto& [element, system] : members) {
        Element& one = model_.elements[element];
        if (one.systemCount == 0) {
            one.firstSystem = static_cast<std::uint32_t>(model_.systemsOfElements.size());
        }
        ++one.systemCount;
        model_.systemsOfElements.push_back(system);
    }
}

void ModelReader::OwnPort(std::uint32_t port, std::uint32_t element, std::uint32_t relation) {
    const bool known = access_.RoleOf(port) == Role::Port && slot_[port] != kNoIndex;
    const Role role = access_.RoleOf(element);
    if (!known || (role != Role::Element && role != Role::Proxy) || slot_[element] == kNoIndex) {
        if (known && role == Role::TypeObject) {
            return;  // A type's port is a pattern for those of its elements.
        }
        if (log_.Keeps(DiagnosticCode::BadPort)) {
            log_.Add(Severity::Warning, DiagnosticCode::BadPort, file_.Offset(relation),
                     "The relation gives a port to what is no element of the services, or gives no port.");
        } else {
            log_.Count(Severity::Warning);
        }
        return;
    }
    NetworkPort& one = input_.ports[slot_[port]];
    if (one.element != kNoIndex) {
        return;  // Said twice, as a relation of its own and by nesting.
    }
    one.element = slot_[element];
    Draft& draft = drafts_[one.element];
    if (draft.portSystemType.empty()) {
        // IfcDistributionPort: ..., FlowDirection, PredefinedType, SystemType.
        const std::string_view systemType = Word(access_.Argument(port, 9));
        draft.portSystemType = SaysNothing(systemType) ? std::string_view() : systemType;
    }
}

void ModelReader::ReadPorts() {
    model_.counts.ports = static_cast<std::uint32_t>(census_.ports.size());
    model_.counts.portsToElement = static_cast<std::uint32_t>(census_.portToElement.size());
    ReserveInLargePages(input_.ports, census_.ports.size());
    ReserveInLargePages(input_.stated, census_.connectsPorts.size());
    for (const std::uint32_t instance : access_.InTurn(census_.ports)) {
        slot_[instance] = static_cast<std::uint32_t>(input_.ports.size());
        input_.ports.push_back({file_.Id(instance), kNoIndex, {}, false});
    }
    for (const std::uint32_t relation : access_.InTurn(census_.portToElement)) {
        ValueCursor arguments = access_.Arguments(relation);
        arguments.Skip(4);
        const std::uint32_t port = access_.Follow(arguments.Next());
        OwnPort(port, access_.Follow(arguments.Next()), relation);
    }
    for (const std::uint32_t relation : access_.InTurn(census_.nests)) {
        const auto [whole, parts] = BothSides(access_, relation);
        const std::uint32_t owner = access_.Follow(whole);
        ForEach(access_, parts, [&](std::uint32_t part) {
            if (access_.RoleOf(part) == Role::Port) {
                OwnPort(part, owner, relation);
            }
        });
    }
    for (const std::uint32_t instance : access_.InTurn(census_.ports)) {
        NetworkPort& port = input_.ports[slot_[instance]];
        const std::uint32_t placement = access_.Follow(access_.Argument(instance, 5));
        if (port.element == kNoIndex || placement == kNoInstance) {
            continue;
        }
        if (const std::optional<Transform> frame = placements_.World(placement)) {
            port.position = frame->origin;
            port.placed = true;
        }
    }
}

void ModelReader::ReadConnections() {
    model_.counts.statedConnections = static_cast<std::uint32_t>(census_.connectsPorts.size());
    for (const std::uint32_t relation : access_.InTurn(census_.connectsPorts)) {
        ValueCursor arguments = access_.Arguments(relation);
        arguments.Skip(4);
        const std::uint32_t first = access_.Follow(arguments.Next());
        const std::uint32_t second = access_.Follow(arguments.Next());
        const auto owned = [&](std::uint32_t port) {
            return access_.RoleOf(port) == Role::Port && slot_[port] != kNoIndex &&
                   input_.ports[slot_[port]].element != kNoIndex;
        };
        if (!owned(first) || !owned(second) ||
            input_.ports[slot_[first]].element == input_.ports[slot_[second]].element) {
            ++model_.counts.unusableConnections;
            if (log_.Keeps(DiagnosticCode::BadPort)) {
                log_.Add(Severity::Warning, DiagnosticCode::BadPort, file_.Offset(relation),
                         "Connection #" + std::to_string(file_.Id(relation)) +
                             " does not join ports of two elements; it is not used.");
            } else {
                log_.Count(Severity::Warning);
            }
            continue;
        }
        input_.stated.push_back({slot_[first], slot_[second], file_.Offset(relation)});
    }
}

// Returns: mm; 0 when the set names no diameter.
double ModelReader::DiameterInSet(std::uint32_t propertySet) const {
    if (access_.ShapeOf(propertySet) != Shape::PropertySet) {
        return 0.0;
    }
    double diameter = 0.0;
    ForEach(access_, access_.Argument(propertySet, 4), [&](std::uint32_t property) {
        const Shape shape = access_.ShapeOf(property);
        if (diameter > 0.0 || (shape != Shape::PropertySingleValue && shape != Shape::PropertyListValue &&
                               shape != Shape::PropertyBoundedValue)) {
            return;
        }
        ValueCursor arguments = access_.Arguments(property);
        const std::string_view name = arguments.Next().text;
        if (name != "NominalDiameter" && name != "DN" && name != "Nominal Diameter" && name != "Nennweite") {
            return;
        }
        arguments.Skip(1);
        Value value = arguments.Next();
        if (shape == Shape::PropertyListValue) {
            value = Members(value).Next();
        }
        if (const std::optional<double> number = value.Number()) {
            // A vendor's plain number is what stands in the catalogue: millimetres.
            const bool isLength = value.TypeName().ends_with("LENGTHMEASURE") || name == "NominalDiameter";
            diameter = *number * (isLength ? units_.toMillimetres : 1.0);
        } else {
            const std::string text = value.Text(kMaxTextBytes);
            diameter = DiameterInName(text.starts_with("DN") ? text : "DN" + text);
        }
        diameter = std::isfinite(diameter) && diameter > 0.0 ? diameter : 0.0;
    });
    return diameter;
}

// Returns: the word under which a property set says how ends are joined; empty when it does not say.
std::string_view ModelReader::ConnectionTypeInSet(std::uint32_t propertySet) {
    if (access_.ShapeOf(propertySet) != Shape::PropertySet) {
        return {};
    }
    std::string_view type;
    ForEach(access_, access_.Argument(propertySet, 4), [&](std::uint32_t property) {
        const Shape shape = access_.ShapeOf(property);
        if (!type.empty() || (shape != Shape::PropertySingleValue && shape != Shape::PropertyEnumeratedValue)) {
            return;
        }
        ValueCursor arguments = access_.Arguments(property);
        const Value name = arguments.Next();
        if (name.text != "ConnectionType" && name.Text(kMaxTextBytes) != "连接方式") {
            return;
        }
        arguments.Skip(1);
        Value value = arguments.Next();
        if (shape == Shape::PropertyEnumeratedValue) {
            value = Members(value).Next();
        }
        const std::string_view word = Text(value.Untyped());
        type = SaysNoConnection(word) ? std::string_view() : word;
    });
    return type;
}

// Returns: as DiameterInSet(), which sets that many relations or types share are not read for again and again.
double ModelReader::DiameterOfSet(std::uint32_t propertySet) {
    if (!askedSets_.IsSecond(propertySet)) {
        return DiameterInSet(propertySet);
    }
    SetContent& content = sets_[propertySet];
    if (!content.diameter) {
        content.diameter = DiameterInSet(propertySet);
    }
    return *content.diameter;
}

void ModelReader::AddConnectionType(std::uint32_t element, std::string_view type) {
    std::string_view& known = model_.elements[element].connectionType;
    if (type.empty() || known == type) {
        return;
    }
    if (known.empty()) {
        known = type;
    } else {
        otherTypes_.push_back({element, type});
    }
}

// Puts together what several sets say of one element.
void ModelReader::JoinConnectionTypes() {
    std::stable_sort(otherTypes_.begin(), otherTypes_.end(),
                     [](const OtherType& a, const OtherType& b) { return a.element < b.element; });
    std::set<std::string_view> types;
    const auto addAll = [&](std::string_view list) {
        while (!list.empty()) {
            const std::size_t comma = std::min(list.find(','), list.size());
            types.insert(list.substr(0, comma));
            list.remove_prefix(std::min(comma + 1, list.size()));
        }
    };
    for (std::size_t i = 0; i < otherTypes_.size(); ++i) {
        Element& element = model_.elements[otherTypes_[i].element];
        addAll(otherTypes_[i].type);
        if (i + 1 < otherTypes_.size() && otherTypes_[i + 1].element == otherTypes_[i].element) {
            continue;
        }
        addAll(element.connectionType);
        std::string joined;
        for (const std::string_view one : types) {
            joined += joined.empty() ? "" : ",";
            joined += one;
        }
        element.connectionType = model_.texts.Intern(joined);
        types.clear();
    }
    std::vector<OtherType>().swap(otherTypes_);
}

// Most sets hold neither a diameter nor a connection type, so a set is only read when somebody misses something.
void ModelReader::ReadProperties() {
    for (const std::uint32_t relation : access_.InTurn(census_.byProperties)) {
        ValueCursor arguments = access_.Arguments(relation);
        arguments.Skip(4);
        const Value objects = arguments.Next();
        const std::uint32_t set = access_.Follow(arguments.Next());
        if (access_.ShapeOf(set) != Shape::PropertySet) {
            ForEach(access_, objects, [](std::uint32_t) {});
            continue;
        }
        SetContent ownContent;
        SetContent& content = askedSets_.IsSecond(set) ? sets_[set] : ownContent;
        ForEach(access_, objects, [&](std::uint32_t instance) { ReadPropertiesOf(instance, set, content); });
    }
    JoinConnectionTypes();
}

// What a property set says of one of those that it belongs to.
void ModelReader::ReadPropertiesOf(std::uint32_t instance, std::uint32_t set, SetContent& content) {
    const Role role = access_.RoleOf(instance);
    if ((role != Role::Element && role != Role::Port) || slot_[instance] == kNoIndex) {
        return;
    }
    const std::uint32_t owner = role == Role::Port ? input_.ports[slot_[instance]].element : slot_[instance];
    if (owner == kNoIndex) {
        return;
    }
    Element& element = model_.elements[owner];
    if (role == Role::Port || element.kind == ElementKind::Segment) {
        if (!content.connectionType) {
            content.connectionType = ConnectionTypeInSet(set);
        }
        AddConnectionType(owner, *content.connectionType);
    }
    const bool inLine = element.kind == ElementKind::Segment || element.kind == ElementKind::Fitting ||
                        element.kind == ElementKind::InlineDevice;
    if (role == Role::Element && inLine && element.nominalDiameter <= 0.0) {
        if (!content.diameter) {
            content.diameter = DiameterInSet(set);
        }
        element.nominalDiameter = *content.diameter;
    }
}

// After the properties of elements: what their types and names say.
void ModelReader::ReadDiameters() {
    for (std::size_t i = 0; i < model_.elements.size(); ++i) {
        Element& element = model_.elements[i];
        const auto take = [&](double diameter) {
            element.nominalDiameter = element.nominalDiameter > 0.0 ? element.nominalDiameter : diameter;
        };
        if (element.kind == ElementKind::Terminal || element.kind == ElementKind::Other) {
            continue;
        }
        take(drafts_[i].type == kNoIndex ? 0.0 : types_[drafts_[i].type].nominalDiameter);
        take(DiameterInName(element.typeName));
        take(DiameterInName(drafts_[i].objectType));
        take(DiameterInName(element.name));
    }
}

void ModelReader::ReadShapes(const Access& access, DiagnosticLog& log) {
    Placements placements(access, units_, log);
    ShapeReader shapes(access, placements, log);
    const std::size_t count = model_.elements.size();
    input_.bodies.resize(count);
    input_.origins.resize(count);
    input_.hasOrigin.assign(count, false);
    input_.radii.assign(count, 0.0);
    for (std::size_t i = 0; i < count; ++i) {
        Element& element = model_.elements[i];
        std::optional<Transform> frame;
        if (drafts_[i].placement != kNoInstance) {
            frame = placements.World(drafts_[i].placement);
        }
        if (!frame) {
            continue;
        }
        input_.hasOrigin[i] = true;
        input_.origins[i] = frame->origin;
        const ElementShape shape = shapes.Read(drafts_[i].definition, *frame, element.kind == ElementKind::Segment);
        element.box = shape.box;
        // An origin that lies in the body tells more than its middle (the node of a bend); one far outside tells
        // nothing.
        const bool outside = !shape.box.IsEmpty() && !shape.box.Grown(1.0).Contains(frame->origin);
        element.position = outside ? shape.box.Centre() : frame->origin;
        input_.bodies[i] = shape.body;
        if (element.kind == ElementKind::Segment) {
            element.ends = shape.run.evidence;
            element.start = shape.run.start;
            element.end = shape.run.end;
            element.length = shape.run.length;
            input_.radii[i] = shape.run.radius;
            const TypeInfo* type = drafts_[i].type == kNoIndex ? nullptr : &types_[drafts_[i].type];
            const bool isPipe =
                access.Info(drafts_[i].instance).key == "PipeSegment" ||
                (type != nullptr && type->elementClass != nullptr && type->elementClass->key == "PipeSegment");
            const bool byBox = shape.run.radius <= 0.0 && isPipe;
            element.outerDiameter = byBox ? WidthOfPipe(shape.box) : 2.0 * shape.run.radius;
            if (element.ends == EndEvidence::None) {
                element.start = element.end = element.position;
            }
        }
    }
    shapeSteps_ = shapes.Steps();
    input_.parts = shapes.TakeParts();
}

NamedCategory ModelReader::NamedAs(std::string_view name) {
    if (name.empty()) {
        return {};
    }
    const auto [place, isNew] = namedAs_.try_emplace(name);
    if (isNew) {
        place->second = categories_.OfName(name);
    }
    return place->second;
}

// Thousands of elements have the same class and type.
CategoryPath ModelReader::OfClass(std::string_view key, std::string_view predefinedType) {
    const auto [place, isNew] = ofClass_.try_emplace({key.data(), key.size(), predefinedType});
    if (isNew) {
        place->second = categories_.OfClass(key, predefinedType);
    }
    return place->second;
}

std::string_view ModelReader::SystemSpecialty(std::uint32_t element) {
    const Element& one = model_.elements[element];
    for (std::uint32_t i = 0; i < one.systemCount; ++i) {
        const std::string_view specialty = systemSpecialties_[model_.systemsOfElements[one.firstSystem + i]].byType;
        if (!specialty.empty()) {
            return specialty;
        }
    }
    if (!drafts_[element].portSystemType.empty()) {
        const std::string_view byPort = categories_.OfSystemType(drafts_[element].portSystemType);
        if (!byPort.empty()) {
            return byPort;
        }
    }
    for (std::uint32_t i = 0; i < one.systemCount; ++i) {
        const std::string_view specialty =
            systemSpecialties_[model_.systemsOfElements[one.firstSystem + i]].byTypeOrName;
        if (!specialty.empty()) {
            return specialty;
        }
    }
    return {};
}

void ModelReader::Categorise() {
    for (std::uint32_t i = 0; i < model_.elements.size(); ++i) {
        CategoriseOne(i);
    }
}

void ModelReader::CategoriseOne(std::uint32_t index) {
    Element& element = model_.elements[index];
    const Draft& draft = drafts_[index];
    const TypeInfo* type = draft.type == kNoIndex ? nullptr : &types_[draft.type];
    std::string_view predefined = draft.predefinedType;
    if (SaysNothing(predefined) && type != nullptr) {
        predefined = type->predefinedType;
    }
    std::string_view key = access_.Info(draft.instance).key;
    if (type != nullptr && type->elementClass != nullptr && IsGeneric(key)) {
        key = type->elementClass->key;
    }
    CategoryPath path = OfClass(key, predefined);
    NamedCategory named;
    if (SaysNothing(predefined)) {
        for (const std::string_view name : {element.typeName, draft.objectType, WithoutNumber(element.name)}) {
            if (named.path.specialty.empty()) {
                named = NamedAs(name);
            }
        }
    }
    const bool takesAll =
        element.kind != ElementKind::Segment && (element.kind != ElementKind::Fitting || named.wholeName);
    if (takesAll) {
        path.category = named.path.category.empty() ? path.category : named.path.category;
        path.subCategory = named.path.subCategory.empty() ? path.subCategory : named.path.subCategory;
        element.kind = named.kind.value_or(element.kind);
    }
    path.specialty = named.path.specialty.empty() ? path.specialty : named.path.specialty;
    const std::string_view bySystem = SystemSpecialty(index);
    path.specialty = bySystem.empty() ? path.specialty : bySystem;

    constexpr std::string_view kUnfiled = "未分类";
    const auto kept = [&](std::string_view part) { return part.empty() ? kUnfiled : model_.texts.Intern(part); };
    element.specialty = kept(path.specialty);
    element.category = kept(path.category);
    element.subCategory = kept(path.subCategory);
    element.detailName = DetailName(index);
}

std::string_view ModelReader::DetailName(std::uint32_t index) {
    const Element& element = model_.elements[index];
    std::string name(element.typeName);
    if (name.empty()) {
        name = drafts_[index].objectType;
    }
    if (name.empty()) {
        name = element.name.substr(0, element.name.find(':'));
    }
    if (DiameterInName(name) == 0.0) {
        std::string size;
        if (element.nominalDiameter > 0.0) {
            size = "DN" + ShortNumber(element.nominalDiameter);
        } else if (element.outerDiameter > 0.0) {
            size = "D" + ShortNumber(element.outerDiameter);
        }
        name += (name.empty() || size.empty() ? "" : " ") + size;
    }
    if (name.empty()) {
        name = element.subCategory;
    }
    std::replace(name.begin(), name.end(), '\\', '/');
    return model_.texts.Intern(name);
}

// By what the classes of the file say, whatever the elements were taken for in the end.
void ModelReader::CountElements() {
    Counts& counts = model_.counts;
    for (const Draft& draft : drafts_) {
        switch (access_.Info(draft.instance).kind) {
            case ElementKind::Segment:
                ++counts.segments;
                break;
            case ElementKind::Fitting:
                ++counts.fittings;
                break;
            case ElementKind::InlineDevice:
                ++counts.inlineDevices;
                break;
            case ElementKind::Equipment:
                ++counts.equipment;
                break;
            case ElementKind::Terminal:
                ++counts.terminals;
                break;
            case ElementKind::Other:
                ++counts.others;
                break;
        }
    }
    counts.otherProducts = census_.otherProducts;
}

void ModelReader::MarkRepeatedGlobalIds(DiagnosticLog& log) {
    // Hardly any model has one, and looking for it takes a tenth of the sort that tells which.
    if (!HasRepeatedGlobalId(model_.elements)) {
        return;
    }
    std::vector<std::uint32_t> order(model_.elements.size());
    std::iota(order.begin(), order.end(), 0U);
    const auto key = [&](std::uint32_t i) { return model_.elements[i].globalId; };
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) { return key(a) < key(b); });
    for (std::size_t i = 1; i < order.size(); ++i) {
        if (key(order[i]) != key(order[i - 1]) || key(order[i]).empty()) {
            continue;
        }
        model_.elements[order[i]].globalIdRepeats = true;
        model_.elements[order[i - 1]].globalIdRepeats = true;
        if (!log.Keeps(DiagnosticCode::RepeatedGlobalId)) {
            log.Count(Severity::Warning);
            continue;
        }
        log.Add(Severity::Warning, DiagnosticCode::RepeatedGlobalId, file_.Offset(drafts_[order[i]].instance),
                "The GlobalId " + std::string(key(order[i])) + " of #" + std::to_string(model_.elements[order[i]].id) +
                    " is also that of #" + std::to_string(model_.elements[order[i - 1]].id) + ".");
    }
}

}  // namespace norvex::ifc
