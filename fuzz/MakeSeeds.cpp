// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Encodings.h"
#include "report/bcf/ZipArchive.h"
#include "service/store/ProjectStore.h"
#include "service/store/Schema.h"
#include "service/store/Sqlite.h"
#include "service/work/Wire.h"

#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

// Writes the first inputs of the targets whose formats nobody writes by hand, as this program writes them today, into
// one folder for each target below the one that is named.

namespace {

namespace fs = std::filesystem;
using namespace norvex;
using namespace norvex::service;

const std::string kCode = "_" + std::string(32, '1');
const std::string kWater = "给排水";

void Write(const fs::path& path, std::string_view bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::string Bytes(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// ---- Worker messages ----

void MakeWorkerMessages(const fs::path& folder) {
    using namespace norvex::service::work;
    const Moment moment{std::chrono::nanoseconds(1'000'000)};
    FindingRecord finding;
    finding.category = "管线";
    finding.subCategory = "闭合环路";
    finding.severity = Severity::Suspected;
    finding.sentence = "Four pipes close a loop.";
    finding.location = "T:A:2:B:1F,2A";
    finding.featureCode = kCode;
    finding.objects = {{"1F", "0aBcDeFgHiJkLmNoPqRsTu", "Pipe 1", "管道"}, {"2A", "", "Pipe 2", "管道"}};
    finding.place = Place{1.5, -2000.0, 1e9};
    const std::vector<Message> messages{FloorEntered{},
                                        TaskBegun{3, moment},
                                        TaskProgress{42},
                                        TaskFound{finding},
                                        TaskEnded{NS_NORVEX::eRuleDone, 120, 3, "three have no place", moment},
                                        CheckWaits{},
                                        CheckGoesOn{},
                                        FloorDone{},
                                        WorkerFailed{"there is not enough memory"}};
    std::string all;
    for (const Message& message : messages) {
        Write(folder / ("kind-" + std::to_string(message.index())), Encode(message));
        all += Encode(message);
    }
    Write(folder / "all", all);
    Write(folder / "cut-off", std::string_view(all).substr(0, all.size() - 3));
}

// ---- BCF archives ----

constexpr const char* kNewMarkup =
    R"(<?xml version="1.0" encoding="UTF-8"?><Markup><Topic Guid="{6F1C2B34-0000-4000-8000-000000000001}" )"
    R"(TopicType="Error" TopicStatus="Closed"><ReferenceLinks><ReferenceLink>CODE</ReferenceLink></ReferenceLinks>)"
    R"(<Title>Loop &amp; ring</Title><Labels><Label>CODE</Label></Labels><CreationDate>2026-03-01T08:30:00Z</CreationDate>)"
    R"(<CreationAuthor>norvex</CreationAuthor><ModifiedDate>2026-03-02T08:30:00+08:00</ModifiedDate>)"
    R"(<ModifiedAuthor>li@example.org</ModifiedAuthor><Description>Four pipes close a loop.</Description><Comments>)"
    R"(<Comment Guid="a"><Date>2026-03-02T08:30:00Z</Date><Author>li</Author><Comment>agreed</Comment></Comment>)"
    R"(<Comment Guid="b"><Date>2026-03-01T08:30:00Z</Date><Author>wu</Author><Comment>why?</Comment></Comment>)"
    R"(</Comments></Topic></Markup>)";
constexpr const char* kOldMarkup =
    R"(<?xml version="1.0"?><Markup><Topic Guid="1" TopicStatus="Active"><Title>CODE</Title><Labels>CODE</Labels></Topic>)"
    R"(<Comment Guid="a"><Date>2026-03-02</Date><Author>li</Author><Comment>agreed</Comment></Comment></Markup>)";

std::string WithCode(std::string markup) {
    for (std::size_t at = markup.find("CODE"); at != std::string::npos; at = markup.find("CODE")) {
        markup.replace(at, 4, kCode);
    }
    return markup;
}

void MakeArchives(const fs::path& folder) {
    using report::bcf::ZipWriter;
    ZipWriter small("2026-03-01T08:30:00Z");
    small.Add("bcf.version", R"(<?xml version="1.0"?><Version VersionId="3.0"/>)");
    small.Add("6f1c2b34-0000-4000-8000-000000000001/markup.bcf", WithCode(kNewMarkup));
    Write(folder / "new.bcf", small.Finish());
    ZipWriter old("2026-03-01T08:30:00Z");
    old.Add("bcf.version", R"(<?xml version="1.0"?><Version VersionId="2.1"/>)", ZipWriter::Packing::Stored);
    old.Add("a\\markup.bcf", WithCode(kOldMarkup), ZipWriter::Packing::Stored);
    old.Add("b/markup.bcf", fuzz::ToEncoding(WithCode(kOldMarkup), fuzz::Encoding::Utf16Little));
    old.Add("c/markup.bcf", "<Markup>", ZipWriter::Packing::Stored);
    old.Add("c/snapshot.png", "no picture", ZipWriter::Packing::Stored);
    Write(folder / "old.bcfzip", old.Finish());
    ZipWriter foreign("2026-03-01T08:30:00Z");
    foreign.Add("readme.txt", "nothing to read");
    Write(folder / "foreign.zip", foreign.Finish());
}

// ---- Project databases ----

template <class Value>
Value Sound(store::Result<Value> result) {
    if (!result) {
        throw std::runtime_error(result.Error().sentence);
    }
    return std::move(*result);
}

void FillProject(const fs::path& folder) {
    auto project = Sound(store::ProjectStore::Open(folder));
    store::RunIdentity identity{.modelPath = "house.ifc",
                                .modelDigest = "d",
                                .modelSize = 10,
                                .modelRead = store::ModelRead::Wholly,
                                .configurationDigest = "c",
                                .programVersion = "1",
                                .floors = {"1F", "2层"},
                                .specialties = {kWater},
                                .rules = {{"CCheckPipeLoop", "PipeLoop.Arx", "m", "1.0.0.0"}}};
    store::TrustEntry entry;
    entry.featureCode = kCode;
    entry.reason = "agreed";
    entry.person = "li";
    Sound(project.AddTrust(entry));
    entry.kind = store::TrustKind::SubCategory;
    entry.featureCode.clear();
    entry.rule = "CCheckPipeLoop";
    entry.floor = "2层";
    entry.subCategory = "管道";
    entry.expiresOn = "2030-01-01";
    const store::TrustId second = Sound(project.AddTrust(entry));
    store::Finding finding{.featureCode = kCode,
                           .category = "管线",
                           .subCategory = "闭合环路",
                           .severity = "ERR_SUSPECTED",
                           .sentence = "Four pipes close a loop.",
                           .location = "T:A:2:B:1F",
                           .objects = {{"1F", "g", "Pipe", "管道"}},
                           .place = std::array<double, 3>{1.0, 2.0, 3.0},
                           .trusted = true};
    for (int i = 0; i < 2; ++i) {
        const store::RunId run = Sound(project.BeginRun(identity)).id;
        const store::UnitOutcome failed{
            {"1F", kWater, "CCheckPipeLoop"}, store::UnitResult::Failed, 4, 1, {}, "", true};
        const store::UnitOutcome other{
            {"2层", kWater, "CCheckPipeLoop"}, store::UnitResult::Cancelled, 0, 0, {}, "no", false};
        Sound(project.CommitUnit(run, failed, {finding, finding}));
        Sound(project.EndRun(run, i == 0 ? store::RunStatus::Complete : store::RunStatus::Cancelled, {other}));
        finding.featureCode.back() = '2';
    }
    Sound(project.RemoveTrust({second}, "li", "over"));
}

// The smallest pages, and no log beside the file.
void Shrink(const fs::path& path) {
    store::sqlite::Connection connection(path.string(), SQLITE_OPEN_READWRITE, 0);
    connection.Execute("PRAGMA journal_mode = DELETE; PRAGMA page_size = 512; VACUUM;");
}

void MakeDatabases(const fs::path& folder) {
    const fs::path project = folder / "project";
    const fs::path path = project / store::kDatabaseFileName;
    fs::remove_all(project);
    fs::create_directories(project);
    FillProject(project);
    Shrink(path);
    Write(folder / "filled.db", Bytes(path));
    fs::remove(path);
    {
        store::sqlite::Connection connection(path.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0);
        store::Migrate(connection, store::MigrationSteps().first(1));
    }
    Shrink(path);
    Write(folder / "oldest.db", Bytes(path));
    fs::remove(path);
    {
        store::sqlite::Connection connection(path.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0);
        connection.Execute("PRAGMA page_size = 512; CREATE TABLE other (a)");
    }
    Write(folder / "foreign.db", Bytes(path));
    fs::remove_all(project);
}

// ---- Configuration ----

constexpr const char* kConfiguration =
    R"(<norvex><rule className="CCheckPipeLoop"><checkitems><group name="给排水"><entry name="管线"><value>*</value>)"
    R"(</entry></group></checkitems></rule></norvex>)";

void MakeConfigurations(const fs::path& folder) {
    Write(folder / "utf16le.xml", fuzz::ToEncoding(kConfiguration, fuzz::Encoding::Utf16Little));
    Write(folder / "utf16be.xml", fuzz::ToEncoding(kConfiguration, fuzz::Encoding::Utf16Big));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: fuzz_seeds FOLDER\n", stderr);
        return 2;
    }
    try {
        const fs::path folder = argv[1];
        MakeWorkerMessages(folder / "worker_message");
        MakeArchives(folder / "bcf_archive");
        MakeDatabases(folder / "project_database");
        MakeConfigurations(folder / "norvex_config");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fuzz_seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}
