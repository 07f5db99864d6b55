// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"
#include "ifc/Reader.h"
#include "ifc/mapping/CategoryTable.h"
#include "ifc/model/Census.h"
#include "ifc/model/Revisits.h"
#include "ifc/model/Shapes.h"
#include "ifc/network/Network.h"
#include "ifc/part21/DiagnosticLog.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace norvex::ifc {

// Fills a building model from the instances of a file: elements, storeys, systems, categories and shapes, and what the
// network is made from. One use each.
class ModelReader {
  public:
    ModelReader(const Access& access, const CategoryTable& categories, BuildingModel& model, DiagnosticLog& log);

    // Returns: ports, bodies and stated connections for BuildNetwork(). Reads shapes in a second thread where one can
    // be had; what comes out is the same without.
    NetworkInput Read();
    // Returns: the steps that the shapes took.
    std::uint64_t ShapeSteps() const { return shapeSteps_; }

  private:
    struct TypeInfo {
        std::string_view name;
        std::string_view predefinedType;
        const ClassInfo* elementClass = nullptr;  // what it is a type of; null when unknown
        double nominalDiameter = 0.0;             // mm; 0: not given
    };
    // What of an element is needed until its category is decided.
    struct Draft {
        std::uint32_t instance = 0;
        std::uint32_t type = kNoIndex;  // into types_
        std::string_view objectType;
        std::string_view predefinedType;
        std::uint32_t placement = part21::kNoInstance;
        std::uint32_t definition = part21::kNoInstance;
        std::string_view portSystemType;
    };

    void ReadStoreys();
    void ReadElements();
    void ReadTypes();
    std::uint32_t TypeAt(std::uint32_t instance);
    void ReadStructure();
    void PlaceOnStoreys();
    void SayWhatHasNoStorey();
    void ReadSystems();
    void ReadPorts();
    void OwnPort(std::uint32_t port, std::uint32_t element, std::uint32_t relation);
    void ReadConnections();
    void ReadProperties();
    void ReadDiameters();
    // What a property set says; read when somebody first asks.
    struct SetContent {
        std::optional<double> diameter;  // mm; 0: not given
        std::optional<std::string_view> connectionType;
    };
    void ReadPropertiesOf(std::uint32_t instance, std::uint32_t set, SetContent& content);
    void AddConnectionType(std::uint32_t element, std::string_view type);
    void JoinConnectionTypes();
    std::string_view ConnectionTypeInSet(std::uint32_t propertySet);
    double DiameterInSet(std::uint32_t propertySet) const;
    double DiameterOfSet(std::uint32_t propertySet);
    void ReadShapes(const Access& access, DiagnosticLog& log);
    void Categorise();
    void CategoriseOne(std::uint32_t element);
    NamedCategory NamedAs(std::string_view name);
    CategoryPath OfClass(std::string_view key, std::string_view predefinedType);
    std::string_view SystemSpecialty(std::uint32_t element);
    std::string_view DetailName(std::uint32_t element);
    void CountElements();
    void MarkRepeatedGlobalIds(DiagnosticLog& log);
    std::string_view Text(const part21::Value& value);
    std::string_view Word(const part21::Value& value);
    void SayCutOff(const part21::Value& value);

    const Access& access_;
    const part21::ExchangeFile& file_;
    const CategoryTable& categories_;
    BuildingModel& model_;
    DiagnosticLog& log_;
    Census census_;
    Units units_;
    Placements placements_;
    std::uint64_t shapeSteps_ = 0;
    NetworkInput input_;
    std::vector<Draft> drafts_;
    std::vector<TypeInfo> types_;
    // By instance index: the element, port, storey or system it became, and the instance it is a part of.
    std::vector<std::uint32_t> slot_;
    std::vector<std::uint32_t> parent_;
    std::unordered_map<std::uint32_t, std::uint32_t> typeSlots_;
    std::unordered_map<std::string_view, NamedCategory> namedAs_;
    // By where the key of the class stands, and the predefined type.
    std::map<std::tuple<const char*, std::size_t, std::string_view>, CategoryPath> ofClass_;
    // The texts with escapes that were decoded last: many elements have the same name.
    struct Decoded {
        std::string encoded;
        std::string_view text;
    };
    std::vector<Decoded> decoded_ = std::vector<Decoded>(256);
    struct SystemSpecialties {
        std::string_view byType;  // as its predefined type says; empty when that says nothing
        std::string_view byTypeOrName;
    };
    std::vector<SystemSpecialties> systemSpecialties_;  // by system
    // Property sets by instance. Nearly every relation has a set of its own, so only those that are asked for again are
    // kept.
    Revisits askedSets_;
    std::unordered_map<std::uint32_t, SetContent> sets_;
    // Connection types of an element that differ from the first one it was given.
    struct OtherType {
        std::uint32_t element;
        std::string_view type;
    };
    std::vector<OtherType> otherTypes_;
};

}  // namespace norvex::ifc
