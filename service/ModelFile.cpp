// SPDX-License-Identifier: Apache-2.0
#include "service/ModelFile.h"

#include <filesystem>
#include <future>
#include <utility>

#include "service/Sha256.h"

namespace norvex::service {

ModelFile ReadModelFile(const std::string& path) {
    ModelFile file;
    ifc::LoadResult loaded = ifc::LoadIfcFile(path);
    if (!loaded.Ok()) {
        file.read.error = std::move(loaded.error);
        return file;
    }
    std::future<std::string> digest = std::async(std::launch::async | std::launch::deferred, [&loaded] {
        Sha256 sum;
        sum.Add(loaded.content->Text());
        return sum.Finish();
    });
    ifc::ReadOptions options;
    options.sourceName = std::filesystem::path(path).filename().string();
    file.read = ifc::ReadIfcBytes(loaded.content->Bytes(), options);
    file.sha256 = digest.get();
    return file;
}

}  // namespace norvex::service
