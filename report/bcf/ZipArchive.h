// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <string_view>

struct zip;
struct zip_source;

namespace norvex::report::bcf {

// A ZIP archive in memory. Equal names, contents and moment give equal bytes. Errors: throws std::runtime_error when
// the library refuses, which takes a lack of memory.
class ZipWriter {
  public:
    // `moment` is what all members bear as their time: "2026-03-01T08:30:00Z", read as it stands.
    explicit ZipWriter(std::string_view moment);
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;
    ~ZipWriter();

    enum class Packing { Deflated, Stored };

    // Requires: the name was not used before.
    void Add(const std::string& name, std::string content, Packing packing = Packing::Deflated);
    // The archive's bytes; the writer is used up.
    std::string Finish();

  private:
    std::deque<std::string> m_contents;  // what the library reads from until the end
    unsigned short m_time = 0;           // as DOS writes it
    unsigned short m_date = 0;
    zip_source* m_source = nullptr;
    zip* m_archive = nullptr;
};

}  // namespace norvex::report::bcf
