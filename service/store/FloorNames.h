// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

// What a storey is called on its way through the module and back. The module keeps trust under the floor's name up to
// its first "层" but looks the current floor up as it stands, and takes the names through code page 936. A storey that
// kept its own name could not be trusted on a floor "3层", and storeys "2层A" and "2层B" would share one key. So the
// module gets names without "层" that survive the code page. Pure functions; text is UTF-8.

namespace norvex::service::store {

struct FloorName {
    // As the model has it.
    std::string storey;
    // Unlike any other label of the model: what people see and type, and what trust and results are stored under.
    // Equals the storey's name, but for a second one of the same name ("Level 2 (2)") and one without a name
    // or with nothing but blanks in it ("(unnamed)").
    std::string label;
    // What the module works with as the current floor and as trust's floor.
    std::string module;
};

// Names the storeys in the given order, which decides who of equal names is the second: bottom to top, then as in the
// file, gives the same labels every time. No two labels and no two module names are equal.
std::vector<FloorName> NameFloors(const std::vector<std::string>& storeys);

// The module's name for a label: "3层" is "3層", in the other script of the same word. Distinct labels give distinct
// names, none of them holds "层", and each of their characters survives code page 936. A label that starts with its
// number keeps its grade (CComMethod::GetFloorGrade) unless another digit follows the "层" at once.
std::string ModuleFloorName(std::string_view label);

// The label of a module's name; the inverse of ModuleFloorName for well-formed UTF-8.
std::string FloorLabel(std::string_view moduleName);

}  // namespace norvex::service::store
