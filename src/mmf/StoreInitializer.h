#pragma once

#include "KxApi.h"

namespace KX {

// Builds the four global stores when the first of these objects is built and destroys them when the last one goes.
// The library has one that comes first of all where a priority orders the static objects of all files (ELF). Where it
// does not (Mach-O), every file that can reach the stores has one ahead of its own static objects, which may use them
// in any order of linking.
class KX_API CStoreInitializer {
public:
    CStoreInitializer();
    ~CStoreInitializer();

    CStoreInitializer(const CStoreInitializer&) = delete;
    CStoreInitializer& operator=(const CStoreInitializer&) = delete;
};

static const CStoreInitializer kStoreInitializer;

}  // namespace KX
