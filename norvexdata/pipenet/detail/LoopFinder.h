// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <memory>
#include <unordered_map>
#include <vector>

#include "norvexdata/pipenet/LoopWork.h"
#include "norvexdata/pipenet/detail/PipeNetwork.h"

class ZrOwEntity;

namespace norvex::pipenet {

// Lists the closed loops of one network.
//
// What is listed is what the plain walk lists: from each edge in turn, depth first along the nodes' lists from the
// edge's start node, over edges that are still there, to the first step that arrives near the edge's end node. The work
// is less because a walk is kept inside the part of the network that it could come back from. That part is found as
// follows, for any graph at all:
//
// - Nodes near each other, directly or through others, form a site. Every step that any list offers over an edge joins
//   the same two sites, those of the edge's nodes, so sites and edges are an ordinary undirected graph.
// - A walk that arrives closes with its edge to a closed tour of sites. A tour can leave a block (a biconnected part)
//   only through a cut site, and has to come back through that very site. Nodes are entered once, so a site of a single
//   node cannot be passed twice. Blocks that meet at a site of several nodes (a seed node's twin, for instance) or at
//   an edge from such a site to itself are therefore taken together as one part, and no walk gains by leaving its part.
// - What a walk does outside its part leaves no trace inside, so leaving it out changes no later step either.
// - A part whose blocks are all single edges between different sites is a tree; a walk that never turns back on the
//   edge it came by cannot close there, and the part is dropped. That includes all dead ends.
// - An edge from a node to itself, at a site of that node alone, is no step of any other walk: it would arrive where
// the
//   walk has been. Its own walk leaves by some other edge and has to come back in that edge's part, so such a closed
//   edge lies in no part, and is looked for in those that meet at its node, one after the other in the order of its
//   list.
//
// A walk that has gone on for a while also looks back from its end, for as many steps: over sites that it could still
// enter. When that look runs out, the walk goes on only where the look has been. So what a walk wastes is bounded by
// the smaller of the pocket it has strayed into and the rest around its end.
//
// Edges are only ever taken away, so a part found earlier stays safe; it is merely coarser than need be. The coarsest
// is the whole network without its dead ends, and walks begin with that. They charge what they waste to their part,
// which is split, and split again, when the waste outgrows it.
class LoopFinder {
  public:
    // The network is borrowed.
    explicit LoopFinder(const PipeNetwork& network);

    void AppendLoops(std::vector<std::vector<ZrOwEntity*>>& loops);
    const LoopWork& Work() const { return m_work; }

  private:
    // Whether an edge is still there; kClosed if it begins and ends at one node whose site has no other.
    enum Remains : unsigned char { kGone = 0, kOpen = 1, kClosed = 2 };
    // An entry of a node's list: the edge, and where a step over it leads.
    struct Step {
        Index edge;
        // A node while parts are being made; its stop afterwards.
        Index far;
    };
    // Lists of nodes, one after the other.
    struct Lists {
        kernel::LargeVector<Index> nodes;
        // One more than nodes: where each list begins in steps.
        kernel::LargeVector<Index> begin;
        kernel::LargeVector<Step> steps;
    };
    // A node as seen from one part.
    struct Stop {
        Index node;
        // The stop that stands for its site.
        Index site;
        // The next stop of its site, in a ring.
        Index nextOfSite;
        // Its range of steps.
        Index begin;
        Index end;
        // Where the stop stands for its site: the part's remaining edges there, and their numbers combined by exclusive
        // or.
        Index degree;
        Index combined;
        // Ends of the part's remaining edges that name its node. A walk enters no other nodes.
        Index named : 31;
        // Steps whose edge is gone stay where they are, and are skipped with the help of Batch::onward.
        Index fixed : 1;
    };
    // A step from a node of a hub, to be found by its block.
    struct HubStep {
        Index stop;
        Index block;
        Index position;

        auto operator<=>(const HubStep&) const = default;
    };
    // The parts that came out of one split.
    struct Batch {
        // Ordered by part, ascending inside one.
        kernel::LargeVector<Index> edges;
        // Ordered by part.
        kernel::LargeVector<Stop> stops;
        kernel::LargeVector<Step> steps;
        // Per stop: the number of the last walk that came by, doubled, plus one where that walk would arrive.
        kernel::LargeVector<Index> marks;
        // Per stop that stands for a site: the number of the last look back from an end that came by.
        kernel::LargeVector<Index> looks;
        // Per step of a fixed stop: where to look on when its edge is gone. Empty without such stops.
        kernel::LargeVector<Index> onward;
        // Ascending.
        kernel::LargeVector<HubStep> hubSteps;
        // Per stop of a part that is not mutual: its range of namedSteps, which are the edges that name its node. Empty
        // without such parts.
        kernel::LargeVector<Index> namedBegin;
        kernel::LargeVector<Index> namedEnd;
        kernel::LargeVector<Step> namedSteps;
    };
    struct Part {
        std::shared_ptr<Batch> batch;
        Index firstStop;
        Index lastStop;
        Index firstEdge;
        Index lastEdge;
        // Edges still there, now and when the part was made.
        Index remaining;
        Index edgesAtSplit;
        std::uint64_t waste;
        // Not split yet.
        bool whole;
        // Every edge can be walked from both of its sites, so that the steps from an end tell what it is reached from.
        bool mutual;
        // The one site of several nodes that joins the part's blocks; kNone without one, or with more than one.
        Index hub;
    };
    struct Frame {
        Index stop;
        Index next;
        Index cameBy;
    };
    // One walk from the start of an edge to near its end.
    struct Walk {
        // Marks of stops where it has been, and where it would arrive.
        Index visited;
        Index arriving;
        // Of the edge that it is to close with.
        Index block;
        // The hub's stop that stands for its site, and the number of its nodes that can still be entered. Once there is
        // none, what lies beyond the hub is out of reach, so that only the edge's own block can lead on. kNone without
        // a hub, or when the walk ends there.
        Index hub;
        Index hubNodesLeft;
        // The last look back that ran out; 0 without one. Later ones that did not have only been where that one has.
        Index look;
    };
    // Where an edge is.
    struct Seat {
        Index part = kNone;
        Index block = 0;
        Index startStop = 0;
        Index endStop = 0;
    };

    // Reading the network.
    void ReadEdges();
    void GroupNearNodes();
    void Join(Index left, Index right);
    Index SiteOf(Index node) const;
    bool IsNear(Index left, Index right) const;
    Index FarNode(Index node, Index edge) const;
    const AcGePoint3d& PointOf(Index node) const { return m_network.points[node]; }
    Index StartOf(Index edge) const { return m_network.ends[edge].start; }
    Index EndOf(Index edge) const { return m_network.ends[edge].end; }

    // Taking edges away before any walk.
    void StripTrees();

    // Parts.
    void MakeWhole();
    void ReadLists(Batch& batch);
    void ReadEntry(Batch& batch, Index node, Index edge);
    void Split(kernel::LargeVector<Index>&& edges, const Lists& lists);
    void SplitAgain(Index part);
    kernel::LargeVector<Index> PartsOf(const kernel::LargeVector<Index>& edges);
    void MakeStops(Batch& batch, Index firstPart);
    void MakeSteps(Batch& batch, const Lists& lists);
    Index StopFor(Batch& batch, Index node, Index part);
    void AddStop(Batch& batch, Index node, Index part, Index site, Index next);
    void AddSiteStops(Batch& batch, Index node, Index part);
    void CountDegrees(Batch& batch, Index edge);
    void FindWalkable(const Batch& batch);
    void MarkWalkable(Index edge, bool fromStart, bool fromEnd);
    // Finds out which parts are mutual, and lists the edges that name each stop of the others.
    void ListNamed(Batch& batch);
    void FixStops(Batch& batch);
    void ListHubSteps(Batch& batch, Index firstPart);

    // Walks.
    void FindLoop(Index edge, std::vector<ZrOwEntity*>& loop);
    // Goes on with the walk of the edge in its part, and writes m_path if it arrives. first: the step to begin with;
    // kNone for any.
    void FindPath(Index edge, Index first);
    // The same for a closed edge, in all parts at its node.
    void FindPathOfClosed(Index edge);
    // The loop that the path and the edge are, whose pipes are taken out.
    void TakeLoop(Index edge, std::vector<ZrOwEntity*>& loop);
    void Charge(Index part, std::uint64_t walkWaste);
    void MarkArrivals(Index edge, Index mark);
    void Enter(Batch& batch, Walk& walk, Index number, Index cameBy);
    // Whether the walk arrives with the step, or enters a new node that may get it there.
    static bool LeadsOn(const Batch& batch, const Walk& walk, const Step& step);
    // The position of the next step to follow from the node of the frame; the end of the stop's steps without one.
    Index NextOfFew(const Batch& batch, const Walk& walk, const Frame& frame);
    // The same for a fixed stop, or with a hub.
    Index NextOfMany(Batch& batch, const Walk& walk, const Frame& frame);
    // The first position of the stop's steps, from here on, whose edge remains; the end without one.
    Index Onward(Batch& batch, const Stop& stop, Index position);
    Index OnwardFixed(Batch& batch, Index position, Index end);
    // The same for steps of one block from a node of a hub.
    Index OnwardInBlock(const Batch& batch, Index stop, Index block, Index position);
    // Looks back from the end of the edge over at most so many steps. Returns whether the look ran out before.
    bool LookBack(Index edge, std::uint64_t steps);
    // Calls see with each step from the stop whose edge remains, until it returns false. Returns: whether it never did.
    template <class See>
    bool SeeSteps(Batch& batch, const Stop& stop, const See& see);
    // The same over all edges that name the stop, for a part that is not mutual.
    template <class See>
    bool SeeNamed(Batch& batch, Index stop, const See& see);
    // Number of nodes of the walk's hub that it has not been at and some remaining edge names.
    static Index NodesToEnter(const Batch& batch, const Walk& walk);
    // True when the walk can enter no more nodes of the site.
    bool IsPassed(const Batch& batch, Index site) const;
    bool IsSamePipeTwice(Index left, Index right) const;
    void RemoveEdge(Index edge);
    void TakeOut(Index edge, Batch& batch);
    static void EraseStep(Batch& batch, Stop& stop, Index edge);

    const PipeNetwork& m_network;

    // Per edge: what is known of it.
    kernel::LargeVector<Seat> m_seats;
    kernel::LargeVector<Remains> m_remains;
    // Per node, once a closed edge was looked at: the first entry of its list whose edge may remain.
    kernel::LargeVector<Index> m_firstLeft;
    kernel::LargeVector<unsigned char> m_isBridge;
    // Can be walked from the start's site, plus twice from the end's.
    kernel::LargeVector<unsigned char> m_walkable;

    // Per node: a node that stands for its site. Empty while every site is a single node.
    kernel::LargeVector<Index> m_site;
    // Per site: several nodes, or an edge from the site to itself.
    kernel::LargeVector<unsigned char> m_joins;
    // The nodes of each site of several nodes.
    std::unordered_map<Index, std::vector<Index>> m_siteNodes;

    std::vector<Part> m_parts;
    // To be split after the walk.
    std::vector<Index> m_wasteful;
    Index m_blocks = 0;
    // Scratch per node: its stop in the part that was worked on last, and that part.
    kernel::LargeVector<Index> m_stopOf;
    kernel::LargeVector<Index> m_stopPart;

    kernel::LargeVector<Frame> m_frames;
    kernel::LargeVector<Index> m_path;
    kernel::LargeVector<Index> m_ahead;
    Index m_walk = 0;
    Index m_look = 0;
    LoopWork m_work;
};

// Appends the loops of the network, and returns what it took.
LoopWork AppendLoops(const PipeNetwork& network, std::vector<std::vector<ZrOwEntity*>>& loops);

}  // namespace norvex::pipenet
