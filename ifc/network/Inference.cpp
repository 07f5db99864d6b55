// SPDX-License-Identifier: Apache-2.0
#include "ifc/network/Inference.h"

#include "ifc/LargePages.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace norvex::ifc {

namespace {

// Candidates that one end looks at. Only a model with hundreds of ends in one spot meets the bound.
constexpr std::size_t kMaxCandidates = 1024;
// Cells for bodies, small and large, and how many of them one body may fill.
constexpr double kBodyCell = 500.0;        // mm
constexpr double kLargeBodyCell = 8000.0;  // mm
constexpr double kMaxBodyCells = 4096.0;
// A run is put into the cells along it, piece by piece: two kilometres of the widest pipe that is laid take about as
// many.
constexpr double kMaxRunCells = 65536.0;
// How far a node may lie beside an end's axis and still be on it.
constexpr double kBesideAxis = 3.0;  // mm

class Inference {
  public:
    Inference(const NetworkInput& input, const BuildingModel& model, Joints& joints, ReadWork& work)
        : input_(input),
          model_(model),
          joints_(joints),
          work_(work),
          points_(kAxisReach),
          small_(kBodyCell),
          large_(kLargeBodyCell) {}

    void Run(DiagnosticLog& log) {
        CollectPoints();
        FromEndsThatMeet();
        CollectBodies();
        FromBodies();
        FromAxes();
        if (crowded_ > 0) {
            log.AddGeneral(Severity::Warning, DiagnosticCode::LimitReached,
                           "Some ends lie among more than " + std::to_string(kMaxCandidates) +
                               " others; connections between them may be missing (" + std::to_string(crowded_) +
                               (crowded_ == 1 ? " search ended early)." : " searches ended early)."));
        }
    }

  private:
    // Something that can be met: an end of a segment, a port, or the place of a fitting without ports.
    struct Place {
        std::uint32_t element = kNoIndex;
        std::uint32_t port = kNoIndex;
        ElementEnd end = ElementEnd::None;
        std::uint32_t node = kNoIndex;
        Point point;
        bool isOrigin = false;  // of a fitting: met along an axis only, never by ends nearby
    };

    void AddPlace(const Place& place) {
        points_.Add(place.point, static_cast<std::uint32_t>(places_.size()));
        places_.push_back(place);
    }

    void CollectPoints() {
        ReserveInLargePages(places_, 2 * model_.elements.size() + input_.ports.size());
        for (std::uint32_t i = 0; i < model_.elements.size(); ++i) {
            const Element& element = model_.elements[i];
            if (element.kind == ElementKind::Segment && element.ends != EndEvidence::None) {
                for (const ElementEnd end : {ElementEnd::Start, ElementEnd::End}) {
                    AddPlace({i, kNoIndex, end, joints_.NodeOfEnd(i, end), joints_.EndPoint(i, end), false});
                }
            } else if (IsHub(element.kind) && input_.hasOrigin[i]) {
                AddPlace({i, kNoIndex, ElementEnd::None, joints_.NodeOfHub(i), element.position, true});
            }
        }
        for (std::uint32_t port = 0; port < input_.ports.size(); ++port) {
            const NetworkPort& one = input_.ports[port];
            if (one.element == kNoIndex || !one.placed || joints_.EndOfPort(port) != ElementEnd::None) {
                continue;
            }
            AddPlace({one.element, port, ElementEnd::None, joints_.NodeOfPort(port), one.position, false});
        }
        metPorts_.assign(input_.ports.size(), false);
        for (const StatedConnection& stated : input_.stated) {
            metPorts_[stated.firstPort] = metPorts_[stated.secondPort] = true;
        }
        points_.Build();
    }

    bool IsOpen(const Place& place) const {
        if (place.port != kNoIndex) {
            return !metPorts_[place.port];
        }
        return place.end != ElementEnd::None && !joints_.IsJoined(place.node);
    }

    // Returns: whether joining would draw both ends of the segment into one point.
    bool WouldCollapse(const Place& place, std::uint32_t otherNode) {
        if (place.end == ElementEnd::None) {
            return false;
        }
        const ElementEnd opposite = place.end == ElementEnd::Start ? ElementEnd::End : ElementEnd::Start;
        return joints_.SetOf(joints_.NodeOfEnd(place.element, opposite)) == joints_.SetOf(otherNode);
    }

    void Connect(const Place& from, const Place& to, ConnectionEvidence evidence, double distance) {
        const auto portId = [&](const Place& place) {
            return place.port == kNoIndex ? 0U : input_.ports[place.port].id;
        };
        Joints::Found found;
        found.firstNode = from.node;
        found.secondNode = to.node;
        found.connection = {from.element, to.element, portId(from), portId(to), from.end,
                            to.end,       evidence,   distance,     kNoIndex};
        joints_.Add(found);
    }

    void FromEndsThatMeet() {
        for (const Place& place : places_) {
            if (place.isOrigin || !IsOpen(place)) {
                continue;
            }
            const Place* nearest = nullptr;
            double nearestDistance = kEndReach;
            Look(points_, place.point, kEndReach, [&](std::uint32_t index) {
                const Place& other = places_[index];
                const double distance = Distance(place.point, other.point);
                // A port waits for something open: exporters give one flange several ports, and the flange is met once.
                const bool usable = other.element != place.element && !other.isOrigin && distance <= kEndReach &&
                                    (place.port == kNoIndex || IsOpen(other));
                if (usable && (nearest == nullptr || distance < nearestDistance) &&
                    joints_.SetOf(other.node) != joints_.SetOf(place.node) && !WouldCollapse(place, other.node) &&
                    !WouldCollapse(other, place.node)) {
                    nearest = &other;
                    nearestDistance = distance;
                }
                return nearest == nullptr || nearestDistance > 0.0;
            });
            if (nearest != nullptr) {
                Connect(place, *nearest, ConnectionEvidence::EndToEnd, nearestDistance);
                if (place.port != kNoIndex) {
                    metPorts_[place.port] = true;
                }
                if (nearest->port != kNoIndex) {
                    metPorts_[nearest->port] = true;
                }
            }
        }
    }

    // Only where an end is still open.
    void CollectBodies() {
        std::vector<Point> open;
        for (const Place& place : places_) {
            if (!place.isOrigin && place.end != ElementEnd::None && IsOpen(place)) {
                open.push_back(place.point);
            }
        }
        if (open.empty()) {
            return;
        }
        small_.WantOnly(open);
        large_.WantOnly(open);
        for (std::uint32_t i = 0; i < model_.elements.size(); ++i) {
            const Element& element = model_.elements[i];
            if (element.kind == ElementKind::Other || element.box.IsEmpty()) {
                continue;
            }
            const bool isRound = element.kind == ElementKind::Segment && input_.radii[i] > 0.0;
            for (SpatialHash* cells : {&small_, &large_}) {
                if (isRound ? AddAlongAxis(*cells, i, input_.radii[i]) : AddBox(*cells, i, element.box)) {
                    break;
                }
            }
        }
        small_.Build();
        large_.Build();
    }

    // Returns: false, with nothing added, when the box fills too many cells.
    bool AddBox(SpatialHash& hash, std::uint32_t element, const Box& box) {
        const Box grown = box.Grown(kBodyReach);
        const SpatialHash::Cell low = hash.CellOf(grown.low);
        const SpatialHash::Cell high = hash.CellOf(grown.high);
        const double cells = static_cast<double>(high.x - low.x + 1) * static_cast<double>(high.y - low.y + 1) *
                             static_cast<double>(high.z - low.z + 1);
        if (!(cells <= kMaxBodyCells)) {
            return false;
        }
        work_.gridCells += static_cast<std::uint64_t>(cells);
        for (std::int64_t x = low.x; x <= high.x; ++x) {
            for (std::int64_t y = low.y; y <= high.y; ++y) {
                for (std::int64_t z = low.z; z <= high.z; ++z) {
                    hash.Add(SpatialHash::Cell{x, y, z}, element);
                }
            }
        }
        return true;
    }

    // A long pipe that runs aslant fills the cells along it, not those of the box around it.
    // Returns: false, with nothing added, when even these are too many.
    bool AddAlongAxis(SpatialHash& hash, std::uint32_t index, double radius) {
        const Point start = model_.elements[index].start;
        const Point along = model_.elements[index].end - start;
        const double steps = std::ceil(Length(along) / hash.CellSize()) + 1.0;
        const auto most = [&](double side) {
            return std::floor((std::abs(side) / steps + 2.0 * (radius + kBodyReach)) / hash.CellSize()) + 2.0;
        };
        const double cellsOfStep = most(along.x) * most(along.y) * most(along.z);
        if (!(cellsOfStep <= kMaxBodyCells) || !(steps * cellsOfStep <= kMaxRunCells)) {
            return false;
        }
        for (double step = 0.0; step < steps; step += 1.0) {
            Box box;
            box.Add(start + along * (step / steps));
            box.Add(start + along * ((step + 1.0) / steps));
            AddBox(hash, index, box.Grown(radius));
        }
        return true;
    }

    // Returns: how well the element's body holds the point, smaller is better; nothing when it does not.
    std::optional<double> Holds(std::uint32_t index, const Point& point) const {
        const Element& element = model_.elements[index];
        if (element.kind == ElementKind::Segment && input_.radii[index] > 0.0) {
            const Point along = joints_.EndDirection(index, ElementEnd::End);
            const Point offset = point - element.start;
            const double at = Dot(offset, along);
            const double beside = Length(offset - along * at);
            const double length = Distance(element.start, element.end);
            if (at < -kBodyReach || at > length + kBodyReach || beside > input_.radii[index] + kBodyReach) {
                return std::nullopt;
            }
            return beside;
        }
        if (!element.box.Grown(kBodyReach).Contains(point) || DistanceToBody(input_, index, point) > kBodyReach) {
            return std::nullopt;
        }
        return 0.0;
    }

    void FromBodies() {
        for (const Place& place : places_) {
            if (place.isOrigin || place.end == ElementEnd::None || !IsOpen(place)) {
                continue;
            }
            std::uint32_t best = kNoIndex;
            double bestRank = std::numeric_limits<double>::infinity();
            const auto look = [&](std::uint32_t index) {
                const Element& element = model_.elements[index];
                if (index == place.element || index == best || !Holds(index, place.point)) {
                    return true;
                }
                const double rank = Rank(element, place.point);
                const std::uint32_t node = IsHub(element.kind) ? joints_.NodeOfHub(index) : kNoIndex;
                const bool collapses = node != kNoIndex && WouldCollapse(place, node);
                if (!collapses && (rank < bestRank || (rank == bestRank && index < best))) {
                    best = index;
                    bestRank = rank;
                }
                return true;
            };
            Look(small_, place.point, 0.0, look);
            Look(large_, place.point, 0.0, look);
            if (best == kNoIndex) {
                continue;
            }
            Place to;
            to.element = best;
            to.node = IsHub(model_.elements[best].kind) ? joints_.NodeOfHub(best) : joints_.AddNode(place.point);
            Connect(place, to, ConnectionEvidence::InsideBody, 0.0);
        }
    }

    // Which of several bodies around an end it belongs to: fittings before devices with wide bodies, and of these the
    // one whose face is nearest, since a pipe ends where the body begins.
    static double Rank(const Element& element, const Point& point) {
        const auto toFace = [](double low, double high, double at) {
            return std::min(std::abs(at - low), std::abs(high - at));
        };
        const double face = std::min({toFace(element.box.low.x, element.box.high.x, point.x),
                                      toFace(element.box.low.y, element.box.high.y, point.y),
                                      toFace(element.box.low.z, element.box.high.z, point.z)});
        return face + (element.kind == ElementKind::Segment ? 1e6 : 0.0);
    }

    void FromAxes() {
        for (const Place& place : places_) {
            if (place.end == ElementEnd::None || !IsOpen(place) || joints_.HasPortAt(place.element, place.end)) {
                continue;
            }
            const Point along = joints_.EndDirection(place.element, place.end);
            const Place* nearest = nullptr;
            double nearestDistance = kAxisReach;
            Look(points_, place.point, kAxisReach, [&](std::uint32_t index) {
                const Place& other = places_[index];
                if (!IsHub(model_.elements[other.element].kind) || IsAway(other)) {
                    return true;
                }
                const Point offset = other.point - place.point;
                const double ahead = Dot(offset, along);
                const double beside = Length(offset - along * ahead);
                if (ahead >= 0.0 && ahead <= kAxisReach && beside <= kBesideAxis &&
                    (nearest == nullptr || ahead < nearestDistance) && !WouldCollapse(place, other.node)) {
                    nearest = &other;
                    nearestDistance = ahead;
                }
                return nearest == nullptr || nearestDistance > 0.0;
            });
            if (nearest != nullptr) {
                Connect(place, *nearest, ConnectionEvidence::OnAxis, nearestDistance);
            }
        }
    }

    bool IsAway(const Place& place) const { return place.port != kNoIndex && joints_.IsRemote(place.port); }

    // Shows what lies around a point until visit(item) returns false: nothing better can come.
    template <typename Visit>
    void Look(const SpatialHash& hash, const Point& point, double reach, Visit visit) {
        std::size_t looked = 0;
        bool goOn = true;
        hash.Around(point, reach, [&](std::uint32_t item) {
            goOn = visit(item);
            return ++looked < kMaxCandidates && goOn;
        });
        crowded_ += looked >= kMaxCandidates && goOn ? 1 : 0;
        work_.candidates += looked;
    }

    const NetworkInput& input_;
    const BuildingModel& model_;
    Joints& joints_;
    ReadWork& work_;
    std::vector<Place> places_;
    std::vector<bool> metPorts_;
    SpatialHash points_;
    SpatialHash small_;
    SpatialHash large_;
    std::uint64_t crowded_ = 0;  // looks that ended early
};

}  // namespace

void InferConnections(const NetworkInput& input, const BuildingModel& model, Joints& joints, DiagnosticLog& log,
                      ReadWork& work) {
    Inference(input, model, joints, work).Run(log);
}

}  // namespace norvex::ifc
