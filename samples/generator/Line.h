// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "samples/generator/Model.h"

#include <string>
#include <string_view>
#include <vector>

namespace norvex::samples {

// What the parts of one line of pipes, ducts or trays have in common.
struct LineStyle {
    std::size_t system = 0;
    std::string family = "PIPE";  // PIPE, DUCT, CABLECARRIER: the middle of the class names and the port type
    std::string systemType;
    std::string segmentName;  // "给水管 PPR"
    std::string fittingName;  // "PPR"; the kind of fitting is added
    // Flow at the first port of every part: Sink where the line brings something, Source where it takes something away,
    // Both in rings.
    Flow first = Flow::Sink;
    std::string connectionType;  // how segment ends are joined; empty: not said
};

// An in-line device, as a catalogue would describe it.
struct Device {
    std::string className;
    std::string predefined;
    std::string name;  // the section is added
    double length = 0.0;
};

// Draws the parts of a line so that they meet: fittings stand on the nodes of the line, segments stop short at the
// fittings' ports. Parts that touch are stated to be connected. All points are world coordinates in millimetres.
class Line {
  public:
    Line(Model& model, LineStyle style, std::size_t storey)
        : model_(model), style_(std::move(style)), storey_(storey) {}

    // The ports come out in the order of the arguments; directions point away from the centre.
    Part Elbow(const Key& key, const Vector& centre, const Vector& first, const Vector& second, const Section& section);
    // `merges`: the branch flows like the first port (two lines join) instead of like the second.
    Part Tee(const Key& key, const Vector& centre, const Vector& first, const Vector& second, const Vector& branch,
             const Section& run, const Section& branchSection, bool merges = false);
    Part Tee(const Key& key, const Vector& centre, const Vector& first, const Vector& second, const Vector& branch,
             const Section& firstSection, const Section& secondSection, const Section& branchSection, bool merges);
    // Stands in a run along `direction`; its first port faces back.
    Part InLine(const Key& key, const Device& device, const Vector& centre, const Vector& direction,
                const Section& section);
    // Directly on a port, no segment between. The result's second port continues the line.
    Part Reducer(const Key& key, const Port& at, const Section& section);
    Part Flange(const Key& key, const Port& at);
    // Closes a port.
    Part Cap(const Key& key, const Port& at, std::string_view name);

    Part Segment(const Key& key, const Port& from, const Port& to);
    // The same, with the far end connected to nothing.
    Part LooseSegment(const Key& key, const Port& from, const Port& to);
    // The same, with neither end stated to be connected.
    Part UnstatedSegment(const Key& key, const Port& from, const Port& to);

    // A box with ports. `offset`s are from the box's centre.
    struct BoxPort {
        Vector offset;
        Vector direction;
        Section section;
        Flow flow = Flow::Both;
        std::string systemType;  // empty: the line's
    };
    struct Box {
        std::string className;
        std::string predefined;
        std::string name;
        Vector size;
        std::vector<BoxPort> ports;
    };
    Part Equipment(const Key& key, const Box& box, const Vector& centre);

    Model& BuildingModel() { return model_; }
    std::size_t Storey() const { return storey_; }
    const LineStyle& Style() const { return style_; }
    // A line of the same style elsewhere or with other words.
    Line On(std::size_t storey) const { return {model_, style_, storey}; }
    Line With(LineStyle style) const { return {model_, std::move(style), storey_}; }

    SegmentStyle StyleOfSegments() const;
    // How far a fitting's port is from its centre.
    double BendTakeOff(const Section& section) const;
    double TeeTakeOff(const Section& run, const Section& branch) const;

  private:
    struct Branch {
        Vector direction;
        double takeOff = 0.0;
        Section section;
        Flow flow = Flow::Both;
    };
    Part Fitting(const Key& key, const Vector& centre, std::string_view predefined, const std::string& name,
                 const std::vector<Branch>& branches);
    Part Attach(const Key& key, const Port& at, std::string_view predefined, const std::string& name,
                const Section& section, double length, const Section& body);

    Model& model_;
    LineStyle style_;
    std::size_t storey_;
};

}  // namespace norvex::samples
