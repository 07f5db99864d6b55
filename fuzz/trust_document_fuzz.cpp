// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "service/store/TrustExchange.h"

#include <algorithm>
#include <string>

// Whatever the bytes are, a trust document is refused with one sentence, or gives entries that may be stored and that
// are written and read back alike.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace norvex::fuzz;
    using namespace norvex::service::store;
    const std::string_view text = TextOf(data, size);
    const Result<std::vector<TrustEntry>> read = ReadTrustDocument(text, "its name");
    if (!read) {
        const std::string& sentence = read.Error().sentence;
        Require(read.Error().code == StoreErrorCode::InvalidInput, "what cannot be read is invalid input");
        Require(sentence.find("\"its name\"") != std::string::npos && sentence.ends_with('.'),
                "an error is one sentence that names the document");
        return 0;
    }
    Require(read->size() <= text.size() / 2, "an entry takes at least its braces");
    for (const TrustEntry& entry : *read) {
        Require(entry.id == 0 && !FaultOf(entry), "an entry may be stored");
        Require(SameTarget(entry, entry) && !TargetText(entry).empty(), "an entry can be told in words");
    }
    const std::string written = TrustDocument(*read);
    const Result<std::vector<TrustEntry>> again = ReadTrustDocument(written, "its name");
    Require(again && *again == *read, "what was written is read back alike");
    Require(TrustDocument(*again) == written, "equal entries give equal bytes");
    return 0;
}
