// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>
#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace norvex::test {

// Writes a small IFC4 file in millimetres: pipes on storeys, in systems.
class PipeModel {
  public:
    using Point = std::array<double, 3>;

    // Pipes that follow lie on it; before the first storey they lie on none.
    PipeModel& Storey(const std::string& name, double elevation) {
        m_storeys.push_back(
            {Add("IFCBUILDINGSTOREY('{}',$,'{}',$,$,#8,$,$,.ELEMENT.,{:.1f})", GlobalId(), name, elevation), {}});
        return *this;
    }

    // Pipes that follow belong to it. The type is an IfcDistributionSystemEnum.
    PipeModel& System(const std::string& name, const std::string& type) {
        m_systems.push_back({Add("IFCDISTRIBUTIONSYSTEM('{}',$,'{}',$,$,$,.{}.)", GlobalId(), name, type), {}});
        return *this;
    }

    PipeModel& Pipe(const Point& start, const Point& end) {
        Point along{};
        double length = 0.0;
        for (std::size_t i = 0; i < 3; ++i) {
            along[i] = end[i] - start[i];
            length += along[i] * along[i];
        }
        length = std::sqrt(length);
        const int origin = Add("IFCCARTESIANPOINT(({:.3f},{:.3f},{:.3f}))", start[0], start[1], start[2]);
        const int axis =
            Add("IFCDIRECTION(({:.6f},{:.6f},{:.6f}))", along[0] / length, along[1] / length, along[2] / length);
        const bool isUpright = along[0] == 0.0 && along[1] == 0.0;
        const int side = Add("IFCDIRECTION(({:.1f},{:.1f},{:.1f}))", isUpright ? 1.0 : 0.0, 0.0, isUpright ? 0.0 : 1.0);
        const int place = Add("IFCLOCALPLACEMENT($,#{})", Add("IFCAXIS2PLACEMENT3D(#{},#{},#{})", origin, axis, side));
        const int solid = Add("IFCEXTRUDEDAREASOLID(#11,#3,#10,{:.3f})", length);
        const int shape = Add("IFCSHAPEREPRESENTATION(#2,'Body','SweptSolid',(#{}))", solid);
        const int pipe = Add("IFCPIPESEGMENT('{}',$,'Pipe',$,$,#{},#{},$,.RIGIDSEGMENT.)", GlobalId(), place,
                             Add("IFCPRODUCTDEFINITIONSHAPE($,$,(#{}))", shape));
        if (!m_storeys.empty()) {
            m_storeys.back().members.push_back(pipe);
        }
        if (!m_systems.empty()) {
            m_systems.back().members.push_back(pipe);
        }
        return *this;
    }

    // A square of four pipes, one metre wide, with a corner at the point.
    PipeModel& Ring(const Point& corner) {
        const auto [x, y, z] = corner;
        return Pipe({x, y, z}, {x + 1000, y, z})
            .Pipe({x + 1000, y, z}, {x + 1000, y + 1000, z})
            .Pipe({x + 1000, y + 1000, z}, {x, y + 1000, z})
            .Pipe({x, y + 1000, z}, {x, y, z});
    }

    // An instance as it stands, for what a test wants to be wrong.
    PipeModel& Line(const std::string& text) {
        m_data += text + "\n";
        return *this;
    }

    std::string Text() {
        std::string storeys;
        for (const Group& storey : m_storeys) {
            storeys += fmt::format("{}#{}", storeys.empty() ? "" : ",", storey.id);
            if (!storey.members.empty()) {
                Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('{}',$,$,$,({}),#{})", GlobalId(), List(storey.members),
                    storey.id);
            }
        }
        if (!storeys.empty()) {
            Add("IFCRELAGGREGATES('{}',$,$,$,#7,({}))", GlobalId(), storeys);
        }
        for (const Group& system : m_systems) {
            if (!system.members.empty()) {
                Add("IFCRELASSIGNSTOGROUP('{}',$,$,$,({}),$,#{})", GlobalId(), List(system.members), system.id);
            }
        }
        return kHead + m_data + "ENDSEC;\nEND-ISO-10303-21;\n";
    }

  private:
    struct Group {
        int id;
        std::vector<int> members;
    };

    template <class... Values>
    int Add(const char* format, const Values&... values) {
        const int id = m_next++;
        m_data += fmt::format("#{}={};\n", id, fmt::format(fmt::runtime(format), values...));
        return id;
    }
    std::string GlobalId() { return fmt::format("0000000000000000{:06}", m_globalIds++); }
    static std::string List(const std::vector<int>& ids) {
        std::string list;
        for (const int id : ids) {
            list += fmt::format("{}#{}", list.empty() ? "" : ",", id);
        }
        return list;
    }

    static constexpr const char* kHeadText =
        "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\nFILE_NAME('','',(''),(''),'','','');\n"
        "FILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n"
        "#1=IFCPROJECT('0000000000000000PROJCT',$,'Test',$,$,$,$,(#2),#5);\n"
        "#2=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,1.E-05,#3,$);\n"
        "#3=IFCAXIS2PLACEMENT3D(#4,$,$);\n"
        "#4=IFCCARTESIANPOINT((0.,0.,0.));\n"
        "#5=IFCUNITASSIGNMENT((#6));\n"
        "#6=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n"
        "#7=IFCBUILDING('0000000000000000BUILDG',$,'House',$,$,#8,$,$,.ELEMENT.,$,$,$);\n"
        "#8=IFCLOCALPLACEMENT($,#3);\n"
        "#9=IFCRELAGGREGATES('0000000000000000AGGREG',$,$,$,#1,(#7));\n"
        "#10=IFCDIRECTION((0.,0.,1.));\n"
        "#11=IFCCIRCLEHOLLOWPROFILEDEF(.AREA.,$,$,25.,2.);\n";
    const std::string kHead = kHeadText;

    std::vector<Group> m_storeys;
    std::vector<Group> m_systems;
    std::string m_data;
    int m_next = 100;
    int m_globalIds = 1;
};

}  // namespace norvex::test
