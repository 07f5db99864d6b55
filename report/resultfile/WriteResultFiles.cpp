// SPDX-License-Identifier: Apache-2.0
#include "report/resultfile/WriteResultFiles.h"

#include <fmt/format.h>
#include <chrono>
#include <thread>
#include <utility>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/module/ThreadManagement.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/datamng/ProjectData.h"
#include "platform/kernel/NativePath.h"
#include "platform/kernel/WholeFile.h"
#include "platform/text/Utf8.h"
#include "report/resultfile/ResultDocument.h"

namespace norvex::report {
namespace {

namespace fs = std::filesystem;

// The module names files after the current project and specialty; what these were before comes back in the end.
class CurrentProject {
  public:
    explicit CurrentProject(const fs::path& folder)
        : m_project(datamng::GetCurrentProject()), m_specialty(CNorvexData::s_strCurSpec) {
        datamng::ProjectData project = m_project;
        project.folder = kernel::FromNativePath(fs::absolute(folder).lexically_normal().native());
        while (project.folder.GetLength() > 1 && project.folder.Right(1) == L"\\") {
            project.folder = project.folder.Left(project.folder.GetLength() - 1);
        }
        datamng::SetCurrentProject(project);
    }
    CurrentProject(const CurrentProject&) = delete;
    CurrentProject& operator=(const CurrentProject&) = delete;
    ~CurrentProject() {
        CNorvexData::s_strCurSpec = m_specialty;
        datamng::SetCurrentProject(m_project);
    }

  private:
    datamng::ProjectData m_project;
    CString m_specialty;
};

// One thread at a time writes results.
class WritingStep {
  public:
    WritingStep() { CThreadManagement::WaitForWriteResultEvent(); }
    WritingStep(const WritingStep&) = delete;
    WritingStep& operator=(const WritingStep&) = delete;
    ~WritingStep() { CThreadManagement::SetWriteResultEvent(); }
};

void WaitForNextSecond() {
    const auto now = std::chrono::system_clock::now();
    std::this_thread::sleep_for(std::chrono::ceil<std::chrono::seconds>(now) - now);
}

// Writes the result file of the current specialty. Returns a sentence when it could not be written.
std::optional<std::string> WriteResult(const std::string& text, fs::path& written) {
    // More runs than that do not end within one second; then the clock stands still.
    constexpr int kTries = 10;
    for (int count = 0; count < kTries; ++count) {
        const fs::path path = kernel::ToNativePath(CComMethod::GetResultFileName());
        bool isTaken = false;
        kernel::WholeFile file;
        std::optional<std::string> failure = file.Open(path);
        if (!failure) {
            failure = file.CommitNew(text, isTaken);
        }
        if (!isTaken) {
            written = path;
            return failure;
        }
        WaitForNextSecond();
    }
    return fmt::format("The result files cannot be written: every name for them is taken, the last is {}.",
                       kernel::ToNativePath(CComMethod::GetResultFileName()));
}

std::optional<std::string> WriteGuide(const std::string& text, fs::path& written) {
    const fs::path path = kernel::ToNativePath(CComMethod::CreateGuideFileName());
    kernel::WholeFile file;
    std::optional<std::string> failure = file.Open(path);
    if (!failure) {
        failure = file.Commit(text);
    }
    if (!failure) {
        written = path;
    }
    return failure;
}

}  // namespace

ResultFiles WriteResultFiles(const service::RunReport& report) {
    const CurrentProject project(report.projectFolder);
    const WritingStep step;
    ResultFiles files;
    std::vector<GuideEntry> entries;
    for (const std::string& specialty : report.specialties) {
        CNorvexData::s_strCurSpec = text::FromUtf8(specialty);
        GuideEntry entry{specialty, text::ToUtf8(CComMethod::ZRAbbreviatedSpec()), ""};
        // Where one file cannot be written, the next will not be either, for the same reason.
        if (!files.failure && HasResult(report, specialty)) {
            fs::path path;
            files.failure = WriteResult(ResultXml(report, specialty, entry.tag), path);
            if (!files.failure) {
                entry.file = (path.parent_path().filename() / path.filename()).string();
                files.written.push_back(std::move(path));
            }
        }
        entries.push_back(std::move(entry));
    }
    const std::optional<std::string> failure =
        WriteGuide(GuideXml(report, entries, files.failure.value_or("")), files.guide);
    if (!files.failure) {
        files.failure = failure;
    }
    return files;
}

}  // namespace norvex::report
