#include "support/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

struct State {
    bool isArmed;
    bool hasFailed;
    std::size_t allowed;
    std::size_t fromSize;
    std::size_t refusals;
};
constinit thread_local State state{};

bool IsRefused(std::size_t size) {
    if (!state.isArmed || size < state.fromSize || state.refusals == 0) return false;
    if (state.allowed > 0) {
        --state.allowed;
        return false;
    }
    --state.refusals;
    state.hasFailed = true;
    return true;
}

}  // namespace

CFailingAllocation::CFailingAllocation(std::size_t allowed, std::size_t fromSize, std::size_t refusals) {
    state = {true, false, allowed, fromSize, refusals};
}

CFailingAllocation::~CFailingAllocation() {
    state.isArmed = false;
}

bool CFailingAllocation::HasFailed() {
    return state.hasFailed;
}

#if defined(KXMMF_MALLOC_IS_WRAPPED)
extern "C" {
void* __real_malloc(std::size_t size);  // the linker's names
void* __wrap_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
    return IsRefused(size) ? nullptr : __real_malloc(size);
}
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return IsRefused(count * size) ? nullptr : __real_calloc(count, size);
}
}
#else
namespace {
void* __real_malloc(std::size_t size) {
    return std::malloc(size);
}
}  // namespace
#endif

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return IsRefused(size) ? nullptr : __real_malloc(size == 0 ? 1 : size);
}

void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

// The rest of the family, so that no sanitizer sees memory of one maker given back to another.
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

void operator delete[](void* memory) noexcept {
    operator delete(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}
