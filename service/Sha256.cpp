// SPDX-License-Identifier: Apache-2.0
#include "service/Sha256.h"

#include <openssl/evp.h>

#include <array>
#include <new>

namespace norvex::service {
struct Sha256::State {
    State() : context(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
        // The library refuses only for want of memory: the digest is one of its built-in ones.
        if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) {
            throw std::bad_alloc();
        }
    }

    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context;
};

Sha256::Sha256() : m_state(std::make_unique<State>()) {
}

Sha256::~Sha256() = default;

void Sha256::Add(std::string_view bytes) {
    EVP_DigestUpdate(m_state->context.get(), bytes.data(), bytes.size());
}

std::string Sha256::Finish() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned int size = 0;
    EVP_DigestFinal_ex(m_state->context.get(), bytes.data(), &size);
    std::string digits;
    for (unsigned int i = 0; i < size; ++i) {
        digits.push_back("0123456789abcdef"[bytes[i] >> 4U]);
        digits.push_back("0123456789abcdef"[bytes[i] & 0xFU]);
    }
    return digits;
}

}  // namespace norvex::service
