// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"

#include <cstdint>
#include <string_view>

namespace norvex::ifc {

// What this reader does with the instances of a class.
enum class Role : std::uint8_t {
    Ignored,
    Element,
    Proxy,    // an element only when it has ports or belongs to a system
    Product,  // another thing in the building; counted, not read
    Port,
    Storey,
    Spatial,  // site, building, space: a step on the way from an element to its storey
    Project,
    TypeObject,
    System,
    Circuit,
    RelAggregates,
    RelNests,
    RelContained,
    RelReferenced,
    RelByType,
    RelByProperties,
    RelConnectsPorts,
    RelPortToElement,
    RelToGroup,
};

// Classes of shapes, placements, units and properties, as far as they are understood.
enum class Shape : std::uint8_t {
    None,
    Axis2Placement2D,
    Axis2Placement3D,
    LocalPlacement,
    LinearPlacement,
    GridPlacement,
    MappedItem,
    RepresentationMap,
    Transformation,  // IfcCartesianTransformationOperator2D and 3D
    TransformationNonUniform,
    ExtrudedArea,
    RevolvedArea,
    SweptDisk,
    SweptAlongCurve,  // IfcSurfaceCurveSweptAreaSolid, IfcFixedReferenceSweptAreaSolid, IfcSectionedSolidHorizontal
    Brep,             // solids with an outer shell as first argument
    Shell,            // a list of faces as first argument
    SurfaceModel,     // a list of shells as first argument
    Face,
    FaceBound,
    PolyLoop,
    EdgeLoop,
    OrientedEdge,
    EdgeCurve,
    VertexPoint,
    BoundingBox,
    Boolean,
    Csg,
    Block,
    Cylinder,
    Cone,
    Sphere,
    Pyramid,
    TriangulatedFaces,
    PolygonalFaces,
    PointList,
    GeometricSet,
    Polyline,
    IndexedPolyCurve,
    TrimmedCurve,
    CompositeCurve,
    CompositeCurveSegment,
    Line,
    Circle,
    Ellipse,
    BSpline,
    CircleProfile,
    RectangleProfile,
    EllipseProfile,
    ArbitraryProfile,
    DerivedProfile,
    CompositeProfile,
    FlangedProfile,  // I, asymmetric I: width before depth
    SteelProfile,    // U, L, Z, C, T: depth before width
    SiUnit,
    ConversionBasedUnit,
    MeasureWithUnit,
    PropertySet,
    PropertySingleValue,
    PropertyListValue,
    PropertyBoundedValue,
    PropertyEnumeratedValue,
};

struct ClassInfo {
    std::string_view name;  // mixed case: IfcPipeSegment
    Role role = Role::Ignored;
    Shape shape = Shape::None;
    ElementKind kind = ElementKind::Other;  // for elements
    // Name without "Ifc"; for type objects also without "Type": what the category table asks for.
    std::string_view key;
};

// `upperName` as part21::ExchangeFile gives it. Returns: what is known of the class; of unknown ones an info with role
// Ignored and an empty name.
const ClassInfo& InfoOfClass(std::string_view upperName);

// Returns: the element class that a type object of this class describes; null when it describes none that is known.
const ClassInfo* ElementClassOfType(std::string_view upperTypeName);

}  // namespace norvex::ifc
