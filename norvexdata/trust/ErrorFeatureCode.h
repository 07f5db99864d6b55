// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/Export.h"
#include "platform/text/CString.h"

// The identity of a finding: "_" and the 32 lower-case hexadecimal digits of the MD5 digest (RFC 1321) of the six
// texts, joined by CR LF and written in code page 936. Equal texts give equal codes on every machine. No state; any
// thread.
NORVEXDATA_API CString GetErrorFeatureCode(const CString& field1, const CString& field2, const CString& field3,
                                           const CString& field4, const CString& field5, const CString& field6);
