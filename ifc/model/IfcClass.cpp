// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/IfcClass.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>

namespace norvex::ifc {

namespace {

using enum ElementKind;

struct ElementRow {
    std::string_view name;
    ElementKind kind;
};

// Occurrence classes of IFC2X3, IFC4 and IFC4X3 below IfcDistributionElement. What a class does in a line decides its
// kind; pumps and fans move the medium, so what lies before and behind them is checked as two networks.
constexpr ElementRow kElements[] = {
    {"IfcFlowSegment", Segment},
    {"IfcPipeSegment", Segment},
    {"IfcDuctSegment", Segment},
    {"IfcCableSegment", Segment},
    {"IfcCableCarrierSegment", Segment},
    {"IfcConveyorSegment", Segment},
    {"IfcFlowFitting", Fitting},
    {"IfcPipeFitting", Fitting},
    {"IfcDuctFitting", Fitting},
    {"IfcCableFitting", Fitting},
    {"IfcCableCarrierFitting", Fitting},
    {"IfcJunctionBox", Fitting},
    {"IfcFlowController", InlineDevice},
    {"IfcValve", InlineDevice},
    {"IfcDamper", InlineDevice},
    {"IfcFlowMeter", InlineDevice},
    {"IfcAirTerminalBox", InlineDevice},
    {"IfcSwitchingDevice", InlineDevice},
    {"IfcProtectiveDevice", InlineDevice},
    {"IfcElectricTimeControl", InlineDevice},
    {"IfcFlowTreatmentDevice", InlineDevice},
    {"IfcFilter", InlineDevice},
    {"IfcDuctSilencer", InlineDevice},
    {"IfcInterceptor", InlineDevice},
    {"IfcElectricFlowTreatmentDevice", InlineDevice},
    {"IfcFlowInstrument", InlineDevice},
    {"IfcElectricDistributionBoard", Equipment},
    {"IfcElectricDistributionPoint", Equipment},
    {"IfcDistributionBoard", Equipment},
    {"IfcFlowMovingDevice", Equipment},
    {"IfcPump", Equipment},
    {"IfcFan", Equipment},
    {"IfcCompressor", Equipment},
    {"IfcFlowStorageDevice", Equipment},
    {"IfcTank", Equipment},
    {"IfcElectricFlowStorageDevice", Equipment},
    {"IfcEnergyConversionDevice", Equipment},
    {"IfcAirToAirHeatRecovery", Equipment},
    {"IfcBoiler", Equipment},
    {"IfcBurner", Equipment},
    {"IfcChiller", Equipment},
    {"IfcCoil", Equipment},
    {"IfcCondenser", Equipment},
    {"IfcCooledBeam", Equipment},
    {"IfcCoolingTower", Equipment},
    {"IfcElectricGenerator", Equipment},
    {"IfcElectricMotor", Equipment},
    {"IfcEngine", Equipment},
    {"IfcEvaporativeCooler", Equipment},
    {"IfcEvaporator", Equipment},
    {"IfcHeatExchanger", Equipment},
    {"IfcHumidifier", Equipment},
    {"IfcMotorConnection", Equipment},
    {"IfcSolarDevice", Equipment},
    {"IfcTransformer", Equipment},
    {"IfcTubeBundle", Equipment},
    {"IfcUnitaryEquipment", Equipment},
    {"IfcDistributionChamberElement", Equipment},
    {"IfcFlowTerminal", Terminal},
    {"IfcAirTerminal", Terminal},
    {"IfcAudioVisualAppliance", Terminal},
    {"IfcCommunicationsAppliance", Terminal},
    {"IfcMobileTelecommunicationsAppliance", Terminal},
    {"IfcElectricAppliance", Terminal},
    {"IfcElectricHeater", Terminal},
    {"IfcFireSuppressionTerminal", Terminal},
    {"IfcGasTerminal", Terminal},
    {"IfcLamp", Terminal},
    {"IfcLightFixture", Terminal},
    {"IfcLiquidTerminal", Terminal},
    {"IfcMedicalDevice", Terminal},
    {"IfcOutlet", Terminal},
    {"IfcSanitaryTerminal", Terminal},
    {"IfcSignal", Terminal},
    {"IfcSpaceHeater", Terminal},
    {"IfcStackTerminal", Terminal},
    {"IfcWasteTerminal", Terminal},
    {"IfcActuator", Other},
    {"IfcAlarm", Other},
    {"IfcController", Other},
    {"IfcSensor", Other},
    {"IfcProtectiveDeviceTrippingUnit", Other},
    {"IfcUnitaryControlElement", Other},
    {"IfcDistributionControlElement", Other},
    {"IfcDistributionFlowElement", Other},
    {"IfcDistributionElement", Other},
};

struct RoleRow {
    std::string_view name;
    Role role;
};

constexpr RoleRow kRoles[] = {
    {"IfcBuildingElementProxy", Role::Proxy},
    {"IfcDistributionPort", Role::Port},
    {"IfcPort", Role::Port},
    {"IfcBuildingStorey", Role::Storey},
    {"IfcSite", Role::Spatial},
    {"IfcBuilding", Role::Spatial},
    {"IfcSpace", Role::Spatial},
    {"IfcSpatialZone", Role::Spatial},
    {"IfcExternalSpatialElement", Role::Spatial},
    {"IfcFacility", Role::Spatial},
    {"IfcFacilityPart", Role::Spatial},
    {"IfcFacilityPartCommon", Role::Spatial},
    {"IfcBridge", Role::Spatial},
    {"IfcRoad", Role::Spatial},
    {"IfcRailway", Role::Spatial},
    {"IfcMarineFacility", Role::Spatial},
    {"IfcProject", Role::Project},
    {"IfcSystem", Role::System},
    {"IfcDistributionSystem", Role::System},
    {"IfcElectricalCircuit", Role::Circuit},
    {"IfcDistributionCircuit", Role::Circuit},
    {"IfcRelAggregates", Role::RelAggregates},
    {"IfcRelNests", Role::RelNests},
    {"IfcRelContainedInSpatialStructure", Role::RelContained},
    {"IfcRelReferencedInSpatialStructure", Role::RelReferenced},
    {"IfcRelDefinesByType", Role::RelByType},
    {"IfcRelDefinesByProperties", Role::RelByProperties},
    {"IfcRelConnectsPorts", Role::RelConnectsPorts},
    {"IfcRelConnectsPortToElement", Role::RelPortToElement},
    {"IfcRelAssignsToGroup", Role::RelToGroup},
};

// Walls and their like: a model holds them beside the services, and a reader should say that it passed them over.
constexpr std::string_view kProducts[] = {
    "IfcWall",
    "IfcWallStandardCase",
    "IfcWallElementedCase",
    "IfcSlab",
    "IfcSlabStandardCase",
    "IfcBeam",
    "IfcBeamStandardCase",
    "IfcColumn",
    "IfcMember",
    "IfcMemberStandardCase",
    "IfcPlate",
    "IfcPlateStandardCase",
    "IfcRoof",
    "IfcStair",
    "IfcStairFlight",
    "IfcRamp",
    "IfcRampFlight",
    "IfcRailing",
    "IfcDoor",
    "IfcDoorStandardCase",
    "IfcWindow",
    "IfcWindowStandardCase",
    "IfcCurtainWall",
    "IfcCovering",
    "IfcFooting",
    "IfcPile",
    "IfcFurniture",
    "IfcFurnishingElement",
    "IfcChimney",
    "IfcShadingDevice",
    "IfcBuildingElement",
    "IfcBuiltElement",
    "IfcElementAssembly",
    "IfcTransportElement",
    "IfcGeographicElement",
    "IfcCivilElement",
    "IfcDiscreteAccessory",
    "IfcFastener",
    "IfcMechanicalFastener",
    "IfcReinforcingBar",
    "IfcColumnStandardCase",
    "IfcSystemFurnitureElement",
    "IfcEquipmentElement",
};

struct ShapeRow {
    std::string_view name;
    Shape shape;
};

constexpr ShapeRow kShapes[] = {
    {"IfcAxis2Placement2D", Shape::Axis2Placement2D},
    {"IfcAxis2Placement3D", Shape::Axis2Placement3D},
    {"IfcLocalPlacement", Shape::LocalPlacement},
    {"IfcLinearPlacement", Shape::LinearPlacement},
    {"IfcGridPlacement", Shape::GridPlacement},
    {"IfcMappedItem", Shape::MappedItem},
    {"IfcRepresentationMap", Shape::RepresentationMap},
    {"IfcCartesianTransformationOperator3D", Shape::Transformation},
    {"IfcCartesianTransformationOperator2D", Shape::Transformation},
    {"IfcCartesianTransformationOperator3DnonUniform", Shape::TransformationNonUniform},
    {"IfcExtrudedAreaSolid", Shape::ExtrudedArea},
    {"IfcExtrudedAreaSolidTapered", Shape::ExtrudedArea},
    {"IfcRevolvedAreaSolid", Shape::RevolvedArea},
    {"IfcRevolvedAreaSolidTapered", Shape::RevolvedArea},
    {"IfcSweptDiskSolid", Shape::SweptDisk},
    {"IfcSweptDiskSolidPolygonal", Shape::SweptDisk},
    {"IfcSurfaceCurveSweptAreaSolid", Shape::SweptAlongCurve},
    {"IfcFixedReferenceSweptAreaSolid", Shape::SweptAlongCurve},
    {"IfcDirectrixCurveSweptAreaSolid", Shape::SweptAlongCurve},
    {"IfcDirectrixDerivedReferenceSweptAreaSolid", Shape::SweptAlongCurve},
    {"IfcFacetedBrep", Shape::Brep},
    {"IfcFacetedBrepWithVoids", Shape::Brep},
    {"IfcAdvancedBrep", Shape::Brep},
    {"IfcAdvancedBrepWithVoids", Shape::Brep},
    {"IfcManifoldSolidBrep", Shape::Brep},
    {"IfcClosedShell", Shape::Shell},
    {"IfcOpenShell", Shape::Shell},
    {"IfcConnectedFaceSet", Shape::Shell},
    {"IfcShellBasedSurfaceModel", Shape::SurfaceModel},
    {"IfcFaceBasedSurfaceModel", Shape::SurfaceModel},
    {"IfcFace", Shape::Face},
    {"IfcFaceSurface", Shape::Face},
    {"IfcAdvancedFace", Shape::Face},
    {"IfcFaceBound", Shape::FaceBound},
    {"IfcFaceOuterBound", Shape::FaceBound},
    {"IfcPolyLoop", Shape::PolyLoop},
    {"IfcEdgeLoop", Shape::EdgeLoop},
    {"IfcOrientedEdge", Shape::OrientedEdge},
    {"IfcEdgeCurve", Shape::EdgeCurve},
    {"IfcEdge", Shape::EdgeCurve},
    {"IfcVertexPoint", Shape::VertexPoint},
    {"IfcBoundingBox", Shape::BoundingBox},
    {"IfcBooleanResult", Shape::Boolean},
    {"IfcBooleanClippingResult", Shape::Boolean},
    {"IfcCsgSolid", Shape::Csg},
    {"IfcBlock", Shape::Block},
    {"IfcRightCircularCylinder", Shape::Cylinder},
    {"IfcRightCircularCone", Shape::Cone},
    {"IfcSphere", Shape::Sphere},
    {"IfcRectangularPyramid", Shape::Pyramid},
    {"IfcTriangulatedFaceSet", Shape::TriangulatedFaces},
    {"IfcTriangulatedIrregularNetwork", Shape::TriangulatedFaces},
    {"IfcPolygonalFaceSet", Shape::PolygonalFaces},
    {"IfcCartesianPointList3D", Shape::PointList},
    {"IfcCartesianPointList2D", Shape::PointList},
    {"IfcGeometricSet", Shape::GeometricSet},
    {"IfcGeometricCurveSet", Shape::GeometricSet},
    {"IfcPolyline", Shape::Polyline},
    {"IfcIndexedPolyCurve", Shape::IndexedPolyCurve},
    {"IfcTrimmedCurve", Shape::TrimmedCurve},
    {"IfcCompositeCurve", Shape::CompositeCurve},
    {"Ifc2DCompositeCurve", Shape::CompositeCurve},
    {"IfcCompositeCurveOnSurface", Shape::CompositeCurve},
    {"IfcCompositeCurveSegment", Shape::CompositeCurveSegment},
    {"IfcReparametrisedCompositeCurveSegment", Shape::CompositeCurveSegment},
    {"IfcLine", Shape::Line},
    {"IfcCircle", Shape::Circle},
    {"IfcEllipse", Shape::Ellipse},
    {"IfcBezierCurve", Shape::BSpline},
    {"IfcRationalBezierCurve", Shape::BSpline},
    {"IfcBSplineCurveWithKnots", Shape::BSpline},
    {"IfcRationalBSplineCurveWithKnots", Shape::BSpline},
    {"IfcCircleProfileDef", Shape::CircleProfile},
    {"IfcCircleHollowProfileDef", Shape::CircleProfile},
    {"IfcRectangleProfileDef", Shape::RectangleProfile},
    {"IfcRectangleHollowProfileDef", Shape::RectangleProfile},
    {"IfcRoundedRectangleProfileDef", Shape::RectangleProfile},
    {"IfcTrapeziumProfileDef", Shape::RectangleProfile},
    {"IfcEllipseProfileDef", Shape::EllipseProfile},
    {"IfcArbitraryClosedProfileDef", Shape::ArbitraryProfile},
    {"IfcArbitraryProfileDefWithVoids", Shape::ArbitraryProfile},
    {"IfcArbitraryOpenProfileDef", Shape::ArbitraryProfile},
    {"IfcCenterLineProfileDef", Shape::ArbitraryProfile},
    {"IfcDerivedProfileDef", Shape::DerivedProfile},
    {"IfcMirroredProfileDef", Shape::DerivedProfile},
    {"IfcCompositeProfileDef", Shape::CompositeProfile},
    {"IfcIShapeProfileDef", Shape::FlangedProfile},
    {"IfcAsymmetricIShapeProfileDef", Shape::FlangedProfile},
    {"IfcUShapeProfileDef", Shape::SteelProfile},
    {"IfcLShapeProfileDef", Shape::SteelProfile},
    {"IfcZShapeProfileDef", Shape::SteelProfile},
    {"IfcCShapeProfileDef", Shape::SteelProfile},
    {"IfcTShapeProfileDef", Shape::SteelProfile},
    {"IfcSIUnit", Shape::SiUnit},
    {"IfcConversionBasedUnit", Shape::ConversionBasedUnit},
    {"IfcConversionBasedUnitWithOffset", Shape::ConversionBasedUnit},
    {"IfcMeasureWithUnit", Shape::MeasureWithUnit},
    {"IfcPropertySet", Shape::PropertySet},
    {"IfcPropertySingleValue", Shape::PropertySingleValue},
    {"IfcPropertyListValue", Shape::PropertyListValue},
    {"IfcPropertyBoundedValue", Shape::PropertyBoundedValue},
    {"IfcPropertyEnumeratedValue", Shape::PropertyEnumeratedValue},
};

std::string Upper(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return upper;
}

using ClassMap = std::unordered_map<std::string, ClassInfo>;

ClassMap MakeClasses() {
    ClassMap classes;
    for (const ElementRow& row : kElements) {
        classes[Upper(row.name)] = {row.name, Role::Element, Shape::None, row.kind, row.name.substr(3)};
    }
    for (const RoleRow& row : kRoles) {
        classes[Upper(row.name)] = {row.name, row.role, Shape::None, Other, row.name.substr(3)};
    }
    for (const std::string_view name : kProducts) {
        classes[Upper(name)] = {name, Role::Product, Shape::None, Other, name.substr(3)};
    }
    for (const ShapeRow& row : kShapes) {
        classes[Upper(row.name)] = {row.name, Role::Ignored, row.shape, Other, row.name.substr(3)};
    }
    return classes;
}

const ClassMap& Classes() {
    static const ClassMap classes = MakeClasses();
    return classes;
}

}  // namespace

const ClassInfo& InfoOfClass(std::string_view upperName) {
    static const ClassInfo unknown;
    static const ClassInfo typeObject{{}, Role::TypeObject, Shape::None, Other, {}};
    const auto found = Classes().find(std::string(upperName));
    if (found != Classes().end()) {
        return found->second;
    }
    const bool isType = upperName.ends_with("TYPE") || upperName.ends_with("STYLE");
    return isType && upperName.starts_with("IFC") ? typeObject : unknown;
}

const ClassInfo* ElementClassOfType(std::string_view upperTypeName) {
    if (!upperTypeName.ends_with("TYPE")) {
        return nullptr;
    }
    const auto found = Classes().find(std::string(upperTypeName.substr(0, upperTypeName.size() - 4)));
    return found != Classes().end() && found->second.role == Role::Element ? &found->second : nullptr;
}

}  // namespace norvex::ifc
