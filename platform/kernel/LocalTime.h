// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/kernel/KernelTypes.h"

// A date and time of day. Months count from 1, days of the week from 0 for Sunday.
struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

// The current time in the process's time zone.
NORVEX_PLATFORM_API void GetLocalTime(SYSTEMTIME* time);
