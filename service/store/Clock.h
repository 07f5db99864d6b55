// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace norvex::service::store {

// Where times come from. Nothing is ever ordered by them: clocks jump.
class Clock {
  public:
    virtual ~Clock() = default;
    // The moment in UTC, "2026-03-01T08:30:00Z".
    virtual std::string Now() const = 0;
    // The calendar day at the user's place, "2026-03-01"; what expiry dates are compared with.
    virtual std::string Today() const = 0;

  protected:
    Clock() = default;
    Clock(const Clock&) = default;
    Clock& operator=(const Clock&) = default;
};

// The computer's clock and time zone. No state; any thread.
class SystemClock final : public Clock {
  public:
    std::string Now() const override;
    std::string Today() const override;
};

// True for an existing day of the Gregorian calendar written "YYYY-MM-DD". Such texts order as the days do.
bool IsDate(std::string_view text);

}  // namespace norvex::service::store
