// SPDX-License-Identifier: Apache-2.0
#include "platform/containers/Exceptions.h"

CException::CException() noexcept = default;
CException::CException(const CException&) noexcept = default;
CException& CException::operator=(const CException&) noexcept = default;
CException::~CException() = default;

const char* CException::what() const noexcept {
    return "exception of the platform";
}

CInvalidArgException::CInvalidArgException() noexcept = default;
CInvalidArgException::CInvalidArgException(const CInvalidArgException&) noexcept = default;
CInvalidArgException& CInvalidArgException::operator=(const CInvalidArgException&) noexcept = default;
CInvalidArgException::~CInvalidArgException() = default;

const char* CInvalidArgException::what() const noexcept {
    return "invalid argument or index out of range";
}

void AfxThrowInvalidArgException() {
    throw CInvalidArgException();
}
