// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

#include <string_view>

namespace norvex::kernel {

// Writes a file by the host's path in one step: whoever reads it meanwhile sees the old content or the new one. Its
// folder must exist. Returns false when it could not be written; an old content is then still there.
NORVEX_PLATFORM_API bool WriteWholeFile(const CString& path, std::string_view bytes);

}  // namespace norvex::kernel
