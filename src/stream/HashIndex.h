#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace KX {

// Finds pointers by number, in constant time for any set of numbers. A number's home is the slot of its low bits, so
// that numbers in sequence lie side by side in memory. Where too many share their home, as a broken or hostile file may
// have it, all are scattered by a secret of this index instead.
//
// Ownership: does not own what it points to.
// Errors:    Insert throws std::bad_alloc and leaves the index as it was.
// Threads:   one at a time.
template <typename T>
class CHashIndex {
public:
    // Null where there is none.
    T* Find(std::uint64_t key) const {
        const std::size_t place = PlaceOf(key);
        return place == kNowhere ? nullptr : slots[place].value;
    }

    // The value must not be null. False: the key is there already, and nothing was changed.
    bool Insert(std::uint64_t key, T* value) {
        if (Find(key) != nullptr) return false;
        if (count >= slots.size() / 2) Rebuild(slots.empty() ? kFirstSize : slots.size() * 2, secret);
        if (!Put({key, value})) {
            Rebuild(slots.size(), MakeSecret());
            Put({key, value});
        }
        ++count;
        return true;
    }

    // Nothing happens where there is none.
    void Erase(std::uint64_t key) {
        std::size_t hole = PlaceOf(key);
        if (hole == kNowhere) return;

        // What follows without a gap may stand where it does only because of the erased one: it moves up.
        std::size_t place = Next(hole);
        for (; slots[place].value != nullptr && Distance(hole, place) <= farthest; place = Next(place)) {
            if (Distance(HomeOf(slots[place].key), place) < Distance(hole, place)) continue;
            slots[hole] = slots[place];
            hole = place;
        }
        slots[hole] = {};
        --count;
    }

    void Clear() { *this = {}; }

private:
    struct Slot {
        std::uint64_t key = 0;
        T* value = nullptr;  // null: the slot is free
    };

    static constexpr std::size_t kFirstSize = 64;
    static constexpr std::size_t kNowhere = SIZE_MAX;
    // The farthest from home that a number may stand before all are scattered.
    static constexpr std::size_t kTooFar = 64;

    // Multiplication carries every bit upwards, the shifts bring it down again.
    static std::uint64_t Mix(std::uint64_t key) {
        constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15U;  // 2^64 / golden ratio
        key = (key ^ (key >> 32)) * kGolden;
        key = (key ^ (key >> 29)) * kGolden;
        return key ^ (key >> 32);
    }

    static std::uint64_t MakeSecret() {
        static int anchor = 0;  // its address is one that the system chose
        const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
        return Mix(static_cast<std::uint64_t>(now) ^ reinterpret_cast<std::uintptr_t>(&anchor)) | 1;
    }

    std::size_t Mask() const { return slots.size() - 1; }
    std::size_t Next(std::size_t place) const { return (place + 1) & Mask(); }
    std::size_t Distance(std::size_t from, std::size_t to) const { return (to - from) & Mask(); }
    std::size_t HomeOf(std::uint64_t key) const {
        return static_cast<std::size_t>(secret == 0 ? key : Mix(key ^ secret)) & Mask();
    }

    // No farther than any number stands from home: a long run of taken slots is not walked for one that is not there.
    std::size_t PlaceOf(std::uint64_t key) const {
        if (slots.empty()) return kNowhere;
        std::size_t place = HomeOf(key);
        for (std::size_t steps = 0; steps <= farthest && slots[place].value != nullptr; ++steps) {
            if (slots[place].key == key) return place;
            place = Next(place);
        }
        return kNowhere;
    }

    // False: too far from home.
    bool Put(const Slot& slot) {
        std::size_t place = HomeOf(slot.key);
        std::size_t steps = 0;
        while (slots[place].value != nullptr) {
            if (++steps > kTooFar && secret == 0) return false;
            place = Next(place);
        }
        slots[place] = slot;
        farthest = std::max(farthest, steps);
        return true;
    }

    void Rebuild(std::size_t size, std::uint64_t newSecret) {
        std::vector<Slot> old(size);  // may throw, before anything has changed
        std::swap(old, slots);
        secret = newSecret;
        farthest = 0;
        if (PutAll(old)) return;

        secret = MakeSecret();
        std::fill(slots.begin(), slots.end(), Slot());
        PutAll(old);
    }

    // Always true once there is a secret.
    bool PutAll(const std::vector<Slot>& from) {
        return std::all_of(from.begin(), from.end(),
                           [this](const Slot& slot) { return slot.value == nullptr || Put(slot); });
    }

    std::vector<Slot> slots;  // a power of two of them, at most half of them taken; or none
    std::size_t count = 0;
    std::size_t farthest = 0;
    std::uint64_t secret = 0;  // 0: the home is that of the low bits
};

}  // namespace KX
