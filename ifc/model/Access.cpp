// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/Access.h"

namespace norvex::ifc {

Access::Access(const part21::ExchangeFile& exchange) : file_(&exchange) {
    infos_.reserve(exchange.ClassNames().size());
    for (const std::string& name : exchange.ClassNames()) {
        infos_.push_back(&InfoOfClass(name));
    }
}

}  // namespace norvex::ifc
