// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "service/store/Status.h"
#include "service/store/TrustRecords.h"

namespace norvex::service::store {

// Documents above this size are refused; a thousand times what a large project accepts.
inline constexpr std::size_t kMaxTrustDocumentBytes = std::size_t{64} << 20U;

// The entries as a JSON document in UTF-8 (docs/project-database.md), one entry after the other, ids left out. Equal
// entries give equal bytes.
std::string TrustDocument(const std::vector<TrustEntry>& entries);

// The entries of such a document, in its order, ids 0. `source` names it in messages. Errors: InvalidInput with the
// line and byte, or the number of the entry, where the document is wrong, counted from 1.
Result<std::vector<TrustEntry>> ReadTrustDocument(std::string_view document, std::string_view source);

}  // namespace norvex::service::store
