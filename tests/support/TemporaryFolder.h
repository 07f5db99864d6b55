// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

// A new empty folder for one test; it and what is in it go away with this object, whatever access was taken away.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "norvex-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder could be made");
        }
        m_path = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        for (auto entry = std::filesystem::recursive_directory_iterator(m_path, ignored);
             entry != std::filesystem::recursive_directory_iterator(); entry.increment(ignored)) {
            if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
                std::filesystem::permissions(entry->path(), std::filesystem::perms::owner_all, ignored);
            }
        }
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::filesystem::path& Path() const { return m_path; }

    // Makes a file, and the folders above it, with these bytes.
    std::filesystem::path Write(const std::filesystem::path& name, std::string_view bytes) const {
        const std::filesystem::path path = m_path / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return path;
    }

  private:
    std::filesystem::path m_path;
};
