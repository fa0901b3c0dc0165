#pragma once

#include <new>
#include <stdexcept>

#include "io/Result.h"

namespace KX {

// What the work returns, or the code for what it throws when memory is short.
template <typename Work>
Result ResultOf(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return kResultOutOfMemory;
    } catch (const std::length_error&) {  // what the standard containers throw past their largest size
        return kResultOutOfMemory;
    }
}

}  // namespace KX
