// SPDX-License-Identifier: Apache-2.0
#include "ifc/LargePages.h"
#include "ifc/Reader.h"
#include "ifc/part21/ExchangeFile.h"
#include "ifc/part21/Value.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

//     ifc_parse_bench [MODEL [NORVEX]]
//
// How fast a model is read and how much memory that takes; a made one of about 30 MB when none is given. With the path
// of the program norvex, how long a whole check of the same model takes beside it. Each measurement is a process of its
// own, so that the peak is its own, and all are taken in turns, so that whatever else the machine does meets all of
// them. The file comes from disk and is written piece by piece, so that making it leaves no memory behind.
//
// Peers:
// - one plain pass over the bytes that finds every ';' and every '#'. Nothing that looks at all bytes twice in search
//   of the instances' ends and numbers can be much faster;
// - the full parse, which is what parsing an exchange file commonly means: from bytes to every instance with all its
//   parameters as values, without a thought of buildings. Once where each value is only looked at, and once where all
//   of them are stored, as a parser must that hands a model to somebody.

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
    norvex::ifc::AdviseLargePages(bytes.data.get(), bytes.size);
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

using norvex::ifc::part21::ExchangeFile;
using norvex::ifc::part21::Members;
using norvex::ifc::part21::Value;
using norvex::ifc::part21::ValueCursor;
using norvex::ifc::part21::ValueKind;

bool Index(std::string_view text, ExchangeFile& file) {
    norvex::ifc::DiagnosticLog log(text, 10);
    return !file.Read(text, log);
}

// Gets every value of every instance and keeps a sum, which differs when one is left out or read wrongly.
class Looker {
  public:
    void BeginInstance() { Add(1); }
    void Plain(ValueKind kind) { Add(static_cast<std::uint64_t>(kind)); }
    void Number(double number) { Add(std::bit_cast<std::uint64_t>(number)); }
    void Integer(std::int64_t number) { Add(static_cast<std::uint64_t>(number)); }
    void Reference(std::uint32_t instance) { Add(instance); }
    void Text(ValueKind, std::string_view text) {
        Add(text.size());
        if (!text.empty()) {
            Add(static_cast<unsigned char>(text.front()) * 256U + static_cast<unsigned char>(text.back()));
        }
    }
    std::size_t BeginGroup(ValueKind kind) {
        Plain(kind);
        return 0;
    }
    void EndGroup(std::size_t) { Add(2); }

    std::uint64_t Sum() const { return sum_; }
    std::size_t Count() const { return count_; }

  private:
    void Add(std::uint64_t value) {
        sum_ = std::rotl(sum_, 7) + value;
        ++count_;
    }

    std::uint64_t sum_ = 0;
    std::size_t count_ = 0;
};

// Stores every value of every instance in three arrays: 16 bytes a value, and the text of all strings and words.
class Tree {
  public:
    // Makes room for as much as any text of this size was seen to hold; what is not written takes no memory.
    explicit Tree(std::size_t textBytes) {
        norvex::ifc::ReserveInLargePages(instances_, textBytes / 32);
        norvex::ifc::ReserveInLargePages(values_, textBytes / 6);
        texts_.reserve(textBytes);
        norvex::ifc::AdviseLargePages(texts_.data(), texts_.capacity());
    }

    void BeginInstance() { instances_.push_back(static_cast<std::uint32_t>(values_.size())); }
    void Plain(ValueKind kind) { values_.push_back({0, 0, kind}); }
    void Number(double number) { values_.push_back({std::bit_cast<std::uint64_t>(number), 0, ValueKind::Real}); }
    void Integer(std::int64_t number) {
        values_.push_back({static_cast<std::uint64_t>(number), 0, ValueKind::Integer});
    }
    void Reference(std::uint32_t instance) { values_.push_back({instance, 0, ValueKind::Reference}); }
    void Text(ValueKind kind, std::string_view text) {
        values_.push_back({texts_.size(), static_cast<std::uint32_t>(text.size()), kind});
        texts_.append(text);
    }
    std::size_t BeginGroup(ValueKind kind) {
        values_.push_back({0, 0, kind});
        return values_.size() - 1;
    }
    // What a list holds stands behind it; it is told how far.
    void EndGroup(std::size_t group) { values_[group].payload = values_.size(); }

    std::size_t Count() const { return values_.size(); }

  private:
    struct Stored {
        std::uint64_t payload;
        std::uint32_t size;
        ValueKind kind;
    };

    std::vector<std::uint32_t> instances_;
    std::vector<Stored> values_;
    std::string texts_;
};

// Reads what stands in one bracket, whatever it nests.
template <typename Sink>
void ReadValues(const ExchangeFile& file, ValueCursor cursor, Sink& sink) {
    for (Value value = cursor.Next(); value.kind != ValueKind::Missing; value = cursor.Next()) {
        switch (value.kind) {
            case ValueKind::Integer:
                sink.Integer(value.Integer().value_or(0));
                break;
            case ValueKind::Real:
                sink.Number(value.Number().value_or(0.0));
                break;
            case ValueKind::Reference:
                sink.Reference(file.Find(value.Reference()));
                break;
            case ValueKind::String:
                sink.Text(value.kind, value.Text());
                break;
            case ValueKind::Enumeration:
            case ValueKind::Binary:
                sink.Text(value.kind, value.text);
                break;
            case ValueKind::List: {
                const std::size_t group = sink.BeginGroup(value.kind);
                ReadValues(file, Members(value), sink);
                sink.EndGroup(group);
                break;
            }
            case ValueKind::Typed: {
                const std::string_view name = value.TypeName();
                const std::size_t group = sink.BeginGroup(value.kind);
                sink.Text(ValueKind::Enumeration, name);
                ReadValues(file, ValueCursor(value.text.substr(value.text.find('(') + 1)), sink);
                sink.EndGroup(group);
                break;
            }
            default:
                sink.Plain(value.kind);
                break;
        }
    }
}

// A complex instance gives its first record.
template <typename Sink>
bool FullParse(std::string_view text, Sink& sink) {
    ExchangeFile file;
    if (!Index(text, file)) {
        return false;
    }
    for (std::uint32_t index = 0; index < file.InstanceCount(); ++index) {
        sink.BeginInstance();
        ReadValues(file, file.Arguments(index), sink);
    }
    return true;
}

struct Figures {
    double seconds = 0.0;    // by the clock
    double processor = 0.0;  // seconds of processor time, of all threads and processes together
    double peakBytes = 0.0;  // of the process, the file's text included
    double idleBytes = 0.0;  // of the process before it began
    std::size_t count = 0;   // of what was found; 0: it failed
};

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

double PeakBytes(const rusage& usage) {
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

[[noreturn]] void Fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(2);
}

double ProcessorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// What a process does to be measured: `prepare` is not, what it returns is.
using Work = std::function<std::size_t()>;
using Preparation = std::function<Work()>;

Figures MeasureOnce(const Preparation& prepare) {
    int channel[2];
    if (pipe(channel) != 0) {
        Fail("No pipe can be had.");
    }
    const pid_t child = fork();
    if (child == 0) {
        Figures figures;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        figures.idleBytes = PeakBytes(usage);
        const Work work = prepare();
        const double processor = ProcessorSeconds();
        const auto begin = std::chrono::steady_clock::now();
        figures.count = work();
        figures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        figures.processor = ProcessorSeconds() - processor;
        getrusage(RUSAGE_SELF, &usage);
        figures.peakBytes = PeakBytes(usage);
        const bool written = write(channel[1], &figures, sizeof figures) == static_cast<ssize_t>(sizeof figures);
        _exit(written ? 0 : 2);
    }
    Figures figures;
    const bool got = read(channel[0], &figures, sizeof figures) == static_cast<ssize_t>(sizeof figures);
    int status = 0;
    waitpid(child, &status, 0);
    close(channel[0]);
    close(channel[1]);
    if (!got || status != 0 || figures.count == 0) {
        Fail("A measurement failed.");
    }
    return figures;
}

// A check from the start of the program to its end, workers included, with a project folder that is new each time.
Figures CheckOnce(const std::filesystem::path& program, const std::filesystem::path& model, const char* jobs) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("norvex-bench-project-" + std::to_string(getpid()));
    std::filesystem::remove_all(folder);
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        execl(program.c_str(), "norvex", "check", model.c_str(), "--project", folder.c_str(), "--jobs", jobs,
              static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    Figures figures;
    figures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    figures.processor = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
    figures.peakBytes = PeakBytes(usage);
    std::filesystem::remove_all(folder);
    // Clean or findings: everything was checked.
    if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) {
        Fail("The check of the model failed.");
    }
    figures.count = 1;
    return figures;
}

struct Row {
    const char* what;
    std::function<Figures()> measure;
    std::vector<Figures> runs;

    double Median(double Figures::*figure) const {
        std::vector<double> sorted;
        for (const Figures& run : runs) {
            sorted.push_back(run.*figure);
        }
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }
};

void Print(const Row& row, double bytes, const Row& peer) {
    const double seconds = row.Median(&Figures::seconds);
    const double peak = row.Median(&Figures::peakBytes);
    std::printf("%-38s %7.3f s  %7.3f s processor  %7.1f MB/s  %6.2f x plain pass  %5.2f bytes/byte (%.2f)  %zu\n",
                row.what, seconds, row.Median(&Figures::processor), bytes / seconds / 1e6,
                seconds / peer.Median(&Figures::seconds), peak / bytes,
                (peak - row.Median(&Figures::idleBytes)) / bytes, row.runs.front().count);
}

// The quotient of two medians, by the clock and in processor time.
void PrintRatio(const Row& row, const Row& peer, const Row* also) {
    const auto peerTime = [&](double Figures::*figure) {
        return peer.Median(figure) + (also != nullptr ? also->Median(figure) : 0.0);
    };
    std::printf("%-38s %6.2f by the clock, %6.2f in processor time, of %s%s\n", row.what,
                row.Median(&Figures::seconds) / peerTime(&Figures::seconds),
                row.Median(&Figures::processor) / peerTime(&Figures::processor), peer.what,
                also != nullptr ? " with the reading of the bytes" : "");
}

std::vector<Row> RowsOf(const std::filesystem::path& path, const std::filesystem::path& program) {
    const auto inMemory = [path](auto work) {
        return [path, work] {
            return MeasureOnce([&]() -> Work {
                const auto file = std::make_shared<Bytes>(Load(path));
                return [file, work] { return work(file->Text()); };
            });
        };
    };
    std::vector<Row> rows;
    rows.push_back({"plain pass: ; and #", inMemory(PlainPass), {}});
    rows.push_back({"reading the bytes",
                    [path] { return MeasureOnce([&]() -> Work { return [&] { return Load(path).size; }; }); },
                    {}});
    rows.push_back({"bare parse: instances",
                    inMemory([](std::string_view text) {
                        ExchangeFile file;
                        return Index(text, file) ? std::size_t{file.InstanceCount()} : 0;
                    }),
                    {}});
    rows.push_back({"full parse: values",
                    inMemory([](std::string_view text) {
                        Looker looker;
                        // The sum is a use of every value that no compiler can take away.
                        return FullParse(text, looker) && looker.Sum() != 0 ? looker.Count() : 0;
                    }),
                    {}});
    rows.push_back({"full parse into a tree: values",
                    inMemory([](std::string_view text) {
                        Tree tree(text.size());
                        return FullParse(text, tree) ? tree.Count() : 0;
                    }),
                    {}});
    rows.push_back({"file to model: elements",
                    [path] {
                        return MeasureOnce([&]() -> Work {
                            return [&] {
                                const norvex::ifc::ReadResult result = norvex::ifc::ReadIfcFile(path);
                                return result.Ok() ? result.model->elements.size() : 0;
                            };
                        });
                    },
                    {}});
    if (!program.empty()) {
        rows.push_back({"norvex check", [=] { return CheckOnce(program, path, "0"); }, {}});
        rows.push_back({"norvex check -j1", [=] { return CheckOnce(program, path, "1"); }, {}});
    }
    return rows;
}

}  // namespace

int main(int argc, char** argv) {
    const bool given = argc > 1;
    const std::filesystem::path program = argc > 2 ? argv[2] : "";
    const std::filesystem::path path =
        given ? std::filesystem::path(argv[1])
              : std::filesystem::temp_directory_path() / ("norvex-bench-" + std::to_string(getpid()) + ".ifc");
    if (!given) {
        std::ofstream stream(path, std::ios::binary);
        ModelWriter(stream).Write();
    }
    const auto bytes = static_cast<double>(std::filesystem::file_size(path));
    std::vector<Row> rows = RowsOf(path, program);
    for (int run = 0; run < kRuns; ++run) {
        for (Row& row : rows) {
            row.runs.push_back(row.measure());
        }
    }
    if (!given) {
        std::filesystem::remove(path);
    }
    std::printf(
        "%.1f MB, medians of %d runs in turns; peak memory of a process, the text included (and without what the "
        "process had before)\n",
        bytes / 1e6, kRuns);
    for (const Row& row : rows) {
        Print(row, bytes, rows.front());
    }
    enum { kPlainPass, kReading, kBareParse, kFullParse, kTree, kModel };
    for (std::size_t i = kModel; i < rows.size(); ++i) {
        for (const int peer : {kBareParse, kFullParse, kTree}) {
            PrintRatio(rows[i], rows[static_cast<std::size_t>(peer)], nullptr);
            PrintRatio(rows[i], rows[static_cast<std::size_t>(peer)], &rows[kReading]);
        }
    }
    return 0;
}
