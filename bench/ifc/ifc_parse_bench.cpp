// SPDX-License-Identifier: Apache-2.0
#include "ifc/Reader.h"
#include "ifc/part21/ExchangeFile.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// How fast a model of about 30 MB is read and how much memory that takes. Each measurement is a process of its own, so
// that the peak is its own; the file comes from disk and is written piece by piece, so that making it leaves no memory
// behind.
//
// Peer: one plain pass over the same bytes that finds every ';' and every '#'. Nothing that looks at all bytes twice in
// search of the instances' ends and numbers can be much faster.

namespace {

constexpr std::size_t kModelBytes = 30'000'000;
constexpr int kRuns = 9;

class ModelWriter {
  public:
    explicit ModelWriter(std::ofstream& stream) : stream_(stream) {}

    // Lines of pipes with a bend between each two, as exporters write them: ports nested, bends as faceted solids,
    // properties with units.
    void Write() {
        Line(
            "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION(('ViewDefinition "
            "[notYetAssigned]'),'2;1');\nFILE_SCHEMA(('IFC4'));\n"
            "ENDSEC;\nDATA;");
        Line(
            "#1=IFCPROJECT('0000000000000000000001',$,'Bench',$,$,$,$,$,#2);\n#2=IFCUNITASSIGNMENT((#3));\n"
            "#3=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n"
            "#4=IFCBUILDINGSTOREY('0000000000000000000004',$,'1F',$,$,$,$,$,.ELEMENT.,0.);\n"
            "#5=IFCDIRECTION((0.,0.,1.));\n#6=IFCDIRECTION((1.,0.,0.));\n"
            "#7=IFCDISTRIBUTIONSYSTEM('0000000000000000000007',$,'Heizung_VL',$,$,$,.HEATING.);");
        for (int row = 0; written_ < kModelBytes; ++row) {
            int last = 0;
            for (int column = 0; column < 40; ++column) {
                last = Pipe(column * 1100.0, row * 500.0, last);
            }
        }
        Line("ENDSEC;\nEND-ISO-10303-21;");
    }

  private:
    static std::string Ref(int id) { return "#" + std::to_string(id); }

    void Line(const std::string& text) {
        stream_ << text << '\n';
        written_ += text.size() + 1;
    }
    int Add(const std::string& instance) {
        Line(Ref(next_) + "=" + instance + ";");
        return next_++;
    }
    std::string GlobalId() {
        std::string id(22, '0');
        for (std::size_t i = 22, rest = static_cast<std::size_t>(next_); rest > 0; rest /= 64) {
            id[--i] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$"[rest % 64];
        }
        return id;
    }
    int PointAt(double x, double y, double z) {
        return Add("IFCCARTESIANPOINT((" + std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(z) +
                   "))");
    }
    int Placement(double x, double y, double z) {
        const int point = PointAt(x, y, z);
        const int frame = Add("IFCAXIS2PLACEMENT3D(" + Ref(point) + ",#5,#6)");
        return Add("IFCLOCALPLACEMENT($," + Ref(frame) + ")");
    }
    int Shape(const std::string& type, int item) {
        const int shape = Add("IFCSHAPEREPRESENTATION($,'Body','" + type + "',(" + Ref(item) + "))");
        return Add("IFCPRODUCTDEFINITIONSHAPE($,$,(" + Ref(shape) + "))");
    }
    int Port(int owner, double x, double y) {
        const int port = Add("IFCDISTRIBUTIONPORT('" + GlobalId() + "',$,'Port',$,$," + Ref(Placement(x, y, 0)) +
                             ",$,.NOTDEFINED.,$,$)");
        Add("IFCRELNESTS('" + GlobalId() + "',$,$,$," + Ref(owner) + ",(" + Ref(port) + "))");
        return port;
    }
    void Connect(int first, int second) {
        Add("IFCRELCONNECTSPORTS('" + GlobalId() + "',$,$,$," + Ref(first) + "," + Ref(second) + ",$)");
    }
    void File(int element) {
        Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('" + GlobalId() + "',$,$,$,(" + Ref(element) + "),#4)");
        Add("IFCRELASSIGNSTOGROUP('" + GlobalId() + "',$,$,$,(" + Ref(element) + "),$,#7)");
        const int diameter = Add("IFCPROPERTYSINGLEVALUE('NominalDiameter',$,IFCPOSITIVELENGTHMEASURE(50.),$)");
        const int material = Add("IFCPROPERTYSINGLEVALUE('Werkstoff',$,IFCLABEL('Kupfer W\\X\\E4rme'),$)");
        const int set = Add("IFCPROPERTYSET('" + GlobalId() + "',$,'Pset_PipeSegmentTypeCommon',$,(" + Ref(diameter) +
                            "," + Ref(material) + "))");
        Add("IFCRELDEFINESBYPROPERTIES('" + GlobalId() + "',$,$,$,(" + Ref(element) + ")," + Ref(set) + ")");
    }

    // A cube of faces: what a bend is in most files, with fewer of them.
    int Solid() {
        int corners[8];
        for (int i = 0; i < 8; ++i) {
            corners[i] = PointAt((i & 1) != 0 ? 50 : -50, (i & 2) != 0 ? 50 : -50, (i & 4) != 0 ? 50 : -50);
        }
        constexpr int kFaces[6][4] = {{0, 1, 3, 2}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                      {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 3, 7, 5}};
        std::string faces;
        for (const auto& face : kFaces) {
            const int loop = Add("IFCPOLYLOOP((" + Ref(corners[face[0]]) + "," + Ref(corners[face[1]]) + "," +
                                 Ref(corners[face[2]]) + "," + Ref(corners[face[3]]) + "))");
            const int bound = Add("IFCFACEOUTERBOUND(" + Ref(loop) + ",.T.)");
            faces += (faces.empty() ? "" : ",") + Ref(Add("IFCFACE((" + Ref(bound) + "))"));
        }
        return Add("IFCFACETEDBREP(" + Ref(Add("IFCCLOSEDSHELL((" + faces + "))")) + ")");
    }

    // Returns: the port at the far side of the bend behind the pipe.
    int Pipe(double x, double y, int before) {
        const int profile = Add("IFCCIRCLEPROFILEDEF(.AREA.,$,$,30.15)");
        const int frame = Add("IFCAXIS2PLACEMENT3D(" + Ref(PointAt(0, 0, 0)) + ",#6,#5)");
        const int solid = Add("IFCEXTRUDEDAREASOLID(" + Ref(profile) + "," + Ref(frame) + ",#5,1000.)");
        const int pipe =
            Add("IFCPIPESEGMENT('" + GlobalId() + "',$,'Rohr " + std::to_string(next_) + "',$,'Rohr DN50'," +
                Ref(Placement(x, y, 0)) + "," + Ref(Shape("SweptSolid", solid)) + ",$,.RIGIDSEGMENT.)");
        File(pipe);
        const int start = Port(pipe, x, y);
        const int end = Port(pipe, x + 1000, y);
        const int bend = Add("IFCPIPEFITTING('" + GlobalId() + "',$,'Bogen " + std::to_string(next_) + "',$,'Bogen'," +
                             Ref(Placement(x + 1050, y, 0)) + "," + Ref(Shape("Brep", Solid())) + ",$,.BEND.)");
        File(bend);
        const int in = Port(bend, x + 1000, y);
        const int out = Port(bend, x + 1100, y);
        Connect(end, in);
        if (before != 0) {
            Connect(before, start);
        }
        return out;
    }

    std::ofstream& stream_;
    std::size_t written_ = 0;
    int next_ = 100;
};

struct Bytes {
    std::unique_ptr<char[]> data;
    std::size_t size = 0;

    std::string_view Text() const { return {data.get(), size}; }
};

Bytes Load(const std::filesystem::path& path) {
    Bytes bytes;
    bytes.size = std::filesystem::file_size(path);
    bytes.data = std::make_unique_for_overwrite<char[]>(bytes.size);
    std::ifstream stream(path, std::ios::binary);
    stream.read(bytes.data.get(), static_cast<std::streamsize>(bytes.size));
    return bytes;
}

std::size_t PlainPass(std::string_view text) {
    std::size_t count = 0;
    for (const char wanted : {';', '#'}) {
        const char* at = text.data();
        const char* const end = at + text.size();
        while ((at = static_cast<const char*>(std::memchr(at, wanted, static_cast<std::size_t>(end - at)))) !=
               nullptr) {
            ++count;
            ++at;
        }
    }
    return count;
}

std::size_t Index(std::string_view text) {
    norvex::ifc::DiagnosticLog log(text, 10);
    norvex::ifc::part21::ExchangeFile file;
    return file.Read(text, log) ? 0 : file.InstanceCount();
}

struct Figures {
    double seconds = 0.0;    // the median of the runs
    double peakBytes = 0.0;  // of the process, the file's text included
    double idleBytes = 0.0;  // of the process before it began
    std::size_t count = 0;
};

double PeakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

// Runs the work in a child process.
template <typename Work>
Figures Measure(Work work) {
    int channel[2];
    if (pipe(channel) != 0) {
        std::exit(2);
    }
    const pid_t child = fork();
    if (child == 0) {
        Figures figures;
        figures.idleBytes = PeakBytes();
        double seconds[kRuns];
        for (double& one : seconds) {
            one = work(figures.count);
        }
        std::sort(std::begin(seconds), std::end(seconds));
        figures.seconds = seconds[kRuns / 2];
        figures.peakBytes = PeakBytes();
        const bool written = write(channel[1], &figures, sizeof figures) == static_cast<ssize_t>(sizeof figures);
        _exit(written ? 0 : 2);
    }
    Figures figures;
    const bool got = read(channel[0], &figures, sizeof figures) == static_cast<ssize_t>(sizeof figures);
    int status = 0;
    waitpid(child, &status, 0);
    close(channel[0]);
    close(channel[1]);
    if (!got || status != 0) {
        std::fprintf(stderr, "A measurement failed.\n");
        std::exit(2);
    }
    return figures;
}

double Seconds(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void Report(const char* what, const Figures& figures, std::size_t bytes, double peerSeconds) {
    const auto size = static_cast<double>(bytes);
    std::printf("%-34s %8.1f MB/s  %6.2f x peer  %5.2f bytes/byte (%.2f without the idle process)  %zu\n", what,
                size / figures.seconds / 1e6, figures.seconds / peerSeconds, figures.peakBytes / size,
                (figures.peakBytes - figures.idleBytes) / size, figures.count);
}

}  // namespace

int main(int argc, char** argv) {
    const bool given = argc > 1;
    const std::filesystem::path path =
        given ? std::filesystem::path(argv[1])
              : std::filesystem::temp_directory_path() / ("norvex-bench-" + std::to_string(getpid()) + ".ifc");
    if (!given) {
        std::ofstream stream(path, std::ios::binary);
        ModelWriter(stream).Write();
    }
    const std::size_t bytes = std::filesystem::file_size(path);
    const Figures peer = Measure([&](std::size_t& count) {
        const Bytes file = Load(path);
        const auto begin = std::chrono::steady_clock::now();
        count = PlainPass(file.Text());
        return Seconds(begin);
    });
    const Figures index = Measure([&](std::size_t& count) {
        const Bytes file = Load(path);
        const auto begin = std::chrono::steady_clock::now();
        count = Index(file.Text());
        return Seconds(begin);
    });
    const Figures model = Measure([&](std::size_t& count) {
        const auto begin = std::chrono::steady_clock::now();
        const norvex::ifc::ReadResult result = norvex::ifc::ReadIfcFile(path);
        count = result.Ok() ? result.model->elements.size() : 0;
        return Seconds(begin);
    });
    if (!given) {
        std::filesystem::remove(path);
    }
    std::printf("%.1f MB, median of %d runs, peak memory of a process of its own, the text included\n",
                static_cast<double>(bytes) / 1e6, kRuns);
    Report("plain pass (peer): ; and #", peer, bytes, peer.seconds);
    Report("parse: instances", index, bytes, peer.seconds);
    Report("file to model: elements", model, bytes, peer.seconds);
    return index.count > 0 && model.count > 0 ? 0 : 1;
}
