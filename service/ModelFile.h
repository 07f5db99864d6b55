// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ifc/Reader.h"

namespace norvex::service {

// What was read from a file, and which bytes these were.
struct ModelFile {
    ifc::ReadResult read;
    std::string sha256;  // of the bytes that were read; empty when there are none
};

// Reads the model in a file and digests its bytes meanwhile, in a second thread where one can be had. Errors: as
// ifc::ReadIfcFile; throws std::bad_alloc.
ModelFile ReadModelFile(const std::string& path);

}  // namespace norvex::service
