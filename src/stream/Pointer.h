#pragma once

#include <utility>

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

    // A copy counts the object once more, a move takes it over.
    CPointer(const CPointer& other) : CPointer(other.held) {}
    CPointer(CPointer&& other) noexcept : held(std::exchange(other.held, nullptr)) {}

    // Gives the object up.
    ~CPointer() {
        if (held != nullptr) held->DecrementReferences();
    }

    // Gives the object up for the other one.
    CPointer& operator=(T* object) {
        Replace(object);
        return *this;
    }
    CPointer& operator=(const CPointer& other) {  // NOLINT(bugprone-unhandled-self-assignment): Replace handles it
        Replace(other.held);
        return *this;
    }
    CPointer& operator=(CPointer&& other) noexcept {
        if (this == &other) return *this;
        T* const old = std::exchange(held, std::exchange(other.held, nullptr));
        if (old != nullptr) old->DecrementReferences();
        return *this;
    }

    // The object, null for none.
    T* Get() const { return held; }
    T* operator->() const { return held; }
    T& operator*() const { return *held; }
    // Whether there is one.
    explicit operator bool() const { return held != nullptr; }

private:
    // The new object is counted before the old one is released: the latter may own the former.
    void Replace(T* object) {
        if (object == held) return;
        if (object != nullptr) object->IncrementReferences();
        T* const old = std::exchange(held, object);
        if (old != nullptr) old->DecrementReferences();
    }

    T* held = nullptr;
};

}  // namespace KX
