// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/containers/Exceptions.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace norvex::containers {

// What all array classes of the host and the maker share: elements in one block, int indices that are checked, growth
// by a step. The elements live as long as the array; any growth, insertion or removal ends pointers and references to
// them. A value handed over may be an element of the same array. No locks.
//
// Errors: CInvalidArgException for an index or a count out of range; the array is then unchanged.
template <typename T>
class Elements {
    static_assert(!std::is_same_v<T, bool>, "elements need addresses; use char or int for flags");

  public:
    int Length() const noexcept { return static_cast<int>(m_items.size()); }
    int Capacity() const noexcept { return static_cast<int>(m_items.capacity()); }
    T* Data() noexcept { return m_items.data(); }
    const T* Data() const noexcept { return m_items.data(); }

    T& At(int index) { return m_items[Checked(index, Length())]; }
    const T& At(int index) const { return m_items[Checked(index, Length())]; }

    // Appends; a full array first gets `step` more places.
    void AppendByStep(T value, int step) {
        if (m_items.size() == m_items.capacity()) {
            Reserve(m_items.capacity() + static_cast<std::size_t>(step));
        }
        m_items.push_back(std::move(value));
    }

    // Appends; the room at least doubles when it is full, so that n appends move O(n) elements.
    void Append(T value) { m_items.push_back(std::move(value)); }

    // Makes room before an insertion of `count` elements: as many steps as are needed.
    void GrowByStep(int count, int step) {
        std::size_t capacity = m_items.capacity();
        while (capacity < m_items.size() + static_cast<std::size_t>(count)) {
            capacity += static_cast<std::size_t>(step);
        }
        Reserve(capacity);
    }

    // The index may be the length.
    void Insert(int index, const T& value, int count = 1) {
        const std::size_t place = Checked(index, LengthPlusOne());
        const T copy(value);
        m_items.insert(Iterator(place), Checked(count, std::numeric_limits<int>::max()), copy);
    }

    void Remove(int index, int count = 1) {
        const std::size_t first = Checked(index, LengthPlusOne());
        const std::size_t removed = Checked(count, Length() - index + 1);
        m_items.erase(Iterator(first), Iterator(first + removed));
    }

    // New elements are value-initialised.
    void Resize(int length) { m_items.resize(Checked(length, std::numeric_limits<int>::max())); }
    void Reserve(int capacity) { Reserve(Checked(capacity, std::numeric_limits<int>::max())); }
    void Clear() noexcept { m_items.clear(); }
    void Shrink() { m_items.shrink_to_fit(); }
    void Free() noexcept { std::vector<T>().swap(m_items); }

    // The room at least doubles when it is full, so that many small appends move few elements.
    void AppendAll(const Elements& other) {
        const std::size_t count = other.m_items.size();
        if (m_items.size() + count > m_items.capacity()) {
            m_items.reserve(std::max(m_items.size() + count, 2 * m_items.capacity()));
        }
        for (std::size_t index = 0; index < count; ++index) {
            m_items.push_back(other.m_items[index]);
        }
    }

    int Find(const T& value, int start) const {
        for (int index = start < 0 ? 0 : start; index < Length(); ++index) {
            if (m_items[static_cast<std::size_t>(index)] == value) {
                return index;
            }
        }
        return -1;
    }

    // An index in [0, limit) as a position.
    static std::size_t Checked(int index, int limit) {
        if (index < 0 || index >= limit) {
            AfxThrowInvalidArgException();
        }
        return static_cast<std::size_t>(index);
    }

  private:
    int LengthPlusOne() const noexcept { return Length() + 1; }
    void Reserve(std::size_t capacity) { m_items.reserve(capacity); }
    auto Iterator(std::size_t place) { return m_items.begin() + static_cast<std::ptrdiff_t>(place); }

    std::vector<T> m_items;
};

}  // namespace norvex::containers
