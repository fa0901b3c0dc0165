#pragma once

#include <string>

#include "Container.h"

namespace KxStore {

std::string ToText(const std::string& path, const Container& container);
// One document; bytes of the path and of digests that are no valid UTF-8 are replaced.
std::string ToJson(const std::string& path, const Container& container);

}  // namespace KxStore
