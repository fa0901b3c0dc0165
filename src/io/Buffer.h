#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "io/Result.h"

namespace KX {

// A small array of plain values that the buffer owns.
//
// Errors:  std::bad_alloc leaves CreateBuffer; the buffer is empty then.
// Threads: no lock inside; one thread at a time per buffer.
template <typename T>
class CBuffer {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    CBuffer() = default;
    CBuffer(const CBuffer&) = delete;
    CBuffer& operator=(const CBuffer&) = delete;
    virtual ~CBuffer() { Release(); }

    // Makes an array of `newCount` elements, copied from the source or, where that is null, of zero bytes. The array
    // held before is released first, or used again where it is as long; the source must not lie in one that is
    // released. kResultNothingDone: the count is 0, and all is as it was.
    virtual Result CreateBuffer(unsigned long newCount, const T* source);
    // Releases the array.
    virtual void DestroyBuffer() { Release(); }

    // The first element; null without an array. Lives until the next call of the two above.
    T* GetBuffer() const { return elements; }
    // The number of elements.
    unsigned long GetCount() const { return count; }

private:
    void Release() {
        count = 0;
        delete[] elements;
        elements = nullptr;
    }

    std::uint64_t count = 0;
    T* elements = nullptr;
};

template <typename T>
Result CBuffer<T>::CreateBuffer(unsigned long newCount, const T* source) {
    if (newCount == 0) return kResultNothingDone;

    if (newCount != count) {
        Release();
        elements = new T[newCount];
        count = newCount;
    }
    if (source == nullptr) {
        std::fill_n(elements, count, T{});
    } else if (source != elements) {
        std::copy_n(source, count, elements);
    }
    return kResultOk;
}

}  // namespace KX
