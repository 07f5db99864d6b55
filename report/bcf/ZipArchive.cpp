// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/ZipArchive.h"

#include <fmt/format.h>
#include <zip.h>
#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace norvex::report::bcf {
namespace {

[[noreturn]] void Fail(const char* what) {
    throw std::runtime_error(fmt::format("the archive cannot be made: {}", what));
}

// Digits of a moment; 0 for what is none.
unsigned int NumberAt(std::string_view moment, std::size_t position, std::size_t size) {
    unsigned int number = 0;
    if (position + size <= moment.size()) {
        std::from_chars(moment.data() + position, moment.data() + position + size, number);
    }
    return number;
}

}  // namespace

ZipWriter::ZipWriter(std::string_view moment) {
    // The years that the format can say.
    const unsigned int year = std::clamp(NumberAt(moment, 0, 4), 1980U, 2107U) - 1980U;
    m_date = static_cast<unsigned short>((year << 9U) | (std::max(NumberAt(moment, 5, 2), 1U) << 5U) |
                                         std::max(NumberAt(moment, 8, 2), 1U));
    m_time = static_cast<unsigned short>((NumberAt(moment, 11, 2) << 11U) | (NumberAt(moment, 14, 2) << 5U) |
                                         (NumberAt(moment, 17, 2) / 2U));
    zip_error_t error;
    zip_error_init(&error);
    m_source = zip_source_buffer_create(nullptr, 0, 0, &error);
    if (m_source == nullptr) {
        Fail(zip_error_strerror(&error));
    }
    // The archive takes the source over; Finish reads from it after the archive is gone.
    zip_source_keep(m_source);
    m_archive = zip_open_from_source(m_source, ZIP_TRUNCATE, &error);
    if (m_archive == nullptr) {
        zip_source_free(m_source);
        zip_source_free(m_source);
        Fail(zip_error_strerror(&error));
    }
}

ZipWriter::~ZipWriter() {
    if (m_archive != nullptr) {
        zip_discard(m_archive);
    }
    zip_source_free(m_source);
}

void ZipWriter::Add(const std::string& name, std::string content, Packing packing) {
    const std::string& kept = m_contents.emplace_back(std::move(content));
    zip_source_t* const source = zip_source_buffer(m_archive, kept.data(), kept.size(), 0);
    if (source == nullptr) {
        Fail(zip_strerror(m_archive));
    }
    const zip_int64_t index = zip_file_add(m_archive, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        Fail(zip_strerror(m_archive));
    }
    const auto member = static_cast<zip_uint64_t>(index);
    const zip_int32_t method = packing == Packing::Stored ? ZIP_CM_STORE : ZIP_CM_DEFLATE;
    if (zip_set_file_compression(m_archive, member, method, 0) != 0 ||
        zip_file_set_dostime(m_archive, member, m_time, m_date, 0) != 0) {
        Fail(zip_strerror(m_archive));
    }
}

std::string ZipWriter::Finish() {
    if (zip_close(m_archive) != 0) {
        Fail(zip_strerror(m_archive));
    }
    m_archive = nullptr;
    m_contents.clear();
    zip_stat_t status;
    if (zip_source_stat(m_source, &status) != 0 || zip_source_open(m_source) != 0) {
        Fail(zip_error_strerror(zip_source_error(m_source)));
    }
    std::string bytes(status.size, '\0');
    const zip_int64_t got = zip_source_read(m_source, bytes.data(), bytes.size());
    zip_source_close(m_source);
    if (got < 0 || static_cast<zip_uint64_t>(got) != status.size) {
        Fail("its bytes cannot be read back");
    }
    return bytes;
}

}  // namespace norvex::report::bcf
