// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

// A test that names Allocations.cpp among its sources gets an operator new of its own, which counts and refuses on
// request. It serves the program's libraries too. Not for use beside other threads.
namespace norvex::test {

// How often memory was asked for since the program began.
std::size_t Allocations();

// From now on only so many requests are granted; the next `refused` ones throw std::bad_alloc.
void GrantAllocations(std::size_t granted, std::size_t refused);
// Ends that. Returns: whether a request was refused.
bool GrantAllAllocations();

}  // namespace norvex::test
