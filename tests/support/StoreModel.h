#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

// What a store's placing rules say, told plainly: objects in a list, slots in each, the first run that fits.
class CStoreModel {
public:
    static constexpr std::size_t kSlots = 1024;

    // The handle that a block of that many slots gets; more than kSlots ask for an object of its own.
    unsigned int Alloc(std::size_t slots) {
        const std::string run(slots, '.');
        const auto hasRoom = [&](const std::string& object) { return object.find(run) != std::string::npos; };
        auto object = std::ranges::find_if(objects, hasRoom);
        if (object == objects.end()) object = std::ranges::find(objects, "");
        if (object == objects.end()) object = objects.emplace(object);
        if (object->empty()) object->assign(std::max(slots, kSlots), '.');
        const std::size_t start = object->find(run);
        object->replace(start, slots, slots, '#');
        const auto number = static_cast<unsigned int>(object - objects.begin() + 1);
        const unsigned int handle = number << 16 | static_cast<unsigned int>(start + 1);
        slotsOf[handle] = slots;
        return handle;
    }

    void Free(unsigned int handle) {
        std::string& object = objects[(handle >> 16) - 1];
        object.replace((handle & 0xFFFF) - 1, slotsOf[handle], slotsOf[handle], '.');
        if (object.find('#') == std::string::npos) object.clear();
    }

private:
    std::vector<std::string> objects;  // '.' for a free slot, '#' for a used one; empty where an object is gone
    std::map<unsigned int, std::size_t> slotsOf;
};
