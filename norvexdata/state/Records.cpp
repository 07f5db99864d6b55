// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/Records.h"

namespace NS_NORVEX {

GenericType::~GenericType() = default;

RuleErrorInfo::~RuleErrorInfo() = default;

RuleErrorInfo* RuleErrorInfo::Clone() const {
    return new RuleErrorInfo(*this);
}

}  // namespace NS_NORVEX
