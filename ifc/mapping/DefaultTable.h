// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace norvex::ifc {

// The text of ifc/data/mapping.tsv, put into the program when it is built.
extern const std::string_view kDefaultTable;

}  // namespace norvex::ifc
