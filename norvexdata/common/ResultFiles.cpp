// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/Vocabulary.h"
#include "platform/datamng/ZrOwDataMng.h"
#include "platform/kernel/FileSystem.h"
#include "platform/kernel/LocalTime.h"
#include "platform/text/CodePage.h"

namespace {

const wchar_t* const kResultName = L"NxResult";

// A result file's name is longer than its prefix by at least so much: any shorter one holds no time stamp.
constexpr int kShortestRest = 10;

bool Exists(const CString& path) {
    return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

// That a folder could not be made shows when a file is written into it.
void CreateFolder(const CString& path) {
    if (!Exists(path)) {
        CreateDirectoryW(path, nullptr);
    }
}

CString ResultFolder() {
    return ZrOwDataMng::CProj::GetPrjDir() + L"\\" + kResultName;
}

CString TimeStamp() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    CString stamp;
    stamp.Format(L"%02d%02d%02d%02d%02d%02d", now.wYear % 100, now.wMonth, now.wDay, now.wHour, now.wMinute,
                 now.wSecond);
    return stamp;
}

}  // namespace

CString CComMethod::ZRAbbreviatedSpec() {
    const CString& specialty = CNorvexData::s_strCurSpec;
    if (specialty == STR_SPEC_ELECTRICAL) {
        return L"(Elec)";
    }
    if (specialty == STR_SPEC_LOW_VOLTAGE) {
        return L"(Leak)";
    }
    if (specialty == STR_SPEC_HVAC) {
        return L"(Hvac)";
    }
    if (specialty == STR_SPEC_WATER) {
        return L"(Wsd)";
    }
    if (specialty == STR_SPEC_FIRE_PROTECTION) {
        return L"(Fp)";
    }
    return L"";
}

CString CComMethod::GetResultFileName() {
    const CString folder = ResultFolder();
    CreateFolder(folder);
    return folder + L"\\" + kResultName + ZRAbbreviatedSpec() + TimeStamp() + L".xml";
}

CString CComMethod::CreateGuideFileName() {
    const CString parent = ZrOwDataMng::CProj::GetPrjDir() + L"\\ProjectAssist";
    CreateFolder(parent);
    const CString folder = parent + L"\\" + kResultName;
    CreateFolder(folder);
    return folder + L"\\Guide" + L".xml";
}

void CComMethod::GetResultFileList(std::vector<std::string>& files) {
    const CString folder = ResultFolder();
    const CString tag = ZRAbbreviatedSpec();
    if (!Exists(folder) || tag.IsEmpty()) {
        return;
    }
    const CString prefix = kResultName + tag;
    WIN32_FIND_DATAW entry;
    HANDLE search = FindFirstFileW(folder + L"\\*.xml", &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        // A name that begins with "." does not begin with the prefix.
        const CString name = entry.cFileName;
        if (name.Left(prefix.GetLength()) == prefix && name.GetLength() >= prefix.GetLength() + kShortestRest) {
            files.push_back(norvex::text::WideToNarrow(folder + L"\\" + name));
        }
    } while (FindNextFileW(search, &entry));
    FindClose(search);
}
