#pragma once

#include <optional>
#include <string>

#include "system/platform/Platform.h"

namespace KX {

// What CSystem makes of the platform's plain answers. Any thread.

// The index of a release, as CSystem::GetOSVersion tells it.
int ReleaseIndex(const Platform::Release& release);

// Whether of kReachable and kConnectionRequired exactly the former is set; false where the platform cannot tell.
bool IsConnected(std::optional<unsigned int> reachability);

// A bundle's path as the system spells it, taken apart as CSystem tells it.
struct CBundle {
    explicit CBundle(std::string path);

    std::wstring folder;  // with a separator at the end
    std::wstring name;    // with extension
};

}  // namespace KX
