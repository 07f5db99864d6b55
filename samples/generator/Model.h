// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "samples/generator/Parts.h"

#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace norvex::samples {

enum class LengthUnit { Millimetre, Metre };
enum class PortStyle {
    Nested,   // IfcRelNests, as IFC4 wants it
    Related,  // IfcRelConnectsPortToElement, as IFC2X3 wanted it and many exporters still write it
    None      // no ports and so no stated connections: nothing but shapes
};

// Storey of a part that is contained in none.
inline constexpr std::size_t kNoStorey = static_cast<std::size_t>(-1);

// How a segment is written. All of a segment's names come from its style and section.
struct SegmentStyle {
    std::string className;       // IFCPIPESEGMENT
    std::string predefined;      // RIGIDSEGMENT
    std::string name;            // "给水管 PPR"; the section is added
    std::string portType;        // PIPE
    std::string systemType;      // DOMESTICCOLDWATER
    std::string connectionType;  // how its ends are joined (PEnum_PipeEndStyleTreatment); empty: not said
    // False: drawn as a bare axis, without section in name, shape and property set.
    bool withSection = true;
};

// The building as a file: puts storeys, systems, types, parts, ports and their relations into IFC4 instances while the
// layout places one part after the other. Holds the instance numbers that relations need at the end, and no geometry.
class Model {
  public:
    Model(std::ostream& out, LengthUnit unit, PortStyle ports, const Key& root);

    // Requires: called first, in this order: Begin, then every AddStorey, bottom up.
    void Begin(std::string_view fileName, std::string_view buildingName);
    // `elevation` in millimetres. Returns: the storey's index.
    std::size_t AddStorey(std::string_view name, std::string_view longName, double elevation);
    // Returns: the system's index.
    std::size_t AddSystem(const Key& key, std::string_view name, std::string_view predefined);

    // Places a part. `frame` is in world coordinates. Its GlobalId comes from `key`.
    Part Place(const PartType& type, const Key& key, std::string_view name, const Frame& frame, std::size_t storey);
    // Draws a straight run from one port's point to the other's, with the first one's section; states no connection.
    Part Segment(const SegmentStyle& style, const Key& key, const Port& from, const Port& to, std::size_t storey);
    // States that two ports meet.
    void Connect(const Port& first, const Port& second);
    void Assign(const Part& part, std::size_t system);
    void End();

    const std::string& StoreyName(std::size_t storey) const { return storeys_[storey].name; }
    std::size_t Elements() const { return elements_; }
    Id Instances() const { return writer_.Count(); }

  private:
    struct Storey {
        std::string name;
        double elevation = 0.0;
        Id id = 0;
        Id placement = 0;
        std::vector<Id> elements;
    };
    struct System {
        Id id = 0;
        Key key;
        std::vector<Id> members;
    };
    struct WrittenType {
        Id id = 0;
        Id map = 0;
        Key key;
        std::vector<Id> portPlacements;
        std::vector<Id> occurrences;
    };

    double Scaled(double millimetres) const;
    int Decimals() const;
    Id Point(const Vector& point);
    Id Direction(const Vector& direction);
    Id Axes(const Vector& origin, const Vector& z, const Vector& x);
    Id SharedAxes(const Vector& origin);
    Id Profile(const Section& section);
    Id Extrusion(const Solid& solid);
    Id PlacementIn(std::size_t storey, const Frame& frame);
    void WriteOwnerHistory();
    Id LengthUnitInstance();
    Id WriteUnits();
    Id SubContext(std::string_view name);
    Id PropertySet(const Key& key, std::string_view set, std::string_view property, double value, bool asList);
    WrittenType& TypeOf(const PartType& type);
    WrittenType& TypeOf(const SegmentStyle& style, const Section& section);
    void BeginRoot(std::string_view className, const Key& key, std::string_view name);
    Id Element(std::string_view className, std::string_view predefined, const Key& key, std::string_view name,
               Id placement, Id shape, std::size_t storey);
    void WritePorts(Part& part, const Key& key, Id placement, const std::vector<LocalPort>& ports,
                    const std::vector<Id>& axes);
    void WriteConnectionTypes();

    StepWriter writer_;
    LengthUnit unit_;
    PortStyle portStyle_;
    Key root_;
    Id history_ = 0;
    Id context_ = 0;
    Id bodyContext_ = 0;
    Id axisContext_ = 0;  // written when the first axis is drawn
    Id building_ = 0;
    Id buildingPlacement_ = 0;
    Id mapTarget_ = 0;
    std::vector<Storey> storeys_;
    std::vector<System> systems_;
    std::unordered_map<std::string, Id> directions_;
    std::unordered_map<std::string, Id> axes_;
    std::unordered_map<std::string, Id> profiles_;
    std::unordered_map<std::string, std::size_t> typeIndex_;
    std::vector<WrittenType> types_;
    // Ports of segments by what is said about their ends.
    std::map<std::string, std::vector<Id>> portsByConnection_;
    std::size_t elements_ = 0;
};

}  // namespace norvex::samples
