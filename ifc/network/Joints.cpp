// SPDX-License-Identifier: Apache-2.0
#include "ifc/network/Joints.h"

#include "ifc/LargePages.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

namespace norvex::ifc {

namespace {

// A port this far outside its fitting's body belongs to something else's end.
constexpr double kOwnReach = 5.0;  // mm
// Pulls a junction towards the middle of what meets there where the axes leave it free; small enough to move an
// intersection of axes by less than a thousandth of a millimetre.
constexpr double kPull = 1e-6;

constexpr std::size_t kSomeCandidates = 256;

// Solves a symmetric 3x3 system by Cramer's rule. Returns: false when it is singular.
bool Solve(const std::array<Point, 3>& rows, const Point& right, Point& solution) {
    const double determinant = Dot(rows[0], Cross(rows[1], rows[2]));
    if (!(std::abs(determinant) > 1e-30)) {
        return false;
    }
    // The rows are also the columns.
    solution = {Dot(right, Cross(rows[1], rows[2])) / determinant, Dot(rows[0], Cross(right, rows[2])) / determinant,
                Dot(rows[0], Cross(rows[1], right)) / determinant};
    return IsFinite(solution);
}

}  // namespace

double DistanceToBody(const NetworkInput& input, std::uint32_t element, const Point& point) {
    const Body& body = input.bodies[element];
    double nearest = std::numeric_limits<double>::infinity();
    if (body.partCount == 0) {
        return nearest;
    }
    const std::optional<Point> local = ToLocal(body.frame, point);
    if (!local) {
        return nearest;
    }
    for (std::uint32_t i = 0; i < body.partCount; ++i) {
        const Box& part = input.parts[body.firstPart + i];
        const Point within{std::clamp(local->x, part.low.x, part.high.x), std::clamp(local->y, part.low.y, part.high.y),
                           std::clamp(local->z, part.low.z, part.high.z)};
        nearest = std::min(nearest, Length(body.frame.Turn(*local - within)));
    }
    return nearest;
}

Joints::Joints(const NetworkInput& input, BuildingModel& model) : input_(input), model_(model) {
    GroupPorts();
    portEnd_.assign(input.ports.size(), ElementEnd::None);
    remote_.assign(input.ports.size(), false);
    portAtEnd_.assign(2 * model.elements.size(), false);
    for (std::uint32_t i = 0; i < model.elements.size(); ++i) {
        if (model.elements[i].kind == ElementKind::Segment) {
            PlaceSegment(i);
        }
    }
    MarkRemotePorts();
    MakeNodes();
}

void Joints::GroupPorts() {
    firstPort_.assign(model_.elements.size() + 1, 0);
    for (const NetworkPort& port : input_.ports) {
        if (port.element != kNoIndex) {
            ++firstPort_[port.element + 1];
        }
    }
    for (std::size_t i = 1; i < firstPort_.size(); ++i) {
        firstPort_[i] += firstPort_[i - 1];
    }
    portsByElement_.resize(firstPort_.back());
    std::vector<std::uint32_t> next(firstPort_.begin(), firstPort_.end() - 1);
    for (std::uint32_t port = 0; port < input_.ports.size(); ++port) {
        if (input_.ports[port].element != kNoIndex) {
            portsByElement_[next[input_.ports[port].element]++] = port;
        }
    }
}

void Joints::PlaceSegment(std::uint32_t index) {
    Element& element = model_.elements[index];
    const std::uint32_t* first = portsByElement_.data() + firstPort_[index];
    const std::uint32_t* last = portsByElement_.data() + firstPort_[index + 1];
    std::vector<std::uint32_t> placed;
    std::copy_if(first, last, std::back_inserter(placed),
                 [&](std::uint32_t port) { return input_.ports[port].placed; });
    const auto at = [&](std::uint32_t port) { return input_.ports[port].position; };
    if (placed.size() == 2 && Distance(at(placed[0]), at(placed[1])) > 1e-6) {
        const bool bent = element.ends == EndEvidence::SweptDisk;
        element.ends = EndEvidence::Ports;
        element.start = at(placed[0]);
        element.end = at(placed[1]);
        element.length = std::max(Distance(element.start, element.end), bent ? element.length : 0.0);
        portEnd_[placed[0]] = ElementEnd::Start;
        portEnd_[placed[1]] = ElementEnd::End;
        portAtEnd_[2 * std::size_t{index}] = portAtEnd_[2 * std::size_t{index} + 1] = true;
        return;
    }
    if (element.ends == EndEvidence::None) {
        // Without any place the first two ports stand for the two ends.
        for (const std::uint32_t* port = first; last - first <= 2 && port != last; ++port) {
            portEnd_[*port] = port == first ? ElementEnd::Start : ElementEnd::End;
        }
        return;
    }
    for (const std::uint32_t port : placed) {
        const double toStart = Distance(at(port), element.start);
        const double toEnd = Distance(at(port), element.end);
        if (std::min(toStart, toEnd) > kAxisReach) {
            continue;
        }
        portEnd_[port] = toStart <= toEnd ? ElementEnd::Start : ElementEnd::End;
        portAtEnd_[2 * std::size_t{index} + (toStart <= toEnd ? 0 : 1)] = true;
    }
}

// Some exporters let a bend own the pipe before it: one of its ports lies at the bend before. Taken at its word that
// would draw both bends, and with them the whole line, into one point.
void Joints::MarkRemotePorts() {
    std::optional<SpatialHash> ends;
    for (std::uint32_t port = 0; port < input_.ports.size(); ++port) {
        const NetworkPort& one = input_.ports[port];
        if (one.element != kNoIndex && one.placed && IsHub(model_.elements[one.element].kind)) {
            remote_[port] = LiesAway(port, ends);
        }
    }
}

// All ends of segments by place.
SpatialHash Joints::HashEnds() const {
    SpatialHash ends(kAxisReach);
    for (std::uint32_t i = 0; i < model_.elements.size(); ++i) {
        const Element& element = model_.elements[i];
        if (element.kind == ElementKind::Segment && element.ends != EndEvidence::None) {
            ends.Add(element.start, 2 * i);
            ends.Add(element.end, 2 * i + 1);
        }
    }
    ends.Build();
    return ends;
}

// `ends` is filled when they are needed: bodies answer for the ports of most models.
bool Joints::LiesAway(std::uint32_t port, std::optional<SpatialHash>& ends) const {
    const Point at = input_.ports[port].position;
    const std::uint32_t element = input_.ports[port].element;
    if (!input_.hasOrigin[element]) {
        return false;
    }
    const double away = DistanceToBody(input_, element, at);
    const bool hasBody = std::isfinite(away);
    if (hasBody && away <= kOwnReach) {
        return false;
    }
    if (hasBody && away > kAxisReach) {
        return true;
    }
    if (!ends) {
        ends = HashEnds();
    }
    // Is there a pipe from the port to the fitting's own place?
    const Point home = model_.elements[element].position;
    bool between = false;
    std::size_t looked = 0;
    ends->Around(at, kAxisReach, [&](std::uint32_t end) {
        const Element& segment = model_.elements[end / 2];
        const Point near = (end & 1) != 0 ? segment.end : segment.start;
        const Point far = (end & 1) != 0 ? segment.start : segment.end;
        between = Distance(near, at) <= kAxisReach && Distance(far, home) <= kAxisReach &&
                  Distance(near, at) < Distance(far, at);
        return !between && ++looked < kSomeCandidates;
    });
    return between;
}

void Joints::MakeNodes() {
    ReserveInLargePages(nodes_, 2 * model_.elements.size() + input_.ports.size());
    firstNode_.assign(model_.elements.size(), kNoIndex);
    portNode_.assign(input_.ports.size(), kNoIndex);
    const auto add = [&](const Node& node) {
        nodes_.push_back(node);
        joined_.push_back(false);
        return sets_.Add();
    };
    for (std::uint32_t i = 0; i < model_.elements.size(); ++i) {
        const Element& element = model_.elements[i];
        if (element.kind == ElementKind::Segment) {
            const bool placed = element.ends != EndEvidence::None;
            firstNode_[i] = add({i, ElementEnd::Start, placed, element.start});
            add({i, ElementEnd::End, placed, element.end});
        } else if (IsHub(element.kind)) {
            firstNode_[i] = add({i, ElementEnd::None, input_.hasOrigin[i], element.position});
        }
    }
    for (std::uint32_t port = 0; port < input_.ports.size(); ++port) {
        const NetworkPort& one = input_.ports[port];
        if (one.element == kNoIndex) {
            continue;
        }
        if (portEnd_[port] != ElementEnd::None) {
            portNode_[port] = NodeOfEnd(one.element, portEnd_[port]);
        } else if (IsHub(model_.elements[one.element].kind) && !remote_[port]) {
            portNode_[port] = NodeOfHub(one.element);
        } else {
            portNode_[port] = add({kNoIndex, ElementEnd::None, one.placed, one.position});
        }
    }
}

std::uint32_t Joints::AddNode(const Point& point) {
    nodes_.push_back({kNoIndex, ElementEnd::None, true, point});
    joined_.push_back(false);
    return sets_.Add();
}

void Joints::JoinStated(DiagnosticLog& log) {
    for (const StatedConnection& stated : input_.stated) {
        const NetworkPort& first = input_.ports[stated.firstPort];
        const NetworkPort& second = input_.ports[stated.secondPort];
        Found found;
        found.firstNode = portNode_[stated.firstPort];
        found.secondNode = portNode_[stated.secondPort];
        found.connection = {first.element,
                            second.element,
                            first.id,
                            second.id,
                            portEnd_[stated.firstPort],
                            portEnd_[stated.secondPort],
                            ConnectionEvidence::Stated,
                            first.placed && second.placed ? Distance(first.position, second.position) : 0.0,
                            kNoIndex};
        Add(found);
        if (found.connection.distance > kAxisReach) {
            SayApart(stated, found.connection, log);
        }
    }
}

void Joints::SayApart(const StatedConnection& stated, const Connection& connection, DiagnosticLog& log) const {
    if (!log.Keeps(DiagnosticCode::BadGeometry)) {
        log.Count(Severity::Warning);
        return;
    }
    std::array<char, 64> distance{};
    std::snprintf(distance.data(), distance.size(), "%.1f", connection.distance);
    log.Add(Severity::Warning, DiagnosticCode::BadGeometry, stated.offset,
            "The file joins #" + std::to_string(model_.elements[connection.first].id) + " and #" +
                std::to_string(model_.elements[connection.second].id) + " at ports that lie " + distance.data() +
                " mm apart; they are joined half way.");
}

void Joints::Add(const Found& found) {
    sets_.Join(found.firstNode, found.secondNode);
    joined_[found.firstNode] = joined_[found.secondNode] = true;
    nodeOfConnection_.push_back(found.firstNode);
    model_.connections.push_back(found.connection);
}

Point Joints::EndPoint(std::uint32_t segment, ElementEnd end) const {
    const Element& element = model_.elements[segment];
    return end == ElementEnd::End ? element.end : element.start;
}

Point Joints::EndDirection(std::uint32_t segment, ElementEnd end) const {
    const Element& element = model_.elements[segment];
    const Point along = end == ElementEnd::End ? element.end - element.start : element.start - element.end;
    const double length = Length(along);
    return length > 0.0 ? along * (1.0 / length) : Point{};
}

// Where the axes that meet come closest to each other, so that a pipe is made longer or shorter and not tilted. Where
// they leave the point free (one pipe, or pipes in line) it is in the middle of what meets.
Point Joints::JunctionPoint(std::span<const std::uint32_t> nodes) const {
    Point middle;
    double count = 0.0;
    for (const bool hubs : {false, true}) {
        // Fittings say where the middle is only when no end or port does.
        for (const std::uint32_t node : nodes) {
            const Node& one = nodes_[node];
            const bool isHub = one.element != kNoIndex && one.end == ElementEnd::None;
            if (one.hasPoint && isHub == hubs) {
                middle = middle + one.point;
                count += 1.0;
            }
        }
        if (count > 0.0) {
            break;
        }
    }
    middle = middle * (1.0 / count);
    std::array<Point, 3> rows{Point{kPull, 0, 0}, Point{0, kPull, 0}, Point{0, 0, kPull}};
    Point right;  // relative to the middle, for the sake of large coordinates
    double spread = 0.0;
    for (const std::uint32_t node : nodes) {
        const Node& one = nodes_[node];
        if (!one.hasPoint) {
            continue;
        }
        spread = std::max(spread, Distance(one.point, middle));
        if (one.end == ElementEnd::None) {
            continue;
        }
        const Point along = EndDirection(one.element, one.end);
        const Point offset = one.point - middle;
        const Point across = offset - along * Dot(along, offset);
        right = right + across;
        rows[0] = rows[0] + Point{1.0 - along.x * along.x, -along.x * along.y, -along.x * along.z};
        rows[1] = rows[1] + Point{-along.y * along.x, 1.0 - along.y * along.y, -along.y * along.z};
        rows[2] = rows[2] + Point{-along.z * along.x, -along.z * along.y, 1.0 - along.z * along.z};
    }
    Point solution;
    if (!Solve(rows, right, solution) || Length(solution) > spread + kAxisReach) {
        return middle;
    }
    return middle + solution;
}

void Joints::Settle() {
    // How many nodes there are in each set; then where its nodes end among all, set by set.
    std::vector<std::uint32_t> ends;
    std::vector<std::uint32_t> slotOfRoot(nodes_.size(), kNoIndex);
    std::vector<std::uint32_t> slotOfNode(nodes_.size(), kNoIndex);
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
        if (!joined_[node]) {
            continue;
        }
        const std::uint32_t root = sets_.Find(node);
        if (slotOfRoot[root] == kNoIndex) {
            slotOfRoot[root] = static_cast<std::uint32_t>(ends.size());
            ends.push_back(0);
        }
        slotOfNode[node] = slotOfRoot[root];
        ++ends[slotOfNode[node]];
    }
    std::exclusive_scan(ends.begin(), ends.end(), ends.begin(), 0U);
    std::vector<std::uint32_t> members(nodes_.size());
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
        if (slotOfNode[node] != kNoIndex) {
            members[ends[slotOfNode[node]]++] = node;
        }
    }
    std::vector<std::uint32_t> junctionOfSlot(ends.size(), kNoIndex);
    for (std::size_t slot = 0; slot < ends.size(); ++slot) {
        const std::uint32_t first = slot == 0 ? 0 : ends[slot - 1];
        const auto nodes = std::span(members).subspan(first, ends[slot] - first);
        if (std::any_of(nodes.begin(), nodes.end(), [&](std::uint32_t node) { return nodes_[node].hasPoint; })) {
            junctionOfSlot[slot] = static_cast<std::uint32_t>(model_.junctions.size());
            model_.junctions.push_back({JunctionPoint(nodes)});
        }
    }
    for (std::size_t i = 0; i < model_.connections.size(); ++i) {
        model_.connections[i].junction = junctionOfSlot[slotOfNode[nodeOfConnection_[i]]];
    }
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
        const Node& one = nodes_[node];
        if (slotOfNode[node] == kNoIndex || one.element == kNoIndex) {
            continue;
        }
        const std::uint32_t junction = junctionOfSlot[slotOfNode[node]];
        if (junction == kNoIndex) {
            continue;
        }
        Element& element = model_.elements[one.element];
        const Point point = model_.junctions[junction].point;
        switch (one.end) {
            case ElementEnd::Start:
                element.startJunction = junction;
                element.start = element.ends == EndEvidence::None ? element.start : point;
                break;
            case ElementEnd::End:
                element.endJunction = junction;
                element.end = element.ends == EndEvidence::None ? element.end : point;
                break;
            case ElementEnd::None:
                element.startJunction = junction;
                element.position = point;
                break;
        }
    }
}

}  // namespace norvex::ifc
