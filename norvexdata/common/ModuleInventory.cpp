// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/trust/Md5.h"
#include "platform/kernel/FileSystem.h"
#include "platform/kernel/VersionInfo.h"
#include "platform/profile/ZrOwProfile.h"
#include "platform/text/CodePage.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace {

using norvex::text::WideToNarrow;

// The name without its extension: up to the last point.
CString TitleOf(const CString& fileName) {
    const int point = fileName.ReverseFind(u'.');
    return point < 0 ? fileName : fileName.Left(point);
}

NS_NORVEX::DllInfo Describe(const CString& folder, const CString& fileName) {
    const CString path = folder + L"\\" + fileName;
    CString version;
    CComMethod::GetFileVersion(path, version);
    return {WideToNarrow(TitleOf(fileName)), WideToNarrow(CComMethod::GetModuleMD5(path)), WideToNarrow(version)};
}

}  // namespace

void CComMethod::GetDllInfo(CZRArray<NS_NORVEX::DllInfo>& modules) {
    const CString folder = ZrOwProfile::GetAppProfile()->GetAppDir() + L"\\Norvex";
    WIN32_FIND_DATAW entry;
    HANDLE search = FindFirstFileW(folder + L"\\*.Arx", &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        // The entries "." and ".." are folders, too.
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            modules.append(Describe(folder, entry.cFileName));
        }
    } while (FindNextFileW(search, &entry));
    FindClose(search);
}

CString CComMethod::GetModuleMD5(const CString& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(_wfopen(path, u"rb"), std::fclose);
    if (file == nullptr) {
        return L"";
    }
    norvex::trust::Md5 md5;
    std::array<char, 1024> block;
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), file.get())) {
        md5.Update({block.data(), size});
    }
    if (std::ferror(file.get()) != 0) {
        return L"";
    }
    return norvex::trust::ToHex(md5.Finish()).c_str();
}

bool CComMethod::GetFileVersion(CString path, CString& version) {
    DWORD handle = 0;
    const DWORD size = GetFileVersionInfoSizeW(path, &handle);
    if (size == 0) {
        return false;
    }
    const std::unique_ptr<char[]> resource(new (std::nothrow) char[size]);
    if (resource == nullptr || !GetFileVersionInfoW(path, handle, size, resource.get())) {
        return false;
    }
    void* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(resource.get(), u"\\", &value, &length)) {
        return false;
    }
    VS_FIXEDFILEINFO info;
    std::memcpy(&info, value, sizeof(info));
    try {
        CString text;
        text.Format(L"%d.%d.%d.%d", info.dwFileVersionMS >> 16, info.dwFileVersionMS & 0xFFFF,
                    info.dwFileVersionLS >> 16, info.dwFileVersionLS & 0xFFFF);
        version = text;
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}
