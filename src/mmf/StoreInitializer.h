#pragma once

#include "KxApi.h"

namespace KX {

// Builds the four global stores when the first of these objects is built and destroys them when the last one goes.
// Every file that can reach the stores has one, ahead of its own static objects, which may therefore use the stores
// in their constructors and destructors whatever the order in which the files are linked.
class KX_API CStoreInitializer {
public:
    CStoreInitializer();
    ~CStoreInitializer();

    CStoreInitializer(const CStoreInitializer&) = delete;
    CStoreInitializer& operator=(const CStoreInitializer&) = delete;
};

static const CStoreInitializer kStoreInitializer;

}  // namespace KX
