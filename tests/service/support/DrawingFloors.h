// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/text/Utf8.h"
#include "platform/zrow/Drawing.h"
#include "service/FloorSource.h"

namespace norvex::test {

// Floors from drawings that a test builds.
class DrawingFloors final : public service::FloorSource {
  public:
    DrawingFloors& Add(const std::string& name, Drawing drawing) {
        for (const ZrOwEntity* entity : drawing.entities()) {
            m_all.insert(entity->GetAttName());
        }
        m_floors.push_back({.name = name,
                            .elevation = 0.0,
                            .elements = drawing.entities().size(),
                            .withoutPlace = 0,
                            .withoutStorey = false});
        m_drawings.push_back(std::move(drawing));
        m_paths.assign(m_all.begin(), m_all.end());
        return *this;
    }

    // Elements of the floor added last that are not in its drawing.
    DrawingFloors& WithoutPlace(const std::string& path, int count) {
        m_withoutPlace[m_floors.size() - 1][text::FromUtf8(path)] += count;
        return *this;
    }

    std::map<CString, int> WithoutPlace(std::size_t floor) const override {
        const auto found = m_withoutPlace.find(floor);
        return found == m_withoutPlace.end() ? std::map<CString, int>() : found->second;
    }
    const std::vector<service::FloorRecord>& Floors() const override { return m_floors; }
    const std::vector<CString>& Paths() const override { return m_paths; }
    AcDbDatabase& Open(std::size_t floor) override { return m_drawings[floor].database(); }

  private:
    std::vector<service::FloorRecord> m_floors;
    std::vector<Drawing> m_drawings;
    std::map<std::size_t, std::map<CString, int>> m_withoutPlace;
    std::set<CString> m_all;
    std::vector<CString> m_paths;
};

inline const std::string kWaterPipe = "给排水\\管线\\管道\\DN50";
inline const std::string kFirePipe = "消防\\管线\\管道\\DN100";

// Appends a square of four pipes, corner at (x, 0), with the GlobalIds prefix0 to prefix3.
inline void AddSquare(Drawing& drawing, const std::string& path, double x, const std::string& prefix) {
    const AcGePoint3d corners[] = {{x, 0, 0}, {x + 1000, 0, 0}, {x + 1000, 1000, 0}, {x, 1000, 0}};
    for (int side = 0; side < 4; ++side) {
        drawing.pipe(corners[side], corners[(side + 1) % 4], path.c_str())
            .property(kPropertyGlobalId, (prefix + std::to_string(side)).c_str());
    }
}

}  // namespace norvex::test
