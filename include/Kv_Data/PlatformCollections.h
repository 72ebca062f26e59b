// CArray: the growable array of the platform layer. Indexed access outside the
// array throws CInvalidArgException; a failed allocation throws CMemoryException.
#pragma once

#include <cstdint>
#include <new>
#include <stdexcept>
#include <vector>

#include "Kv_Data/PlatformExceptions.h"

namespace kv {

using INT_PTR = std::intptr_t;

template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray {
public:
    INT_PTR GetSize() const { return static_cast<INT_PTR>(m_data.size()); }
    INT_PTR GetCount() const { return GetSize(); }
    BOOL IsEmpty() const { return m_data.empty(); }
    INT_PTR GetUpperBound() const { return GetSize() - 1; }

    const TYPE& GetAt(INT_PTR index) const { return m_data[checked(index)]; }
    TYPE& ElementAt(INT_PTR index) { return m_data[checked(index)]; }
    void SetAt(INT_PTR index, ARG_TYPE element) { m_data[checked(index)] = element; }
    const TYPE& operator[](INT_PTR index) const { return GetAt(index); }
    TYPE& operator[](INT_PTR index) { return ElementAt(index); }
    const TYPE* GetData() const { return m_data.data(); }
    TYPE* GetData() { return m_data.data(); }

    void SetSize(INT_PTR newSize) {
        if (newSize < 0) AfxThrowInvalidArgException();
        grow([&] { m_data.resize(static_cast<std::size_t>(newSize)); });
    }

    INT_PTR Add(ARG_TYPE element) {
        grow([&] { m_data.push_back(element); });
        return GetUpperBound();
    }

    void InsertAt(INT_PTR index, ARG_TYPE element, INT_PTR count = 1) {
        if (index < 0 || count < 0) AfxThrowInvalidArgException();
        const TYPE copy = element;  // `element` may refer into this array, which may move
        if (index > GetSize()) SetSize(index);
        grow([&] { m_data.insert(m_data.begin() + index, static_cast<std::size_t>(count), copy); });
    }

    // Removes `count` elements from `index`; the later ones move down, keeping their order.
    void RemoveAt(INT_PTR index, INT_PTR count = 1) {
        if (index < 0 || count < 0 || index + count > GetSize()) AfxThrowInvalidArgException();
        m_data.erase(m_data.begin() + index, m_data.begin() + index + count);
    }

    void RemoveAll() {
        m_data.clear();
        m_data.shrink_to_fit();
    }

private:
    std::size_t checked(INT_PTR index) const {
        if (index < 0 || index >= GetSize()) AfxThrowInvalidArgException();
        return static_cast<std::size_t>(index);
    }

    template <class Change>
    void grow(Change change) {
        try {
            change();
        } catch (const std::bad_alloc&) {
            AfxThrowMemoryException();
        } catch (const std::length_error&) {
            AfxThrowMemoryException();
        }
    }

    std::vector<TYPE> m_data;
};

}  // namespace kv
