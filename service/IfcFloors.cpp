// SPDX-License-Identifier: Apache-2.0
#include "service/IfcFloors.h"

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <utility>

#include "platform/text/Utf8.h"
#include "service/store/FloorNames.h"

namespace norvex::service {
namespace {

constexpr const char* kNoStoreyName = "(no storey)";

CString PathOf(const ifc::Element& element) {
    return text::FromUtf8(
        fmt::format("{}\\{}\\{}\\{}", element.specialty, element.category, element.subCategory, element.detailName));
}

}  // namespace

IfcFloors::IfcFloors(const ifc::BuildingModel& model) : m_model(model), m_index(model) {
    std::vector<std::string> storeys;
    for (const auto& storey : model.storeys) {
        storeys.emplace_back(storey.name);
    }
    const bool hasRest = model.counts.withoutStorey > 0;
    if (hasRest) {
        storeys.emplace_back(kNoStoreyName);
    }
    const std::vector<store::FloorName> names = store::NameFloors(storeys);
    for (std::uint32_t i = 0; i < model.storeys.size(); ++i) {
        AddFloor(names[i].label, i);
        m_floors.back().elevation = model.storeys[i].elevation;
    }
    if (hasRest) {
        AddFloor(names.back().label, ifc::kNoIndex);
        m_floors.back().withoutStorey = true;
    }
    CollectPaths();
}

// Thousands of elements share a path. A model keeps equal texts in one place, so where the parts of a path stand tells
// most of them apart from new ones without a look at what they say.
void IfcFloors::CollectPaths() {
    const auto where = [](std::string_view text) { return std::pair(text.data(), text.size()); };
    std::set<std::array<std::pair<const char*, std::size_t>, 4>> seen;
    std::set<CString> paths;
    for (const ifc::Element& element : m_model.elements) {
        if (seen.insert({where(element.specialty), where(element.category), where(element.subCategory),
                         where(element.detailName)})
                .second) {
            paths.insert(PathOf(element));
        }
    }
    m_paths.assign(paths.begin(), paths.end());
}

void IfcFloors::AddFloor(const std::string& name, std::uint32_t storey) {
    FloorRecord floor;
    floor.name = name;
    for (const std::uint32_t element : m_index.Elements(storey)) {
        ++floor.elements;
        floor.withoutPlace += m_model.elements[element].placed ? 0 : 1;
    }
    m_floors.push_back(std::move(floor));
    m_storeys.push_back(storey);
}

std::map<CString, int> IfcFloors::WithoutPlace(std::size_t floor) const {
    std::map<CString, int> counts;
    if (m_floors[floor].withoutPlace == 0) {
        return counts;
    }
    for (const std::uint32_t i : m_index.Elements(m_storeys[floor])) {
        const ifc::Element& element = m_model.elements[i];
        if (!element.placed) {
            ++counts[PathOf(element)];
        }
    }
    return counts;
}

AcDbDatabase& IfcFloors::Open(std::size_t floor) {
    m_drawing = ifc::DrawFloor(m_model, m_index, m_storeys[floor]);
    return *m_drawing.database;
}

ModelRecord RecordOf(const ifc::BuildingModel& model, const std::string& path, const std::string& sha256) {
    ModelRecord record{.path = path,
                       .sha256 = sha256,
                       .schema = model.schema,
                       .project = model.projectName,
                       .lengthUnit = model.lengthUnit,
                       .lostInstances = model.counts.lostInstances,
                       .isCutOff = model.counts.isCutOff,
                       .elements = model.elements.size(),
                       .elementsOfSpecialties = {},
                       .elementsWithoutStorey = model.counts.withoutStorey,
                       .segmentsWithoutEnds = model.counts.segmentsWithoutEnds,
                       .noticeCount = model.counts.notes + model.counts.warnings + model.counts.errors,
                       .warningCount = model.counts.warnings + model.counts.errors,
                       .notices = {}};
    for (const ifc::Element& element : model.elements) {
        ++record.elementsOfSpecialties[std::string(element.specialty)];
    }
    for (const ifc::Diagnostic& diagnostic : model.diagnostics) {
        record.notices.push_back({std::string(ifc::SeverityName(diagnostic.severity)),
                                  std::string(ifc::DiagnosticCodeName(diagnostic.code)), diagnostic.line,
                                  diagnostic.offset, diagnostic.sentence});
    }
    return record;
}

}  // namespace norvex::service
