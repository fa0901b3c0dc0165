#pragma once

#include <cstddef>
#include <vector>

// What a store's placing rules say, told plainly: objects in a list, slots in each, the first run that fits.
class CStoreModel {
public:
    static constexpr std::size_t kSlots = 1024;

    // The handle that a block of that many slots gets; more than kSlots ask for an object of its own.
    unsigned int Alloc(std::size_t slots) {
        for (std::size_t object = 0; slots <= kSlots && object < objects.size(); ++object) {
            if (!objects[object].isShared) continue;
            for (std::size_t start = 0; start + slots <= kSlots; ++start) {
                if (!IsFree(objects[object], start, slots)) continue;
                return Place(object, start, slots);
            }
        }
        std::size_t object = 0;
        while (object < objects.size() && !objects[object].used.empty()) ++object;
        if (object == objects.size()) objects.emplace_back();
        objects[object] = {slots <= kSlots, std::vector<std::size_t>(slots <= kSlots ? kSlots : 1)};
        return Place(object, 0, slots <= kSlots ? slots : 1);
    }

    void Free(unsigned int handle) {
        Object& object = objects[(handle >> 16) - 1];
        const std::size_t block = handle & 0xFFFF;
        bool isEmpty = true;
        for (std::size_t& owner : object.used) {
            if (owner == block) owner = 0;
            isEmpty = isEmpty && owner == 0;
        }
        if (isEmpty) object = {};
    }

private:
    struct Object {
        bool isShared = false;
        std::vector<std::size_t> used;  // block + 1 in each of its slots; empty for an object that is gone
    };

    static bool IsFree(const Object& object, std::size_t start, std::size_t slots) {
        for (std::size_t slot = start; slot < start + slots; ++slot) {
            if (object.used[slot] != 0) return false;
        }
        return true;
    }

    unsigned int Place(std::size_t object, std::size_t start, std::size_t slots) {
        for (std::size_t slot = start; slot < start + slots; ++slot) objects[object].used[slot] = start + 1;
        return static_cast<unsigned int>(((object + 1) << 16) | (start + 1));
    }

    std::vector<Object> objects;
};
