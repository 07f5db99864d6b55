// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace norvex::service {

// SHA-256 (FIPS 180-4) of a stream of bytes, taken piece by piece. Errors: the constructor throws std::bad_alloc.
class Sha256 {
  public:
    Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;
    ~Sha256();

    void Add(std::string_view bytes);
    // Returns: 64 lower-case hexadecimal digits. The object is used up.
    std::string Finish();

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace norvex::service
