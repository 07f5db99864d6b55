// SPDX-License-Identifier: Apache-2.0
#include "support/Allocations.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> g_requests = 0;
std::size_t g_firstRefused = kAll;
std::size_t g_firstGranted = kAll;

}  // namespace

namespace norvex::test {

std::size_t Allocations() {
    return g_requests;
}

void GrantAllocations(std::size_t granted, std::size_t refused) {
    g_firstRefused = g_requests + granted;
    g_firstGranted = refused > kAll - g_firstRefused ? kAll : g_firstRefused + refused;
}

bool GrantAllAllocations() {
    const bool wasRefused = g_requests > g_firstRefused;
    g_firstRefused = kAll;
    return wasRefused;
}

}  // namespace norvex::test

void* operator new(std::size_t size) {
    const std::size_t request = g_requests++;
    const bool isRefused = request >= g_firstRefused && request < g_firstGranted;
    if (void* const block = isRefused ? nullptr : std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
