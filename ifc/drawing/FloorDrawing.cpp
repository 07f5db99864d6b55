// SPDX-License-Identifier: Apache-2.0
#include "ifc/drawing/FloorDrawing.h"

#include "platform/text/Utf8.h"
#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace norvex::ifc {

namespace {

AcGePoint3d ToGe(const Point& point) {
    return {point.x, point.y, point.z};
}

// A path is cut at its backslashes, so no part may hold one.
std::string WithoutBackslash(std::string_view text) {
    std::string clean(text);
    std::replace(clean.begin(), clean.end(), '\\', '/');
    return clean;
}

// Draws elements into one database. Many elements share a path or a system; their text is converted once.
class Draughtsman {
  public:
    explicit Draughtsman(const BuildingModel& model) : model_(model) {}

    // Returns: null for an element without a place.
    std::unique_ptr<ZrOwEntity> Draw(const Element& element) {
        if (!element.placed) {
            return nullptr;
        }
        std::unique_ptr<ZrOwEntity> entity = Shape(element);
        entity->SetAttName(Converted(WithoutBackslash(element.specialty) + '\\' + WithoutBackslash(element.category) +
                                     '\\' + WithoutBackslash(element.subCategory) + '\\' +
                                     WithoutBackslash(element.detailName)));
        std::string code = WithoutBackslash(element.specialty) + '\\';
        if (element.systemCount > 0) {
            code += WithoutBackslash(model_.systems[model_.systemsOfElements[element.firstSystem]].name);
        }
        entity->SetSysCode(Converted(code));
        SetText(*entity, kPropertyGlobalId, element.globalId);
        if (element.globalIdRepeats) {
            entity->SetProperty(kPropertyGlobalIdRepeats, u"1");
        }
        SetText(*entity, kPropertyName, element.name);
        entity->SetProperty(kPropertyClass, Converted(std::string(element.className)));
        SetNumber(*entity, kPropertyNominalDiameter, element.nominalDiameter);
        SetNumber(*entity, kPropertyOuterDiameter, element.outerDiameter);
        SetText(*entity, kPropertyConnectionType, element.connectionType);
        return entity;
    }

    static void SetText(ZrOwEntity& entity, const CString& name, std::string_view utf8) {
        if (!utf8.empty()) {
            entity.SetProperty(name, norvex::text::FromUtf8(utf8));
        }
    }

  private:
    static std::unique_ptr<ZrOwEntity> Shape(const Element& element) {
        switch (element.kind) {
            case ElementKind::Segment: {
                auto line = std::make_unique<ZrOwPolyLine>(ToGe(element.start), ToGe(element.end));
                // As the file has it: ends move to their junctions, so pipes of different length between the same
                // junctions would all measure alike, and the loop search takes pipes that measure alike for one.
                if (element.length > 0.0) {
                    line->SetLength(element.length);
                }
                return line;
            }
            case ElementKind::Fitting:
            case ElementKind::InlineDevice:
                return std::make_unique<ZrOwFittingBase>(ToGe(element.position));
            default:
                return std::make_unique<ZrOwNode>(ToGe(element.position));
        }
    }

    static void SetNumber(ZrOwEntity& entity, const CString& name, double number) {
        if (number > 0.0) {
            std::array<char, 32> digits{};
            const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
            assert(error == std::errc() && "the shortest form of a double has fewer than 32 characters");
            SetText(entity, name, std::string_view(digits.data(), end));
        }
    }

    const CString& Converted(const std::string& utf8) {
        const auto [place, isNew] = converted_.try_emplace(utf8);
        if (isNew) {
            place->second = norvex::text::FromUtf8(utf8);
        }
        return place->second;
    }

    const BuildingModel& model_;
    std::unordered_map<std::string, CString> converted_;
};

// What is joined to each element of a storey that is no segment: pairs of indices, in ascending order. What is joined
// across storeys lies in another drawing.
std::vector<std::pair<std::uint32_t, std::uint32_t>> JointsOf(const BuildingModel& model, std::uint32_t storey) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> joints;
    const auto add = [&](std::uint32_t one, std::uint32_t other) {
        if (model.elements[one].kind != ElementKind::Segment && model.elements[one].storey == storey &&
            model.elements[other].storey == storey && model.elements[other].placed) {
            joints.emplace_back(one, other);
        }
    };
    for (const Connection& connection : model.connections) {
        add(connection.first, connection.second);
        add(connection.second, connection.first);
    }
    std::sort(joints.begin(), joints.end());
    joints.erase(std::unique(joints.begin(), joints.end()), joints.end());
    return joints;
}

// Hexadecimal, in upper case, as handle texts are.
std::string HandleText(std::uint32_t id) {
    std::array<char, 8> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), id, 16);
    assert(error == std::errc() && "32 bits have at most eight digits");
    std::string text(digits.data(), end);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char digit) { return digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit; });
    return text;
}

}  // namespace

FloorDrawing DrawFloor(const BuildingModel& model, std::uint32_t storey) {
    assert(storey == kNoIndex || storey < model.storeys.size());
    FloorDrawing drawing;
    drawing.database = std::make_unique<AcDbDatabase>();
    Draughtsman draughtsman(model);
    const auto joints = JointsOf(model, storey);
    auto joint = joints.begin();
    for (std::uint32_t i = 0; i < model.elements.size(); ++i) {
        const Element& element = model.elements[i];
        if (element.storey != storey) {
            continue;
        }
        std::unique_ptr<ZrOwEntity> entity = draughtsman.Draw(element);
        if (!entity) {
            drawing.undrawn.push_back(i);
            continue;
        }
        joint = std::find_if(joint, joints.end(), [i](const auto& each) { return each.first >= i; });
        std::string joined;
        for (; joint != joints.end() && joint->first == i; ++joint) {
            joined += (joined.empty() ? "" : ",") + HandleText(model.elements[joint->second].id);
        }
        Draughtsman::SetText(*entity, kPropertyJoined, joined);
        AcDbObjectId id;
        const Acad::ErrorStatus status =
            drawing.database->addToModelSpace(std::move(entity), id, AcDbHandle(Adesk::UInt64{element.id}));
        assert(status == Acad::eOk && "instance numbers are unique in a model");
        drawing.drawn += status == Acad::eOk ? 1 : 0;
    }
    return drawing;
}

}  // namespace norvex::ifc
