// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Model.h"

#include <array>
#include <cassert>
#include <cmath>

namespace norvex::samples {
namespace {

constexpr Vector kUp{0.0, 0.0, 1.0};
constexpr Vector kAlongX{1.0, 0.0, 0.0};

// Digits that make two descriptions the same type, direction or placement.
constexpr int kIdentityDecimals = 9;

std::string_view FlowName(Flow flow) {
    switch (flow) {
        case Flow::Sink:
            return "SINK";
        case Flow::Source:
            return "SOURCE";
        case Flow::Both:
            break;
    }
    return "SOURCEANDSINK";
}

std::string VectorText(const Vector& vector) {
    return EncodeStepReal(vector.x, kIdentityDecimals) + "," + EncodeStepReal(vector.y, kIdentityDecimals) + "," +
           EncodeStepReal(vector.z, kIdentityDecimals);
}

std::string IdentityText(const PartType& type) {
    std::string text = type.className + "|" + type.predefined + "|" + type.name;
    for (const Solid& solid : type.solids) {
        text += "|" + SectionText(solid.section) + VectorText(solid.frame.origin) + VectorText(solid.frame.z) +
                EncodeStepReal(solid.depth, kIdentityDecimals);
    }
    for (const LocalPort& port : type.ports) {
        text += "|" + VectorText(port.point);
    }
    return text;
}

// Returns: a frame whose z axis runs from `from` to `to` and whose x axis is horizontal.
Frame AlongRun(const Vector& from, const Vector& to) {
    Frame frame;
    frame.origin = from;
    frame.z = Unit(to - from);
    const Vector across = Cross(kUp, frame.z);
    frame.x = Length(across) > 1e-9 ? Unit(across) : kAlongX;
    frame.y = Cross(frame.z, frame.x);
    return frame;
}

}  // namespace

Model::Model(std::ostream& out, LengthUnit unit, PortStyle ports, const Key& root)
    : writer_(out), unit_(unit), portStyle_(ports), root_(root) {
}

double Model::Scaled(double millimetres) const {
    return unit_ == LengthUnit::Metre ? millimetres * 0.001 : millimetres;
}

int Model::Decimals() const {
    // A nanometre either way: far below every tolerance, and no noise of the last bits in the file.
    return unit_ == LengthUnit::Metre ? 9 : 6;
}

Id Model::Point(const Vector& point) {
    return writer_.Begin("IFCCARTESIANPOINT")
        .Reals(std::array{Scaled(point.x), Scaled(point.y), Scaled(point.z)}, Decimals())
        .End();
}

Id Model::Direction(const Vector& direction) {
    // Twelve digits keep the far end of a 100 m run within a tenth of a nanometre.
    const std::array ratios{direction.x, direction.y, direction.z};
    Id& id = directions_[VectorText(direction)];
    if (id == 0) {
        id = writer_.Begin("IFCDIRECTION").Reals(ratios, 12).End();
    }
    return id;
}

Id Model::Axes(const Vector& origin, const Vector& z, const Vector& x) {
    const Id axis = Direction(z);
    const Id reference = Direction(x);
    const Id point = Point(origin);
    return writer_.Begin("IFCAXIS2PLACEMENT3D").Reference(point).Reference(axis).Reference(reference).End();
}

Id Model::SharedAxes(const Vector& origin) {
    Id& id = axes_[VectorText(origin)];
    if (id == 0) {
        const Id point = Point(origin);
        id = writer_.Begin("IFCAXIS2PLACEMENT3D").Reference(point).Null().Null().End();
    }
    return id;
}

Id Model::Profile(const Section& section) {
    Id& id = profiles_[VectorText({section.width, section.height, 0.0})];
    if (id == 0 && section.IsRound()) {
        id = writer_.Begin("IFCCIRCLEPROFILEDEF")
                 .Enumerator("AREA")
                 .Null()
                 .Null()
                 .Real(Scaled(section.width * 0.5), Decimals())
                 .End();
    } else if (id == 0) {
        id = writer_.Begin("IFCRECTANGLEPROFILEDEF")
                 .Enumerator("AREA")
                 .Null()
                 .Null()
                 .Real(Scaled(section.width), Decimals())
                 .Real(Scaled(section.height), Decimals())
                 .End();
    }
    return id;
}

Id Model::Extrusion(const Solid& solid) {
    const Id profile = Profile(solid.section);
    Id& axes =
        axes_[VectorText(solid.frame.origin) + "/" + VectorText(solid.frame.z) + "/" + VectorText(solid.frame.x)];
    if (axes == 0) {
        axes = Axes(solid.frame.origin, solid.frame.z, solid.frame.x);
    }
    const Id up = Direction(kUp);
    return writer_.Begin("IFCEXTRUDEDAREASOLID")
        .Reference(profile)
        .Reference(axes)
        .Reference(up)
        .Real(Scaled(solid.depth), Decimals())
        .End();
}

void Model::BeginRoot(std::string_view className, const Key& key, std::string_view name) {
    writer_.Begin(className).Raw("'" + key.GlobalId() + "'").Reference(history_).Text(name);
}

Id Model::LengthUnitInstance() {
    writer_.Begin("IFCSIUNIT").Derived().Enumerator("LENGTHUNIT");
    if (unit_ == LengthUnit::Millimetre) {
        writer_.Enumerator("MILLI");
    } else {
        writer_.Null();
    }
    return writer_.Enumerator("METRE").End();
}

Id Model::SubContext(std::string_view name) {
    return writer_.Begin("IFCGEOMETRICREPRESENTATIONSUBCONTEXT")
        .Text(name)
        .Text("Model")
        .Raw("*,*,*,*")
        .Reference(context_)
        .Null()
        .Enumerator("MODEL_VIEW")
        .Null()
        .End();
}

void Model::WriteOwnerHistory() {
    const Id organization = writer_.Begin("IFCORGANIZATION").Null().Text("norvex-sample").Null().Null().Null().End();
    const Id person =
        writer_.Begin("IFCPERSON").Null().Text("norvex-sample").Null().Null().Null().Null().Null().Null().End();
    const Id user = writer_.Begin("IFCPERSONANDORGANIZATION").Reference(person).Reference(organization).Null().End();
    const Id application = writer_.Begin("IFCAPPLICATION")
                               .Reference(organization)
                               .Text("1")
                               .Text("Sample building generator")
                               .Text("norvex-sample")
                               .End();
    // The creation date is 2024-01-01, as in the header, and stays so.
    history_ = writer_.Begin("IFCOWNERHISTORY")
                   .Reference(user)
                   .Reference(application)
                   .Null()
                   .Enumerator("NOCHANGE")
                   .Null()
                   .Null()
                   .Null()
                   .Integer(1704067200)
                   .End();
}

Id Model::WriteUnits() {
    std::vector<Id> units;
    units.push_back(LengthUnitInstance());
    constexpr std::array<std::array<std::string_view, 2>, 5> kUnits{{{"AREAUNIT", "SQUARE_METRE"},
                                                                     {"VOLUMEUNIT", "CUBIC_METRE"},
                                                                     {"PLANEANGLEUNIT", "RADIAN"},
                                                                     {"TIMEUNIT", "SECOND"},
                                                                     {"PRESSUREUNIT", "PASCAL"}}};
    for (const auto& unit : kUnits) {
        units.push_back(writer_.Begin("IFCSIUNIT").Derived().Enumerator(unit[0]).Null().Enumerator(unit[1]).End());
    }
    return writer_.Begin("IFCUNITASSIGNMENT").References(units).End();
}

void Model::Begin(std::string_view fileName, std::string_view buildingName) {
    writer_.Header(fileName, "");
    WriteOwnerHistory();
    const Id units = WriteUnits();
    const Id axes = SharedAxes({});
    context_ = writer_.Begin("IFCGEOMETRICREPRESENTATIONCONTEXT")
                   .Null()
                   .Text("Model")
                   .Integer(3)
                   .Raw("1.E-5")
                   .Reference(axes)
                   .Null()
                   .End();
    bodyContext_ = SubContext("Body");
    BeginRoot("IFCPROJECT", root_.Child("project"), buildingName);
    const Id project = writer_.Null().Null().Null().Null().References(std::array{context_}).Reference(units).End();
    const Id sitePlacement = writer_.Begin("IFCLOCALPLACEMENT").Null().Reference(axes).End();
    BeginRoot("IFCSITE", root_.Child("site"), "Site 场地");
    const Id site =
        writer_.Null().Null().Reference(sitePlacement).Null().Null().Enumerator("ELEMENT").Raw("$,$,$,$,$").End();
    buildingPlacement_ = writer_.Begin("IFCLOCALPLACEMENT").Reference(sitePlacement).Reference(axes).End();
    BeginRoot("IFCBUILDING", root_.Child("building"), buildingName);
    building_ =
        writer_.Null().Null().Reference(buildingPlacement_).Null().Null().Enumerator("ELEMENT").Raw("$,$,$").End();
    BeginRoot("IFCRELAGGREGATES", root_.Child("site of project"), "");
    writer_.Null().Reference(project).References(std::array{site}).End();
    BeginRoot("IFCRELAGGREGATES", root_.Child("building of site"), "");
    writer_.Null().Reference(site).References(std::array{building_}).End();
}

std::size_t Model::AddStorey(std::string_view name, std::string_view longName, double elevation) {
    Storey storey;
    storey.name = name;
    storey.elevation = elevation;
    const Id axes = SharedAxes({0.0, 0.0, elevation});
    storey.placement = writer_.Begin("IFCLOCALPLACEMENT").Reference(buildingPlacement_).Reference(axes).End();
    BeginRoot("IFCBUILDINGSTOREY", root_.Child("storey", storeys_.size()), name);
    storey.id = writer_.Null()
                    .Null()
                    .Reference(storey.placement)
                    .Null()
                    .Text(longName)
                    .Enumerator("ELEMENT")
                    .Real(Scaled(elevation), Decimals())
                    .End();
    storeys_.push_back(std::move(storey));
    return storeys_.size() - 1;
}

std::size_t Model::AddSystem(const Key& key, std::string_view name, std::string_view predefined) {
    BeginRoot("IFCDISTRIBUTIONSYSTEM", key, name);
    const Id id = writer_.Null().Null().Null().Enumerator(predefined).End();
    systems_.push_back({id, key, {}});
    return systems_.size() - 1;
}

Id Model::PlacementIn(std::size_t storey, const Frame& frame) {
    const bool placed = storey != kNoStorey;
    Vector origin = frame.origin;
    if (placed) {
        origin.z -= storeys_[storey].elevation;
    }
    const Id axes = Axes(origin, frame.z, frame.x);
    return writer_.Begin("IFCLOCALPLACEMENT")
        .Reference(placed ? storeys_[storey].placement : buildingPlacement_)
        .Reference(axes)
        .End();
}

Id Model::PropertySet(const Key& key, std::string_view set, std::string_view property, double value, bool asList) {
    const std::string measure = "IFCPOSITIVELENGTHMEASURE(" + EncodeStepReal(Scaled(value), Decimals()) + ")";
    const Id propertyId =
        asList ? writer_.Begin("IFCPROPERTYLISTVALUE").Text(property).Null().Raw("(" + measure + ")").Null().End()
               : writer_.Begin("IFCPROPERTYSINGLEVALUE").Text(property).Null().Raw(measure).Null().End();
    BeginRoot("IFCPROPERTYSET", key.Child(set), set);
    return writer_.Null().References(std::array{propertyId}).End();
}

Model::WrittenType& Model::TypeOf(const PartType& type) {
    std::string identity = IdentityText(type);
    const auto [found, isNew] = typeIndex_.try_emplace(std::move(identity), types_.size());
    if (!isNew) {
        return types_[found->second];
    }
    WrittenType written;
    written.key = root_.Child("type").Child(found->first);
    std::vector<Id> solids;
    for (const Solid& solid : type.solids) {
        solids.push_back(Extrusion(solid));
    }
    const Id shape = writer_.Begin("IFCSHAPEREPRESENTATION")
                         .Reference(bodyContext_)
                         .Text("Body")
                         .Text("SweptSolid")
                         .References(solids)
                         .End();
    written.map = writer_.Begin("IFCREPRESENTATIONMAP").Reference(SharedAxes({})).Reference(shape).End();
    Id set = 0;
    if (!type.propertySet.empty()) {
        set = PropertySet(written.key, type.propertySet, type.property, type.propertyValue, false);
    }
    BeginRoot(type.className + "TYPE", written.key, type.name);
    writer_.Null().Null();
    if (set == 0) {
        writer_.Null();
    } else {
        writer_.References(std::array{set});
    }
    written.id = writer_.References(std::array{written.map}).Null().Null().Enumerator(type.predefined).End();
    for (const LocalPort& port : type.ports) {
        written.portPlacements.push_back(portStyle_ == PortStyle::None ? 0 : SharedAxes(port.point));
    }
    types_.push_back(std::move(written));
    return types_.back();
}

Model::WrittenType& Model::TypeOf(const SegmentStyle& style, const Section& section) {
    const std::string name = style.withSection ? style.name + " " + SectionText(section) : style.name;
    const auto [found, isNew] = typeIndex_.try_emplace(style.className + "|" + name, types_.size());
    if (!isNew) {
        return types_[found->second];
    }
    WrittenType written;
    written.key = root_.Child("type").Child(found->first);
    Id set = 0;
    if (style.withSection && section.IsRound()) {
        set = PropertySet(
            written.key,
            style.className == "IFCPIPESEGMENT" ? "Pset_PipeSegmentTypeCommon" : "Pset_DuctSegmentTypeCommon",
            style.className == "IFCPIPESEGMENT" ? "NominalDiameter" : "NominalDiameterOrWidth", section.nominal,
            style.className == "IFCPIPESEGMENT");
    }
    BeginRoot(style.className + "TYPE", written.key, name);
    writer_.Null().Null();
    if (set == 0) {
        writer_.Null();
    } else {
        writer_.References(std::array{set});
    }
    written.id = writer_.Null().Null().Null().Enumerator(style.predefined).End();
    types_.push_back(std::move(written));
    return types_.back();
}

Id Model::Element(std::string_view className, std::string_view predefined, const Key& key, std::string_view name,
                  Id placement, Id shape, std::size_t storey) {
    BeginRoot(className, key, name);
    const Id id = writer_.Null().Null().Reference(placement).Reference(shape).Null().Enumerator(predefined).End();
    if (storey != kNoStorey) {
        storeys_[storey].elements.push_back(id);
    }
    ++elements_;
    return id;
}

void Model::WritePorts(Part& part, const Key& key, Id placement, const std::vector<LocalPort>& ports,
                       const std::vector<Id>& axes) {
    if (portStyle_ == PortStyle::None || ports.empty()) {
        return;
    }
    std::vector<Id> ids;
    for (std::size_t index = 0; index < ports.size(); ++index) {
        const Id portPlacement = writer_.Begin("IFCLOCALPLACEMENT").Reference(placement).Reference(axes[index]).End();
        BeginRoot("IFCDISTRIBUTIONPORT", part.ports[index].key, "P" + std::to_string(index + 1));
        ids.push_back(writer_.Null()
                          .Null()
                          .Reference(portPlacement)
                          .Null()
                          .Enumerator(FlowName(ports[index].flow))
                          .Enumerator(ports[index].portType)
                          .Enumerator(ports[index].systemType)
                          .End());
        part.ports[index].id = ids.back();
    }
    if (portStyle_ == PortStyle::Nested) {
        BeginRoot("IFCRELNESTS", key.Child("nest"), "");
        writer_.Null().Reference(part.id).References(ids).End();
        return;
    }
    for (std::size_t index = 0; index < ids.size(); ++index) {
        BeginRoot("IFCRELCONNECTSPORTTOELEMENT", key.Child("nest", index), "");
        writer_.Null().Reference(ids[index]).Reference(part.id).End();
    }
}

Part Model::Place(const PartType& type, const Key& key, std::string_view name, const Frame& frame, std::size_t storey) {
    WrittenType& written = TypeOf(type);
    const Id placement = PlacementIn(storey, frame);
    if (mapTarget_ == 0) {
        const Id origin = Point({});
        mapTarget_ =
            writer_.Begin("IFCCARTESIANTRANSFORMATIONOPERATOR3D").Null().Null().Reference(origin).Null().Null().End();
    }
    const Id item = writer_.Begin("IFCMAPPEDITEM").Reference(written.map).Reference(mapTarget_).End();
    const Id body = writer_.Begin("IFCSHAPEREPRESENTATION")
                        .Reference(bodyContext_)
                        .Text("Body")
                        .Text("MappedRepresentation")
                        .References(std::array{item})
                        .End();
    const Id shape = writer_.Begin("IFCPRODUCTDEFINITIONSHAPE").Null().Null().References(std::array{body}).End();
    Part part;
    part.globalId = key.GlobalId();
    part.id = Element(type.className, type.predefined, key, name, placement, shape, storey);
    written.occurrences.push_back(part.id);
    for (std::size_t index = 0; index < type.ports.size(); ++index) {
        const LocalPort& port = type.ports[index];
        part.ports.push_back({0, key.Child("port", index), frame.ToWorld(port.point),
                              frame.DirectionToWorld(port.direction), port.section, port.flow});
    }
    WritePorts(part, key, placement, type.ports, written.portPlacements);
    return part;
}

Part Model::Segment(const SegmentStyle& style, const Key& key, const Port& from, const Port& to, std::size_t storey) {
    WrittenType& written = TypeOf(style, from.section);
    const Frame frame = AlongRun(from.point, to.point);
    const double length = Length(to.point - from.point);
    const Id placement = PlacementIn(storey, frame);
    Id item = 0;
    if (style.withSection) {
        const Id profile = Profile(from.section);
        const Id axes = SharedAxes({});
        const Id up = Direction(kUp);
        item = writer_.Begin("IFCEXTRUDEDAREASOLID")
                   .Reference(profile)
                   .Reference(axes)
                   .Reference(up)
                   .Real(Scaled(length), Decimals())
                   .End();
    } else {
        if (axisContext_ == 0) {
            axisContext_ = SubContext("Axis");
        }
        const std::array points{Point({}), Point({0.0, 0.0, length})};
        item = writer_.Begin("IFCPOLYLINE").References(points).End();
    }
    const Id shapeItem = writer_.Begin("IFCSHAPEREPRESENTATION")
                             .Reference(style.withSection ? bodyContext_ : axisContext_)
                             .Text(style.withSection ? "Body" : "Axis")
                             .Text(style.withSection ? "SweptSolid" : "Curve3D")
                             .References(std::array{item})
                             .End();
    const Id shape = writer_.Begin("IFCPRODUCTDEFINITIONSHAPE").Null().Null().References(std::array{shapeItem}).End();
    Part part;
    part.globalId = key.GlobalId();
    part.id = Element(style.className, style.predefined, key, style.name, placement, shape, storey);
    written.occurrences.push_back(part.id);
    const std::vector<LocalPort> ports{
        {{}, -kUp, from.section, Opposite(from.flow), style.portType, style.systemType},
        {{0.0, 0.0, length}, kUp, from.section, Opposite(to.flow), style.portType, style.systemType}};
    part.ports = {{0, key.Child("port", 0), from.point, -frame.z, from.section, ports[0].flow},
                  {0, key.Child("port", 1), to.point, frame.z, from.section, ports[1].flow}};
    if (portStyle_ != PortStyle::None) {
        WritePorts(part, key, placement, ports, {SharedAxes({}), SharedAxes({0.0, 0.0, length})});
    }
    if (!style.connectionType.empty()) {
        for (const Port& port : part.ports) {
            portsByConnection_[style.connectionType].push_back(port.id);
        }
    }
    return part;
}

void Model::Connect(const Port& first, const Port& second) {
    if (portStyle_ == PortStyle::None) {
        return;
    }
    // A slip in the layout would make a dishonest building: what is stated to meet does meet.
    assert(Length(first.point - second.point) < 1e-6);
    BeginRoot("IFCRELCONNECTSPORTS", first.key.With(second.key), "");
    writer_.Null().Reference(first.id).Reference(second.id).Null().End();
}

void Model::Assign(const Part& part, std::size_t system) {
    systems_[system].members.push_back(part.id);
}

void Model::WriteConnectionTypes() {
    if (portStyle_ == PortStyle::None) {
        return;
    }
    for (const auto& [type, ports] : portsByConnection_) {
        const Key key = root_.Child("connection type").Child(type);
        const Id property = writer_.Begin("IFCPROPERTYENUMERATEDVALUE")
                                .Text("ConnectionType")
                                .Null()
                                .Raw("(IFCLABEL('" + type + "'))")
                                .Null()
                                .End();
        BeginRoot("IFCPROPERTYSET", key, "Pset_DistributionPortTypePipe");
        const Id set = writer_.Null().References(std::array{property}).End();
        BeginRoot("IFCRELDEFINESBYPROPERTIES", key.Child("defines"), "");
        writer_.Null().References(ports).Reference(set).End();
    }
}

void Model::End() {
    std::vector<Id> storeyIds;
    for (std::size_t index = 0; index < storeys_.size(); ++index) {
        storeyIds.push_back(storeys_[index].id);
        if (!storeys_[index].elements.empty()) {
            BeginRoot("IFCRELCONTAINEDINSPATIALSTRUCTURE", root_.Child("contents of storey", index), "");
            writer_.Null().References(storeys_[index].elements).Reference(storeys_[index].id).End();
        }
    }
    BeginRoot("IFCRELAGGREGATES", root_.Child("storeys of building"), "");
    writer_.Null().Reference(building_).References(storeyIds).End();
    for (const System& system : systems_) {
        BeginRoot("IFCRELASSIGNSTOGROUP", system.key.Child("members"), "");
        writer_.Null().References(system.members).Null().Reference(system.id).End();
        BeginRoot("IFCRELSERVICESBUILDINGS", system.key.Child("services"), "");
        writer_.Null().Reference(system.id).References(std::array{building_}).End();
    }
    for (const WrittenType& type : types_) {
        BeginRoot("IFCRELDEFINESBYTYPE", type.key.Child("occurrences"), "");
        writer_.Null().References(type.occurrences).Reference(type.id).End();
    }
    WriteConnectionTypes();
    writer_.Footer();
}

}  // namespace norvex::samples
