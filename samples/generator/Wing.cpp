// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Wing.h"

#include <algorithm>
#include <array>

namespace norvex::samples {
namespace {

struct Place {
    Plant plant;
    int floor;
    int bay;
};

// Where each plant goes: apart from each other, so that each shows what it shows alone.
constexpr std::array<Place, 13> kPlaces{{{Plant::WaterLoop, 1, 0},
                                         {Plant::PipePair, 0, 1},
                                         {Plant::DrainageLoop, 1, 1},
                                         {Plant::HeatingRing, 1, 0},
                                         {Plant::StoreyLoop, 0, 1},
                                         {Plant::DoubleDrawn, 2, 0},
                                         {Plant::Gap, 2, 0},
                                         {Plant::WrongLink, 1, 0},
                                         {Plant::ValveDiameter, 1, 1},
                                         {Plant::NoFlange, 0, 0},
                                         {Plant::NoDiameter, 2, 0},
                                         {Plant::NoStorey, 2, 1},
                                         {Plant::RepeatedGlobalId, 1, 0}}};

}  // namespace

Wing::Wing(const Options& options, Model& model, Summary& summary, std::size_t index, int bays)
    : options_(options),
      model_(model),
      summary_(summary),
      index_(index),
      bays_(bays),
      key_(Key::Root(options.seed).Child("wing", index)) {
}

Vector Wing::At(int floor, double x, double y, double z) const {
    return {x, y + kWingPitch * static_cast<double>(index_), z + kStoreyHeight * floor};
}

Vector Wing::InBay(int floor, int bay, double x, double y, double z) const {
    return At(floor, x + kFirstBay + kBayWidth * bay, y, z);
}

bool Wing::Has(Plant plant, int floor, int bay) const {
    if (index_ != 0 || !options_.plants.contains(plant)) {
        return false;
    }
    const auto* place =
        std::find_if(kPlaces.begin(), kPlaces.end(), [&](const Place& each) { return each.plant == plant; });
    return floor == std::min(place->floor, options_.floors - 1) && bay == std::min(place->bay, bays_ - 1);
}

std::optional<Plant> Wing::PlantAt(std::initializer_list<Plant> plants, int floor, int bay) const {
    const auto* found = std::find_if(plants.begin(), plants.end(), [&](Plant plant) { return Has(plant, floor, bay); });
    return found == plants.end() ? std::nullopt : std::optional(*found);
}

std::size_t Wing::AddSystem(std::string_view name, std::string_view predefined) {
    std::string full = std::string(name);
    if (index_ > 0) {
        full += " " + std::to_string(index_ + 1);
    }
    return model_.AddSystem(key_.Child("system").Child(name), full, predefined);
}

void Wing::Expect(std::string_view plant, Verdict verdict, std::string_view rule, std::size_t storey,
                  std::string_view specialty, std::string_view severity, std::vector<std::string> globalIds,
                  std::string_view reason) {
    std::sort(globalIds.begin(), globalIds.end());
    summary_.expectations.push_back({std::string(plant), verdict, std::string(rule),
                                     storey == kNoStorey ? std::string() : model_.StoreyName(storey),
                                     std::string(specialty), std::string(severity), std::move(globalIds),
                                     std::string(reason)});
}

Key Wing::KeyOf(std::string_view what, int floor, int bay) const {
    return key_.Child("floor", static_cast<std::uint64_t>(floor))
        .Child("bay", static_cast<std::uint64_t>(bay))
        .Child(what);
}

}  // namespace norvex::samples
