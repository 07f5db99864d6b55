// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "samples/generator/Generator.h"
#include "samples/generator/Line.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::samples {

// Storey height in millimetres.
inline constexpr double kStoreyHeight = 3600.0;
// Where the first bay begins, and how wide a bay is, along x.
inline constexpr double kFirstBay = 4000.0;
inline constexpr double kBayWidth = 8000.0;
// From wing to wing, along y.
inline constexpr double kWingPitch = 32000.0;

// One wing of the building while it is drawn: plant room left of x = 0, shafts left of kFirstBay, then its bays.
class Wing {
  public:
    Wing(const Options& options, Model& model, Summary& summary, std::size_t index, int bays);

    // Returns: a point of the wing; z is above the floor of the storey.
    Vector At(int floor, double x, double y, double z) const;
    // Returns: a point on the bay's left edge, moved by the given lengths.
    Vector InBay(int floor, int bay, double x, double y, double z) const;

    // Is this the place where `plant` goes, and is it asked for? All plants go into the first wing, each at one floor
    // and bay; buildings with fewer floors or bays have them at the last.
    bool Has(Plant plant, int floor, int bay) const;
    // The first of the given plants that goes here.
    std::optional<Plant> PlantAt(std::initializer_list<Plant> plants, int floor, int bay) const;

    // Adds a system of this wing. Returns: its index.
    std::size_t AddSystem(std::string_view name, std::string_view predefined);
    void Expect(std::string_view plant, Verdict verdict, std::string_view rule, std::size_t storey,
                std::string_view specialty, std::string_view severity, std::vector<std::string> globalIds,
                std::string_view reason);

    int Floors() const { return options_.floors; }
    int Bays() const { return bays_; }
    Model& BuildingModel() { return model_; }
    Key KeyOf(std::string_view what, int floor = 0, int bay = 0) const;

  private:
    const Options& options_;
    Model& model_;
    Summary& summary_;
    std::size_t index_;
    int bays_;
    Key key_;
};

// The fixtures of a bay on one floor; water and drainage both lead to them.
struct Fixtures {
    Part basin;
    Part closet;
};

// A flanged pump on the floor east of what it draws from, with a valve before and a check valve behind it.
struct PumpSet {
    std::string_view key;
    std::string_view name;
    Port source;
    bool flangeAtSource = true;
    Vector foot;  // centre of the bend that turns up; on the axis of the source's port
};
// Returns: the port that looks up. `suction` becomes the first pipe behind the source.
Port DrawPumpSet(Wing& wing, Line& line, const PumpSet& set, Part& suction);

// The systems, each drawn whole: all floors and bays of the wing.
void DrawWater(Wing& wing);  // cold water and drainage, which share the fixtures
void DrawFire(Wing& wing);
void DrawHeating(Wing& wing);
void DrawAir(Wing& wing);
void DrawElectric(Wing& wing);

// Draws a straight run between two ports, with what is planted in it. `side` is the direction, square to the run, in
// which a second way may branch off. Returns: the segment, or the first one of several.
Part DrawRun(Wing& wing, Line& line, const Key& key, const Port& from, const Port& to, const Vector& side,
             std::optional<Plant> plant);

}  // namespace norvex::samples
