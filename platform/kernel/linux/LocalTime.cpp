// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/LocalTime.h"

#include <ctime>

void GetLocalTime(SYSTEMTIME* time) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    // localtime_r alone need not look at the time zone again.
    tzset();
    tm local{};
    localtime_r(&now.tv_sec, &local);
    constexpr int kNanosecondsPerMillisecond = 1'000'000;
    *time = {static_cast<WORD>(local.tm_year + 1900), static_cast<WORD>(local.tm_mon + 1),
             static_cast<WORD>(local.tm_wday),        static_cast<WORD>(local.tm_mday),
             static_cast<WORD>(local.tm_hour),        static_cast<WORD>(local.tm_min),
             static_cast<WORD>(local.tm_sec),         static_cast<WORD>(now.tv_nsec / kNanosecondsPerMillisecond)};
}
