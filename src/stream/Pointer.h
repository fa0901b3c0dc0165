#pragma once

namespace KX {

// A counted pointer to an object with IncrementReferences and DecrementReferences, which deletes itself when its count
// reaches 0. The object's count is as safe among threads as the object makes it: those of this library are plain.
template <typename T>
class CPointer {
public:
    CPointer() = default;
    // Implicit: a raw pointer may be handed in wherever a counted one is kept.
    CPointer(T* object) : held(object) {  // NOLINT(google-explicit-constructor)
        if (held != nullptr) held->IncrementReferences();
    }
    CPointer(const CPointer& other) : CPointer(other.held) {}
    CPointer(CPointer&& other) noexcept : held(other.held) { other.held = nullptr; }
    ~CPointer() {
        if (held != nullptr) held->DecrementReferences();
    }

    // The new object is counted before the old one is released: the latter may own the former.
    CPointer& operator=(T* object) {
        if (object == held) return *this;
        if (object != nullptr) object->IncrementReferences();
        T* const old = held;
        held = object;
        if (old != nullptr) old->DecrementReferences();
        return *this;
    }
    CPointer& operator=(
        const CPointer& other) {  // NOLINT(bugprone-unhandled-self-assignment): the one above handles it
        return *this = other.held;
    }
    CPointer& operator=(CPointer&& other) noexcept {
        if (this == &other) return *this;
        T* const old = held;
        held = other.held;
        other.held = nullptr;
        if (old != nullptr) old->DecrementReferences();
        return *this;
    }

    T* Get() const { return held; }
    T* operator->() const { return held; }
    T& operator*() const { return *held; }
    explicit operator bool() const { return held != nullptr; }

private:
    T* held = nullptr;
};

}  // namespace KX
