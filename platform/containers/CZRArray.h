// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/containers/Elements.h"

#include <algorithm>

// The maker's growable array: elements, capacity (physical length), size (length) and growth step. A full array grows
// by its growth step, no more, so set a large step before a long list. Copies are deep and take over the growth step.
//
// Errors: CInvalidArgException for an index out of range or a growth step below 1.
template <typename T>
class CZRArray {
  public:
    // The step of an array that was not given one; the host's own array starts with the same.
    static constexpr int kDefaultGrowLength = 8;

    CZRArray() = default;
    explicit CZRArray(int physicalLength, int growLength = kDefaultGrowLength) {
        setGrowLength(growLength);
        m_elements.Reserve(physicalLength);
    }

    int length() const noexcept { return m_elements.Length(); }
    int physicalLength() const noexcept { return m_elements.Capacity(); }
    int growLength() const noexcept { return m_growLength; }
    bool isEmpty() const noexcept { return length() == 0; }
    // Makes room for as many elements; room that is there stays. Errors: CInvalidArgException for a negative length.
    void setPhysicalLength(int physicalLength) { m_elements.Reserve(physicalLength); }
    void setGrowLength(int growLength) {
        if (growLength < 1) {
            AfxThrowInvalidArgException();
        }
        m_growLength = growLength;
    }

    T& operator[](int index) { return m_elements.At(index); }
    const T& operator[](int index) const { return m_elements.At(index); }
    T& at(int index) { return m_elements.At(index); }
    const T& at(int index) const { return m_elements.At(index); }
    void setAt(int index, const T& value) { m_elements.At(index) = value; }

    // Returns: the index of the new element.
    int append(const T& value) {
        m_elements.AppendByStep(value, m_growLength);
        return length() - 1;
    }
    // The index may be length().
    void insertAt(int index, const T& value) {
        m_elements.Checked(index, length() + 1);
        const T copy(value);
        m_elements.GrowByStep(1, m_growLength);
        m_elements.Insert(index, copy);
    }
    void removeAt(int index) {
        m_elements.Checked(index, length());
        m_elements.Remove(index);
    }
    // Keeps the physical length.
    void removeAll() noexcept { m_elements.Clear(); }

    T* begin() noexcept { return m_elements.Data(); }
    T* end() noexcept { return m_elements.Data() + length(); }
    const T* begin() const noexcept { return m_elements.Data(); }
    const T* end() const noexcept { return m_elements.Data() + length(); }

    bool operator==(const CZRArray& other) const { return std::equal(begin(), end(), other.begin(), other.end()); }

  private:
    norvex::containers::Elements<T> m_elements;
    int m_growLength = kDefaultGrowLength;
};
