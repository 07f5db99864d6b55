// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/OrderInSpace.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "platform/zrow/ZrOwLines.h"

namespace norvex::pipenet {
namespace {

// What a search holds of fewer pipes fits into a processor's nearer caches in any order.
constexpr std::size_t kFewPipes = 8192;
// Pairs of neighbours in the list that tell whether the list goes through space by small steps.
constexpr std::size_t kSamples = 512;
// A small step, as a part of the drawing's width, depth and height together.
constexpr double kSmallStep = 1.0 / 32;
// A list with more large steps than one in so many is put in order.
constexpr std::size_t kLargeSteps = 4;
// Pipes per box, on average; what a search holds of them fits into the nearest cache.
constexpr std::size_t kPipesPerBox = 256;
constexpr std::size_t kMostBoxes = 8192;
// Pipes whose memory is on its way while an earlier one is put into its box.
constexpr std::size_t kAhead = 24;

using Axes = std::array<double, 3>;

bool StartOf(const ZrOwEntity* entity, Axes& start) {
    const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
    if (pipe == nullptr) {
        return false;
    }
    const AcGePoint3d point = pipe->GetStartPoint();
    start = {point.x, point.y, point.z};
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

// What samples of a list tell of its drawing.
struct Survey {
    Axes low{std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
             std::numeric_limits<double>::max()};
    Axes high{std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest(),
              std::numeric_limits<double>::lowest()};
    // Lengths of steps from a pipe's start to that of the next in the list, summed over the axes.
    std::vector<double> steps;

    explicit Survey(const std::vector<ZrOwEntity*>& entities) {
        for (std::size_t sample = 0; sample < kSamples; ++sample) {
            const std::size_t position = sample * (entities.size() - 1) / kSamples;
            Axes here;
            Axes next;
            if (StartOf(entities[position], here) && StartOf(entities[position + 1], next)) {
                double step = 0.0;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    low[axis] = std::min({low[axis], here[axis], next[axis]});
                    high[axis] = std::max({high[axis], here[axis], next[axis]});
                    step += std::abs(here[axis] - next[axis]);
                }
                steps.push_back(step);
            }
        }
    }

    bool GoesBySmallSteps() const {
        const double width = high[0] - low[0] + high[1] - low[1] + high[2] - low[2];
        // Within one place there is nothing to put in order, and a width close to zero is not to be divided by. An
        // infinite width makes every step small.
        const double small = std::max(kPlaceTolerance, kSmallStep * width);
        const auto large = std::count_if(steps.begin(), steps.end(), [small](double step) { return step > small; });
        return kLargeSteps * static_cast<std::size_t>(large) <= steps.size();
    }
};

// Cubes that fill the drawing, numbered so that those with numbers near each other are mostly near each other.
class Boxes {
  public:
    Boxes(const Survey& survey, std::size_t wanted) : m_low(survey.low) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            m_axis[axis] = axis;
        }
        const auto width = [&survey](std::size_t axis) { return survey.high[axis] - survey.low[axis]; };
        std::sort(m_axis.begin(), m_axis.end(),
                  [&width](std::size_t left, std::size_t right) { return width(left) > width(right); });
        double size = width(m_axis[0]);
        do {
            size *= 0.8;
            m_scale = 1.0 / size;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                m_last[axis] = std::floor(width(axis) * m_scale);
            }
        } while (Count() < wanted);
    }

    std::size_t Count() const {
        return static_cast<std::size_t>((m_last[0] + 1.0) * (m_last[1] + 1.0) * (m_last[2] + 1.0));
    }
    // What lies outside, or nowhere, belongs to a box at the border.
    Index Of(const Axes& point) const {
        double box = 0.0;
        for (const std::size_t axis : m_axis) {
            const double along = std::floor((point[axis] - m_low[axis]) * m_scale);
            box = box * (m_last[axis] + 1.0) + (along > 0.0 ? std::min(along, m_last[axis]) : 0.0);
        }
        return static_cast<Index>(box);
    }

  private:
    Axes m_low;
    // The widest first.
    std::array<std::size_t, 3> m_axis{};
    double m_scale = 0.0;
    // Per axis: the number of the last box.
    Axes m_last{};
};

}  // namespace

kernel::LargeVector<Index> OrderInSpace(const std::vector<ZrOwEntity*>& entities) {
    if (entities.size() < kFewPipes) {
        return {};
    }
    const Survey survey(entities);
    if (survey.GoesBySmallSteps()) {
        return {};
    }
    const Boxes boxes(survey, std::min(entities.size() / kPipesPerBox, kMostBoxes));
    kernel::LargeVector<Index> boxOf(entities.size());
    std::vector<Index> begin(boxes.Count() + 1);
    for (std::size_t position = 0; position < entities.size(); ++position) {
        ReadEarly(entities[std::min(position + kAhead, entities.size() - 1)]);
        Axes start;
        boxOf[position] = StartOf(entities[position], start) ? boxes.Of(start) : 0;
        ++begin[boxOf[position] + 1];
    }
    for (std::size_t box = 1; box < begin.size(); ++box) {
        begin[box] += begin[box - 1];
    }
    kernel::LargeVector<Index> order(entities.size());
    for (Index position = 0; position < entities.size(); ++position) {
        order[begin[boxOf[position]]++] = position;
    }
    return order;
}

}  // namespace norvex::pipenet
