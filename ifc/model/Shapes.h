// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"
#include "ifc/model/Placements.h"
#include "ifc/model/Revisits.h"

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace norvex::ifc {

// A straight or bent run that a representation describes. Millimetres.
struct Run {
    EndEvidence evidence = EndEvidence::None;
    Point start;
    Point end;
    double length = 0.0;
    double radius = 0.0;  // outer radius of a round section, else 0
};

// What an element's shape amounts to: boxes of its parts in one frame. Parts come from ShapeReader::TakeParts().
struct Body {
    Transform frame;  // of the parts, in the world
    std::uint32_t firstPart = 0;
    std::uint32_t partCount = 0;
};

struct ElementShape {
    Body body;
    Box box;  // world; empty without a shape
    Run run;  // world; evidence None without one
};

// Reads the representations of products. Shapes that many elements share through a map are read once; other parts of
// shapes that are met more than once (profiles, curves, faces, lists of points) at most twice. Takes at most a fixed
// number of steps for each instance of the file, whatever refers to what. Not thread-safe.
class ShapeReader {
  public:
    ShapeReader(const Access& access, Placements& placements, DiagnosticLog& log);

    // `definition`: index of an IfcProductDefinitionShape, or kNoInstance. `frame`: the product's placement.
    // Runs are only looked for when `wantRun` says so.
    ElementShape Read(std::uint32_t definition, const Transform& frame, bool wantRun);

    // The parts that the bodies refer to. Ends the reader's use.
    std::vector<Box> TakeParts() { return std::move(parts_); }
    // Returns: how many steps were taken so far.
    std::uint64_t Steps() const { return steps_; }

  private:
    // A shape in local coordinates.
    struct Local {
        std::vector<Box> parts;
        std::vector<Run> runs;
        std::uint32_t onlyMap = part21::kNoInstance;  // set while a single mapped item is all there is
        Transform onlyFrame;
        std::size_t items = 0;

        // Keeps the memory.
        void Clear() {
            parts.clear();
            runs.clear();
            onlyMap = part21::kNoInstance;
            onlyFrame = Transform();
            items = 0;
        }
    };
    struct Profile {
        Point low;  // of the box around it, z unused
        Point high;
        double radius = 0.0;  // outer, of a circle; else 0
    };
    struct Mapped {
        std::uint32_t firstPart = 0;
        std::uint32_t partCount = 0;
        std::vector<Run> runs;
    };
    // What shapes ask of a curve, in its own coordinates.
    struct CurveExtent {
        Box box;  // of the points that could be read
        Point first;
        Point last;
        double length = 0.0;
        bool isRun = false;  // the whole curve could be read, and has two points at least
    };
    enum class Kind : std::uint8_t { Body, Axis, Box, Skip };

    static Kind KindOfRepresentation(std::string_view identifier, std::string_view type);
    void ReadRepresentation(std::uint32_t representation, Kind kind, Local& local, int depth);
    void ReadItem(std::uint32_t item, const Transform& frame, Local& local, int depth);
    void ReadMappedItem(std::uint32_t item, const Transform& frame, Local& local, int depth);
    const Mapped* ReadMap(std::uint32_t map, int depth);
    void ReadExtrusion(std::uint32_t item, const Transform& frame, Local& local);
    void ReadRevolution(std::uint32_t item, const Transform& frame, Local& local);
    void ReadSweptDisk(std::uint32_t item, const Transform& frame, Local& local);
    void ReadSweptCurve(std::uint32_t item, const Transform& frame, Local& local);
    void ReadPrimitive(std::uint32_t item, const Transform& frame, Local& local);
    void ReadPoints(std::uint32_t item, const Transform& frame, Local& local, int depth);
    void CollectPoints(std::uint32_t item, Box& box, int depth);
    void AddPoints(std::uint32_t item, Box& box, int depth);
    void AddCoordinates(std::uint32_t list, Box& box);
    void ReadAxis(std::uint32_t item, const Transform& frame, Local& local, int depth);
    CurveExtent ExtentOf(std::uint32_t curve);
    CurveExtent ReadExtent(std::uint32_t curve);
    std::optional<Profile> ProfileOf(std::uint32_t profile, int depth);
    std::optional<Profile> ReadProfile(std::uint32_t profile, int depth);
    double Millimetres(const part21::Value& value, double missing) const;
    bool Spend(std::uint64_t steps = 1);
    void SayTooFar(std::uint32_t definition);

    // Turns a single mapped item into parts of the common frame, because it is no longer the only one.
    void Flatten(Local& local) const;
    static Run BestRun(const std::vector<Run>& runs);
    static std::vector<Run> Chained(const std::vector<Run>& runs);

    const Access& access_;
    Placements& placements_;
    DiagnosticLog& log_;
    std::vector<Box> parts_;
    std::unordered_map<std::uint32_t, Mapped> maps_;
    std::vector<Point> points_;
    // What was met more than once, by its index. An entry is there, and empty, while it is read for the second time:
    // what leads back to itself adds nothing to what it is.
    Revisits met_;
    std::unordered_map<std::uint32_t, Box> boxes_;
    std::unordered_map<std::uint32_t, CurveExtent> curves_;
    std::unordered_map<std::uint32_t, std::optional<Profile>> profiles_;
    // Of the element being read: from its body, and from the box that some files give beside it.
    Local body_;
    Local box_;
    std::uint64_t budget_;  // most steps
    std::uint64_t steps_ = 0;
    bool isExhausted_ = false;
};

}  // namespace norvex::ifc
