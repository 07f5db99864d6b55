// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/network/Network.h"
#include "ifc/network/SpatialHash.h"
#include "ifc/network/UnionFind.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace norvex::ifc {

// How far a port may lie beyond the end of the pipe it belongs to, and an end before the node it points at: bends of
// small pipes are this long (9 to 40 mm were measured).
inline constexpr double kAxisReach = 50.0;  // mm
// Ends this far apart meet. Exporters leave up to 2 mm for a gasket.
inline constexpr double kEndReach = 3.0;  // mm
// What counts as inside a body.
inline constexpr double kBodyReach = 1.0;  // mm

// Returns: whether the element joins what meets at it in one point.
inline bool IsHub(ElementKind kind) {
    return kind == ElementKind::Fitting || kind == ElementKind::InlineDevice;
}

// The places where elements can be joined, and which of them are: both ends of each segment, each fitting and in-line
// device as a whole, each port of equipment and terminals for itself. What is joined becomes one junction.
class Joints {
  public:
    // Settles the ends of segments that two ports place. Both arguments must outlive this.
    Joints(const NetworkInput& input, BuildingModel& model);

    // Makes the connections that the file states. Those whose ports lie far apart are told to `log`.
    void JoinStated(DiagnosticLog& log);

    // Adds a connection found by geometry. `firstEnd` is an end of the segment `segment`. `secondPort` and `secondEnd`
    // say where the other element is met, as far as that is known.
    struct Found {
        std::uint32_t firstNode = kNoIndex;
        std::uint32_t secondNode = kNoIndex;
        Connection connection;
    };
    void Add(const Found& found);

    // Computes the junctions' points, moves ends there and fills the model's junctions.
    void Settle();

    // Nodes. kNoIndex when there is none.
    std::uint32_t NodeOfEnd(std::uint32_t segment, ElementEnd end) const {
        return firstNode_[segment] + (end == ElementEnd::End ? 1 : 0);
    }
    std::uint32_t NodeOfHub(std::uint32_t element) const { return firstNode_[element]; }
    std::uint32_t NodeOfPort(std::uint32_t port) const { return portNode_[port]; }
    // A node of its own at a point: the place on a body where an end meets it.
    std::uint32_t AddNode(const Point& point);
    std::uint32_t SetOf(std::uint32_t node) { return sets_.Find(node); }
    // Returns: whether a connection was made at the node.
    bool IsJoined(std::uint32_t node) const { return joined_[node]; }
    // Returns: which end of its segment a port is; None for others and for ports along the run.
    ElementEnd EndOfPort(std::uint32_t port) const { return portEnd_[port]; }
    // Returns: whether a port lies away from its fitting, at the far end of a pipe between.
    bool IsRemote(std::uint32_t port) const { return remote_[port]; }
    // Returns: whether ports say where this end lies.
    bool HasPortAt(std::uint32_t segment, ElementEnd end) const {
        return portAtEnd_[2 * std::size_t{segment} + (end == ElementEnd::End ? 1 : 0)];
    }
    Point EndPoint(std::uint32_t segment, ElementEnd end) const;
    // Returns: a vector of length one that points out of the segment; zero for one without length.
    Point EndDirection(std::uint32_t segment, ElementEnd end) const;

  private:
    void GroupPorts();
    void PlaceSegment(std::uint32_t element);
    void MarkRemotePorts();
    SpatialHash HashEnds() const;
    bool LiesAway(std::uint32_t port, std::optional<SpatialHash>& ends) const;
    void MakeNodes();
    void SayApart(const StatedConnection& stated, const Connection& connection, DiagnosticLog& log) const;
    Point JunctionPoint(std::span<const std::uint32_t> nodes) const;

    const NetworkInput& input_;
    BuildingModel& model_;
    UnionFind sets_;
    std::vector<std::uint32_t> firstPort_;  // by element, one more than elements, into portsByElement_
    std::vector<std::uint32_t> portsByElement_;
    std::vector<ElementEnd> portEnd_;
    std::vector<bool> remote_;
    std::vector<bool> portAtEnd_;
    std::vector<std::uint32_t> firstNode_;  // by element
    std::vector<std::uint32_t> portNode_;   // by port
    struct Node {
        std::uint32_t element = kNoIndex;  // of ends and hubs
        ElementEnd end = ElementEnd::None;
        bool hasPoint = false;
        Point point;
    };
    std::vector<Node> nodes_;
    std::vector<bool> joined_;
    std::vector<std::uint32_t> nodeOfConnection_;
};

// Returns: mm between a point and an element's body, 0 inside; infinity without a body.
double DistanceToBody(const NetworkInput& input, std::uint32_t element, const Point& point);

}  // namespace norvex::ifc
