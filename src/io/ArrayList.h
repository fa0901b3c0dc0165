#pragma once

#include <cstddef>
#include <exception>
#include <utility>
#include <vector>

#include "io/Result.h"

namespace KX {

// A growing list whose growth reports failure by code. No lock inside.
template <typename T>
class CArrayList {
public:
    // Appends the item. kResultOutOfMemory: the list could not grow and is as it was.
    [[nodiscard]] Result Add(T item) noexcept {
        try {
            items.push_back(std::move(item));
            return kResultOk;
        } catch (const std::exception&) {  // bad_alloc, or length_error past the largest size
            return kResultOutOfMemory;
        }
    }

    // The number of items.
    std::size_t size() const { return items.size(); }

    // The index must be below size().
    T& operator[](std::size_t index) { return items[index]; }
    const T& operator[](std::size_t index) const { return items[index]; }

    // For loops over the items in their order.
    auto begin() { return items.begin(); }
    auto end() { return items.end(); }
    auto begin() const { return items.begin(); }
    auto end() const { return items.end(); }

private:
    std::vector<T> items;
};

}  // namespace KX
