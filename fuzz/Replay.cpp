// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Feeds every file in the given folders to a fuzz target, by name, so that the ordinary test run repeats what fuzzing
// found. Folders that do not exist are passed over; it is an error when nothing was fed at all.
int main(int argc, char** argv) {
    std::size_t fed = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::filesystem::path> files;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(argv[i], error)) {
            files.push_back(entry.path());
        }
        std::sort(files.begin(), files.end());
        for (const std::filesystem::path& file : files) {
            std::ifstream stream(file, std::ios::binary);
            const std::vector<char> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
            std::printf("%s: %zu bytes\n", file.c_str(), bytes.size());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        }
        fed += files.size();
    }
    return fed > 0 ? 0 : 1;
}
