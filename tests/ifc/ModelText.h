// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/Reader.h"

#include <cmath>
#include <span>
#include <string>
#include <string_view>

namespace norvex::ifc {

// Builds the text of a small IFC4 model in millimetres: one storey, elements at given places.
class ModelText {
  public:
    ModelText() {
        data_ =
            "#1=IFCPROJECT('p',$,'P',$,$,$,$,$,#2);\n#2=IFCUNITASSIGNMENT((#3));\n"
            "#3=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n"
            "#4=IFCBUILDINGSTOREY('s',$,'1F',$,$,$,$,$,.ELEMENT.,0.);\n"
            "#5=IFCDIRECTION((0.,0.,1.));\n#6=IFCDIRECTION((1.,0.,0.));\n";
    }

    // A round pipe from (x, y, z) to (toX, toY, z), drawn as an extrusion of radius 25. Returns: its number.
    int Pipe(double x, double y, double toX, double toY, double z = 0.0, const char* className = "IFCPIPESEGMENT") {
        const double dx = toX - x;
        const double dy = toY - y;
        const std::string length = std::to_string(std::sqrt(dx * dx + dy * dy));
        const int point = Add("IFCCARTESIANPOINT((0.,0.,0.))");
        const int axis = Add("IFCDIRECTION((" + std::to_string(dx) + "," + std::to_string(dy) + ",0.))");
        const int frame = Add("IFCAXIS2PLACEMENT3D(" + Ref(point) + "," + Ref(axis) + ",#5)");
        const int profile = Add("IFCCIRCLEPROFILEDEF(.AREA.,$,$,25.)");
        const int solid = Add("IFCEXTRUDEDAREASOLID(" + Ref(profile) + "," + Ref(frame) + ",#5," + length + ")");
        return Product(className, Placement(x, y, z), Shape("SweptSolid", solid));
    }

    // A box-shaped element of this class, `size` wide in every direction, around its placement.
    int Block(const char* className, double x, double y, double z, double size) {
        const int corner = Add("IFCCARTESIANPOINT((" + std::to_string(-size / 2) + "," + std::to_string(-size / 2) +
                               "," + std::to_string(-size / 2) + "))");
        const std::string length = std::to_string(size);
        const int box = Add("IFCBOUNDINGBOX(" + Ref(corner) + "," + length + "," + length + "," + length + ")");
        return Product(className, Placement(x, y, z), Shape("BoundingBox", box));
    }

    // A port of the element, at a place in the world.
    int Port(int element, double x, double y, double z = 0.0) {
        const int port = Add("IFCDISTRIBUTIONPORT('',$,$,$,$," + Ref(Placement(x, y, z)) + ",$,$,$,$)");
        Add("IFCRELCONNECTSPORTTOELEMENT('',$,$,$," + Ref(port) + "," + Ref(element) + ")");
        return port;
    }

    int Connect(int first, int second) {
        return Add("IFCRELCONNECTSPORTS('',$,$,$," + Ref(first) + "," + Ref(second) + ",$)");
    }

    int Product(const std::string& className, int placement, int shape) {
        const int element = Add(className + "('" + className + std::to_string(next_) + "',$,$,$,$," + Ref(placement) +
                                "," + Ref(shape) + ",$,$)");
        Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('',$,$,$,(" + Ref(element) + "),#4)");
        return element;
    }

    int Placement(double x, double y, double z) {
        const int point =
            Add("IFCCARTESIANPOINT((" + std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(z) + "))");
        const int frame = Add("IFCAXIS2PLACEMENT3D(" + Ref(point) + ",$,$)");
        return Add("IFCLOCALPLACEMENT($," + Ref(frame) + ")");
    }

    int Shape(const std::string& type, int item, const std::string& identifier = "Body") {
        const int representation =
            Add("IFCSHAPEREPRESENTATION($,'" + identifier + "','" + type + "',(" + Ref(item) + "))");
        return Add("IFCPRODUCTDEFINITIONSHAPE($,$,(" + Ref(representation) + "))");
    }

    int Add(const std::string& instance) {
        data_ += Ref(next_) + "=" + instance + ";\n";
        return next_++;
    }

    static std::string Ref(int number) { return "#" + std::to_string(number); }

    std::string Text() const {
        return "ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n" + data_ +
               "ENDSEC;\nEND-ISO-10303-21;\n";
    }

    // Requires: the text is a model.
    BuildingModel Read(const ReadOptions& options = {}) const {
        const std::string text = Text();
        ReadResult result = ReadIfcBytes(std::as_bytes(std::span(text.data(), text.size())), options);
        return std::move(result.model.value());
    }

  private:
    std::string data_;
    int next_ = 10;
};

}  // namespace norvex::ifc
