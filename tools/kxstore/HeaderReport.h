#pragma once

#include <string>

#include "HeaderFile.h"

namespace KxStore {

std::string ToText(const std::string& path, const HeaderFile& header);
// One document; bytes of the path that are no valid UTF-8 are replaced.
std::string ToJson(const std::string& path, const HeaderFile& header);

}  // namespace KxStore
