// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/model/Access.h"
#include "ifc/model/Transform.h"
#include "ifc/model/Units.h"
#include "ifc/part21/DiagnosticLog.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace norvex::ifc {

// Reads points, directions and placements in millimetres. Keeps what it met last, since the elements of a storey share
// their parent, and exporters let whole models share a few directions and local frames. Not thread-safe.
class Placements {
  public:
    Placements(const Access& access, const Units& units, DiagnosticLog& log);

    // All of these take an instance's index; kNoInstance and instances of other classes give nothing.
    std::optional<Point> PointAt(std::uint32_t index) const;
    // Coordinates of a list (x, y) or (x, y, z) as they stand, without a unit.
    static std::optional<Point> Coordinates(const part21::Value& list);
    // Returns: a vector of length one.
    std::optional<Point> Direction(std::uint32_t index) const;
    // IfcAxis2Placement2D and 3D. Missing or degenerate axes take their defaults.
    std::optional<Transform> Axis2(std::uint32_t index) const;
    // The world frame of an IfcObjectPlacement: the whole chain. Nothing when it is broken or cyclic, which is told.
    std::optional<Transform> World(std::uint32_t index);
    // IfcCartesianTransformationOperator with its scale.
    std::optional<Transform> Operator(std::uint32_t index) const;

    double ToMillimetres() const { return units_.toMillimetres; }
    double ToRadians() const { return units_.toRadians; }

  private:
    struct Cached {
        std::uint32_t index = part21::kNoInstance;
        Transform frame;
    };
    // The few of a kind that were read last, by their index. What could not be read is not kept.
    template <typename What>
    class Recent {
      public:
        // `instances`: how many the file has; of a small one there is no more to keep.
        explicit Recent(std::size_t instances) : slots_(std::min(kSlots, std::bit_ceil(instances + 1))) {}

        // Returns: what `read` gives, or gave when it was asked for this index before.
        template <typename Read>
        std::optional<What> Get(std::uint32_t index, Read read) {
            Slot& slot = slots_[index & (slots_.size() - 1)];
            if (slot.index == index) {
                return slot.what;
            }
            const std::optional<What> what = read();
            if (what) {
                slot = {index, *what};
            }
            return what;
        }

      private:
        static constexpr std::size_t kSlots = 256;  // a power of two
        struct Slot {
            std::uint32_t index = part21::kNoInstance;
            What what;
        };
        std::vector<Slot> slots_;
    };
    struct Step {
        Transform frame;
        std::uint32_t parent = part21::kNoInstance;
        bool hasParent = false;
    };
    std::optional<Step> ReadStep(std::uint32_t index) const;
    std::optional<Transform> ReadAxis2(std::uint32_t index) const;
    std::optional<Transform> ReadOperator(std::uint32_t index) const;

    const Access& access_;
    Units units_;
    DiagnosticLog& log_;
    std::vector<Cached> cache_;
    mutable Recent<Point> directions_;
    mutable Recent<Transform> frames_;
    mutable Recent<Transform> operators_;
    std::vector<Cached> chain_;  // of the placement being read: from it to its outermost, with relative frames
};

}  // namespace norvex::ifc
