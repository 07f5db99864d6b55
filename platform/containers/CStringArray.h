// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/containers/CArray.h"
#include "platform/text/CString.h"

// The host framework's array of strings; everything as in CArray.
class CStringArray : public CArray<CString> {};
