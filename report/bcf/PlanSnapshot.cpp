// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/PlanSnapshot.h"

#include <cairo.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <numbers>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "report/bcf/Png.h"

namespace norvex::report::bcf {
namespace {

struct Colour {
    double red;
    double green;
    double blue;
};

constexpr Colour Rgb(std::uint32_t value) {
    return {((value >> 16U) & 0xFFU) / 255.0, ((value >> 8U) & 0xFFU) / 255.0, (value & 0xFFU) / 255.0};
}

// The colours of the report page, the specialties' paled so that what was found stands out.
constexpr Colour kPaper = Rgb(0xFFFFFF);
constexpr Colour kMark = Rgb(0xFF3D8B);
constexpr Colour kMarkEdge = Rgb(0x5C0A30);
constexpr std::array<std::pair<std::string_view, Colour>, 5> kSpecialties{{{"给排水", Rgb(0x8CC1DE)},
                                                                           {"消防", Rgb(0xE3AE8C)},
                                                                           {"暖通", Rgb(0x8CC6B5)},
                                                                           {"电气", Rgb(0xCDBC8C)},
                                                                           {"弱电", Rgb(0xD8B2CB)}}};
constexpr Colour kOtherSpecialty = Rgb(0xB6BABD);

Colour ColourOf(std::string_view specialty) {
    for (const auto& [name, colour] : kSpecialties) {
        if (name == specialty) {
            return colour;
        }
    }
    return kOtherSpecialty;
}

// Places beyond a million kilometres are no places; grids and pixels could not count that far.
constexpr double kFarthest = 1e12;

bool IsNear(const ifc::Point& point) {
    return std::abs(point.x) < kFarthest && std::abs(point.y) < kFarthest && std::abs(point.z) < kFarthest;
}

// Width of what a plan shows at least; less would not tell where in the building it is.
constexpr double kSmallestView = 12000.0;
// How much wider than its focus a plan is.
constexpr double kMargin = 1.6;

bool HasEnds(const ifc::Element& element) {
    return element.kind == ifc::ElementKind::Segment && element.ends != ifc::EndEvidence::None &&
           IsNear(element.start) && IsNear(element.end);
}

}  // namespace

ifc::Box ExtentOf(const ifc::Element& element) {
    ifc::Box box;
    if (!element.box.IsEmpty() && IsNear(element.box.low) && IsNear(element.box.high)) {
        box = element.box;
    }
    if (HasEnds(element)) {
        box.Add(element.start);
        box.Add(element.end);
    } else if (box.IsEmpty() && element.placed && IsNear(element.position)) {
        box.Add(element.position);
    }
    return box;
}

// Finds the elements of a storey that reach into a rectangle: a grid of squares.
class PlanPainter::FloorIndex {
  public:
    FloorIndex(const ifc::BuildingModel& model, std::uint32_t storey) {
        for (std::uint32_t index = 0; index < model.elements.size(); ++index) {
            if (model.elements[index].storey == storey) {
                if (const ifc::Box box = ExtentOf(model.elements[index]); !box.IsEmpty()) {
                    Add(index, box);
                }
            }
        }
    }

    // Indices of elements, ascending; some may lie a little outside.
    std::vector<std::uint32_t> Within(const ifc::Box& box) const {
        std::vector<std::uint32_t> found = m_wide;
        const Range range = RangeOf(box);
        if (range.Size() > kMaxCells) {
            return m_all;
        }
        for (std::int64_t row = range.lowRow; row <= range.highRow; ++row) {
            for (std::int64_t column = range.lowColumn; column <= range.highColumn; ++column) {
                if (const auto cell = m_cells.find(KeyOf(column, row)); cell != m_cells.end()) {
                    found.insert(found.end(), cell->second.begin(), cell->second.end());
                }
            }
        }
        std::sort(found.begin(), found.end());
        found.erase(std::unique(found.begin(), found.end()), found.end());
        return found;
    }

  private:
    // Millimetres; a bay of a building or less.
    static constexpr double kCell = 4000.0;
    // An element in more squares than this is kept apart and always looked at; a view over more looks at everything.
    static constexpr double kMaxCells = 1024.0;

    struct Range {
        std::int64_t lowColumn, highColumn, lowRow, highRow;
        double Size() const {
            return static_cast<double>(highColumn - lowColumn + 1) * static_cast<double>(highRow - lowRow + 1);
        }
    };

    static Range RangeOf(const ifc::Box& box) {
        const auto cell = [](double value) { return static_cast<std::int64_t>(std::floor(value / kCell)); };
        return {cell(box.low.x), cell(box.high.x), cell(box.low.y), cell(box.high.y)};
    }

    static std::uint64_t KeyOf(std::int64_t column, std::int64_t row) {
        return (static_cast<std::uint64_t>(column) << 32U) ^ (static_cast<std::uint64_t>(row) & 0xFFFFFFFFU);
    }

    void Add(std::uint32_t index, const ifc::Box& box) {
        m_all.push_back(index);
        const Range range = RangeOf(box);
        if (range.Size() > kMaxCells) {
            m_wide.push_back(index);
            return;
        }
        for (std::int64_t row = range.lowRow; row <= range.highRow; ++row) {
            for (std::int64_t column = range.lowColumn; column <= range.highColumn; ++column) {
                m_cells[KeyOf(column, row)].push_back(index);
            }
        }
    }

    std::vector<std::uint32_t> m_all;
    std::vector<std::uint32_t> m_wide;
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> m_cells;
};

// The sheet that is drawn on, and how millimetres become pixels.
class PlanPainter::Canvas {
  public:
    Canvas()
        : m_surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth, kHeight)),
          m_context(cairo_create(m_surface)) {
        if (cairo_status(m_context) != CAIRO_STATUS_SUCCESS) {
            cairo_destroy(m_context);
            cairo_surface_destroy(m_surface);
            throw std::bad_alloc();
        }
        cairo_set_line_cap(m_context, CAIRO_LINE_CAP_ROUND);
        cairo_set_line_join(m_context, CAIRO_LINE_JOIN_ROUND);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    ~Canvas() {
        cairo_destroy(m_context);
        cairo_surface_destroy(m_surface);
    }

    // An empty sheet that shows focus and something around it. Returns: what it shows.
    ifc::Box Begin(const ifc::Box& focus) {
        const double aspect = static_cast<double>(kWidth) / kHeight;
        const double width = std::max(
            {kSmallestView, (focus.high.x - focus.low.x) * kMargin, (focus.high.y - focus.low.y) * kMargin * aspect});
        const ifc::Point centre = focus.Centre();
        const ifc::Point half{width / 2.0, width / aspect / 2.0, 0.0};
        m_scale = kWidth / width;
        m_shown = {centre - half, centre + half};
        Ink(kPaper);
        cairo_paint(m_context);
        return m_shown;
    }

    // How strongly something is drawn.
    struct Pen {
        Colour colour;
        double extra;     // pixels that lines and discs are wider
        double smallest;  // pixels that a line is wide at least
    };

    void Draw(const ifc::Element& element, const Pen& pen) {
        Ink(pen.colour);
        if (HasEnds(element)) {
            Line(element, pen);
        } else if (const ifc::Box box = ExtentOf(element); !box.IsEmpty()) {
            if (element.kind == ifc::ElementKind::Fitting || element.kind == ifc::ElementKind::InlineDevice) {
                Disc(box.Centre(), std::max(pen.smallest, element.nominalDiameter * m_scale * 0.7) + pen.extra);
            } else {
                Block(box, pen);
            }
        }
    }

    // A ring around what is too small to be noticed.
    void RingIfSmall(const ifc::Box& focus) {
        constexpr double kRadius = 26.0;
        if (std::max(focus.high.x - focus.low.x, focus.high.y - focus.low.y) * m_scale > kRadius) {
            return;
        }
        const ifc::Point centre = focus.Centre();
        for (const auto& [colour, width] : {std::pair(kMarkEdge, 7.0), std::pair(kMark, 4.0)}) {
            Ink(colour);
            cairo_set_line_width(m_context, width);
            cairo_new_sub_path(m_context);
            cairo_arc(m_context, X(centre.x), Y(centre.y), kRadius, 0.0, 2.0 * std::numbers::pi);
            cairo_stroke(m_context);
        }
    }

    std::string Finish() {
        cairo_surface_flush(m_surface);
        const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(m_surface)) / sizeof(std::uint32_t);
        // A surface of this format is one of 32-bit numbers, and aligned as such.
        const void* const data = cairo_image_surface_get_data(m_surface);
        return EncodePng({static_cast<const std::uint32_t*>(data), kWidth, kHeight, stride});
    }

  private:
    double X(double x) const { return Bounded((x - m_shown.low.x) * m_scale, kWidth); }
    double Y(double y) const { return Bounded((m_shown.high.y - y) * m_scale, kHeight); }
    // The library counts pixels in 24 bits.
    static double Bounded(double pixels, double size) { return std::clamp(pixels, -size, 2.0 * size); }

    void Ink(const Colour& colour) { cairo_set_source_rgb(m_context, colour.red, colour.green, colour.blue); }

    void Line(const ifc::Element& element, const Pen& pen) {
        const double diameter = std::max(element.nominalDiameter, element.outerDiameter);
        const double width = std::max(pen.smallest, diameter * m_scale) + pen.extra;
        ifc::Point start = element.start;
        ifc::Point end = element.end;
        if (Clip(start, end)) {
            cairo_set_line_width(m_context, width);
            cairo_move_to(m_context, X(start.x), Y(start.y));
            cairo_line_to(m_context, X(end.x), Y(end.y));
            cairo_stroke(m_context);
        }
        // A pipe that stands upright is a point on a plan.
        if (std::hypot(X(start.x) - X(end.x), Y(start.y) - Y(end.y)) < width / 2.0) {
            Disc(start, width);
        }
    }

    // Cuts a line at twice the sheet's size around it, so that its direction stays. Returns: whether anything is left.
    bool Clip(ifc::Point& start, ifc::Point& end) const {
        const ifc::Point size = m_shown.high - m_shown.low;
        double from = 0.0;
        double to = 1.0;
        const ifc::Point along = end - start;
        const auto cut = [&](double low, double high, double begin, double step) {
            if (step == 0.0) {
                return begin >= low && begin <= high;
            }
            const double one = (low - begin) / step;
            const double other = (high - begin) / step;
            from = std::max(from, std::min(one, other));
            to = std::min(to, std::max(one, other));
            return from <= to;
        };
        if (!cut(m_shown.low.x - size.x, m_shown.high.x + size.x, start.x, along.x) ||
            !cut(m_shown.low.y - size.y, m_shown.high.y + size.y, start.y, along.y)) {
            return false;
        }
        end = start + along * to;
        start = start + along * from;
        return true;
    }

    void Disc(const ifc::Point& centre, double diameter) {
        cairo_new_sub_path(m_context);
        cairo_arc(m_context, X(centre.x), Y(centre.y), diameter / 2.0, 0.0, 2.0 * std::numbers::pi);
        cairo_fill(m_context);
    }

    void Block(const ifc::Box& box, const Pen& pen) {
        const double grow = (2.0 * pen.smallest + pen.extra) / 2.0;
        cairo_rectangle(m_context, X(box.low.x) - grow, Y(box.high.y) - grow, X(box.high.x) - X(box.low.x) + 2.0 * grow,
                        Y(box.low.y) - Y(box.high.y) + 2.0 * grow);
        cairo_fill(m_context);
    }

    cairo_surface_t* m_surface;
    cairo_t* m_context;
    double m_scale = 1.0;
    ifc::Box m_shown;
};

PlanPainter::PlanPainter(const ifc::BuildingModel& model)
    : m_model(model), m_floors(model.storeys.size() + 1), m_canvas(std::make_unique<Canvas>()) {
}

PlanPainter::~PlanPainter() = default;

const PlanPainter::FloorIndex& PlanPainter::IndexOf(std::uint32_t storey) {
    std::unique_ptr<FloorIndex>& floor = m_floors[std::min<std::size_t>(storey, m_floors.size() - 1)];
    if (floor == nullptr) {
        floor = std::make_unique<FloorIndex>(m_model, storey);
    }
    return *floor;
}

std::string PlanPainter::Paint(std::uint32_t storey, const std::vector<std::uint32_t>& marked, const ifc::Box& focus) {
    const ifc::Box shown = m_canvas->Begin(focus);
    const std::vector<std::uint32_t> around = IndexOf(storey).Within(shown);
    // Large things first, so that pipes and their fittings are not covered.
    for (const bool large : {true, false}) {
        for (const std::uint32_t index : around) {
            const ifc::Element& element = m_model.elements[index];
            const bool isLarge = element.kind == ifc::ElementKind::Equipment;
            if (isLarge == large) {
                m_canvas->Draw(element, {ColourOf(element.specialty), 0.0, 1.5});
            }
        }
    }
    for (const std::uint32_t index : marked) {
        m_canvas->Draw(m_model.elements[index], {kMarkEdge, 4.0, 4.0});
    }
    for (const std::uint32_t index : marked) {
        m_canvas->Draw(m_model.elements[index], {kMark, 1.0, 4.0});
    }
    m_canvas->RingIfSmall(focus);
    return m_canvas->Finish();
}

}  // namespace norvex::report::bcf
