#pragma once

#include <string>
#include <vector>

// The names in a folder, "." and ".." among them, in alphabetical order; none if it cannot be listed.
std::vector<std::string> ListStoreFolder(const std::wstring& folder);

// Whether a name counts as that of a backing file. It never does: the suffix is taken with its dot and compared
// with "tmp" without one. Callers have settled on the answer; do not mend it.
bool IsBackingFileName(const std::string& name);
