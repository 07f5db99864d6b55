// SPDX-License-Identifier: Apache-2.0
#pragma once

// The host's text types. A TCHAR is one UTF-16 code unit on every platform; wchar_t has 32 bits here, so it is not used
// for it. _T() still gives wide literals, as it does on the host: CString takes them and converts.
using TCHAR = char16_t;
using LPTSTR = TCHAR*;
using LPCTSTR = const TCHAR*;
using LPSTR = char*;
using LPCSTR = const char*;

#define _T(x) L##x
