// SPDX-License-Identifier: Apache-2.0
#include "service/store/Clock.h"

#include <array>
#include <charconv>
#include <chrono>
#include <ctime>

namespace norvex::service::store {

namespace {

std::string Formatted(const std::tm& moment, const char* format) {
    std::array<char, 64> buffer{};
    const std::size_t length = std::strftime(buffer.data(), buffer.size(), format, &moment);
    return std::string(buffer.data(), length);
}

// Requires: text holds decimal digits only.
int Number(std::string_view text) {
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

}  // namespace

std::string SystemClock::Now() const {
    const std::time_t now = std::time(nullptr);
    std::tm moment{};
    gmtime_r(&now, &moment);
    return Formatted(moment, "%Y-%m-%dT%H:%M:%SZ");
}

std::string SystemClock::Today() const {
    const std::time_t now = std::time(nullptr);
    std::tm moment{};
    localtime_r(&now, &moment);
    return Formatted(moment, "%Y-%m-%d");
}

bool IsDate(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') {
        return false;
    }
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (place != 4 && place != 7 && (text[place] < '0' || text[place] > '9')) {
            return false;
        }
    }
    const std::chrono::year_month_day day{std::chrono::year(Number(text.substr(0, 4))),
                                          std::chrono::month(static_cast<unsigned>(Number(text.substr(5, 2)))),
                                          std::chrono::day(static_cast<unsigned>(Number(text.substr(8, 2))))};
    return day.ok();
}

}  // namespace norvex::service::store
