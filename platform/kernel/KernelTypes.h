// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/text/Tchar.h"

#include <cstdint>

// The kernel's basic types under its own names, so that source written for it compiles here.
using BOOL = int;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using HANDLE = void*;
using LPCWSTR = LPCTSTR;
using LPWSTR = LPTSTR;

// What a search that found nothing returns in place of a handle.
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});
