// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/PlanSnapshot.h"

#include <cairo.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <new>
#include <numbers>
#include <string_view>
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
// How much wider than its focus a plan is at least.
constexpr double kMargin = 1.6;
// Each level of scale shows this much more, a fourth root of two: no picture is much smaller than it need be, and many
// are of one scale.
constexpr double kLevelStep = 1.189207115002721;
// A sheet is a picture and a half in both directions, so that all pictures whose middles lie within a half can be cut
// from it.
constexpr int kSpareWidth = PlanPainter::kWidth / 2;
constexpr int kSpareHeight = PlanPainter::kHeight / 2;
constexpr int kSheetWidth = PlanPainter::kWidth + kSpareWidth;
constexpr int kSheetHeight = PlanPainter::kHeight + kSpareHeight;

// Looks at elements that all sheets of a storey may take together for each of its elements; one lies on nine sheets
// of a scale at most unless it is large, and few scales are used. Only crowds of things as large as the building take
// more, and then a sheet shows as much as is left to it.
constexpr std::uint64_t kLooksForEachElement = 64;
// Looks that each sheet may take whatever the others took.
constexpr std::uint64_t kLooksForEachSheet = 2000;

// Millimetres that a pixel shows.
double PixelSize(int level) {
    return kSmallestView * std::pow(kLevelStep, level) / PlanPainter::kWidth;
}

// A coordinate that can be counted in pixels.
double Bounded(double value) {
    return std::isnan(value) ? 0.0 : std::clamp(value, -kFarthest, kFarthest);
}

// The whole number of pixels nearest to the middle of the focus; rows count southward.
struct Middle {
    std::int64_t column;
    std::int64_t row;
};

Middle MiddleOf(const ifc::Box& focus, double pixel) {
    return {std::llround(Bounded(focus.low.x / 2.0 + focus.high.x / 2.0) / pixel),
            -std::llround(Bounded(focus.low.y / 2.0 + focus.high.y / 2.0) / pixel)};
}

std::int64_t FloorOfQuotient(std::int64_t value, std::int64_t divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

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

// Finds the elements of a storey that reach into a rectangle. There is a grid for each size of elements, twice as
// coarse as the one before; an element stands in the square of its middle, and reaches half a square beyond it at most.
class PlanPainter::FloorIndex {
  public:
    FloorIndex(const ifc::BuildingModel& model, const std::vector<std::uint32_t>& elements)
        : m_model(model), m_looksLeft(kLooksForEachElement * elements.size()) {
        for (const std::uint32_t index : elements) {
            if (const ifc::Box box = ExtentOf(model.elements[index]); !box.IsEmpty()) {
                Add(index, box);
            }
        }
    }

    // Indices of elements, ascending; some may lie a little outside. The largest are looked for first, as long as looks
    // are left. `steps` grows by the looks that it took.
    std::vector<std::uint32_t> Within(const ifc::Box& box, std::uint64_t& steps) {
        std::vector<std::uint32_t> found;
        std::uint64_t looks = 0;
        const std::uint64_t most = m_looksLeft + kLooksForEachSheet;
        for (auto grid = m_grids.rbegin(); grid != m_grids.rend() && looks < most; ++grid) {
            AddFrom(grid->first, grid->second, box, most, looks, found);
        }
        m_looksLeft -= std::min(m_looksLeft, looks - std::min(looks, kLooksForEachSheet));
        steps += looks;
        std::sort(found.begin(), found.end());
        return found;
    }

  private:
    // Millimetres; the side of the finest squares: what most elements are smaller than.
    static constexpr double kSmallestSquare = 1000.0;

    using Square = std::pair<std::int64_t, std::int64_t>;  // row and column
    using Grid = std::map<Square, std::vector<std::uint32_t>>;

    static std::int64_t Number(double value, double side) {
        return static_cast<std::int64_t>(std::floor(value / side));
    }

    void Add(std::uint32_t index, const ifc::Box& box) {
        const double size = std::max(box.high.x - box.low.x, box.high.y - box.low.y);
        int level = 0;
        while (std::ldexp(kSmallestSquare, level) < size) {
            ++level;
        }
        const double side = std::ldexp(kSmallestSquare, level);
        const ifc::Point centre = box.Centre();
        m_grids[level][{Number(centre.y, side), Number(centre.x, side)}].push_back(index);
    }

    // Goes through the squares that hold anything, row by row; each square and each element is a look.
    void AddFrom(int level, const Grid& grid, const ifc::Box& box, std::uint64_t most, std::uint64_t& looks,
                 std::vector<std::uint32_t>& found) const {
        const double side = std::ldexp(kSmallestSquare, level);
        const std::int64_t lowColumn = Number(box.low.x - side / 2.0, side);
        const std::int64_t highColumn = Number(box.high.x + side / 2.0, side);
        const std::int64_t highRow = Number(box.high.y + side / 2.0, side);
        auto square = grid.lower_bound({Number(box.low.y - side / 2.0, side), lowColumn});
        while (square != grid.end() && square->first.first <= highRow && looks < most) {
            ++looks;
            const auto [row, column] = square->first;
            if (column < lowColumn) {
                square = grid.lower_bound({row, lowColumn});
            } else if (column > highColumn) {
                square = grid.lower_bound({row + 1, lowColumn});
            } else {
                Take(square->second, box, most, looks, found);
                ++square;
            }
        }
    }

    void Take(const std::vector<std::uint32_t>& elements, const ifc::Box& box, std::uint64_t most, std::uint64_t& looks,
              std::vector<std::uint32_t>& found) const {
        for (const std::uint32_t index : elements) {
            if (++looks > most) {
                return;
            }
            const ifc::Box extent = ExtentOf(m_model.elements[index]);
            if (extent.low.x <= box.high.x && extent.high.x >= box.low.x && extent.low.y <= box.high.y &&
                extent.high.y >= box.low.y) {
                found.push_back(index);
            }
        }
    }

    const ifc::BuildingModel& m_model;
    std::map<int, Grid> m_grids;
    std::uint64_t m_looksLeft;
};

namespace {

// What is drawn on, and how millimetres become pixels.
class Paper {
  public:
    Paper(int width, int height)
        : m_width(width),
          m_height(height),
          m_surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)),
          m_context(cairo_create(m_surface)) {
        if (cairo_status(m_context) != CAIRO_STATUS_SUCCESS) {
            cairo_destroy(m_context);
            cairo_surface_destroy(m_surface);
            throw std::bad_alloc();
        }
        cairo_set_line_cap(m_context, CAIRO_LINE_CAP_ROUND);
        cairo_set_line_join(m_context, CAIRO_LINE_JOIN_ROUND);
    }
    Paper(const Paper&) = delete;
    Paper& operator=(const Paper&) = delete;
    ~Paper() {
        cairo_destroy(m_context);
        cairo_surface_destroy(m_surface);
    }

    // From now on it shows what begins at this pixel of the plan. Returns: what that is, in millimetres.
    const ifc::Box& Show(std::int64_t column, std::int64_t row, double pixel) {
        m_scale = 1.0 / pixel;
        m_shown = {ifc::Point{static_cast<double>(column) * pixel, -static_cast<double>(row + m_height) * pixel, 0.0},
                   ifc::Point{static_cast<double>(column + m_width) * pixel, -static_cast<double>(row) * pixel, 0.0}};
        return m_shown;
    }

    void Clear() {
        Ink(kPaper);
        cairo_paint(m_context);
    }

    // Takes over what the other paper has from this pixel of it on.
    void CopyFrom(const Paper& other, std::int64_t column, std::int64_t row) {
        other.FinishDrawing();
        FinishDrawing();
        const auto from = static_cast<std::size_t>(cairo_image_surface_get_stride(other.m_surface));
        const auto to = static_cast<std::size_t>(cairo_image_surface_get_stride(m_surface));
        const unsigned char* source = cairo_image_surface_get_data(other.m_surface) +
                                      static_cast<std::size_t>(row) * from +
                                      static_cast<std::size_t>(column) * sizeof(std::uint32_t);
        unsigned char* target = cairo_image_surface_get_data(m_surface);
        for (int line = 0; line < m_height; ++line, source += from, target += to) {
            std::memcpy(target, source, static_cast<std::size_t>(m_width) * sizeof(std::uint32_t));
        }
        cairo_surface_mark_dirty(m_surface);
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
        FinishDrawing();
        const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(m_surface)) / sizeof(std::uint32_t);
        // A surface of this format is one of 32-bit numbers, and aligned as such.
        const void* const data = cairo_image_surface_get_data(m_surface);
        return EncodePng({static_cast<const std::uint32_t*>(data), static_cast<std::size_t>(m_width),
                          static_cast<std::size_t>(m_height), stride});
    }

  private:
    // From here on the pixels are what was drawn. Errors: std::bad_alloc, which the library keeps until it is asked.
    void FinishDrawing() const {
        cairo_surface_flush(m_surface);
        if (cairo_status(m_context) != CAIRO_STATUS_SUCCESS ||
            cairo_surface_status(m_surface) != CAIRO_STATUS_SUCCESS) {
            throw std::bad_alloc();
        }
    }
    double X(double x) const { return Near((x - m_shown.low.x) * m_scale, m_width); }
    double Y(double y) const { return Near((m_shown.high.y - y) * m_scale, m_height); }
    // The library counts pixels in 24 bits.
    static double Near(double pixels, double size) { return std::clamp(pixels, -size, 2.0 * size); }

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

    int m_width;
    int m_height;
    cairo_surface_t* m_surface;
    cairo_t* m_context;
    double m_scale = 1.0;
    ifc::Box m_shown;
};

}  // namespace

class PlanPainter::Canvas {
  public:
    Paper sheet{kSheetWidth, kSheetHeight};
    Paper picture{kWidth, kHeight};
};

PlanPainter::PlanPainter(const ifc::BuildingModel& model, std::function<bool()> shouldStop)
    : m_model(model),
      m_shouldStop(std::move(shouldStop)),
      m_elements(model.storeys.size() + 1),
      m_floors(model.storeys.size() + 1),
      m_canvas(std::make_unique<Canvas>()) {
    for (std::uint32_t index = 0; index < model.elements.size(); ++index) {
        const std::size_t storey = model.elements[index].storey;
        m_elements[std::min(storey, m_elements.size() - 1)].push_back(index);
    }
}

PlanPainter::~PlanPainter() = default;

PlanPainter::FloorIndex& PlanPainter::IndexOf(std::uint32_t storey) {
    const std::size_t position = std::min<std::size_t>(storey, m_floors.size() - 1);
    std::unique_ptr<FloorIndex>& floor = m_floors[position];
    if (floor == nullptr) {
        floor = std::make_unique<FloorIndex>(m_model, m_elements[position]);
        m_steps += m_elements[position].size();
    }
    return *floor;
}

Sheet PlanPainter::SheetOf(std::uint32_t storey, const ifc::Box& focus) {
    constexpr double kAspect = static_cast<double>(kWidth) / kHeight;
    const double width = std::max(Bounded(focus.high.x - focus.low.x), Bounded(focus.high.y - focus.low.y) * kAspect);
    int level = 0;
    while (PixelSize(level) * kWidth < width * kMargin) {
        ++level;
    }
    const Middle middle = MiddleOf(focus, PixelSize(level));
    return {storey, level, FloorOfQuotient(middle.column, kSpareWidth), FloorOfQuotient(middle.row, kSpareHeight)};
}

bool PlanPainter::DrawElements(const std::vector<std::uint32_t>& elements, bool large) {
    // Drawing this many takes a hundredth of a second.
    constexpr std::uint64_t kBetweenQuestions = 256;
    std::uint64_t drawn = 0;
    for (const std::uint32_t index : elements) {
        const ifc::Element& element = m_model.elements[index];
        if ((element.kind == ifc::ElementKind::Equipment) != large) {
            continue;
        }
        if (++drawn % kBetweenQuestions == 0 && m_shouldStop && m_shouldStop()) {
            return false;
        }
        m_canvas->sheet.Draw(element, {ColourOf(element.specialty), 0.0, 1.5});
        ++m_steps;
    }
    return true;
}

bool PlanPainter::DrawSheet(const Sheet& sheet) {
    m_sheet.reset();
    const double pixel = PixelSize(sheet.level);
    const ifc::Box shown =
        m_canvas->sheet.Show(sheet.column * kSpareWidth - kWidth / 2, sheet.row * kSpareHeight - kHeight / 2, pixel);
    m_canvas->sheet.Clear();
    // Of what lies just outside, half the width of its line shows.
    constexpr double kWidestLine = 1000.0;
    constexpr double kPenWidths = 4.0;
    const std::vector<std::uint32_t> around =
        IndexOf(sheet.storey).Within(shown.Grown(kWidestLine + kPenWidths * pixel), m_steps);
    // Large things first, so that pipes and their fittings are not covered.
    if (!DrawElements(around, true) || !DrawElements(around, false)) {
        return false;
    }
    m_sheet = sheet;
    return true;
}

std::optional<std::string> PlanPainter::Paint(std::uint32_t storey, const std::vector<std::uint32_t>& marked,
                                              const ifc::Box& focus) {
    const Sheet sheet = SheetOf(storey, focus);
    if ((m_shouldStop && m_shouldStop()) || (m_sheet != sheet && !DrawSheet(sheet))) {
        return std::nullopt;
    }
    const double pixel = PixelSize(sheet.level);
    const Middle middle = MiddleOf(focus, pixel);
    Paper& picture = m_canvas->picture;
    picture.CopyFrom(m_canvas->sheet, middle.column - sheet.column * kSpareWidth,
                     middle.row - sheet.row * kSpareHeight);
    picture.Show(middle.column - kWidth / 2, middle.row - kHeight / 2, pixel);
    for (const std::uint32_t index : marked) {
        picture.Draw(m_model.elements[index], {kMarkEdge, 4.0, 4.0});
    }
    for (const std::uint32_t index : marked) {
        picture.Draw(m_model.elements[index], {kMark, 1.0, 4.0});
    }
    picture.RingIfSmall(focus);
    return picture.Finish();
}

}  // namespace norvex::report::bcf
