// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Mutator.h"
#include "fuzz/Promise.h"

#include <sqlite3.h>

#include <array>
#include <string>
#include <vector>

// Changes rows, tables and pages of a database, so that what lies behind the file's own checks is tried.

namespace {

using namespace norvex::fuzz;

// A database in memory that begins as the bytes.
class Database {
  public:
    explicit Database(std::string_view bytes) {
        sqlite3_open_v2(":memory:", &m_handle, SQLITE_OPEN_READWRITE, nullptr);
        auto* const copy = static_cast<unsigned char*>(sqlite3_malloc64(bytes.size()));
        if (copy != nullptr) {
            std::memcpy(copy, bytes.data(), bytes.size());
            // One that was switched to a write-ahead log cannot be opened in memory; the two bytes say so.
            if (bytes.size() > 20) {
                copy[18] = 1;
                copy[19] = 1;
            }
            const auto size = static_cast<sqlite3_int64>(bytes.size());
            sqlite3_deserialize(m_handle, "main", copy, size, size,
                                SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_RESIZEABLE);
        }
        sqlite3_limit(m_handle, SQLITE_LIMIT_LENGTH, 100'000);
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database() { sqlite3_close_v2(m_handle); }

    bool Run(const std::string& statements) {
        return sqlite3_exec(m_handle, statements.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    }

    // The first column of each row.
    std::vector<std::string> Column(const std::string& query) {
        std::vector<std::string> values;
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(m_handle, query.c_str(), -1, &statement, nullptr) == SQLITE_OK) {
            while (values.size() < 64 && sqlite3_step(statement) == SQLITE_ROW) {
                const unsigned char* text = sqlite3_column_text(statement, 0);
                values.emplace_back(text == nullptr ? "" : reinterpret_cast<const char*>(text));
            }
        }
        sqlite3_finalize(statement);
        return values;
    }

    std::string Bytes() {
        sqlite3_int64 size = 0;
        unsigned char* const copy = sqlite3_serialize(m_handle, "main", &size, 0);
        const std::string bytes(copy == nullptr ? "" : reinterpret_cast<char*>(copy),
                                copy == nullptr ? 0 : static_cast<std::size_t>(size));
        sqlite3_free(copy);
        return bytes;
    }

  private:
    sqlite3* m_handle = nullptr;
};

template <class Texts>
std::string OneOf(const Texts& texts, Random& random) {
    return texts.empty() ? std::string() : std::string(texts[Below(random, texts.size())]);
}

std::string AnyValue(Random& random) {
    static constexpr std::array<const char*, 24> kValues{"NULL",
                                                         "0",
                                                         "1",
                                                         "-1",
                                                         "2147483648",
                                                         "9223372036854775807",
                                                         "-9223372036854775808",
                                                         "1e308",
                                                         "-1e999",
                                                         "0.5",
                                                         "''",
                                                         "'1F'",
                                                         "'running'",
                                                         "'complete'",
                                                         "'passed'",
                                                         "'finding'",
                                                         "'2026-13-99'",
                                                         "x'00'",
                                                         "x'FFFE'",
                                                         "x''",
                                                         "char(0)",
                                                         "char(10, 27)",
                                                         "hex(zeroblob(300))",
                                                         "zeroblob(3000)"};
    return OneOf(kValues, random);
}

// A statement that no program of ours makes of a table of ours.
std::string AnyStatement(Database& database, Random& random) {
    const std::string table = OneOf(database.Column("SELECT name FROM sqlite_schema WHERE type = 'table'"), random);
    const std::string column = OneOf(database.Column("SELECT name FROM pragma_table_info('" + table + "')"), random);
    const std::string where = Below(random, 2) == 0 ? "" : " LIMIT 1 OFFSET " + std::to_string(Below(random, 4));
    const std::string some = " WHERE rowid IN (SELECT rowid FROM \"" + table + "\"" + where + ")";
    switch (Below(random, 10)) {
        case 0:
            return "DELETE FROM \"" + table + "\"" + some;
        case 1:
            return "INSERT OR REPLACE INTO \"" + table + "\" SELECT * FROM \"" + table + "\"" + where;
        case 2:
            return "PRAGMA user_version = " + std::to_string(Below(random, 5));
        case 3:
            return "ALTER TABLE \"" + table + "\" DROP COLUMN \"" + column + "\"";
        case 4:
            return "ALTER TABLE \"" + table + "\" RENAME COLUMN \"" + column + "\" TO other";
        case 5:
            return "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET rootpage = rootpage + 1 WHERE name = '" +
                   table + "'";
        default:
            return "UPDATE \"" + table + "\" SET \"" + column + "\" = " + AnyValue(random) +
                   (Below(random, 4) == 0 ? "" : some);
    }
}

// Changes a few bytes of one page, often at its beginning, where its kind and its cells are told.
std::string WithChangedPage(std::string bytes, Random& random) {
    constexpr std::size_t kPage = 512;  // the smallest
    const std::size_t page = Below(random, bytes.size() / kPage + 1) * kPage;
    if (page >= bytes.size()) {
        return bytes;
    }
    const std::size_t head = std::min(Below(random, 2) == 0 ? std::size_t{16} : kPage, bytes.size() - page);
    const std::string part = Changed(std::string_view(bytes).substr(page, head), head);
    return bytes.replace(page, std::min(part.size(), head), part, 0, head);
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    Random random(seed);
    if (size < 100 || Below(random, 4) == 0) {
        return Deliver(WithChangedPage(std::string(TextOf(data, size)), random), data, size, most);
    }
    Database database(TextOf(data, size));
    database.Run("PRAGMA ignore_check_constraints = ON; PRAGMA foreign_keys = OFF;");
    for (std::size_t i = 0; i <= Below(random, 3); ++i) {
        database.Run(AnyStatement(database, random));
    }
    return Deliver(database.Bytes(), data, size, most);
}
