#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "stream/Stream.h"

namespace KX {

// What is known of a class while the records of one section are loaded.
struct CStream::ClassEntry {
    bool isSet = false;
    long long id = 0;  // not of files that name classes by text
    std::string name;
    CBase::CreateFunction create = nullptr;  // null: there is no creator
    // The record that was last found to be no older than the data, and when.
    const CRtti* checked = nullptr;
    std::uint64_t checkedAt = 0;
};

// What stands before the bytes of a record, with the classes that were looked up so far: most files have few, and the
// look-ups by identifier and by name would cost as much as creating an object.
struct CStream::RecordHead {
    static constexpr std::size_t kClasses = 16;

    ClassEntry& EntryOf(long long id) { return classes[static_cast<unsigned long long>(id) % kClasses]; }

    std::array<ClassEntry, kClasses> classes;
    ClassEntry* current = &classes.front();
    std::uint32_t size = 0;  // 0 in files whose records do not carry it
    bool isTopLevel = false;
};

}  // namespace KX
