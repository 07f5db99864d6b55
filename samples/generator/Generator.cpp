// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Generator.h"

#include "samples/generator/Wing.h"

#include <algorithm>
#include <cassert>
#include <ostream>
#include <streambuf>

namespace norvex::samples {
namespace {

// A wing grows longer before the building gets another one.
constexpr std::size_t kBaysPerWing = 8;

// Takes what is written and keeps nothing.
class NullBuffer : public std::streambuf {
  protected:
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
    int_type overflow(int_type character) override { return traits_type::not_eof(character); }
};

std::string StoreyLongName(int floor) {
    return floor == 0 ? "Ground floor 首层" : "Floor " + std::to_string(floor + 1);
}

Summary Write(const Options& options, const std::vector<std::size_t>& baysOfWings, std::ostream& out) {
    Summary summary;
    Model model(out, options.unit, options.ports, Key::Root(options.seed));
    model.Begin(options.fileName, "Sample building 示例楼");
    for (int floor = 0; floor < options.floors; ++floor) {
        model.AddStorey(std::to_string(floor + 1) + "层", StoreyLongName(floor), kStoreyHeight * floor);
    }
    for (std::size_t index = 0; index < baysOfWings.size(); ++index) {
        Wing wing(options, model, summary, index, static_cast<int>(baysOfWings[index]));
        DrawWater(wing);
        DrawFire(wing);
        DrawHeating(wing);
        DrawAir(wing);
        DrawElectric(wing);
    }
    model.End();
    summary.elements = model.Elements();
    summary.instances = model.Instances();
    return summary;
}

std::size_t CountElements(const Options& options, std::size_t bays) {
    NullBuffer buffer;
    std::ostream nowhere(&buffer);
    Options plain = options;
    plain.plants.clear();
    return Write(plain, {bays}, nowhere).elements;
}

// Returns: the bays of each wing, so that the building has about options.size elements. A wing's elements grow by the
// same number with every bay, so two small buildings tell what any one will have.
std::vector<std::size_t> PlanWings(const Options& options) {
    if (options.size == 0) {
        return {static_cast<std::size_t>(options.bays)};
    }
    const std::size_t oneBay = CountElements(options, 1);
    const std::size_t perBay = CountElements(options, 2) - oneBay;
    const std::size_t perWing = oneBay - perBay;
    const std::size_t fullWing = perWing + perBay * kBaysPerWing;
    const std::size_t wings = std::max<std::size_t>(1, (options.size + fullWing / 2) / fullWing);
    const std::size_t inBays = options.size > wings * perWing ? options.size - wings * perWing : 0;
    const std::size_t bays = std::max(wings, (inBays + perBay / 2) / perBay);
    std::vector<std::size_t> plan(wings, bays / wings);
    for (std::size_t index = 0; index < bays % wings; ++index) {
        ++plan[index];
    }
    return plan;
}

std::string_view VerdictName(Verdict verdict) {
    switch (verdict) {
        case Verdict::Finding:
            return "finding";
        case Verdict::Silent:
            return "silent";
        case Verdict::Notice:
            return "notice";
        case Verdict::Other:
            break;
    }
    return "other";
}

}  // namespace

Summary Generate(const Options& options, std::ostream& out) {
    assert(options.floors >= 1 && options.bays >= 1);
    assert(options.floors >= 2 || !options.plants.contains(Plant::StoreyLoop));
    return Write(options, PlanWings(options), out);
}

std::string ExpectationTable(std::span<const Expectation> expectations, bool others) {
    std::string text = "verdict\trule\tplant\tfloor\tspecialty\tseverity\telements\tglobalIds\treason\n";
    for (const Expectation& each : expectations) {
        const bool isOther = each.verdict == Verdict::Notice || each.verdict == Verdict::Other;
        if (isOther != others) {
            continue;
        }
        std::string ids;
        for (const std::string& id : each.globalIds) {
            ids += (ids.empty() ? "" : " ") + id;
        }
        const auto field = [](const std::string& value) { return value.empty() ? std::string("-") : value; };
        text += std::string(VerdictName(each.verdict)) + "\t" + each.rule + "\t" + each.plant + "\t" +
                field(each.storey) + "\t" + each.specialty + "\t" + field(each.severity) + "\t" +
                std::to_string(each.globalIds.size()) + "\t" + ids + "\t" + each.reason + "\n";
    }
    return text;
}

}  // namespace norvex::samples
