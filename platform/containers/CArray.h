// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/containers/Elements.h"

// The host framework's array. It is not copied by accident: Copy() and Append() say what is meant. A growth step given
// to SetSize() is kept; without one the room doubles.
//
// Errors: CInvalidArgException for an index out of range or a negative size.
template <typename TYPE, typename ARG_TYPE = const TYPE&>
class CArray {
  public:
    CArray() = default;
    CArray(const CArray&) = delete;
    CArray& operator=(const CArray&) = delete;

    int GetSize() const noexcept { return m_elements.Length(); }
    int GetCount() const noexcept { return m_elements.Length(); }
    bool IsEmpty() const noexcept { return GetSize() == 0; }
    // Returns: the last index, -1 when empty.
    int GetUpperBound() const noexcept { return GetSize() - 1; }
    // New elements are value-initialised. `growBy` of -1 leaves the growth step as it was, 0 makes it automatic.
    void SetSize(int newSize, int growBy = -1) {
        if (growBy >= 0) {
            m_growBy = growBy;
        }
        m_elements.Resize(newSize);
    }
    void FreeExtra() { m_elements.Shrink(); }
    void RemoveAll() noexcept { m_elements.Free(); }

    TYPE& GetAt(int index) { return m_elements.At(index); }
    const TYPE& GetAt(int index) const { return m_elements.At(index); }
    TYPE& ElementAt(int index) { return m_elements.At(index); }
    const TYPE& ElementAt(int index) const { return m_elements.At(index); }
    TYPE& operator[](int index) { return m_elements.At(index); }
    const TYPE& operator[](int index) const { return m_elements.At(index); }
    void SetAt(int index, ARG_TYPE value) { m_elements.At(index) = value; }
    // An index behind the end makes the array longer.
    void SetAtGrow(int index, ARG_TYPE value) {
        const TYPE copy(value);
        if (index >= GetSize()) {
            m_elements.Checked(index, std::numeric_limits<int>::max());
            m_elements.Resize(index + 1);
        }
        SetAt(index, copy);
    }

    // Returns: the index of the new element.
    int Add(ARG_TYPE value) {
        if (m_growBy > 0) {
            m_elements.AppendByStep(value, m_growBy);
        } else {
            m_elements.Append(value);
        }
        return GetUpperBound();
    }
    // Returns: the index of the first new element.
    int Append(const CArray& other) {
        const int oldSize = GetSize();
        m_elements.AppendAll(other.m_elements);
        return oldSize;
    }
    void Copy(const CArray& other) { m_elements = other.m_elements; }
    // An index behind the end makes the array longer first.
    void InsertAt(int index, ARG_TYPE value, int count = 1) {
        const TYPE copy(value);
        m_elements.Checked(count, std::numeric_limits<int>::max());
        if (index > GetSize()) {
            m_elements.Resize(index);
        }
        m_elements.Insert(index, copy, count);
    }
    void RemoveAt(int index, int count = 1) { m_elements.Remove(index, count); }

    TYPE* GetData() noexcept { return m_elements.Data(); }
    const TYPE* GetData() const noexcept { return m_elements.Data(); }
    TYPE* begin() noexcept { return m_elements.Data(); }
    TYPE* end() noexcept { return m_elements.Data() + GetSize(); }
    const TYPE* begin() const noexcept { return m_elements.Data(); }
    const TYPE* end() const noexcept { return m_elements.Data() + GetSize(); }

  private:
    norvex::containers::Elements<TYPE> m_elements;
    int m_growBy = 0;  // 0: automatic
};
