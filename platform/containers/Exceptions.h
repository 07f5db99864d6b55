// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

#include <exception>

// Base of what the string and array classes raise. Thrown by value here and derived from std::exception, so that a
// handler that knows nothing of the host still catches it.
class NORVEX_PLATFORM_API CException : public std::exception {
  public:
    CException() noexcept;
    CException(const CException&) noexcept;
    CException& operator=(const CException&) noexcept;
    ~CException() override;

    const char* what() const noexcept override;
};

// An argument that the string or array cannot honour: an index out of range, a negative length, a format and its
// arguments that do not fit together.
class NORVEX_PLATFORM_API CInvalidArgException : public CException {
  public:
    CInvalidArgException() noexcept;
    CInvalidArgException(const CInvalidArgException&) noexcept;
    CInvalidArgException& operator=(const CInvalidArgException&) noexcept;
    ~CInvalidArgException() override;

    const char* what() const noexcept override;
};

// Raises CInvalidArgException.
[[noreturn]] NORVEX_PLATFORM_API void AfxThrowInvalidArgException();
