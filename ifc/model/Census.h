// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/model/Access.h"

#include <cstdint>
#include <vector>

namespace norvex::ifc {

// The instances that a building model is made of, by what they are. Indices in file order; a number that is taken twice
// counts once.
struct Census {
    std::uint32_t project = part21::kNoInstance;
    std::vector<std::uint32_t> elements;  // by instance number; proxies that have ports or a system included
    std::vector<std::uint32_t> ports;
    std::vector<std::uint32_t> storeys;
    std::vector<std::uint32_t> systems;  // circuits included
    std::vector<std::uint32_t> aggregates;
    std::vector<std::uint32_t> nests;
    std::vector<std::uint32_t> contained;
    std::vector<std::uint32_t> referenced;
    std::vector<std::uint32_t> byType;
    std::vector<std::uint32_t> byProperties;
    std::vector<std::uint32_t> connectsPorts;
    std::vector<std::uint32_t> portToElement;
    std::vector<std::uint32_t> toGroup;
    std::uint32_t otherProducts = 0;  // walls and their like, and proxies that are no part of the services
};

Census TakeCensus(const Access& access);

}  // namespace norvex::ifc
