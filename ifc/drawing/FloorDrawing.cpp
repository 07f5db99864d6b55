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

// Several texts of a model as one key. Texts are told apart by where they stand: a model keeps equal ones in one place,
// and where it does not, one more conversion is all that comes of it.
template <std::size_t Count>
struct Texts {
    std::array<std::string_view, Count> parts;

    friend bool operator==(const Texts& one, const Texts& other) {
        return std::equal(
            one.parts.begin(), one.parts.end(), other.parts.begin(),
            [](std::string_view a, std::string_view b) { return a.data() == b.data() && a.size() == b.size(); });
    }
    struct Hash {
        std::size_t operator()(const Texts& texts) const {
            std::size_t hash = 0;
            for (const std::string_view part : texts.parts) {
                hash = (hash ^ reinterpret_cast<std::uintptr_t>(part.data())) * 0x9E3779B97F4A7C15U + part.size();
            }
            return hash ^ (hash >> 32);
        }
    };
};

// Draws elements into one database. Many elements share a path, a system or a class; their text is converted once.
class Draughtsman {
  public:
    explicit Draughtsman(const BuildingModel& model) : model_(model) {}

    // Returns: null for an element without a place.
    std::unique_ptr<ZrOwEntity> Draw(const Element& element) {
        if (!element.placed) {
            return nullptr;
        }
        std::unique_ptr<ZrOwEntity> entity = Shape(element);
        const std::string_view system =
            element.systemCount > 0 ? model_.systems[model_.systemsOfElements[element.firstSystem]].name : "";
        entity->SetAttName(
            Joined(paths_, {{element.specialty, element.category, element.subCategory, element.detailName}}));
        entity->SetSysCode(Joined(codes_, {{element.specialty, system}}));
        SetText(*entity, kPropertyGlobalId, element.globalId);
        if (element.globalIdRepeats) {
            entity->SetProperty(kPropertyGlobalIdRepeats, yes_);
        }
        SetKnown(*entity, kPropertyName, names_, element.name);
        entity->SetProperty(kPropertyClass, Joined(classes_, {{element.className}}));
        SetNumber(*entity, kPropertyNominalDiameter, nominalDiameters_, element.nominalDiameter);
        SetNumber(*entity, kPropertyOuterDiameter, outerDiameters_, element.outerDiameter);
        SetKnown(*entity, kPropertyConnectionType, connectionTypes_, element.connectionType);
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

    // The texts that were converted last, by what they were converted from. A model may have as many names as elements,
    // or a few for all; this costs little with the one and saves much with the other.
    template <typename Key>
    class Recent {
      public:
        template <typename Convert>
        const CString& Get(const Key& key, std::size_t hash, Convert convert) {
            Slot& slot = slots_[hash % kSlots];
            if (!(slot.key == key)) {
                slot = {key, convert()};
            }
            return slot.text;
        }

      private:
        static constexpr std::size_t kSlots = 256;  // a power of two
        // A slot that was never used holds what its key, a value of zero, is converted to: nothing.
        struct Slot {
            Key key{};
            CString text;
        };
        std::vector<Slot> slots_ = std::vector<Slot>(kSlots);
    };

    static void SetKnown(ZrOwEntity& entity, const CString& name, Recent<Texts<1>>& known, std::string_view utf8) {
        if (!utf8.empty()) {
            const Texts<1> key{{utf8}};
            entity.SetProperty(name,
                               known.Get(key, Texts<1>::Hash()(key), [utf8] { return norvex::text::FromUtf8(utf8); }));
        }
    }

    static void SetNumber(ZrOwEntity& entity, const CString& name, Recent<double>& known, double number) {
        if (number > 0.0) {
            entity.SetProperty(name, known.Get(number, std::hash<double>()(number), [number] {
                std::array<char, 32> digits{};
                const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
                assert(error == std::errc() && "the shortest form of a double has fewer than 32 characters");
                return norvex::text::FromUtf8(std::string_view(digits.data(), end));
            }));
        }
    }

    template <std::size_t Count>
    using Known = std::unordered_map<Texts<Count>, CString, typename Texts<Count>::Hash>;

    // Returns: the parts with backslashes between them.
    template <std::size_t Count>
    static const CString& Joined(Known<Count>& known, const Texts<Count>& texts) {
        const auto [place, isNew] = known.try_emplace(texts);
        if (isNew) {
            std::string joined;
            for (std::size_t i = 0; i < Count; ++i) {
                joined += (i == 0 ? "" : "\\") + WithoutBackslash(texts.parts[i]);
            }
            place->second = norvex::text::FromUtf8(joined);
        }
        return place->second;
    }

    const BuildingModel& model_;
    const CString yes_ = u"1";
    Known<4> paths_;
    Known<2> codes_;
    Known<1> classes_;
    Recent<Texts<1>> names_;
    Recent<Texts<1>> connectionTypes_;
    Recent<double> nominalDiameters_;
    Recent<double> outerDiameters_;
};

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

FloorDrawing DrawFloor(const BuildingModel& model, const FloorIndex& index, std::uint32_t storey) {
    assert(storey == kNoIndex || storey < model.storeys.size());
    FloorDrawing drawing;
    drawing.database = std::make_unique<AcDbDatabase>();
    drawing.database->reserveModelSpace(index.Elements(storey).size());
    Draughtsman draughtsman(model);
    std::string joined;
    for (const std::uint32_t i : index.Elements(storey)) {
        const Element& element = model.elements[i];
        std::unique_ptr<ZrOwEntity> entity = draughtsman.Draw(element);
        if (!entity) {
            drawing.undrawn.push_back(i);
            continue;
        }
        joined.clear();
        for (const std::uint32_t other : index.Joined(i)) {
            joined += joined.empty() ? "" : ",";
            joined += HandleText(model.elements[other].id);
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

FloorDrawing DrawFloor(const BuildingModel& model, std::uint32_t storey) {
    return DrawFloor(model, FloorIndex(model), storey);
}

}  // namespace norvex::ifc
