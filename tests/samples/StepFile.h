// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::test {

// An exchange file taken apart by a second, simple-minded reader, so that the generator is not judged by a reader that
// forgives. Anything that is not as plain as the generator writes it is a fault.
struct StepInstance {
    std::string className;
    std::vector<std::string> attributes;  // as written: #12, 'text', (#1,#2), 1., .ENUM., $, *
};

struct StepFile {
    std::map<std::uint32_t, StepInstance> instances;
    std::vector<std::string> faults;
};

StepFile ParseStep(std::string_view text);

// Returns: the instance numbers in an attribute, at any depth, outside strings.
std::vector<std::uint32_t> ReferencesIn(std::string_view attribute);
// Returns: the number of "#12"; 0 for anything else.
std::uint32_t ReferenceOf(std::string_view attribute);
// Returns: the numbers of "(1.,2.,3.)".
std::vector<double> NumbersIn(std::string_view attribute);
double NumberOf(std::string_view attribute);
// Returns: the text between the apostrophes, as written.
std::string TextOf(std::string_view attribute);

}  // namespace norvex::test
