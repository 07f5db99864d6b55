// SPDX-License-Identifier: Apache-2.0
#include "tests/samples/SampleModel.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace norvex::test {
namespace {

struct Axes {
    Triple origin{};
    std::array<Triple, 3> axes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

    Triple Apply(const Triple& local) const {
        Triple out = origin;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            for (std::size_t part = 0; part < 3; ++part) {
                out[part] += axes[axis][part] * local[axis];
            }
        }
        return out;
    }
    Triple Turn(const Triple& local) const {
        Triple out = Apply(local);
        for (std::size_t part = 0; part < 3; ++part) {
            out[part] -= origin[part];
        }
        return out;
    }
    Axes Then(const Axes& inner) const {
        Axes out;
        out.origin = Apply(inner.origin);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            out.axes[axis] = Turn(inner.axes[axis]);
        }
        return out;
    }
};

Triple Normal(const Triple& a) {
    const double length = std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
    return {a[0] / length, a[1] / length, a[2] / length};
}

Triple Perpendicular(const Triple& a, const Triple& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

class Builder {
  public:
    explicit Builder(const StepFile& file) : file_(file) {}

    SampleModel Build() {
        ReadUnit();
        for (const auto& [id, instance] : file_.instances) {
            if (instance.className == "IFCBUILDINGSTOREY") {
                model_.storeys[id] = TextOf(instance.attributes.at(2));
            } else if (IsElement(instance)) {
                ReadElement(id, instance);
            }
        }
        for (const auto& [id, instance] : file_.instances) {
            ReadRelation(id, instance);
        }
        return std::move(model_);
    }

  private:
    // Elements have a placement, a shape, a tag and an enumerated kind at these places; their types have not.
    static bool IsElement(const StepInstance& instance) {
        return instance.attributes.size() == 9 && instance.attributes[5].starts_with('#') &&
               instance.attributes[6].starts_with('#');
    }

    const StepInstance& At(std::uint32_t id) const { return file_.instances.at(id); }

    void ReadUnit() {
        for (const auto& [id, instance] : file_.instances) {
            if (instance.className == "IFCSIUNIT" && instance.attributes[1] == ".LENGTHUNIT.") {
                model_.unit = instance.attributes[2] == ".MILLI." ? 1.0 : 1000.0;
            }
        }
    }

    Triple ReadTriple(std::uint32_t id, double scale) const {
        const std::vector<double> numbers = NumbersIn(At(id).attributes.at(0));
        return {numbers.at(0) * scale, numbers.at(1) * scale, numbers.at(2) * scale};
    }

    Axes ReadAxes(std::uint32_t id) {
        const StepInstance& instance = At(id);
        Axes axes;
        axes.origin = ReadTriple(ReferenceOf(instance.attributes.at(0)), model_.unit);
        if (const std::uint32_t z = ReferenceOf(instance.attributes.at(1))) {
            axes.axes[2] = Normal(ReadTriple(z, 1.0));
            axes.axes[0] = Normal(ReadTriple(ReferenceOf(instance.attributes.at(2)), 1.0));
            axes.axes[1] = Perpendicular(axes.axes[2], axes.axes[0]);
            const double skew = std::abs(Normal(axes.axes[1])[0] - axes.axes[1][0]) +
                                std::abs(Normal(axes.axes[1])[1] - axes.axes[1][1]) +
                                std::abs(Normal(axes.axes[1])[2] - axes.axes[1][2]);
            if (skew > 1e-9) {
                model_.faults.push_back("axes are not square: #" + std::to_string(id));
            }
        }
        return axes;
    }

    Axes ReadPlacement(std::uint32_t id) {
        const StepInstance& instance = At(id);
        const Axes own = ReadAxes(ReferenceOf(instance.attributes.at(1)));
        const std::uint32_t parent = ReferenceOf(instance.attributes.at(0));
        return parent == 0 ? own : ReadPlacement(parent).Then(own);
    }

    void ReadSolid(SampleElement& element, const Axes& world, const StepInstance& solid) {
        const StepInstance& profile = At(ReferenceOf(solid.attributes.at(0)));
        const Axes axes = world.Then(ReadAxes(ReferenceOf(solid.attributes.at(1))));
        const double depth = NumberOf(solid.attributes.at(3)) * model_.unit;
        if (element.IsSegment()) {
            element.ends = {axes.Apply({0, 0, 0}), axes.Apply({0, 0, depth})};
        }
        for (std::size_t part = 0; part < 3; ++part) {
            double reach = 0.0;
            if (profile.className == "IFCCIRCLEPROFILEDEF") {
                const double along = axes.axes[2][part];
                reach =
                    NumberOf(profile.attributes.at(3)) * model_.unit * std::sqrt(std::max(0.0, 1.0 - along * along));
            } else {
                reach = 0.5 * model_.unit *
                        (std::abs(axes.axes[0][part]) * NumberOf(profile.attributes.at(3)) +
                         std::abs(axes.axes[1][part]) * NumberOf(profile.attributes.at(4)));
            }
            const double from = axes.origin[part];
            const double to = from + axes.axes[2][part] * depth;
            element.low[part] = std::min(element.low[part], std::min(from, to) - reach);
            element.high[part] = std::max(element.high[part], std::max(from, to) + reach);
        }
    }

    void ReadItems(SampleElement& element, const Axes& world, const StepInstance& representation) {
        for (const std::uint32_t id : ReferencesIn(representation.attributes.at(3))) {
            const StepInstance& item = At(id);
            if (item.className == "IFCEXTRUDEDAREASOLID") {
                ReadSolid(element, world, item);
            } else if (item.className == "IFCMAPPEDITEM") {
                const StepInstance& map = At(ReferenceOf(item.attributes.at(0)));
                ReadItems(element, world, At(ReferenceOf(map.attributes.at(1))));
            } else if (item.className == "IFCPOLYLINE") {
                for (const std::uint32_t point : ReferencesIn(item.attributes.at(0))) {
                    element.ends.push_back(world.Apply(ReadTriple(point, model_.unit)));
                }
            } else {
                model_.faults.push_back("a shape of class " + item.className);
            }
        }
    }

    void ReadElement(std::uint32_t id, const StepInstance& instance) {
        SampleElement& element = model_.elements[id];
        element.id = id;
        element.className = instance.className;
        element.globalId = TextOf(instance.attributes[0]);
        const Axes world = ReadPlacement(ReferenceOf(instance.attributes[5]));
        const StepInstance& shape = At(ReferenceOf(instance.attributes[6]));
        for (const std::uint32_t representation : ReferencesIn(shape.attributes.at(2))) {
            ReadItems(element, world, At(representation));
        }
    }

    void ReadPort(std::uint32_t id, std::uint32_t element) {
        const StepInstance& instance = At(id);
        SamplePort& port = model_.ports[id];
        if (port.id != 0) {
            model_.faults.push_back("a port of two elements: #" + std::to_string(id));
        }
        port = {id, element, ReadPlacement(ReferenceOf(instance.attributes.at(5))).Apply({0, 0, 0}),
                instance.attributes.at(7)};
        model_.elements.at(element).ports.push_back(id);
    }

    void ReadRelation(std::uint32_t id, const StepInstance& instance) {
        if (instance.className == "IFCRELNESTS") {
            for (const std::uint32_t port : ReferencesIn(instance.attributes.at(5))) {
                ReadPort(port, ReferenceOf(instance.attributes.at(4)));
            }
        } else if (instance.className == "IFCRELCONNECTSPORTTOELEMENT") {
            ReadPort(ReferenceOf(instance.attributes.at(4)), ReferenceOf(instance.attributes.at(5)));
        } else if (instance.className == "IFCRELCONNECTSPORTS") {
            model_.connections.push_back(
                {ReferenceOf(instance.attributes.at(4)), ReferenceOf(instance.attributes.at(5))});
        } else if (instance.className == "IFCRELCONTAINEDINSPATIALSTRUCTURE") {
            for (const std::uint32_t element : ReferencesIn(instance.attributes.at(4))) {
                if (std::exchange(model_.elements.at(element).storey, ReferenceOf(instance.attributes.at(5))) != 0) {
                    model_.faults.push_back("an element on two storeys: #" + std::to_string(id));
                }
            }
        }
    }

    const StepFile& file_;
    SampleModel model_;
};

// Groups of numbers that only ever grow together.
class Groups {
  public:
    std::size_t Find(std::size_t item) {
        while (Parent(item) != item) {
            item = parents_[item] = parents_[parents_[item]];
        }
        return item;
    }
    void Join(std::size_t first, std::size_t second) { parents_[Find(first)] = Find(second); }

  private:
    std::size_t Parent(std::size_t item) { return parents_.try_emplace(item, item).first->second; }
    std::map<std::size_t, std::size_t> parents_;
};

bool JoinsPipes(const SampleElement& element) {
    return element.className.ends_with("FITTING") || element.className == "IFCVALVE" ||
           element.className == "IFCFLOWMETER" || element.className == "IFCDAMPER";
}

struct Edge {
    std::array<std::size_t, 2> nodes{};
    const SampleElement* pipe = nullptr;
};

// Takes off edges with a free end until none is left.
void StripBranches(std::vector<Edge>& edges) {
    for (bool changed = true; changed;) {
        std::map<std::size_t, int> degree;
        for (const Edge& edge : edges) {
            ++degree[edge.nodes[0]];
            ++degree[edge.nodes[1]];
        }
        changed = std::erase_if(edges, [&](const Edge& edge) {
                      return degree[edge.nodes[0]] == 1 || degree[edge.nodes[1]] == 1;
                  }) > 0;
    }
}

// Takes off edges that no closed way uses: those whose ends part when they are gone.
void StripBridges(std::vector<Edge>& edges) {
    std::vector<Edge> kept;
    for (const Edge& edge : edges) {
        Groups others;
        for (const Edge& other : edges) {
            if (other.pipe != edge.pipe) {
                others.Join(other.nodes[0], other.nodes[1]);
            }
        }
        if (others.Find(edge.nodes[0]) == others.Find(edge.nodes[1])) {
            kept.push_back(edge);
        }
    }
    edges = std::move(kept);
}

}  // namespace

double DistanceBetween(const Triple& a, const Triple& b) {
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

SampleModel BuildSampleModel(const StepFile& file) {
    return Builder(file).Build();
}

std::map<std::uint32_t, std::vector<std::set<std::string>>> LoopsByFloor(const SampleModel& model) {
    // A port stands for itself; the ports of a joining part and the two ports of a connection are one node.
    Groups nodes;
    for (const auto& [id, element] : model.elements) {
        for (const std::uint32_t port : element.ports) {
            if (JoinsPipes(element)) {
                nodes.Join(port, element.ports.front());
            }
        }
    }
    for (const auto& [first, second] : model.connections) {
        nodes.Join(first, second);
    }
    std::map<std::uint32_t, std::vector<Edge>> edgesByFloor;
    for (const auto& [id, element] : model.elements) {
        if (element.IsSegment() && element.ports.size() == 2) {
            edgesByFloor[element.storey].push_back(
                {{nodes.Find(element.ports[0]), nodes.Find(element.ports[1])}, &element});
        }
    }
    std::map<std::uint32_t, std::vector<std::set<std::string>>> loops;
    for (auto& [floor, edges] : edgesByFloor) {
        StripBranches(edges);
        StripBridges(edges);
        Groups networks;
        for (const Edge& edge : edges) {
            networks.Join(edge.nodes[0], edge.nodes[1]);
        }
        std::map<std::size_t, std::set<std::string>> found;
        for (const Edge& edge : edges) {
            found[networks.Find(edge.nodes[0])].insert(edge.pipe->globalId);
        }
        for (auto& [network, pipes] : found) {
            loops[floor].push_back(std::move(pipes));
        }
    }
    return loops;
}

}  // namespace norvex::test
