// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/containers/Elements.h"

#include <algorithm>
#include <utility>

// The host's growable array. Copies are deep. When it is full it grows by its grow length or doubles, whichever is
// more, so that collecting a whole drawing stays linear.
//
// Errors: CInvalidArgException for an index out of range, a negative length or a grow length below 1.
template <typename T>
class AcArray {
  public:
    AcArray() = default;
    explicit AcArray(int physicalLength, int growLength = kDefaultGrowLength) {
        setGrowLength(growLength);
        m_elements.Reserve(physicalLength);
    }

    int length() const noexcept { return m_elements.Length(); }
    int logicalLength() const noexcept { return m_elements.Length(); }
    int physicalLength() const noexcept { return m_elements.Capacity(); }
    int growLength() const noexcept { return m_growLength; }
    bool isEmpty() const noexcept { return length() == 0; }
    // New elements are value-initialised.
    AcArray& setLogicalLength(int length) {
        m_elements.Resize(length);
        return *this;
    }
    // Below the logical length: cuts the array to it.
    AcArray& setPhysicalLength(int physicalLength) {
        if (physicalLength < length()) {
            m_elements.Resize(physicalLength);
            m_elements.Shrink();
        }
        m_elements.Reserve(physicalLength);
        return *this;
    }
    AcArray& setGrowLength(int growLength) {
        if (growLength < 1) {
            AfxThrowInvalidArgException();
        }
        m_growLength = growLength;
        return *this;
    }

    T& operator[](int index) { return m_elements.At(index); }
    const T& operator[](int index) const { return m_elements.At(index); }
    T& at(int index) { return m_elements.At(index); }
    const T& at(int index) const { return m_elements.At(index); }
    T& first() { return m_elements.At(0); }
    const T& first() const { return m_elements.At(0); }
    T& last() { return m_elements.At(length() - 1); }
    const T& last() const { return m_elements.At(length() - 1); }
    AcArray& setAt(int index, const T& value) {
        m_elements.At(index) = value;
        return *this;
    }

    // Returns: the index of the new element.
    int append(const T& value) {
        T copy(value);
        MakeRoom();
        m_elements.Append(std::move(copy));
        return length() - 1;
    }
    AcArray& append(const AcArray& other) {
        m_elements.AppendAll(other.m_elements);
        return *this;
    }
    // The index may be length().
    AcArray& insertAt(int index, const T& value) {
        m_elements.Checked(index, length() + 1);
        const T copy(value);
        MakeRoom();
        m_elements.Insert(index, copy);
        return *this;
    }
    AcArray& removeAt(int index) {
        m_elements.Checked(index, length());
        m_elements.Remove(index);
        return *this;
    }
    // Removes the first equal element from `start` on. Returns: whether there was one.
    bool remove(const T& value, int start = 0) {
        const int index = findFrom(value, start);
        if (index >= 0) {
            m_elements.Remove(index);
        }
        return index >= 0;
    }
    AcArray& removeFirst() { return removeAt(0); }
    AcArray& removeLast() { return removeAt(length() - 1); }
    // Keeps the physical length.
    AcArray& removeAll() noexcept {
        m_elements.Clear();
        return *this;
    }

    bool contains(const T& value, int start = 0) const { return findFrom(value, start) >= 0; }
    // Return: the index of the first equal element (from `start` on), or -1.
    int find(const T& value) const { return m_elements.Find(value, 0); }
    int findFrom(const T& value, int start) const { return m_elements.Find(value, start); }
    // Returns: whether there is one; `foundAt` is written only then.
    bool find(const T& value, int& foundAt, int start = 0) const {
        const int index = findFrom(value, start);
        if (index >= 0) {
            foundAt = index;
        }
        return index >= 0;
    }

    const T* asArrayPtr() const noexcept { return m_elements.Data(); }
    T* asArrayPtr() noexcept { return m_elements.Data(); }
    T* begin() noexcept { return m_elements.Data(); }
    T* end() noexcept { return m_elements.Data() + length(); }
    const T* begin() const noexcept { return m_elements.Data(); }
    const T* end() const noexcept { return m_elements.Data() + length(); }

    bool operator==(const AcArray& other) const { return std::equal(begin(), end(), other.begin(), other.end()); }

  private:
    // The grow length of an array that was not given one.
    static constexpr int kDefaultGrowLength = 8;

    void MakeRoom() {
        if (length() == physicalLength()) {
            m_elements.GrowByStep(1, std::max(m_growLength, length()));
        }
    }

    norvex::containers::Elements<T> m_elements;
    int m_growLength = kDefaultGrowLength;
};
