// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace norvex::service::work {

// An open file descriptor that is closed with the object; -1 is none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int number) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor() {
        if (m_number >= 0) {
            close(m_number);
        }
    }

    int Number() const { return m_number; }

  private:
    int m_number = -1;
};

}  // namespace norvex::service::work
