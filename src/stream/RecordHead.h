#pragma once

#include <string>

#include "stream/Stream.h"

namespace KX {

// What stands before the size of a record of the data section.
struct CStream::RecordHead {
    long long id = 0;       // of the class; not of files that name classes by text
    std::string className;  // kept from record to record: mostly the next one is of the same class
    bool isTopLevel = false;
};

}  // namespace KX
