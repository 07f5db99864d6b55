// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ifc/BuildingModel.h"
#include "ifc/drawing/FloorDrawing.h"
#include "ifc/drawing/FloorIndex.h"
#include "service/FloorSource.h"

namespace norvex::service {

// The storeys of a model as floors, from below, those without elements included; what lies on no storey comes last, as
// a floor of its own. Storeys of one name are told apart by a number in brackets, and one without a name is
// "(unnamed)". Keeps one floor drawn at a time. The model must live as long.
class IfcFloors final : public FloorSource {
  public:
    explicit IfcFloors(const ifc::BuildingModel& model);

    const std::vector<FloorRecord>& Floors() const override { return m_floors; }
    const std::vector<CString>& Paths() const override { return m_paths; }
    std::map<CString, int> WithoutPlace(std::size_t floor) const override;
    AcDbDatabase& Open(std::size_t floor) override;

  private:
    void AddFloor(const std::string& name, std::uint32_t storey);
    void CollectPaths();

    const ifc::BuildingModel& m_model;
    ifc::FloorIndex m_index;
    std::vector<FloorRecord> m_floors;
    std::vector<std::uint32_t> m_storeys;  // of each floor; ifc::kNoIndex for the one without a storey
    std::vector<CString> m_paths;
    ifc::FloorDrawing m_drawing;
};

// What a report says about a model that was read from the file at path, whose bytes have this digest.
ModelRecord RecordOf(const ifc::BuildingModel& model, const std::string& path, const std::string& sha256);

}  // namespace norvex::service
