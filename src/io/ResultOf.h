#pragma once

#include <new>
#include <stdexcept>

#include "io/Result.h"

namespace KX {

// What the work returns; where it throws, kResultOutOfMemory if memory was short, kResultFail for what only the
// application's own functions can throw. Nothing passes: no exception crosses the library's interface.
template <typename Work>
Result ResultOf(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return kResultOutOfMemory;
    } catch (const std::length_error&) {  // what the standard containers throw past their largest size
        return kResultOutOfMemory;
    } catch (...) {
        return kResultFail;
    }
}

}  // namespace KX
