// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <new>
#include <sstream>
#include <stdexcept>

#include "Faults.h"
#include "ifc/Reader.h"
#include "platform/kernel/FileVersion.h"
#include "platform/xml/XmlDocument.h"
#include "report/CheckReport.h"
#include "report/RunPage.h"
#include "report/bcf/ReadBcf.h"
#include "report/bcf/WriteBcf.h"
#include "report/page/WritePage.h"
#include "report/resultfile/ResultDocument.h"
#include "report/sarif/CheckSarif.h"
#include "service/store/TrustExchange.h"
#include "service/work/Wire.h"
#include "tests/report/SampleReport.h"
#include "tests/service/store/StoreSupport.h"
#include "tests/service/support/PipeModel.h"

using namespace norvex;
using namespace norvex::test;

// What a reader, a writer or the store does when memory runs out at any moment of its work: it throws std::bad_alloc or
// says so in its result, gives back all it had taken, and is as good as new the next time.

namespace {

// What was made of the input, or "error" when the work said that it could not be done.
using Work = std::function<std::string()>;

enum class Shortage { OneAllocation, AllFromThere };

bool HasFailure() {
    return testing::Test::HasFailure();
}

FaultState& State() {
    return *norvex_fault_state();
}

std::uint64_t Allocations() {
    return State().calls[static_cast<std::size_t>(Call::Allocate)];
}

// The plan holds as long as the object.
class WithoutMemory {
  public:
    WithoutMemory(std::uint64_t nth, Shortage shortage) : m_failedBefore(State().failed) {
        State().plan = {.call = Call::Allocate,
                        .from = Allocations() + nth,
                        .times = shortage == Shortage::OneAllocation ? 1 : std::numeric_limits<std::uint64_t>::max()};
    }
    WithoutMemory(const WithoutMemory&) = delete;
    WithoutMemory& operator=(const WithoutMemory&) = delete;
    ~WithoutMemory() { State().plan = {}; }

    bool HasStruck() const { return State().failed > m_failedBefore; }

  private:
    std::uint64_t m_failedBefore;
};

struct Attempt {
    bool struck = false;
    bool threw = false;
    std::string unexpected;  // what else was thrown
    std::string made;
};

Attempt Try(const Work& work, std::uint64_t nth, Shortage shortage) {
    Attempt attempt;
    attempt.made.reserve(1U << 20U);
    const char* unexpected = nullptr;
    {
        const WithoutMemory plan(nth, shortage);
        try {
            const std::string made = work();
            attempt.made.assign(made, 0, std::min(made.size(), attempt.made.capacity()));
        } catch (const std::bad_alloc&) {
            attempt.threw = true;
        } catch (const std::runtime_error&) {
            // A library that reports the lack of memory in its own way.
            attempt.threw = true;
        } catch (const std::exception&) {
            unexpected = "an exception that is not about memory";
        }
        attempt.struck = plan.HasStruck();
    }
    attempt.unexpected = unexpected == nullptr ? "" : unexpected;
    return attempt;
}

// Whether what came of an attempt is in order; says so otherwise.
bool IsInOrder(const Attempt& attempt, const std::string& expected) {
    if (!attempt.unexpected.empty()) {
        std::cout << "thrown: " << attempt.unexpected << std::endl;
        return false;
    }
    if (attempt.threw || attempt.made == "error" || attempt.made == expected.substr(0, attempt.made.capacity())) {
        return true;
    }
    std::cout << "made, and neither right nor refused:\n"
              << attempt.made.substr(0, 20000) << "INSTEAD OF\n"
              << expected << std::endl;
    return false;
}

// As Try, in a process of its own, where std::terminate is in order: the JSON library allocates in destructors, and
// what leaves those ends a program, which then says so and ends with exit code 3.
bool StrikesAndIsInOrder(const Work& work, std::uint64_t nth, Shortage shortage, const std::string& expected,
                         bool& struck) {
    enum Exit : int { kRight = 10, kNotStruck, kWrong, kTerminated };
    const pid_t child = fork();
    if (child == 0) {
        std::set_terminate([] { _exit(kTerminated); });
        const Attempt attempt = Try(work, nth, shortage);
        _exit(!IsInOrder(attempt, expected) ? kWrong : attempt.struck ? kRight : kNotStruck);
    }
    int status = 0;
    waitpid(child, &status, 0);
    State().plan = {};
    if (WIFSIGNALED(status)) {
        std::cout << "ended by signal " << WTERMSIG(status) << std::endl;
    }
    struck = !WIFEXITED(status) || WEXITSTATUS(status) != kNotStruck;
    return WIFEXITED(status) && WEXITSTATUS(status) >= kRight && WEXITSTATUS(status) != kWrong;
}

enum class Terminates { Never, InOrder };
// The XML library's writer forgets some of what it had when memory runs out; a reader of results sees none of that.
enum class GivesBack { All, AllOfOurs };

// Lets each allocation of the work fail once, and from each one on all of them. Returns how many failed. `step` leaves
// some out where the work is long.
std::uint64_t FailAllocations(const Work& work, const std::string& expected, Terminates terminates,
                              std::uint64_t step) {
    std::uint64_t failures = 0;
    for (const Shortage shortage : {Shortage::OneAllocation, Shortage::AllFromThere}) {
        bool struck = true;
        for (std::uint64_t nth = 1; struck; nth += step) {
            bool isInOrder = false;
            if (terminates == Terminates::InOrder) {
                isInOrder = StrikesAndIsInOrder(work, nth, shortage, expected, struck);
            } else {
                const Attempt attempt = Try(work, nth, shortage);
                struck = attempt.struck;
                isInOrder = IsInOrder(attempt, expected);
            }
            if (!isInOrder) {
                ADD_FAILURE() << "when allocation " << nth << " failed"
                              << (shortage == Shortage::AllFromThere ? " and all later ones" : "");
                return failures;
            }
            failures += struck ? 1 : 0;
        }
    }
    return failures;
}

void ExpectOrderWithoutMemory(const Work& work, Terminates terminates = Terminates::Never, std::uint64_t step = 1,
                              GivesBack givesBack = GivesBack::All) {
    const std::string expected = work();
    ASSERT_NE(expected, "error");
    const std::uint64_t failures = FailAllocations(work, expected, terminates, step);
    EXPECT_EQ(work(), expected) << "after " << failures << " failures";
    EXPECT_GT(failures, 2U);
    if (HasFailure() || terminates == Terminates::InOrder || givesBack == GivesBack::AllOfOurs) {
        return;
    }
    // What libraries keep for good is there by now; whoever loses something the second time loses it every time.
    const std::int64_t live = State().live;
    FailAllocations(work, expected, terminates, step);
    EXPECT_LE(State().live - live, 1) << "allocations were not given back";
    std::cout << failures << " allocations failed\n";
}

std::string HouseText() {
    PipeModel model;
    model.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Ring({0, 0, 2500});
    model.Storey("2层", 3000).Pipe({0, 0, 5500}, {900, 0, 5500});
    return model.Text();
}

ifc::BuildingModel House() {
    const std::string text = HouseText();
    return std::move(*ifc::ReadIfcBytes(std::as_bytes(std::span(text))).model);
}

std::vector<service::FloorRecord> Floors() {
    return {{.name = "1层", .elevation = 0.0, .elements = 4}, {.name = "2层", .elevation = 3000.0, .elements = 1}};
}

TEST(WithoutMemory, AModelIsReadOrRefused) {
    const std::string text = HouseText();
    ExpectOrderWithoutMemory([&]() -> std::string {
        const ifc::ReadResult read = ifc::ReadIfcBytes(std::as_bytes(std::span(text)));
        return read.Ok() ? fmt::format("{} elements, {} connections", read.model->elements.size(),
                                       read.model->connections.size())
                         : "error";
    });
}

TEST(WithoutMemory, ATrustDocumentIsReadOrRefused) {
    store::TrustEntry entry = TrustedFinding(Code(1));
    entry.rule = "CCheckPipeLoop";
    entry.addedOn = "2026-03-01";
    entry.specialty = "给排水";
    entry.reason = "它 \"is\" meant so, for a reason that is longer than any small buffer";
    const std::string document = store::TrustDocument({entry});
    ExpectOrderWithoutMemory(
        [&]() -> std::string {
            const auto entries = store::ReadTrustDocument(document, "entries.json");
            return entries ? store::TrustDocument(*entries) : "error";
        },
        Terminates::InOrder);
}

TEST(WithoutMemory, XmlIsReadOrRefused) {
    const std::string document =
        "<?xml version=\"1.0\" encoding=\"GB2312\"?><norvex><rule className=\"CCheckPipeLoop\"><a name=\"n\">"
        "\xB8\xF8\xCB\xAE some text</a><b/></rule></norvex>";
    ExpectOrderWithoutMemory([&]() -> std::string {
        const xml::ParseResult result = xml::Parse(document);
        return result.root == nullptr ? "error" : fmt::format("{}", result.root->children.size());
    });
}

TEST(WithoutMemory, AWorkersMessageIsReadOrRefused) {
    service::work::TaskFound found{SampleReport().findings.back()};
    found.finding.objects = {
        {"2F1", "0iqPoVcbmB$mgksTW4_Ep1", "给水管 with a name that is longer than a buffer", "水管"}};
    found.finding.acceptance = {};
    const std::string bytes = service::work::Encode(found);
    ExpectOrderWithoutMemory(
        [&]() -> std::string {
            service::work::MessageReader reader;
            reader.Add(bytes);
            const auto message = reader.Next();
            return message ? std::get<service::work::TaskFound>(*message).finding.sentence : "error";
        },
        Terminates::InOrder);
}

TEST(WithoutMemory, TheTextReportIsWrittenOrNotAtAll) {
    const service::RunReport report = SampleReport();
    ExpectOrderWithoutMemory([&] { return report::CheckText(report, {}); });
}

TEST(WithoutMemory, TheJsonReportIsWrittenOrNotAtAll) {
    const service::RunReport report = SampleReport();
    ExpectOrderWithoutMemory([&] { return report::CheckJson(report); }, Terminates::InOrder, 7);
}

TEST(WithoutMemory, TheSarifLogIsWrittenOrNotAtAll) {
    const service::RunReport report = SampleReport();
    ExpectOrderWithoutMemory([&] { return report::CheckSarif(report); }, Terminates::InOrder, 29);
}

TEST(WithoutMemory, ResultFilesAreWrittenOrNotAtAll) {
    const service::RunReport report = SampleReport();
    ExpectOrderWithoutMemory(
        [&] {
            return report::ResultXml(report, "给排水", "GPS") +
                   report::GuideXml(report, {{"给排水", "GPS", "a.xml"}}, "");
        },
        Terminates::Never, 1, GivesBack::AllOfOurs);
}

TEST(WithoutMemory, ThePageIsWrittenOrNotAtAll) {
    const service::RunReport report = SampleReport();
    const ifc::BuildingModel house = House();
    const std::vector<service::FloorRecord> floors = Floors();
    ExpectOrderWithoutMemory([&]() -> std::string {
        const report::RunPage page = report::MakeRunPage(report, house, floors);
        std::ostringstream out;
        report::page::WritePage(page.model, out);
        return out ? std::move(out).str() : "error";
    });
}

TEST(WithoutMemory, BcfTopicsAreWrittenOrNotAtAll) {
    service::RunReport report = SampleReport();
    report.findings.resize(1);
    const ifc::BuildingModel house = House();
    // Nothing that has a place, so no picture: the library that draws leaves a stroke out without a word when it gets
    // no memory for it.
    report.findings[0].objects = {{.handle = "FFFF", .globalId = "", .name = "pipe"}};
    report.findings[0].place.reset();
    report.findings[0].floor = "a floor that the building does not have";
    const std::vector<service::FloorRecord> floors = Floors();
    ExpectOrderWithoutMemory([&] { return report::bcf::MakeBcf(report, house, floors, {}).bytes; }, Terminates::Never,
                             1, GivesBack::AllOfOurs);
}

TEST(WithoutMemory, ABcfArchiveIsReadOrRefused) {
    service::RunReport report = SampleReport();
    report.findings.resize(2);
    const ProjectFolder folder;
    const std::filesystem::path file = folder.Path() / "topics.bcfzip";
    std::ofstream(file, std::ios::binary) << report::bcf::MakeBcf(report, House(), Floors(), {}).bytes;
    ExpectOrderWithoutMemory(
        [&]() -> std::string {
            const report::bcf::ReadArchive archive = report::bcf::ReadBcfFile(file);
            return !archive.error.empty() || !archive.problems.empty()
                       ? "error"
                       : fmt::format("{} topics", archive.topics.size());
        },
        Terminates::Never, 1, GivesBack::AllOfOurs);
}

// One thing of each kind; what failed must not stand in the project, and what stands there must be whole.
TEST(WithoutMemory, TheProjectKeepsWhatItSaidItKept) {
    setenv("TMPDIR", "/dev/shm", 1);
    const ProjectFolder folder;
    unsetenv("TMPDIR");
    const SetClock clock;
    OpenStore(folder, &clock);
    const auto work = [&]() -> std::string {
        auto project = store::ProjectStore::Open(folder.Path(), {.clock = &clock});
        if (!project) {
            return "error";
        }
        const auto run = project->BeginRun(Identity());
        if (!run ||
            !project->CommitUnit(run->id, Outcome({"1层", "给排水", "CCheckPipeLoop"}, store::UnitResult::Failed),
                                 {FindingOf(Code(1))}) ||
            !project->EndRun(run->id, store::RunStatus::Complete)) {
            return "error";
        }
        const auto contents = project->LoadRun(run->id);
        const auto trust = project->ExportTrust();
        if (!contents || !trust || !project->PruneRuns(1)) {
            return "error";
        }
        // Entries of attempts that failed further on stand, as they should.
        const auto listed = project->ListTrust();
        std::vector<store::TrustId> ids;
        for (const store::TrustListing& listing : *listed) {
            ids.push_back(listing.entry.id);
        }
        if (!listed || (!ids.empty() && !project->RemoveTrust(ids, "somebody", "a reason")) ||
            !project->AddTrust(TrustedFinding(Code(1)))) {
            return "error";
        }
        return fmt::format("{} {}", contents->units.size(), contents->findings.size());
    };
    ExpectOrderWithoutMemory(work, Terminates::InOrder, 211);
    OpenStore(folder, &clock);
    store::ProjectStore project = OpenStore(folder, &clock);
    Expect(project.CheckIntegrity());
}

}  // namespace
