// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "fuzz/XmlMutator.h"

// For targets whose whole input is an XML document.

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    using namespace norvex::fuzz;
    Random random(seed);
    if (Below(random, 8) == 0) {
        return LLVMFuzzerMutate(data, size, most);
    }
    return Deliver(ChangedXml(TextOf(data, size), most, random), data, size, most);
}
